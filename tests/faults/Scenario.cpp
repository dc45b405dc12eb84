#include "tests/faults/Scenario.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <string_view>
#include <utility>

#include "common/Text.h"
#include "frame/Guard.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "items/MailScan.h"
#include "locks/FlagFiles.h"
#include "provider/FolderAccess.h"
#include "provider/ThreadContext.h"
#include "tests/support/FakeClock.h"
#include "velmora/direct.h"
#include "velmora/status.h"
#include "velmora/vlaisp.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

constexpr char kPostoffice[] = "po";
constexpr char kMailbox[] = "box";
constexpr char kFolder[] = "INBOX";

// ---- Steps of a host ----

void AddResult(Report& report, uint64_t result)
{
    if (!report.results.empty()) report.results += ' ';
    report.results += std::to_string(result);
}

bool OpenFolder(Report& report)
{
    const uint64_t opened = StoreFolder_Open(kPostoffice, kMailbox, kFolder, kKindMail, 0);
    AddResult(report, opened);
    return opened != 0;
}

void OpenAndList(const char*, Report& report) { report.listed = OpenFolder(report); }

// The host's save, which always answers 1.
void SaveAndClose(Report& report)
{
    AddResult(report, StoreFolder_Save(0));
    report.saved = Saved::Untold;
    StoreFolder_Close();
}

// The save that tells what became of it.
void CommitAndClose(Report& report)
{
    {
        const FolderAccess access(*CurrentContext());
        const uint64_t committed = StoreIndex_Commit(access.Index());
        AddResult(report, committed);
        report.saved = committed != 0 ? Saved::Yes : Saved::No;
    }
    StoreFolder_Close();
}

// A host that is told that a change was not made does not save.
void Change(Report& report, const char* id, void (*saveAndClose)(Report&))
{
    if (!OpenFolder(report)) return;
    const std::pair<const char*, const char*> changes[] = {{"PR_VL_FLAGSTATUS", "\\SEEN \\ANSWERED \\FLAGGED"}, {"PR_VL_READ", "1"}};
    for (const auto& [name, value] : changes) {
        const uint64_t set = StoreItem_SetProperty(id, name, value);
        AddResult(report, set);
        if (set != 0) continue;
        StoreFolder_Close();
        return;
    }
    saveAndClose(report);
}

// A record as a direct change holds it.
class OwnRecord {
public:
    OwnRecord() { StoreIndex_Init(&record_); }
    ~OwnRecord() { StoreIndex_Release(&record_); }
    OwnRecord(const OwnRecord&) = delete;
    OwnRecord& operator=(const OwnRecord&) = delete;
    STOREINDEXTYPE& operator*() { return record_; }
    STOREINDEXTYPE* operator->() { return &record_; }

private:
    STOREINDEXTYPE record_;
};

// The current item of the open folder goes, its file first, as a host's delete does it. True when both are gone.
bool DeleteItem(const char* id)
{
    TLSStoreIndex& context = *CurrentContext();
    const FolderAccess access(context);
    if (!access.Index()) return false;
    access.Index()->Changed = 1;
    STOREITEMTYPE& handle = context.CurrentFolderItem;
    if (!SelectItem(handle, *access.Index(), id)) return false;
    CopyBounded(handle.FolderPath, access.Index()->Path);
    // A host that is told that the file stays keeps its item.
    if (!BackendFor(kKindMail).deleteItemFile(handle, id)) return false;
    RemoveItems(access.Index()->Table, id);
    handle.Item = nullptr;
    return true;
}

// ---- Preparations ----

constexpr char kIndex[] = "_index.xml";
constexpr char kBackup[] = "_index.xml.bak";
constexpr char kSizes[] = "_DIRSIZE.TMP";

void ForgetIndex(const fs::path& folder)
{
    for (const std::string& name : FileNames(folder))
        if (name.front() == '_') fs::remove(folder / name);
}

void Deliver(const fs::path& folder) { PutMessage(folder, "7.MAI", "seven"); }

// Two are new, one is another message than the index knows, and a flag asks for the scan.
void ChangeFiles(const fs::path& folder)
{
    PutMessage(folder, "0.MAI", "new in front");
    PutMessage(folder, "9.MAI", "new behind");
    PutMessage(folder, "4.MAI", "four, with another subject");
    WriteFileBytes(folder / "_CHANGE.DTY", "");
}

void Damage(const fs::path& folder)
{
    const std::string bytes = ReadFileBytes(folder / kIndex);
    WriteFileBytes(folder / kIndex, bytes.substr(0, bytes.size() * 2 / 3));
}

