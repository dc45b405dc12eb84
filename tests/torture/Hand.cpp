#include "tests/torture/Hand.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <system_error>
#include <thread>

#include "common/Text.h"
#include "frame/Logging.h"
#include "index/CachedDetails.h"
#include "index/IndexTable.h"
#include "index/StoreIndexLife.h"
#include "items/MailScan.h"
#include "tests/persistence/PlainReader.h"
#include "tests/support/TestStore.h"
#include "tests/torture/Letter.h"
#include "tests/torture/OwnRecord.h"
#include "velmora/folder.h"
#include "velmora/index.h"
#include "velmora/item.h"

namespace velmora::torture {

namespace fs = std::filesystem;

namespace {

constexpr uint32_t kRescanning = 2, kRebuilding = 3;  // modes of StoreIndex_Open

// What the library's log said on this thread.
struct Heard {
    bool failedSave = false;
    bool scan = false;
    bool damage = false;
};
thread_local Heard heard;

void HearLine(uint32_t, const char* text)
{
    const std::string_view line(text);
    if (line.find("Unable to save index") != line.npos || line.find("Failed to commit index") != line.npos) heard.failedSave = true;
    if (line.find("Performing StoreIndex_Scan(") != line.npos) heard.scan = true;
}

// The same words are said of a file that could not be opened; behind a damaged one stands what was done about it, unless
// the store has no backups.
void HearTrace(const char* text)
{
    const std::string_view line(text);
    if (!line.starts_with("Failed to deserialise index: ")) return;
    for (const char* const remedy : {". Unable to find recovery index", ". Successfully loaded", ". Backup Index is also"})
        if (line.find(remedy) != line.npos) heard.damage = true;
    if (heard.damage || line.find(". A File Access error") != line.npos) return;
    test::PlainIndex index;
    const fs::path file = IndexWatch::Directory() / "_index.xml";
    std::error_code error;
    if (fs::exists(file, error)) heard.damage = test::PlainLoad(index, test::ReadFileBytes(file), {}).result != 3;
}

std::string PropertyOfCurrentItem(const char* name)
{
    void* value = nullptr;
    uint64_t size = 0;
    std::string text;
    if (StoreItem_GetProperty(name, &value, &size) == 2) text = static_cast<const char*>(value);
    StoreItem_FreeProperty(value);
    return text;
}

}  // namespace

void ListenToTheLibrary()
{
    Hooks().storeLog = HearLine;
    Hooks().debugTrace = HearTrace;
}

namespace {

class WatchedDeed {
public:
    WatchedDeed(IndexWatch& watch, uint32_t thread, uint32_t folder, const fs::path& directory) : watch_(watch)
    {
        watch_.BeginDeed(thread, folder, directory);
    }
    ~WatchedDeed() { watch_.EndDeed(); }
    WatchedDeed(const WatchedDeed&) = delete;
    WatchedDeed& operator=(const WatchedDeed&) = delete;

private:
    IndexWatch& watch_;
};

}  // namespace

Hand::Hand(const Plan& plan, uint32_t thread, Journal& journal, IndexWatch& watch)
    : plan_(plan), thread_(thread), journal_(journal), watch_(watch), dice_(plan.seed * 1000003 + plan.process * 131 + thread)
{
}

void Hand::DoSomething()
{
    static constexpr struct {
        void (Hand::*deed)();
        uint32_t weight;    // of most processes
        uint32_t ofAgents;  // and of those that deliver
    } kMix[] = {
        {&Hand::WorkInOpenFolder, 34, 8},
        {&Hand::WorkOnRecord, 24, 8},
        {&Hand::Drop, 10, 2},
        {&Hand::DeliverInTransaction, 8, 2},
        {&Hand::RemoveInTransaction, 6, 2},
        {&Hand::DeliverDirectly, 4, 36},
        {&Hand::UpdateDirectly, 4, 20},
        {&Hand::RemoveDirectly, 2, 14},
        {&Hand::RemoveFile, 2, 1},
        {&Hand::Rescan, 4, 1},
        {&Hand::Mark, 2, 1},
        {&Hand::ReadCounts, 8, 4},
        {&Hand::HoldBlock, 3, 0},
        {&Hand::HoldByName, 1, 0},
        {&Hand::BreakBlock, 2, 0},
    };
    const auto weightOf = [&](const auto& entry) { return Delivers() ? entry.ofAgents : entry.weight; };
    uint32_t total = 0;
    for (const auto& entry : kMix) total += weightOf(entry);
    // Half of the time everybody is after the same folder.
    folder_ = dice_.OneIn(2) ? 0 : dice_.Below(plan_.folders);
    {
        const WatchedDeed watched(watch_, thread_, folder_, FolderDirectory(plan_.mailRoot, folder_));
        if (++deeds_ > 20 && dice_.OneIn(15)) Sabotage();
        uint32_t chance = dice_.Below(total);
        for (const auto& entry : kMix) {
            if (chance < weightOf(entry)) {
                (this->*entry.deed)();
                break;
            }
            chance -= weightOf(entry);
        }
        HeardFailure();
    }
    if (dice_.OneIn(3)) Pause(4);
}

void Hand::Write(Deed deed, const std::string& id, uint32_t number, const std::string& text)
{
    journal_.Write(thread_, deed, folder_, id, number, text);
}

void Hand::Told(const char* what, bool done)
{
    Write(Deed::Told, what, done);
    if (!done && plan_.kills == 0 && !watch_.WasRefused())
        Fault(std::string("what nobody stands in the way of is done: ") + what + " was not, and no block was refused");
}

bool Hand::HeardFailure()
{
    const Heard now = heard;
    heard = {};
    if (now.scan) Write(Deed::Scan);
    if (now.damage) Write(Deed::Damage);
    return now.failedSave;
}

void Hand::Pause(uint32_t mostMs) { std::this_thread::sleep_for(std::chrono::microseconds(dice_.Below(mostMs * 1000 + 1))); }

// ---- Flags ----

std::string Hand::NewFlags(const std::string& name) { return LetterFlags(name, plan_.process, thread_, ++flags_); }

std::string Hand::NewFlagsSeen(const std::string& name) { return LetterFlagsSeen(name, plan_.process, thread_, ++flags_); }

std::string Hand::NewName() { return LetterName(plan_.process, thread_, ++letters_); }

void Hand::WorkInOpenFolder()
{
    Write(Deed::OpenBegin);
    watch_.BeginCall();
    // 2: another thread has it open already, and nothing is loaded anew.
    const uint64_t opened = StoreFolder_Open(kPostoffice, kMailbox, Name().c_str(), 0, 0);
    HeardFailure();
    Told("open", opened != 0);
    Write(Deed::OpenEnd, {}, static_cast<uint32_t>(opened));
    if (opened == 0) {
        Write(Deed::Close);
        return;
    }
    const std::vector<std::string> names = WalkOpenFolder();
    const uint32_t rounds = names.empty() ? 0 : dice_.Below(3);
    for (uint32_t round = 0; round < rounds; ++round) {
        const size_t changes = SetFlagsInOpenFolder(names);
        if (dice_.OneIn(3)) Pause(10);
        SaveOpenFolder(changes);
    }
    StoreFolder_Close();
    Write(Deed::Close);
}

std::vector<std::string> Hand::WalkOpenFolder()
{
    std::vector<std::string> names;
    std::set<std::string> distinct;
    loaded_.clear();
    for (uint64_t more = StoreFolder_FindFirstItem(); more == 1; more = StoreFolder_FindNextItem()) {
        const std::string name = PropertyOfCurrentItem("VL_ITEM_ID");
        const std::string subject = PropertyOfCurrentItem("PR_SUBJECT");
        PropertyOfCurrentItem("PR_VL_SIZE");
        const std::string flags = PropertyOfCurrentItem("PR_VL_FLAGSTATUS");
        // Another thread of a shared folder may have loaded it anew; there is no current item then.
        if (name.empty() || subject.empty()) continue;
        CheckSubject(name, subject);
        // The threads of a shared folder may have moved on to another item between the two questions.
        if (!SharesFolders()) {
            CheckFlags(name, flags);
            loaded_[name] = FlagsMark(flags);
        }
        if (!distinct.insert(name).second) Fault("a walk comes by " + name + " twice");
        names.push_back(name);
    }
    return names;
}

void Hand::CheckSubject(const std::string& name, const std::string& subject)
{
    if (subject != LetterSubject(name)) Fault("the item " + name + " has the subject " + subject);
}

void Hand::CheckFlags(const std::string& name, const std::string& flags)
{
    if (!AreFlagsOf(name, flags)) Fault("no flag is made up: " + name + " has " + flags);
}

size_t Hand::SetFlagsInOpenFolder(const std::vector<std::string>& names)
{
    size_t changes = 0;
    for (uint32_t count = 1 + dice_.Below(3); count > 0; --count) {
        const std::string& name = names[dice_.Below(names.size())];
        // By the current item: a name would make an item for a message that has gone meanwhile.
        if (StoreFolder_SelectItem(name.c_str()) != 1) continue;
        const std::string flags = NewFlags(name);
        Write(Deed::Set, name, 0, flags);
        StoreItem_SetProperty(nullptr, "PR_VL_FLAGSTATUS", flags.c_str());
        StoreItem_SetProperty(nullptr, "PR_VL_READ", "1");
        ++changes;
    }
    return changes;
}

void Hand::BeginSave()
{
    if (!loaded_.empty()) {
        std::string text;
        for (const auto& [name, mark] : loaded_) text.append(text.empty() ? "" : ",").append(name).append("=").append(mark);
        Write(Deed::Loaded, {}, 0, text);
        loaded_.clear();
    }
    Write(Deed::SaveBegin);
    watch_.BeginCall();
    watch_.BeginSave();
}

void Hand::EndSave(bool told, size_t changes)
{
    Write(Deed::SaveEnd, {}, told);
    Told("save", told);
    if (told && changes != 0 && !watch_.EndSave())
        Fault("a save that succeeds has written the index: " + std::to_string(changes) + " changes and no write");
}

void Hand::SaveOpenFolder(size_t changes)
{
    BeginSave();
    StoreFolder_Save(0);
    // Another thread of a shared folder may have saved them already.
    EndSave(!HeardFailure(), SharesFolders() ? 0 : changes);
}

// ---- Records of a host's own ----

bool Hand::OpenRecord(STOREINDEXTYPE& record, uint32_t mode)
{
    Write(Deed::OpenBegin);
    watch_.BeginCall();
    const bool opened = StoreIndex_Open(&record, mode) == 1;
    HeardFailure();
    Told(mode == kRescanning ? "rescan" : mode == kRebuilding ? "rebuild" : "open", opened);
    Write(Deed::OpenEnd, {}, opened);
    return opened;
}

std::vector<std::string> Hand::WalkRecord(STOREINDEXTYPE& record)
{
    std::vector<IndexItemPropertyContainer*> items;
    ListByUID(record.Table, items);
    std::vector<std::string> names;
    uint32_t before = 0;
    loaded_.clear();
    for (const IndexItemPropertyContainer* const item : items) {
        const std::string name(item->Id());
        std::string subject;
        item->GetText("SUBJECT", subject);
        CheckSubject(name, subject);
        std::string flags;
        item->GetText(kFlagStatus, flags);
        CheckFlags(name, flags);
        loaded_[name] = FlagsMark(flags);
        if (item->Uid() <= before) Fault("the UID of " + name + " does not rise");
        before = item->Uid();
        if (seen_.emplace(Name() + name, before).second) Write(Deed::Seen, name, before);
        names.push_back(name);
    }
    if (before > record.Table.LastUID) Fault("the UID " + std::to_string(before) + " is above LASTUID");
    return names;
}

void Hand::WorkOnRecord()
{
    static constexpr uint32_t kModes[] = {1, 1, 1, 1, 1, 1, 4, 4, 5, 5, 6, 6, kRebuilding};
    OwnRecord record(Name());
    if (OpenRecord(record, kModes[dice_.Below(std::size(kModes))])) {
        const std::vector<std::string> names = WalkRecord(record);
        const uint32_t rounds = names.empty() ? 0 : dice_.Below(3);
        for (uint32_t round = 0; round < rounds; ++round) {
            const std::string& name = names[dice_.Below(names.size())];
            IndexItemPropertyContainer* const item = FindLoadedItem(record.Table, name);
            if (!item) break;
            const std::string flags = NewFlags(name);
            Write(Deed::Set, name, 0, flags);
            SetItemProperty(*item, kFlagStatus, flags);
            SetItemProperty(*item, kRead, "1");
            record.Changed = 1;
            BeginSave();
            EndSave(StoreIndex_Save(&record) == 1, 1);
            HeardFailure();
        }
    }
    Write(Deed::Close);
}

void Hand::Rescan()
{
    OwnRecord record(Name());
    if (OpenRecord(record, kRescanning)) WalkRecord(record);
    Write(Deed::Close);
}

// ---- Messages that come and go ----

std::vector<std::string> Hand::Files()
{
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(FolderDirectory(plan_.mailRoot, folder_), error), end; entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.ends_with(".MAI") && !name.starts_with('_')) names.push_back(name);
    }
    return names;
}

