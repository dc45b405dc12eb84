// Adding, removing, renaming and copying folders where a record does not name a plain folder of a mailbox: paths that lead
// elsewhere, fields that are full, public folders, files and contacts.
#include <gtest/gtest.h>

#include "tests/folders/FolderOperations.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

// ---- What names no folder ----

TEST_F(FolderOperations, APathThatClimbsIsRefusedAndNothingIsTouched)
{
    Make("a/b");
    store.MakeFolder("INBOX", "other");
    fs::create_directories(store.Directory() / "outside/a");
    const auto before = Everything();
    const StoreFolderRecord kept = Record("/", "a");
    std::vector<StoreFolderRecord> climbing = ClimbingPaths();
    for (const char* name : {"..", ".", "../other", "a\\..\\..", ".. ", "...", " ", "\t", "..\\..\\..\\..\\outside"})
        climbing.push_back(Record("/", name));
    for (const StoreFolderRecord& record : climbing) {
        EXPECT_EQ(Add(record), 0u) << record.FolderPath << " " << record.FolderName;
        EXPECT_EQ(Remove(record), 0u) << record.FolderPath << " " << record.FolderName;
        EXPECT_EQ(Edit(record, Record("/", "new")), 0u) << record.FolderPath << " " << record.FolderName;
        EXPECT_EQ(Edit(kept, record), 0u) << record.FolderPath << " " << record.FolderName;
        EXPECT_EQ(Copy(record, Record("/", "new")), 0u) << record.FolderPath << " " << record.FolderName;
        EXPECT_EQ(Copy(kept, record), 0u) << record.FolderPath << " " << record.FolderName;
    }
    EXPECT_EQ(Everything(), before);
    EXPECT_TRUE(FileExists(store.Directory() / "outside/a"));
}

// Lists, sizes and dates would tell of other mailboxes, and a list that is made anew would be written there.
TEST_F(FolderOperations, APathThatClimbsIsNeitherListedNorSizedNorDated)
{
    Make("a");
    store.MakeFolder("INBOX", "other");
    const fs::path top = store.MailRoot() / "po/MAILROOT";
    for (const fs::path& directory : {store.Directory().Path(), store.MailRoot(), store.MailRoot() / "po", top, top / "other", box}) {
        WriteFileBytes(directory / "_index.xml", "<BASEELEMENT LASTUID=\"1\"><ELEMENT ID=\"1\"><SIZE>7</SIZE></ELEMENT></BASEELEMENT>");
        WriteFileBytes(directory / "_folder.xml", ListOf({"z"}));
        WriteFileBytes(directory / "_3.NEW", "");
    }
    fs::create_directory(top / "other/caf\xE9");
    const auto before = Everything();
    for (StoreFolderRecord record : ClimbingPaths()) {
        const std::string at = std::string(record.Postoffice) + " " + record.Mailbox + " " + record.FolderPath;
        EXPECT_EQ(StoreFolderFindFirst(&record), 0u) << at;
        EXPECT_EQ(StoreFolderFindNext(&record), 0u) << at;
        EXPECT_EQ(StoreFolderGet(&record), 1u) << at;
        EXPECT_EQ(record.FolderSize, 0u) << at;
        EXPECT_EQ(StoreFolder_ReIndexChildFolders(&record), 0u) << at;
        EXPECT_EQ(StoreFolder_GetHierarchyModificationDate(&record), 0u) << at;
        EXPECT_EQ(StoreFolder_GetContentsModificationDate(&record), 0u) << at;
        // The counters are the mailbox's, whatever the path.
        const bool isOwn = std::string_view(record.Mailbox) == "box" && std::string_view(record.Postoffice) == "po";
        if (isOwn) continue;
        EXPECT_EQ(StoreGetDeliveredMessageCount(&record), 0u) << at;
    }
    EXPECT_EQ(Everything(), before);
}

