#include "tests/persistence/ChangeSequence.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <vector>

#include "common/Text.h"
#include "persistence/InPlacePlan.h"
#include "tests/persistence/AnyItem.h"
#include "tests/persistence/FolderModel.h"
#include "tests/support/Captured.h"

namespace velmora::test {

namespace {

using Item = IndexItemPropertyContainer;

constexpr int32_t kFullLevel = 3;
constexpr uint32_t kFirstUids[] = {0, 0, 0, 8, 98, 0x7FFFFFFC, 0x80000000, 0xFFFFFFF9};

class Sequence {
public:
    Sequence(const IndexFolder& folder, const IndexFolder& elsewhere, Choices& choices)
        : folder_(folder), elsewhere_(elsewhere), choices_(choices)
    {
    }

    std::string Run(uint32_t steps)
    {
        Begin();
        for (; steps > 0 && wrong_.empty() && !choices_.Exhausted(); --steps) Step();
        if (wrong_.empty()) Save();
        if (wrong_.empty()) CompareWithFullRewrite();
        return wrong_.empty() ? wrong_ : wrong_ + " after:" + story_;
    }

private:
    void Begin()
    {
        std::filesystem::remove(folder_.File());
        table_ = std::make_unique<TestTable>();
        table_->LastUID = expected_.lastUid = choices_.Pick(kFirstUids);
        Save();
        if (wrong_.empty()) Reopen();
    }

    void Step()
    {
        switch (choices_.Below(12)) {
            case 0:
            case 1:
            case 2:
                return Append();
            case 3:
            case 4:
                return ChangeValue();
            case 5:
                return ChangeFlags();
            case 6:
                return ClearStatus();
            case 7:
                return Remove();
            case 8:
                return Save();
            case 9:
                return Reopen();
            default:
                Save();
                if (wrong_.empty()) Reopen();
        }
    }

    void Append()
    {
        const std::string id = NumberedId(++names_, choices_);
        auto item = NewItem(id);
        Properties properties = {{"ID", id}, {"READ", "0"}};
        for (uint32_t columns = choices_.Below(4); columns > 0; --columns) {
            const std::string& column = choices_.Pick(WrittenColumns());
            properties[column] = AnyValueOf(column, choices_);
            item->SetText(column, properties[column]);
        }
        Tell("append " + std::to_string(expected_.lastUid + 1));
        const bool uidIsLeft = expected_.lastUid != UINT32_MAX;
        if (InsertItem(*table_, item.get()) != uidIsLeft) wrong_ = uidIsLeft ? "an item was refused" : "a UID beyond the last one";
        if (!uidIsLeft || !wrong_.empty()) return;
        const uint32_t uid = ++expected_.lastUid;
        if (item.release()->Uid() != uid) wrong_ = "not the next UID";
        properties["UID"] = std::to_string(static_cast<int32_t>(uid));
        expected_.items[uid] = properties;
    }

    // Any item that may be changed; null when there is none. An item of the file has its values at full level alone.
    Item* AnyItem()
    {
        std::vector<Item*> items;
        ContentOf(*table_).ByUID.ForEach([&](uint32_t, Item* item) {
            if (table_->LoadLevel == kFullLevel || item->FileOffset == 0) items.push_back(item);
        });
        return items.empty() ? nullptr : choices_.Pick(items);
    }

    Properties& Changing(const Item& item)
    {
        if (item.FileOffset != 0) changed_.insert(item.Uid());
        return expected_.items.at(item.Uid());
    }

    void ChangeValue()
    {
        Item* const item = AnyItem();
        if (!item) return;
        const std::string& column = choices_.Pick(WrittenColumns());
        const std::string value = AnyValueOf(column, choices_);
        Tell("change " + std::to_string(item->Uid()) + " to " + std::to_string(value.size()) + " bytes");
        // Names are C strings here; one with a zero byte in it is set through its place.
        item->SetText(column, value);
        MarkItemChanged(*item);
        Changing(*item)[column] = value;
    }

    void ChangeFlags()
    {
        Item* const item = AnyItem();
        if (!item) return;
        const char* const flags[] = {"\\RECENT", "\\SEEN", "\\seen \\ANSWERED", "", "\\FLAGGED \\SEEN \\RECENT"};
        const std::string value = choices_.Pick(flags);
        Tell("flags " + std::to_string(item->Uid()) + " " + value);
        if (!SetItemProperty(*item, kFlagStatus, value)) wrong_ = "flags were refused";
        Properties& properties = Changing(*item);
        properties[kFlagStatus] = value;
        properties[kRead] = ContainsNoCase(value, "\\SEEN") ? "1" : "0";
    }

    void ClearStatus()
    {
        Item* const item = AnyItem();
        if (!item) return;
        Tell("clear " + std::to_string(item->Uid()));
        ClearVlStatus(*item);
        if (item->Has(kVlStatus)) wrong_ = "a status stayed";
        if (expected_.items.at(item->Uid()).contains(kVlStatus)) Changing(*item).erase(kVlStatus);
    }