void Hand::PutFile(const std::string& name)
{
    const fs::path directory = FolderDirectory(plan_.mailRoot, folder_);
    const fs::path temporary = directory / ("_" + name + ".tmp");
    test::WriteFileBytes(temporary, LetterBytes(name));
    fs::rename(temporary, directory / name);
}

// As any program marks a folder. On some systems a flag that somebody is just deleting cannot be written.
void Hand::MarkChanged()
{
    const fs::path flag = FolderDirectory(plan_.mailRoot, folder_) / "_CHANGE.DTY";
    for (int attempt = 0; attempt < 1000; ++attempt) {
        try {
            test::WriteFileBytes(flag, "changed");
            Write(Deed::Mark);
            return;
        } catch (const std::exception&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    Fault("the folder cannot be marked");
}

void Hand::Drop()
{
    if (IsFull()) return RemoveFile();
    const std::string name = NewName();
    Write(Deed::DropBegin, name);
    PutFile(name);
    MarkChanged();
    Write(Deed::DropEnd, name);
    if (dice_.OneIn(2)) WorkInOpenFolder();
}

void Hand::RemoveFile()
{
    const std::vector<std::string> names = Files();
    if (names.size() < kMostFiles / 2) return;
    const std::string& name = names[dice_.Below(names.size())];
    Write(Deed::RemoveBegin, name, 0, "file");
    std::error_code error;
    // Whoever reads the message keeps it from being removed on some systems.
    const bool gone = fs::remove(FolderDirectory(plan_.mailRoot, folder_) / name, error) || !error;
    Write(Deed::RemoveEnd, name, gone);
    MarkChanged();
}

void Hand::Mark() { MarkChanged(); }

// ---- Transactions ----

bool Hand::BeginTransaction(STOREINDEXTYPE& record, int32_t level)
{
    Write(Deed::OpenBegin);
    watch_.BeginCall();
    const bool begun = StoreIndex_BeginTransaction(record, kPostoffice, kMailbox, Name().c_str(), 1, transaction_, level) == 1;
    HeardFailure();
    Told("transaction", begun);
    if (begun) BeginHold();
    Write(Deed::OpenEnd, {}, begun);
    if (!begun) Write(Deed::Close);
    return begun;
}

void Hand::BeginHold()
{
    Write(Deed::HoldBegin);
    if (!watch_.HasBlock()) Fault("who is told to have the block has it: it was refused");
}

bool Hand::EndTransaction(STOREINDEXTYPE& record)
{
    loaded_.clear();
    BeginSave();
    Write(Deed::HoldEnd);
    StoreIndex_SaveAndClose(record, true, 1, transaction_, nullptr);
    const bool saved = !HeardFailure();
    EndSave(saved, 0);
    Write(Deed::Close);
    return saved;
}

void Hand::DeliverInTransaction()
{
    if (IsFull()) return RemoveInTransaction();
    OwnRecord record(Name());
    if (!BeginTransaction(record, 1)) return;
    const std::string name = NewName();
    Write(Deed::DropBegin, name);
    PutFile(name);
    const std::string path = record.Path;
    uint32_t nextUid = record.Table.LastUID;
    const ListedFile file{name, static_cast<uint32_t>(LetterBytes(name).size()), 0};
    const bool added = AddMessageItem(record.Table, path, file, GetFolderUniqueId(path), nextUid) == MessageRead::Whole;
    if (!EndTransaction(record) || !added) MarkChanged();
    Write(Deed::DropEnd, name);
}

void Hand::RemoveInTransaction()
{
    OwnRecord record(Name());
    if (!BeginTransaction(record, 3)) return;
    const std::vector<std::string> names = WalkRecord(record);
    std::string name;
    if (names.size() > kMostFiles / 2) {
        name = names[dice_.Below(names.size())];
        Write(Deed::RemoveBegin, name, 0, kItemToo);
        std::error_code error;
        const bool gone = fs::remove(FolderDirectory(plan_.mailRoot, folder_) / name, error) || !error;
        if (gone) RemoveItems(record.Table, name.c_str());
        Write(Deed::RemoveEnd, name, gone);
    }
    EndTransaction(record);
}

}  // namespace velmora::torture
