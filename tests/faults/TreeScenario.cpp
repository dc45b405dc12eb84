#include "tests/faults/TreeScenario.h"

#include <new>

#include "common/Text.h"
#include "tests/faults/Listing.h"
#include "tests/faults/Scenario.h"
#include "tests/support/OwnList.h"
#include "velmora/folders.h"
#include "velmora/vlaisp.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

constexpr char kPostoffice[] = "po";
constexpr char kMailbox[] = "box";

StoreFolderRecord RecordOf(const char* path, const char* name = "")
{
    StoreFolderRecord record{};
    CopyBounded(record.Postoffice, kPostoffice);
    CopyBounded(record.Mailbox, kMailbox);
    CopyBounded(record.FolderPath, path);
    CopyBounded(record.FolderName, name);
    return record;
}

TreeAnswer Add()
{
    StoreFolderRecord record = RecordOf("/Work", "New");
    return {StoreFolderAdd(&record)};
}

template <uint64_t (*Call)(StoreFolderRecord*, StoreFolderRecord*)>
TreeAnswer Between(StoreFolderRecord from, StoreFolderRecord to)
{
    return {Call(&from, &to)};
}

TreeAnswer Rename() { return Between<StoreFolderEdit>(RecordOf("/Work", "A"), RecordOf("/Inbox", "Moved")); }
TreeAnswer RenameFar() { return Between<StoreFolderEdit>(RecordOf("/Work", "A"), RecordOf("/Far/Away", "Moved")); }
TreeAnswer Copy() { return Between<StoreFolderCopy>(RecordOf("/Work", "A"), RecordOf("/Inbox", "Copy")); }
TreeAnswer Merge() { return Between<StoreFolderCopy>(RecordOf("/Work", "A"), RecordOf("/Work", "B")); }

TreeAnswer Remove()
{
    StoreFolderRecord record = RecordOf("/Work", "A");
    return {StoreFolderRemove(&record)};
}

// Where memory has run out the host has none either.
void Keep(std::vector<std::string>& names, const char* name)
{
    try {
        names.emplace_back(name);
    } catch (const std::bad_alloc&) {
    }
}

TreeAnswer List()
{
    TreeAnswer answer;
    const OwnList list;
    StoreFolderRecord record = RecordOf("/Work");
    for (uint64_t more = TLS_StoreFolderFindFirst(&record, list); more == 1; more = TLS_StoreFolderFindNext(&record, list))
        Keep(answer.names, record.FolderName);
    answer.result = TLS_StoreFolderFindClose(&record, list);
    return answer;
}

TreeAnswer ListByTheThreadsOwn()
{
    TreeAnswer answer;
    StoreFolderRecord record = RecordOf("/Work");
    for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record))
        Keep(answer.names, record.FolderName);
    answer.result = StoreFolderFindClose(&record);
    return answer;
}

TreeAnswer Reindex()
{
    StoreFolderRecord record = RecordOf("/Work");
    return {StoreFolder_ReIndexChildFolders(&record)};
}

TreeAnswer Size()
{
    StoreFolderRecord record = RecordOf("/");
    const uint64_t result = StoreFolderGetSize(&record);
    return {result, record.FolderSize};
}

TreeAnswer TakeShares() { return {RemoveMailboxShares(kMailbox, kPostoffice)}; }

std::string AccessList(const std::vector<std::string>& users)
{
    std::string text = "<LIST>";
    for (const std::string& user : users) text += "<ITEM USER=\"" + user + "\" RIGHTS=\"rw\"/>";
    return text + "</LIST>";
}

// The share of one of our folders among others.
std::string SecurityList(const std::vector<std::string>& folders)
{
    std::string text = "<LIST><ITEM URI=\"SF:po/other/Inbox\"/>";
    for (const std::string& folder : folders) text += "<ITEM URI=\"SF:po/box/" + folder + "\" RIGHTS=\"rw\"/>";
    return text + "</LIST>";
}

}  // namespace