// The index is cut, and its backup does not know the last message.
void DamageBesideABackup(const fs::path& folder)
{
    fs::copy_file(folder / kIndex, folder / kBackup, fs::copy_options::overwrite_existing);
    PutMessage(folder, "8.MAI", "newer than the backup");
    Damage(folder);
}

// Both are cut: what can be read of either is all that is known.
void DamageBoth(const fs::path& folder)
{
    Damage(folder);
    const std::string bytes = ReadFileBytes(folder / kIndex);
    WriteFileBytes(folder / kBackup, bytes.substr(0, bytes.size() / 2));
}

// A process died while it copied: once when it kept a backup, once when it restored one.
void DamageBesideHalfCopies(const fs::path& folder)
{
    DamageBesideABackup(folder);
    const std::string bytes = ReadFileBytes(folder / kBackup);
    for (const char* const file : {kIndex, kBackup})
        WriteFileBytes(folder / (std::string(file) + ".tmp"), bytes.substr(0, bytes.size() / 3));
}

// A number that is longer behind the change. The mailbox has one as well, which is not judged.
void PutSizes(const fs::path& folder, const char* kilobytes)
{
    WriteFileBytes(folder / kSizes, kilobytes);
    WriteFileBytes(folder.parent_path() / kSizes, kilobytes);
}

void DeliverDirectly(const fs::path& folder)
{
    PutSizes(folder, "999");
    PutMessage(folder, "7.MAI", "seven, " + std::string(900, '7'));
}

// One brings flags of its own.
void DeliverSeveralDirectly(const fs::path& folder)
{
    PutSizes(folder, "998");
    PutMessage(folder, "7.MAI", "seven");
    PutMessage(folder, "8.MAI", "eight");
    WriteFileBytes(folder / "9.MAI", "X-VLTempFlags: \\ANSWERED\r\nSubject: nine\r\n\r\nbody\r\n");
    fs::last_write_time(folder / "9.MAI", fs::last_write_time(folder / "1.MAI"));
}

// Messages that bear private lines, to be taken out of them by the scan.
void DeliverBranded(const fs::path& folder)
{
    for (const char* name : {"7.MAI", "8.MAI"}) {
        WriteFileBytes(folder / name, std::string("X-VLTempFlags: \\SEEN\r\nSubject: ") + name + "\r\n\r\nbody\r\n");
        fs::last_write_time(folder / name, fs::last_write_time(folder / "1.MAI"));
    }
    WriteFileBytes(folder / "_CHANGE.DTY", "");
}

// ---- Acts ----

// The road of a delivery: the header of the index is read and one element appended.
void Append(const char* folder, Report& report)
{
    OwnRecord record;
    void* handle = nullptr;
    uint64_t begun = 0;
    try {
        begun = StoreIndex_BeginTransaction(*record, kPostoffice, kMailbox, kFolder, 1, handle, 1);
    } catch (const std::exception&) {
    }
    AddResult(report, begun);
    if (begun == 0) {
        MarkFolderDirty(folder);
        return;
    }
    uint64_t added = 0;
    try {
        ListedFile file{"7.MAI", 0, 0};
        MessageListing listing;
        listing.Read(record->Path, 100);
        for (size_t i = 0; i < listing.Count(); ++i)
            if (listing[i].name == file.name) file = listing[i];
        uint32_t nextUid = record->Table.LastUID;
        const uint32_t folderUid = GetFolderUniqueId(record->Path);
        if (file.size != 0) added = AddMessageItem(record->Table, record->Path, file, folderUid, nextUid) == MessageRead::Whole;
    } catch (const std::exception&) {
    }
    AddResult(report, added);
    if (added == 0) MarkFolderDirty(folder);
    if (added != 0) report.saved = Saved::Untold;
    try {
        StoreIndex_SaveAndClose(*record, added != 0, 1, handle, nullptr);
    } catch (const std::exception&) {
        // It has marked the folder.
    }
}

// A call that answers 0 leaves its caller free to call again, so nothing of it may be in the index then.
void AddDirectResult(Report& report, uint64_t told)
{
    AddResult(report, told);
    report.saved = told != 0 ? Saved::OrMarked : Saved::Nothing;
}

void DirectInsert(const char*, Report& report)
{
    AddDirectResult(report, Direct_StoreIndex_InsertItem(kPostoffice, kMailbox, kFolder, "7.MAI"));
}

void DirectInsertSeveral(const char*, Report& report)
{
    AddDirectResult(report, Direct_StoreIndex_InsertItemEx(kPostoffice, kMailbox, kFolder, "7.MAI,8.MAI,9.MAI",
                                                           "\\SEEN \\FLAGGED,SIZE=4096,\\FLAGGED"));
}