    void Remove()
    {
        std::vector<Item*> items;
        ContentOf(*table_).ByUID.ForEach([&](uint32_t, Item* item) { items.push_back(item); });
        const bool all = choices_.OneIn(12);
        std::string list = all ? "*" : "";
        for (uint32_t count = 1 + choices_.Below(3); !all && count > 0 && !items.empty(); --count) {
            const size_t at = choices_.Below(static_cast<uint32_t>(items.size()));
            Forget(*items[at]);
            list.append(items[at]->Id()).append(",");
            items.erase(items.begin() + static_cast<std::ptrdiff_t>(at));
        }
        if (all)
            for (const Item* item : items) Forget(*item);
        if (RemoveItems(*table_, list.c_str()) != 1) wrong_ = "nothing was removed";
        // Kept: the removal of the first dirty item takes the mark with it, and changes behind it wait for another change.
        if (table_->FirstDirtyUID == 0 && !changed_.empty()) {
            Item* const next = ContentOf(*table_).ByUID.FirstFrom(*changed_.begin());
            if (next && next->Uid() == *changed_.begin()) MarkItemChanged(*next);
        }
    }

    void Forget(const Item& item)
    {
        Tell("remove " + std::to_string(item.Uid()));
        expected_.items.erase(item.Uid());
        changed_.erase(item.Uid());
    }

    void Save()
    {
        Tell("save");
        const std::string before = std::filesystem::exists(folder_.File()) ? folder_.Bytes() : "";
        // A part of a file neither replaces the file nor goes into one that has changed since the load, by an earlier save too.
        const bool mayBeRefused = !StandsForFile(*table_) && (saved_ || table_->RewriteRequired != 0);
        CapturedLog log;
        const uint64_t result = folder_.Save(*table_);
        CheckEvents(log, result);
        if (result == 0) {
            if (!mayBeRefused) wrong_ = "a save was refused";
            if (folder_.Bytes() != before) wrong_ = "a refused save changed the file";
            return Reopen();
        }
        table_->FirstDirtyUID = 0;
        table_->RewriteRequired = 0;
        saved_ = true;
        changed_.clear();
        onDisk_ = expected_;
        if (wrong_.empty()) wrong_ = CheckFile(folder_, onDisk_);
    }

    void CheckEvents(const CapturedLog& log, uint64_t result)
    {
        for (const std::string& event : log.Events()) {
            // Kept: what is said of an item that grew, and of one that shrank among others that are not loaded.
            const bool ofGrowth = event.find("has grown so much") != std::string::npos;
            const bool ofRefusal = result == 0 && event.find("Index was not fully loaded: aborting save.") != std::string::npos;
            if (!ofGrowth && !ofRefusal) wrong_ = event;
        }
    }

    void Reopen()
    {
        if (!wrong_.empty()) return;
        const int32_t level = choices_.OneIn(4) ? 1 : choices_.OneIn(4) ? 2 : kFullLevel;
        const std::string selection = level != 1 && choices_.OneIn(3) ? AnySelection() : "";
        Tell("load at " + std::to_string(level) + (selection.empty() ? "" : " with a selection"));
        table_ = std::make_unique<TestTable>();
        saved_ = false;
        changed_.clear();
        expected_ = onDisk_;
        CapturedLog log;
        if (folder_.Load(*table_, level, selection) < level) wrong_ = "not loaded";
        if (!log.Events().empty()) wrong_ = log.Events().front();
        if (wrong_.empty() && table_->LoadLevel == kFullLevel) wrong_ = Difference(Selected(table_->LoadSelection), ModelOf(*table_));
    }

    std::string AnySelection()
    {
        std::string selection = choices_.OneIn(8) ? "*," : "not there,";
        for (const auto& [uid, properties] : onDisk_.items)
            if (choices_.OneIn(3)) selection += properties.at("ID") + ",";
        return selection;
    }

    // What a load with that selection has in memory. The last UID is the header's.
    FolderModel Selected(const std::string& selection) const
    {
        if (selection.empty()) return onDisk_;
        FolderModel selected = onDisk_;
        const SelectionSet set = MakeSelectionSet(selection);
        std::erase_if(selected.items, [&](const auto& item) { return !SelectionContains(set, item.second.at("ID")); });
        return selected;
    }

    void CompareWithFullRewrite()
    {
        LoadedTable whole(folder_);
        whole.RewriteRequired = 1;
        if (folder_.Save(whole) != 1) wrong_ = "not rewritten";
        if (wrong_.empty()) wrong_ = CheckFile(folder_, onDisk_);
        if (wrong_.empty()) wrong_ = WriteAnew(elsewhere_, onDisk_);
        if (wrong_.empty() && elsewhere_.Bytes() != folder_.Bytes()) wrong_ = "rewritten with other bytes";
    }

    void Tell(const std::string& step)
    {
        if (wrong_.empty()) story_ += "\n  " + step;
    }

    const IndexFolder& folder_;
    const IndexFolder& elsewhere_;
    Choices& choices_;
    std::unique_ptr<TestTable> table_;
    FolderModel onDisk_;          // what the last good save wrote
    FolderModel expected_;        // what the next good save writes
    std::set<uint32_t> changed_;  // items of the file with changes that are not saved yet
    bool saved_ = false;          // by this table, since its load
    uint32_t names_ = 0;
    std::string wrong_;
    std::string story_;
};

}  // namespace

std::string ChangeFolder(const IndexFolder& folder, const IndexFolder& elsewhere, Choices& choices, uint32_t steps)
{
    return Sequence(folder, elsewhere, choices).Run(steps);
}

}  // namespace velmora::test