TEST_F(FolderOperations, DotsInANameAreNoSteps)
{
    EXPECT_EQ(Add(Record("/", "..a")), 1u);
    EXPECT_EQ(Add(Record("/", "v1..2")), 1u);
    EXPECT_EQ(Remove(Record("/", "..a")), 1u);
    EXPECT_EQ(Directories(), Names{"v1..2"});
}

TEST_F(FolderOperations, ANullRecordAnswersZero)
{
    StoreFolderRecord record = Record("/", "a");
    EXPECT_EQ(StoreFolderAdd(nullptr), 0u);
    EXPECT_EQ(StoreFolderRemove(nullptr), 0u);
    EXPECT_EQ(StoreFolderEdit(nullptr, &record), 0u);
    EXPECT_EQ(StoreFolderEdit(&record, nullptr), 0u);
    EXPECT_EQ(StoreFolderCopy(nullptr, &record), 0u);
    EXPECT_EQ(StoreFolderCopy(&record, nullptr), 0u);
    EXPECT_EQ(StoreFolder_ReIndexChildFolders(nullptr), 0u);
    EXPECT_EQ(Directories(), Names{});
}

// Fields that are full have no zero: each ends at its size.
TEST_F(FolderOperations, FullFieldsAreReadToTheirEndAndNoFurther)
{
    Make("a");
    const auto before = Everything();
    StoreFolderRecord full;
    std::memset(&full, 'x', sizeof full);
    StoreFolderRecord longName = Record("/", "a");
    std::memset(longName.FolderName, 'n', sizeof longName.FolderName);
    StoreFolderRecord longPath = Record("/", "a");
    std::memset(longPath.FolderPath, '/', sizeof longPath.FolderPath);
    for (const StoreFolderRecord& record : {full, longName, longPath}) {
        EXPECT_EQ(Add(record), 0u);
        Remove(record);
        EXPECT_EQ(Edit(record, Record("/", "b")), 0u);
        EXPECT_EQ(Copy(record, Record("/", "b")), 0u);
    }
    for (const StoreFolderRecord& record : {full, longPath}) {
        StoreFolderRecord dated = record;
        StoreFolder_ReIndexChildFolders(&dated);
        EXPECT_EQ(StoreFolder_GetHierarchyModificationDate(&dated), 0u);
        EXPECT_EQ(StoreFolder_GetContentsModificationDate(&dated), 0u);
        EXPECT_EQ(StoreGetDeliveredMessageCount(&dated), 0u);
        EXPECT_EQ(std::memcmp(dated.Reserved, record.Reserved, sizeof dated.Reserved), 0);
    }
    TakeFlag();
    EXPECT_EQ(Everything(), before);
}

// Cut to a buffer, the path would be that of the folder above.
TEST_F(FolderOperations, APathThatDoesNotFitIsNotThatOfAFolderAbove)
{
    Make("a");
    const std::string top = Dir("a");
    StoreFolderRecord record = Record("a", "b");
    const size_t room = 1023 - top.size();
    CopyBounded(record.FolderPath, "a" + std::string(room, '/') + "deeper");
    EXPECT_EQ(Remove(record), 0u);
    record.FolderName[0] = 0;
    EXPECT_EQ(Remove(record), 0u);
    EXPECT_TRUE(Has("a"));
}

TEST_F(FolderOperations, NoneSaysAnythingOrLetsAnExceptionOut)
{
    Make("a");
    const std::string said = CaptureStdout([&] {
        const WatchedFiles files([](FileOperation, std::string_view) -> uint32_t { throw std::bad_alloc(); });
        EXPECT_EQ(Remove(Record("/", "a")), 0u);
        EXPECT_EQ(Edit(Record("/", "a"), Record("/", "b")), 0u);
        EXPECT_EQ(Copy(Record("/", "a"), Record("/", "b")), 0u);
        EXPECT_EQ(log.Events(), Names{});
        EXPECT_EQ(Add(Record("/", "b")), 0u);
        EXPECT_TRUE(log.HasTrace("StoreFolderAdd handled an exception; session will be dropped.\nThe exception was: std::bad_alloc\n"));
    });
    EXPECT_EQ(Directories(), Names{"a"});
}