void DirectUpdate(const char*, Report& report)
{
    AddDirectResult(report, Direct_StoreIndex_UpdateItem(kPostoffice, kMailbox, kFolder, "3.MAI", "+FLAGGED"));
}

// The message's file goes first, by the host's own hand.
void DirectRemove(const char* folder, Report& report)
{
    try {
        fs::remove(fs::path(folder) / "3.MAI");
    } catch (const std::bad_alloc&) {
        AddResult(report, 0);
        return;
    }
    AddDirectResult(report, Direct_StoreIndex_RemoveItem(kPostoffice, kMailbox, kFolder, "3.MAI"));
}

void ChangeFirst(const char*, Report& report) { Change(report, "1.MAI", CommitAndClose); }
void ChangeMiddle(const char*, Report& report) { Change(report, "3.MAI", SaveAndClose); }
void ChangeLast(const char*, Report& report) { Change(report, "6.MAI", SaveAndClose); }

void Remove(const char*, Report& report)
{
    if (!OpenFolder(report)) return;
    const uint64_t deleted = GuardedEntry("DeleteItem", uint64_t{0}, []() -> uint64_t { return DeleteItem("3.MAI"); });
    AddResult(report, deleted);
    SaveAndClose(report);
    if (deleted == 0) report.saved = Saved::NotAsked;
}

void RewriteInFull(const char*, Report& report)
{
    if (!OpenFolder(report)) return;
    {
        const FolderAccess access(*CurrentContext());
        access.Index()->Table.RewriteRequired = 1;
        const uint64_t saved = StoreIndex_Save(access.Index());
        AddResult(report, saved);
        report.saved = saved != 0 ? Saved::Yes : Saved::No;
    }
    StoreFolder_Close();
}

// Some of them once more, on indexes that are documents: a save puts a new file in the place of the old one.
std::vector<Scenario> WithDocuments(std::vector<Scenario> scenarios)
{
    constexpr std::pair<const char*, const char*> kAgain[] = {
        {"OpenNew", "DocumentsOpenNew"},           {"Append", "DocumentsAppend"},
        {"ChangeMiddle", "DocumentsChangeMiddle"}, {"Remove", "DocumentsRemove"},
        {"DirectInsert", "DocumentsDirectInsert"}, {"DirectUpdate", "DocumentsDirectUpdate"},
        {"DirectRemove", "DocumentsDirectRemove"}, {"Rescan", "DocumentsRescan"},
    };
    for (const auto& [name, again] : kAgain) {
        const auto found =
            std::find_if(scenarios.begin(), scenarios.end(), [&](const Scenario& each) { return std::string_view(name) == each.name; });
        Scenario copy = *found;
        copy.name = again;
        copy.documents = true;
        // There are fewer steps to break off at.
        copy.deaths = 8;
        scenarios.push_back(std::move(copy));
    }
    return scenarios;
}

}  // namespace

void SetPresentTime(FakeClock& clock) { clock.SetNow((kSecondsBefore1970 + static_cast<uint64_t>(kPresentSeconds)) * kFileTimePerSecond); }

void PutMessage(const fs::path& folder, const std::string& name, const std::string& subject)
{
    WriteFileBytes(folder / name, "From: a@example.org\r\nTo: b@example.org\r\nSubject: " + subject + "\r\n\r\nbody of " + name + "\r\n");
    // Whole seconds of a day that lies behind, so that a file's time does not depend on when the test runs.
    using namespace std::chrono_literals;
    const auto now = fs::file_time_type::clock::now();
    fs::last_write_time(folder / name, std::chrono::floor<std::chrono::hours>(now) - 24h + std::chrono::seconds(2 * subject.size()));
}

void MakeFirstFolder(const fs::path& folder)
{
    const std::pair<const char*, const char*> messages[] = {{"1.MAI", "one"},  {"2.MAI", "two, a longer one"}, {"3.MAI", "three"},
                                                            {"4.MAI", "four"}, {"5.MAI", "five & more"},       {"6.MAI", "six"}};
    for (const auto& [name, subject] : messages) PutMessage(folder, name, subject);
    StoreFolder_Open(kPostoffice, kMailbox, kFolder, kKindMail, 0);
    Listing scanned = ListingOfOpenFolder();
    for (const auto& [name, subject] : messages)
        StoreItem_SetProperty(name, "PR_VL_FLAGSTATUS", (std::string("\\SEEN \\KEY") + subject).c_str());
    for (const char* const name : {"2.MAI", "4.MAI", "5.MAI"}) StoreItem_SetProperty(name, "PR_VL_READ", "1");
    StoreFolder_Save(0);
    {
        const FolderAccess access(*CurrentContext());
        for (const char* const name : {"2.MAI", "5.MAI"}) {
            IndexItemPropertyContainer* const item = FindLoadedItem(access.Index()->Table, name);
            SetItemProperty(*item, kModifiedDate, scanned[name][kModifiedDate]);
        }
        access.Index()->Changed = 1;
        StoreIndex_Commit(access.Index());
    }
    StoreFolder_Close();
    LeaveEverything();
    for (const char* name : {"_CHANGE.DTY", "_index.xml.bak"}) fs::remove(folder / name);
}

