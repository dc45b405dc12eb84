#include "tests/persistence/ForeignIndex.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "tests/persistence/AnyItem.h"
#include "tests/persistence/FolderModel.h"
#include "tests/persistence/Outcome.h"
#include "tests/support/Captured.h"

namespace velmora::test {

namespace {

using Item = IndexItemPropertyContainer;

constexpr int32_t kFullLevel = 3;
constexpr uint32_t kSettingOfThreshold = 500;

// The names that a file can carry as children, by the rules and not by the writer's own word.
bool IsChildName(std::string_view name)
{
    return !name.empty() && name.size() <= kLongestColumn && name.front() != '/' && name.find('>') == std::string_view::npos &&
           !name.starts_with("ELEMENT") && !name.starts_with("BASEELEMENT");
}

// What a reader takes of a tag at most, without its brackets.
constexpr size_t kReadOfTag = 1022;

// Whether an element's start tag comes back as it was written. The ID stands there as it is: a quote ends it, a bracket ends
// the tag, and nothing but dashes marks a removal.
bool ComesBackFromTag(const Properties& properties)
{
    const auto found = properties.find("ID");
    const std::string id = found == properties.end() ? "" : found->second;
    const std::string tag = "ELEMENT ID=\"" + id + "\" UID=\"" + properties.at("UID") + "\"";
    const bool removed = std::all_of(id.begin(), id.end(), [](char c) { return c == '-'; });
    return !removed && id.find('"') == std::string::npos && id.find('>') == std::string::npos && tag.size() <= kReadOfTag;
}

// Columns that are lost when their item is written again are of no account, nor are those that the process does not keep.
void DropUnwritable(FolderModel& model)
{
    for (auto& [uid, properties] : model.items)
        std::erase_if(properties, [](const auto& property) { return !IsChildName(property.first) || !IsKept(property.first); });
}

// The whole file as the plain reader has it; `complete` when every element of it became an item.
struct WholeFile {
    explicit WholeFile(std::string_view bytes)
    {
        PlainIndex index;
        wellFormed = PlainLoad(index, bytes, {}).result == kFullLevel;
        complete = wellFormed && index.refused == 0;
        model = ModelOf(index);
    }

    FolderModel model;
    bool wellFormed = false;
    bool complete = false;
};

class Visit {
public:
    Visit(const IndexFolder& folder, std::string_view bytes, Choices& choices)
        : folder_(folder), bytes_(bytes), choices_(choices), before_(bytes), expected_(before_.model)
    {
    }

    std::string Run()
    {
        folder_.Write(bytes_);
        Load();
        if (!wrong_.empty() || table_.LoadLevel == 0) return wrong_;
        if (table_.LastUID != before_.model.lastUid) lastUidIsRight_ = false;
        if (IsWhole()) expected_ = ModelOf(table_);
        for (uint32_t changes = 1 + choices_.Below(3); changes > 0; --changes) Change();
        Save();
        return wrong_;
    }

private:
    bool IsWhole() const { return table_.LoadLevel == kFullLevel && table_.LoadSelection.empty(); }

    void Load()
    {
        PlainOptions options;
        options.level = 1 + static_cast<int32_t>(choices_.Below(3));
        if (choices_.OneIn(3)) selection_ = AnySelection();
        if (choices_.OneIn(4)) {
            options.verifyItemFiles = true;
            options.itemFiles = {"a", "c", "d", "_index.xml"};
        }
        options.selection = PlainSelection(selection_);
        options.garbageThreshold = kSettingOfThreshold;
        PlainIndex plain;
        plain.loadSelection = selection_;
        const PlainOutcome expected = PlainLoad(plain, bytes_, options);

        for (const std::string& name : options.itemFiles)
            if (name != "_index.xml") WriteFileBytes(folder_.File().parent_path() / name, "x");
        CapturedLog log;
        const int32_t level = folder_.Load(table_, options.level, selection_, options.verifyItemFiles ? 1 : 0);
        const std::string fast = Describe(level, expected.fault, table_);
        const std::string slow = Describe(expected, plain);
        if (fast != slow) wrong_ = "fast:\n" + fast + "\nplain:\n" + slow;
        if (log.Events().size() != (level == 0 ? 1u : 0u)) wrong_ = "a load said too much or too little";
        // Events are C strings.
        const std::string event = ("Malformed index detected: " + expected.fault).c_str();
        if (level == 0 && !log.HasEvent(event)) wrong_ = "another fault than " + expected.fault;
    }

