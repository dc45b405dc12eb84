#include "tests/persistence/WrittenItems.h"

#include <filesystem>
#include <set>

#include "tests/persistence/AnyItem.h"
#include "tests/persistence/FolderModel.h"

namespace velmora::test {

namespace {

constexpr uint32_t kMostItems = 40;
constexpr uint32_t kMostColumns = 6;
constexpr uint32_t kFirstUids[] = {0, 0, 1, 99, 0x7FFFFFF0, 0x80000000, 0xFFFFFFF0, 0xFFFFFFFF};

class AnyItems {
public:
    explicit AnyItems(Choices& choices) : choices_(choices)
    {
        table_.LastUID = model_.lastUid = choices_.Pick(kFirstUids);
        for (uint32_t count = choices_.Below(kMostItems + 1); count > 0 && wrong_.empty(); --count) AddItem();
    }

    SORTEDSTOREINDEXTYPE& Table() { return table_; }
    const FolderModel& Model() const { return model_; }
    const std::string& Wrong() const { return wrong_; }

private:
    // The UID that the item is to bear; 0 when none is left to give.
    uint32_t ExpectedUid(uint32_t asked) const
    {
        if (asked != 0) return asked;
        return model_.lastUid == UINT32_MAX ? 0 : model_.lastUid + 1;
    }

    void AddItem()
    {
        const std::string id = AnyId(choices_);
        const uint32_t asked = choices_.OneIn(3) ? 1 + choices_.Below(200) : 0;
        const uint32_t uid = ExpectedUid(asked);
        IndexItemPropertyContainer* const item = Add(table_, id, asked);
        const bool mayBeHad = IsIdOfAFile(id) && uid != 0;
        // A UID is used up by an item that is then refused for its ID or UID.
        if (mayBeHad && uid > model_.lastUid) model_.lastUid = uid;
        const bool taken = mayBeHad && !ids_.contains(id) && !model_.items.contains(uid);
        if (taken != (item != nullptr)) wrong_ = taken ? "an item was refused" : "an item should be refused";
        if (!item || !taken) return;
        ids_.insert(id);
        Properties& properties = model_.items[uid];
        properties = {{"ID", id}, {"UID", std::to_string(static_cast<int32_t>(uid))}, {"READ", "0"}};
        for (uint32_t columns = choices_.Below(kMostColumns + 1); columns > 0; --columns) SetColumn(*item, properties);
    }

    void SetColumn(IndexItemPropertyContainer& item, Properties& properties)
    {
        if (choices_.OneIn(10)) {
            item.SetText(choices_.Pick(UnwrittenColumns()), AnyValue(choices_));
            return;
        }
        const std::string& column = choices_.Pick(WrittenColumns());
        const std::string value = AnyValueOf(column, choices_);
        item.SetText(column, value);
        properties[column] = value;
    }

    Choices& choices_;
    TestTable table_;
    FolderModel model_;
    std::set<std::string> ids_;
    std::string wrong_;
};

}  // namespace

std::string WriteAnyItems(const IndexFolder& folder, Choices& choices)
{
    std::filesystem::remove(folder.File());
    AnyItems items(choices);
    if (!items.Wrong().empty()) return items.Wrong();
    if (folder.Save(items.Table()) != 1) return "not written";
    if (const std::string wrong = CheckFile(folder, items.Model()); !wrong.empty()) return wrong;

    const std::string bytes = folder.Bytes();
    LoadedTable again(folder);
    again.RewriteRequired = 1;
    if (folder.Save(again) != 1) return "not written again";
    return folder.Bytes() == bytes ? std::string() : "written again with other bytes";
}

}  // namespace velmora::test