void LeaveEverything() { StoreLibrary_ThreadRelease(); }

const std::vector<Scenario>& Scenarios()
{
    static const std::vector<Scenario> scenarios = WithDocuments({
        {.name = "OpenNew", .prepare = ForgetIndex, .act = OpenAndList, .allowed = {"0", "1"}},
        {.name = "Load", .act = OpenAndList, .allowed = {"0", "1"}, .writes = 0, .deaths = 2},
        {.name = "Append",
         .prepare = Deliver,
         .act = Append,
         .allowed = {"0", "1 0", "1 1"},
         .countsUnderBlock = true,
         .ownListings = 1,
         .savesInPlace = true},
        {.name = "ChangeFirst", .act = ChangeFirst, .allowed = {"0", "1 0", "1 1 0", "1 1 1 0", "1 1 1 1"}, .savesInPlace = true},
        {.name = "ChangeMiddle", .act = ChangeMiddle, .allowed = {"0", "1 0", "1 1 0", "1 1 1 1"}, .savesInPlace = true},
        {.name = "ChangeLast", .act = ChangeLast, .allowed = {"0", "1 0", "1 1 0", "1 1 1 1"}, .savesInPlace = true},
        {.name = "Remove", .act = Remove, .allowed = {"0", "1 0 1", "1 1 1"}, .removes = "3.MAI", .savesInPlace = true},
        {.name = "DirectInsert",
         .prepare = DeliverDirectly,
         .act = DirectInsert,
         .allowed = {"0", "1"},
         .movedCounts = {VELMORA_STATUS_ITEMS, VELMORA_STATUS_SEEN, VELMORA_STATUS_LAST_UID},
         .countsUnderBlock = true,
         .unmarked = 2,
         .savesInPlace = true},
        {.name = "DirectInsertSeveral",
         .prepare = DeliverSeveralDirectly,
         .act = DirectInsertSeveral,
         .allowed = {"0", "1"},
         .movedCounts = {VELMORA_STATUS_ITEMS, VELMORA_STATUS_SEEN, VELMORA_STATUS_LAST_UID},
         .countsUnderBlock = true,
         .unmarked = 2,
         .savesInPlace = true},
        {.name = "DirectUpdate",
         .act = DirectUpdate,
         .allowed = {"0", "1"},
         .movedCounts = {VELMORA_STATUS_ITEMS, VELMORA_STATUS_SEEN, VELMORA_STATUS_FLAGGED, VELMORA_STATUS_LAST_UID},
         .countsUnderBlock = true,
         .savesInPlace = true},
        {.name = "DirectRemove",
         .act = DirectRemove,
         .allowed = {"0", "1"},
         .removes = "3.MAI",
         .movedCounts = {VELMORA_STATUS_ITEMS, VELMORA_STATUS_SEEN, VELMORA_STATUS_LAST_UID},
         .countsUnderBlock = true,
         .savesInPlace = true},
        {.name = "Rewrite", .act = RewriteInFull, .allowed = {"0", "1 0", "1 1"}},
        {.name = "Rescan", .prepare = ChangeFiles, .act = OpenAndList, .allowed = {"0", "1"}},
        {.name = "RescanBranded", .prepare = DeliverBranded, .act = OpenAndList, .allowed = {"0", "1"}, .branding = true},
        {.name = "Recovery", .prepare = DamageBesideABackup, .act = OpenAndList, .allowed = {"0", "1"}, .backupOnly = true},
        {.name = "RecoveryHalfCopies", .prepare = DamageBesideHalfCopies, .act = OpenAndList, .allowed = {"0", "1"}, .backupOnly = true},
        {.name = "RecoveryHalfBackup",
         .prepare = DamageBoth,
         .act = OpenAndList,
         .allowed = {"1", "0"},
         .backupOnly = true,
         .beginsTorn = true,
         .deaths = 5},
    });
    return scenarios;
}

const Scenario* FindScenario(const std::string& name)
{
    for (const Scenario& scenario : Scenarios())
        if (name == scenario.name) return &scenario;
    return nullptr;
}

}  // namespace velmora::test
