#include "tests/torture/TreeHand.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include "common/Text.h"
#include "tests/support/OwnList.h"
#include "tests/support/TestStore.h"
#include "tests/torture/Letter.h"
#include "tests/torture/Tree.h"
#include "velmora/direct.h"
#include "velmora/folder.h"
#include "velmora/item.h"

namespace velmora::torture {

namespace fs = std::filesystem;

namespace {

constexpr size_t kMostFolders = 120;  // in the tree; a copy doubles what it copies
constexpr size_t kMostMessages = 20;  // in a folder
constexpr size_t kMostNames = 5000;   // of one enumeration: there never are so many folders
constexpr uint32_t kKilobytes = 1;    // a mode of the size calls
constexpr uint32_t kMostSize = 1u << 30;

std::string TextOfCurrentItem(const char* name)
{
    void* value = nullptr;
    uint64_t size = 0;
    std::string text;
    if (StoreItem_GetProperty(name, &value, &size) == 2) text = static_cast<const char*>(value);
    StoreItem_FreeProperty(value);
    return text;
}

// As hosts name a folder that they open.
std::string HostName(const std::string& path) { return path.substr(1); }

}  // namespace

TreeHand::TreeHand(const Plan& plan, uint32_t thread, Journal& journal)
    : plan_(plan), thread_(thread), journal_(journal), dice_(plan.seed * 1000003 + plan.process * 131 + thread)
{
}

void TreeHand::DoSomething()
{
    static constexpr struct {
        void (TreeHand::*deed)();
        uint32_t weight;
    } kMix[] = {
        {&TreeHand::Add, 16},    {&TreeHand::Remove, 8},         {&TreeHand::Rename, 9},   {&TreeHand::Copy, 5},
        {&TreeHand::List, 22},   {&TreeHand::Open, 10},          {&TreeHand::Deliver, 10}, {&TreeHand::Size, 4},
        {&TreeHand::Reindex, 2}, {&TreeHand::ListEverything, 4}, {&TreeHand::Look, 3},     {&TreeHand::Carry, 8},
    };
    uint32_t total = 0;
    for (const auto& entry : kMix) total += entry.weight;
    uint32_t chance = dice_.Below(total);
    for (const auto& entry : kMix) {
        if (chance < entry.weight) {
            (this->*entry.deed)();
            break;
        }
        chance -= entry.weight;
    }
    if (++deeds_ > 20) Sabotage();
    if (dice_.OneIn(3)) Pause(4);
}

void TreeHand::Pause(uint32_t mostMs) { std::this_thread::sleep_for(std::chrono::microseconds(dice_.Below(mostMs * 1000 + 1))); }

// ---- Places ----

std::string TreeHand::AnyKept() { return kKeptFolders[dice_.Below(kKeptFolders.size() - 1)]; }

std::string TreeHand::AnyFree()
{
    std::string path = AnyKept();
    for (uint32_t depth = dice_.OneIn(3) ? 1 + dice_.Below(3) : 1; depth > 0; --depth)
        path += std::string("/") + kFreeNames[dice_.Below(kFreeNames.size())];
    return path;
}

std::string TreeHand::AnyFolder()
{
    if (dice_.OneIn(2)) return kKeptFolders[dice_.Below(kKeptFolders.size())];
    return AnyFree();
}

bool TreeHand::IsTooLarge() { return TreeFolders(plan_.mailRoot).size() > kMostFolders; }

// Either separator will do.
StoreFolderRecord TreeHand::Spelled(StoreFolderRecord record)
{
    if (dice_.OneIn(4)) std::replace(std::begin(record.FolderPath), std::end(record.FolderPath), '/', '\\');
    return record;
}

// ---- Changes ----

bool TreeHand::Call(const char* what, const std::string& paths, const std::function<uint64_t()>& call)
{
    Write(Deed::Begin, what, 0, paths);
    const bool told = call() == 1;
    Write(Deed::End, what, told, paths);
    Write(Deed::Told, what, told);
    return told;
}

bool TreeHand::AddFolder(const std::string& path)
{
    return Call(kAdd, path, [&] {
        StoreFolderRecord record = Spelled(ChildRecordOf(path));
        return StoreFolderAdd(&record);
    });
}

bool TreeHand::RenameFolder(const std::string& from, const std::string& to)
{
    return Call(kRename, from + "|" + to, [&] {
        StoreFolderRecord source = Spelled(ChildRecordOf(from)), target = Spelled(ChildRecordOf(to));
        return StoreFolderEdit(&source, &target);
    });
}

bool TreeHand::CopyFolder(const std::string& from, const std::string& to)
{
    return Call(kCopy, from + "|" + to, [&] {
        StoreFolderRecord source = Spelled(ChildRecordOf(from)), target = Spelled(ChildRecordOf(to));
        return StoreFolderCopy(&source, &target);
    });
}

bool TreeHand::RemoveFolder(const std::string& path)
{
    return Call(kRemove, path, [&] {
        StoreFolderRecord record = Spelled(ChildRecordOf(path));
        return StoreFolderRemove(&record);
    });
}

void TreeHand::Add()
{
    if (IsTooLarge()) return Remove();
    AddFolder(AnyFree());
}

void TreeHand::Remove() { RemoveFolder(AnyFree()); }

void TreeHand::Rename() { RenameFolder(AnyFree(), AnyFree()); }

// Now and then a folder into itself.
void TreeHand::Copy()
{
    if (IsTooLarge()) return Remove();
    const std::string from = dice_.OneIn(3) ? kKeptFolders[1 + dice_.Below(kKeptFolders.size() - 1)] : AnyFree();
    const bool intoItself = dice_.OneIn(8) && from != kLedger;
    CopyFolder(from, intoItself ? from + "/" + kFreeNames[dice_.Below(kFreeNames.size())] : AnyFree());
}

// ---- Listings ----

std::vector<std::string> TreeHand::Walk(const std::string& path, TLSFolderList* list)
{
    std::vector<std::string> names;
    Write(Deed::Begin, kList, 0, path);
    StoreFolderRecord record = Spelled(RecordOf(path));
    uint64_t more = list ? TLS_StoreFolderFindFirst(&record, list) : StoreFolderFindFirst(&record);
    while (more == 1) {
        const std::string name = record.FolderName;
        if (name.empty() || name.find_first_of("/\\") != name.npos) Fault("a list gives names", "\"" + name + "\" in " + path);
        names.push_back(name);
        if (names.size() > kMostNames) {
            Fault("an enumeration comes to its end", path);
            break;
        }
        if (dice_.OneIn(20)) Pause(2);
        more = list ? TLS_StoreFolderFindNext(&record, list) : StoreFolderFindNext(&record);
    }
    const uint64_t closed = list ? TLS_StoreFolderFindClose(&record, list) : StoreFolderFindClose(&record);
    if (closed != 1) Fault("the end of an enumeration answers 1", std::to_string(closed));
    if (list) InitTLSFolderList(list);
    Write(Deed::End, kList, !names.empty(), path);
    Write(Deed::Told, kList, !names.empty());
    return names;
}

void TreeHand::List()
{
    const test::OwnList list;
    for (uint32_t rounds = 1 + dice_.Below(3); rounds > 0; --rounds)
        Walk(AnyFolder(), dice_.OneIn(2) ? static_cast<TLSFolderList*>(list) : nullptr);
}

// Each folder that a list names is listed in turn: some are gone by then.
void TreeHand::ListEverything()
{
    std::vector<std::string> folders = {""};
    for (size_t at = 0; at < folders.size() && folders.size() < 2 * kMostFolders; ++at) {
        const std::string path = folders[at];
        const test::OwnList list;
        for (const std::string& name : Walk(path, list)) folders.push_back(path + "/" + name);
    }
}

void TreeHand::Reindex()
{
    const std::string path = AnyFolder();
    Call(kReindex, path, [&] {
        StoreFolderRecord record = Spelled(RecordOf(path));
        return StoreFolder_ReIndexChildFolders(&record);
    });
}

void TreeHand::Size()
{
    const std::string path = dice_.OneIn(4) ? "" : AnyFolder();
    Call(kSize, path, [&] {
        StoreFolderRecord record = RecordOf(path);
        const uint64_t told = dice_.OneIn(2) ? StoreFolderGetSize(&record) : StoreFolderGet_Ex(&record, kKilobytes);
        if (record.FolderSize > kMostSize) Fault("a size is one that the tree can have", std::to_string(record.FolderSize) + " of " + path);
        return told;
    });
}

// What asks for a time, a number or a share.
void TreeHand::Look()
{
    StoreFolderRecord record = RecordOf(AnyFolder());
    StoreFolder_GetHierarchyModificationDate(&record);
    StoreFolder_GetContentsModificationDate(&record);
    StoreGetDeliveredMessageCount(&record);
    if (dice_.OneIn(2)) RemoveMailboxShares(kMailbox, kPostoffice);
}

// ---- Messages ----

void TreeHand::Open()
{
    const std::string path = AnyFolder();
    if (path.empty()) return;
    const uint64_t opened = StoreFolder_Open(kPostoffice, kMailbox, HostName(path).c_str(), 0, 0);
    Write(Deed::Told, "open", opened != 0);
    if (opened == 0) {
        if (IsKept(path) && plan_.kills == 0 && !fs::exists(TreeDirectory(plan_.mailRoot, path))) Fault("a kept folder stays", path);
        return;
    }
    size_t items = 0;
    for (uint64_t more = StoreFolder_FindFirstItem(); more == 1; more = StoreFolder_FindNextItem()) {
        const std::string name = TextOfCurrentItem("VL_ITEM_ID"), subject = TextOfCurrentItem("PR_SUBJECT");
        // Where folders are copied, a scan may meet half a message.
        if (IsKept(path) && subject != LetterSubject(name)) Fault("what a worker sees is whole", name + " has the subject " + subject);
        if (++items > kMostNames) {
            Fault("a walk comes to its end", path);
            break;
        }
    }
    StoreFolder_Close();
}

void TreeHand::Deliver() { DeliverTo(AnyFolder()); }

void TreeHand::DeliverTo(const std::string& path)
{
    if (path.empty() || MessageFiles(TreeDirectory(plan_.mailRoot, path)).size() > kMostMessages) return;
    Put(path, IsKept(path));
}

std::string TreeHand::Put(const std::string& path, bool told)
{
    const std::string name = LetterName(plan_.process, thread_, ++letters_);
    const fs::path directory = TreeDirectory(plan_.mailRoot, path);
    const fs::path temporary = directory / ("_" + name + ".tmp");
    if (told) Write(Deed::DropBegin, name, 0, path);
    try {
        test::WriteFileBytes(temporary, LetterBytes(name));
        fs::rename(temporary, directory / name);
    } catch (const std::exception& fault) {
        // The folder went before the message came.
        if (told) Fault("a message can be put into a folder that stays", path + ": " + fault.what());
        return {};
    }
    const bool inserted = Direct_StoreIndex_InsertItem(kPostoffice, kMailbox, HostName(path).c_str(), name.c_str()) == 1;
    Write(Deed::Told, "deliver", inserted);
    if (told && !inserted) test::WriteFileBytes(directory / "_CHANGE.DTY", "changed");
    if (told) Write(Deed::DropEnd, name, 0, path);
    return name;
}

// ---- A folder of its own ----

void TreeHand::CheckOwn(const std::string& path, const std::string& letter, const char* behind)
{
    const fs::path file = TreeDirectory(plan_.mailRoot, path) / letter;
    std::error_code none;
    if (!fs::exists(file, none))
        Fault("what is told to have been done is done", letter + " is not in " + path + " behind " + behind);
    else if (test::ReadFileBytes(file) != LetterBytes(letter))
        Fault("a message file stays as it is", letter + " in " + path + " behind " + behind);
}

void TreeHand::Carry()
{
    if (IsTooLarge()) return Remove();
    const auto next = [&] { return AnyKept() + "/" + OwnName(plan_.process, thread_, ++folders_); };
    std::string path = next();
    if (!AddFolder(path)) return Fault("what nobody stands in the way of is done", "a new folder, " + path);
    const std::string letter = Put(path, true);
    if (letter.empty()) return;
    for (uint32_t rounds = 1 + dice_.Below(3); rounds > 0; --rounds) {
        const std::string target = next();
        // Whoever has a file of the folder open keeps it from being renamed on some systems.
        if (RenameFolder(path, target)) path = target;
        CheckOwn(path, letter, kRename);
        Pause(3);
    }
    if (dice_.OneIn(3)) {
        const std::string copy = next();
        // Whoever has its index open keeps it from being copied.
        if (CopyFolder(path, copy)) CheckOwn(copy, letter, kCopy);
        CheckOwn(path, letter, "a copy of it");
        RemoveFolder(copy);
    }
    std::error_code none;
    if (dice_.OneIn(2) && RemoveFolder(path) && fs::exists(TreeDirectory(plan_.mailRoot, path), none))
        Fault("what is told to have been done is done", path + " is there behind its removal");
}

// ---- Faults on purpose ----

void TreeHand::Sabotage()
{
    if (plan_.sabotage.empty() || thread_ != 0 || plan_.process != 1) return;
    std::error_code none;
    if (plan_.sabotage == "hide-folder") {
        // Behind the library's back, and under another name behind each deed, any of which may have listed the place again.
        const auto hidden = [&] { return TreeDirectory(plan_.mailRoot, std::string(kLedger) + "/Hidden" + std::to_string(hidings_)); };
        const fs::path before = hidden();
        ++hidings_;
        fs::rename(before, hidden(), none);
        if (none) fs::create_directory(hidden(), none);
    }
    if (!dice_.OneIn(15)) return;
    const std::string kept = kKeptFolders[1 + dice_.Below(kKeptFolders.size() - 2)];
    if (plan_.sabotage == "lose-kept")
        for (const std::string& name : MessageFiles(TreeDirectory(plan_.mailRoot, kept)))
            fs::remove(TreeDirectory(plan_.mailRoot, kept) / name, none);
    if (plan_.sabotage == "lie-of-size")
        for (const std::string& name : MessageFiles(TreeDirectory(plan_.mailRoot, kLedger)))
            Direct_StoreIndex_UpdateItem(kPostoffice, kMailbox, HostName(kLedger).c_str(), name.c_str(), "SIZE=7");
}

}  // namespace velmora::torture