void PutTreeSettings(TestStore& store)
{
    // As on a machine with no settings for it.
    for (const char* const name : {"Use XML Stream Index Deserialisation", "Use XML Stream Index Serialisation"}) store.SetNumber(name, 0);
    store.SetText("Configuration Directory", (store.Directory().Path() / "Configuration").string());
    fs::create_directories(SecurityDirectory(store));
}

fs::path SecurityDirectory(const TestStore& store)
{
    return store.MailRoot().parent_path() / "Configuration" / "Postoffices" / "po" / "Security";
}

void MakeTree(TestStore& store)
{
    fs::path mailbox;
    for (const char* const folder : kTreeFolders) {
        const fs::path path = store.MakeFolder(folder);
        for (const char* const number : {"1", "2"}) PutMessage(path, path.filename().string() + number + ".MAI", folder);
        ListMessages(folder);
    }
    for (const char* const folder : kTreeFolders) ListChildren(folder);
    ListChildren("");
    mailbox = store.MailRoot() / "po" / "MAILROOT" / "box";
    PutMessage(mailbox / "Work/B", "New.MAI", "a new one");
    WriteFileBytes(mailbox / "Work/B/_CHANGE.DTY", "changed");
    fs::create_directory(mailbox / "Work/C");
    WriteFileBytes(mailbox / "Work/_folder.dty", "DIRTY");
    WriteFileBytes(mailbox / "_Shares.xml",
                   "<SHARES><SHARE><RESOURCE>/Inbox</RESOURCE></SHARE><SHARE><RESOURCE>/Work/A</RESOURCE></SHARE></SHARES>");
    for (const char* const folder : {"Inbox", "Work/A"}) WriteFileBytes(mailbox / folder / "_Access.XML", AccessList({"alma", "bruno"}));
    for (const char* const user : {"alma", "bruno"})
        WriteFileBytes(SecurityDirectory(store) / (std::string(user) + ".xml"), SecurityList({"Inbox", "Work/A"}));
}

const std::vector<TreeScenario>& TreeScenarios()
{
    static const std::vector<TreeScenario> scenarios = {
        {.name = "Add", .act = Add, .change = TreeChange::Add, .from = "Work/New"},
        {.name = "Rename", .act = Rename, .change = TreeChange::Move, .from = "Work/A", .to = "Inbox/Moved"},
        {.name = "RenameFar", .act = RenameFar, .change = TreeChange::Move, .from = "Work/A", .to = "Far/Away/Moved"},
        {.name = "Copy", .act = Copy, .change = TreeChange::Copy, .from = "Work/A", .to = "Inbox/Copy", .operations = 15},
        {.name = "Merge", .act = Merge, .change = TreeChange::Copy, .from = "Work/A", .to = "Work/B", .operations = 15},
        {.name = "Remove",
         .act = Remove,
         .change = TreeChange::Remove,
         .from = "Work/A",
         .takesShares = true,
         .operations = 20,
         .allocations = 50},
        {.name = "List", .act = List, .lists = true},
        {.name = "ListByTheThreadsOwn", .act = ListByTheThreadsOwn, .lists = true},
        {.name = "Reindex", .act = Reindex},
        {.name = "Size", .act = Size, .sizes = true, .operations = 50, .allocations = 200},
        {.name = "TakeShares", .act = TakeShares, .takesAllShares = true, .operations = 20, .allocations = 100},
    };
    return scenarios;
}

std::vector<std::string> ListChildren(const std::string& folder)
{
    std::vector<std::string> names;
    const OwnList list;
    StoreFolderRecord record = RecordOf(("/" + folder).c_str());
    for (uint64_t more = TLS_StoreFolderFindFirst(&record, list); more == 1; more = TLS_StoreFolderFindNext(&record, list))
        names.push_back(record.FolderName);
    return names;
}

uint32_t SizeOfTree() { return Size().size; }

std::set<std::string> ListMessages(const std::string& folder)
{
    std::set<std::string> ids;
    if (StoreFolder_Open(kPostoffice, kMailbox, folder.c_str(), 0, 0) == 0) return ids;
    for (const auto& [id, columns] : ListingOfOpenFolder()) ids.insert(id);
    LeaveEverything();
    return ids;
}

}  // namespace velmora::test