// ---- Public folders, files and contacts ----

class FolderRoots : public FolderOperations {
protected:
    struct Root {
        const char* path;       // as a record names it
        const char* directory;  // below the post office
    };
    static constexpr Root kRoots[] = {{"/Public", "PUBROOT"}, {"$FILEROOT", "FILEROOT/box"}, {"$VCFROOT", "VCFROOT"}};

    void SetUp() override
    {
        FolderOperations::SetUp();
        for (const Root& root : kRoots) fs::create_directories(In(root));
    }
    fs::path In(const Root& root) const { return store.MailRoot() / "po" / root.directory; }
    bool HasFlag(const fs::path& directory) const { return FileExists(directory / "_folder.dty"); }
    void TakeFlagOf(const fs::path& directory) const { fs::remove(directory / "_folder.dty"); }
};

TEST_F(FolderRoots, AFolderIsMadeListedDatedAndRemovedInEach)
{
    for (const Root& root : kRoots) {
        EXPECT_EQ(Add(Record(root.path, "calendar")), 1u) << root.path;
        EXPECT_TRUE(FileExists(In(root) / "calendar")) << root.path;
        EXPECT_TRUE(HasFlag(In(root))) << root.path;

        StoreFolderRecord record = Record(root.path);
        EXPECT_EQ(StoreFolder_ReIndexChildFolders(&record), 1u) << root.path;
        EXPECT_EQ(ReadFileBytes(In(root) / "_folder.xml"), ListOf({"calendar"})) << root.path << ": no root has well-known names";
        EXPECT_NE(StoreFolder_GetHierarchyModificationDate(&record), 0u) << root.path;
        EXPECT_EQ(StoreFolder_GetContentsModificationDate(&record), 0u) << root.path;
        WriteFileBytes(In(root) / "_index.xml", "");
        EXPECT_NE(StoreFolder_GetContentsModificationDate(&record), 0u) << root.path;

        // Public stays as it is by its reserved path.
        const bool isPublic = &root == &kRoots[0];
        EXPECT_EQ(Remove(Record(root.path, "calendar")), isPublic ? 0u : 1u) << root.path;
        EXPECT_EQ(FileExists(In(root) / "calendar"), isPublic) << root.path;
    }
}

TEST_F(FolderRoots, AFolderIsRenamedAndCopiedInEach)
{
    for (const Root& root : {kRoots[1], kRoots[2]}) {
        fs::create_directories(In(root) / "a/below");
        EXPECT_EQ(Edit(Record(root.path, "a"), Record(root.path, "b")), 1u) << root.path;
        EXPECT_TRUE(FileExists(In(root) / "b/below")) << root.path;
        EXPECT_TRUE(HasFlag(In(root))) << root.path;
        TakeFlagOf(In(root));
        EXPECT_EQ(Copy(Record(root.path, "b"), Record(root.path, "c")), 1u) << root.path;
        EXPECT_TRUE(FileExists(In(root) / "b/below")) << root.path;
        EXPECT_TRUE(FileExists(In(root) / "c/below")) << root.path;
        EXPECT_TRUE(HasFlag(In(root))) << root.path;
    }
}

TEST_F(FolderRoots, BelowPublicFoldersAFolderIsRemovedAndRenamed)
{
    const fs::path top = In(kRoots[0]);
    fs::create_directories(top / "News/Old/Oldest");
    EXPECT_EQ(Remove(Record("/Public/News", "Old")), 1u);
    EXPECT_FALSE(FileExists(top / "News/Old"));
    EXPECT_TRUE(HasFlag(top / "News"));
    EXPECT_EQ(Edit(Record("Public/News"), Record("Public\\Papers")), 1u);
    EXPECT_TRUE(FileExists(top / "Papers"));
    TakeFlagOf(top);
    EXPECT_EQ(Remove(Record("\\Public\\Papers")), 1u);
    EXPECT_FALSE(FileExists(top / "Papers"));
    EXPECT_TRUE(HasFlag(top));
}