    std::string AnySelection()
    {
        const char* const selections[] = {"a", "a,b,c", "*", "none", ",2011A.MAI,", "b,d,f,h", ","};
        return choices_.Pick(selections);
    }

    void Change()
    {
        std::vector<Item*> items;
        ContentOf(table_).ByUID.ForEach([&](uint32_t, Item* item) { items.push_back(item); });
        const uint32_t kind = choices_.Below(4);
        if (kind == 0 || items.empty()) return Append();
        Item* const item = choices_.Pick(items);
        if (kind == 1)
            Remove(*item);
        else if (table_.LoadLevel == kFullLevel)
            SetSubject(*item, AnyValue(choices_));
    }

    void Append()
    {
        auto item = NewItem("new " + std::to_string(++names_));
        if (!InsertItem(table_, item.get())) return;
        SetSubject(*item, "appended");
        expected_.lastUid = item->Uid();
        item->CopyTo(expected_.items[item->Uid()]);
        expected_.items[item->Uid()].erase(kSeq);
        item.release();
    }

    void SetSubject(Item& item, const std::string& value)
    {
        SetItemKeyProperty(item, "SUBJECT", value);
        if (expected_.items.contains(item.Uid())) expected_.items[item.Uid()]["SUBJECT"] = value;
        dirty_ = true;
    }

    void Remove(const Item& item)
    {
        const std::string id(item.Id());
        // A list of IDs cannot name it.
        if (id.find_first_of(std::string_view(",*\0", 3)) != std::string::npos) return;
        expected_.items.erase(item.Uid());
        RemoveItems(table_, id.c_str());
        // The mark of a change may have gone with the item.
        Item* const first = ContentOf(table_).ByUID.FirstFrom(0);
        if (dirty_ && first && table_.LoadLevel == kFullLevel) MarkItemChanged(*first);
    }

    void Save()
    {
        const bool whole = IsWhole();
        CapturedLog log;
        const uint64_t result = folder_.Save(table_);
        const std::string after = folder_.Bytes();
        if (result == 0) {
            if (whole) wrong_ = "a save of the whole folder was refused";
            if (after != bytes_) wrong_ = "a refused save changed the file";
            return;
        }
        // Who sees a part of a file cannot tell that the rest is damaged, or that its header names a UID that is in use.
        if (!whole && (!before_.complete || !lastUidIsRight_)) return;
        if (whole) LeaveOutUnwritable();
        WholeFile now(after);
        DropUnwritable(now.model);
        DropUnwritable(expected_);
        if (!now.wellFormed)
            wrong_ = "the saved file is malformed";
        else
            wrong_ = Difference(expected_, now.model);
    }

    // Items whose ID no tag can hold stay in memory.
    void LeaveOutUnwritable()
    {
        std::erase_if(expected_.items, [](const auto& item) { return !ComesBackFromTag(item.second); });
    }

    const IndexFolder& folder_;
    const std::string_view bytes_;
    Choices& choices_;
    const WholeFile before_;
    FolderModel expected_;
    TestTable table_;
    std::string selection_;
    bool lastUidIsRight_ = true;
    bool dirty_ = false;
    uint32_t names_ = 0;
    std::string wrong_;
};

}  // namespace

std::string ChangeForeignFile(const IndexFolder& folder, std::string_view bytes, Choices& choices)
{
    return Visit(folder, bytes, choices).Run();
}

}  // namespace velmora::test