// A folder that is made on the way is one that the list above does not know.
TEST_F(FolderRoots, TheFolderThatParentsAreMadeInIsMarkedInEach)
{
    Make("a");
    for (const Root& root : {kRoots[0], kRoots[1]}) {
        fs::create_directories(In(root) / "there");
        EXPECT_EQ(Copy(Record("/", "a"), Record(std::string(root.path) + "/there/x/y", "z")), 1u) << root.path;
        EXPECT_TRUE(FileExists(In(root) / "there/x/y/z")) << root.path;
        EXPECT_TRUE(HasFlag(In(root) / "there/x/y")) << root.path;
        EXPECT_TRUE(HasFlag(In(root) / "there")) << root.path;
        EXPECT_FALSE(HasFlag(In(root))) << root.path;
        EXPECT_EQ(Copy(Record("/", "a"), Record(std::string(root.path) + "/new/y", "z")), 1u) << root.path;
        EXPECT_TRUE(HasFlag(In(root))) << root.path;
    }
    const fs::path contacts = In(kRoots[2]);
    EXPECT_EQ(Copy(Record("/", "a"), Record("$VCFROOT", "x/y")), 1u);
    EXPECT_TRUE(HasFlag(contacts / "x"));
    EXPECT_TRUE(HasFlag(contacts));
    EXPECT_FALSE(HasFlag(store.MailRoot() / "po"));
    EXPECT_FALSE(HasFlag(store.MailRoot() / "po/FILEROOT"));
}

TEST_F(FolderRoots, OfAMailboxThatIsMadeOnTheWayIsMarkedItself)
{
    Make("a");
    StoreFolderRecord to = Record("/x", "y");
    CopyBounded(to.Mailbox, "new");
    EXPECT_EQ(Copy(Record("/", "a"), to), 1u);
    const fs::path made = store.MailRoot() / "po/MAILROOT/new";
    EXPECT_TRUE(FileExists(made / "x/y"));
    EXPECT_TRUE(HasFlag(made));
    EXPECT_FALSE(HasFlag(store.MailRoot() / "po/MAILROOT"));
}

TEST_F(FolderRoots, WhatAllShareIsNeitherRemovedNorRenamed)
{
    Make("a");
    for (const Root& root : kRoots) fs::create_directories(In(root) / "theirs");
    Put("_DIRSIZE.TMP", "7");
    std::vector<StoreFolderRecord> shared;
    for (const char* path : {"1Public", "xPublic", "Public/", "/Public//", "$VCFROOT", "$vcfroot/", "$VCFROOTx"})
        shared.push_back(Record(path));
    for (const char* path : {"/", "", "//", "$FILEROOT", "$FILEROOT/"}) {
        shared.push_back(Record(path));
        shared.back().Mailbox[0] = 0;
    }
    const auto before = Everything();
    for (const StoreFolderRecord& record : shared) {
        const std::string at = std::string(record.Mailbox) + " " + record.FolderPath;
        EXPECT_EQ(Remove(record), 0u) << at;
        EXPECT_EQ(Edit(record, Record("/", "new")), 0u) << at;
        EXPECT_EQ(Edit(Record("/", "a"), record), 0u) << at;
    }
    EXPECT_EQ(Everything(), before);
}

TEST_F(FolderRoots, TheFilesOfAMailboxAreItsOwn)
{
    fs::create_directories(store.MailRoot() / "po/FILEROOT/other");
    EXPECT_EQ(Remove(Record("$FILEROOT")), 1u);
    EXPECT_FALSE(FileExists(In(kRoots[1])));
    EXPECT_TRUE(FileExists(store.MailRoot() / "po/FILEROOT/other"));
}

}  // namespace
}  // namespace velmora::test
