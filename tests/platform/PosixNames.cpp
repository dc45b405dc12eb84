// What a look for a name costs, and where listings are kept.
#include <unistd.h>

#include <thread>

#include "platform/posix/DirectoryNames.h"
#include "tests/platform/PlatformTest.h"
#include "tests/platform/PosixSystemCalls.h"

namespace velmora::test {

namespace {

using platform::DirectoryListings;

class PosixNames : public PlatformTest {
protected:
    // Lets the directory's last change be older than what listings made right behind it are distrusted for.
    static void LetItSettle() { usleep(30'000); }
};

TEST_F(PosixNames, AnExactHitListsNothing)
{
    MakeFile("File.txt", "text");
    const uint64_t before = DirectoryListings();
    EXPECT_EQ(Contents(At("File.txt")), "text");
    EXPECT_TRUE(IsThere(At("File.txt")));
    EXPECT_EQ(DirectoryListings(), before);
}

// Calls by path only: what is asked of an opened file is not counted.
TEST_F(PosixNames, AnExactHitCostsOneSystemCall)
{
    const std::string path = MakeFile("File.txt", "text");
    const std::string privatePath = MakeFile("_INDEX.XML", "text");
    for (const std::string& name : {path, privatePath}) {
        SystemCalls calls;
        WIN32_FIND_DATAA found;
        const HANDLE search = FindFirstFileA(name.c_str(), &found);
        EXPECT_NE(search, INVALID_HANDLE_VALUE);
        EXPECT_EQ(calls.Count(), 1u) << "a search with no wildcard";
        EXPECT_EQ(ErrorOf(FindNextFileA(search, &found)), ERROR_NO_MORE_FILES);
        EXPECT_TRUE(FindClose(search));
        EXPECT_EQ(calls.Count(), 1u) << "and the end of it";
        EXPECT_TRUE(IsThere(name));
        EXPECT_EQ(calls.Count(), 2u);
        Opened opened(OpenToRead(name));
        EXPECT_TRUE(opened.IsOpen());
        EXPECT_EQ(calls.Count(), 3u);
    }
}

// Whatever the directory holds: flag files are asked for at every open of large folders.
TEST_F(PosixNames, AMissOnAPrivateNameCostsAHandfulOfProbes)
{
    constexpr size_t kHandful = 8;
    for (const int files : {0, 200}) {
        for (int i = 0; i < files; ++i) MakeFile("f" + std::to_string(i));
        const uint64_t listings = DirectoryListings();
        for (const char* name : {"_CHANGE.DTY", "_change.dty", "_INDEX.XML", "_index.xml", "_Some_Mixed.Name"}) {
            SystemCalls calls;
            EXPECT_FALSE(IsThere(At(name)));
            EXPECT_LE(calls.Count(), kHandful) << name;
            calls.made.clear();
            EXPECT_TRUE(Search(At(name)).empty());
            EXPECT_LE(calls.Count(), kHandful) << name;
            calls.made.clear();
            EXPECT_EQ(ErrorOfHandle(OpenToRead(At(name))), ERROR_FILE_NOT_FOUND);
            EXPECT_LE(calls.Count(), kHandful) << name;
            calls.made.clear();
            EXPECT_EQ(ErrorOf(DeleteFileA(At(name).c_str())), ERROR_FILE_NOT_FOUND);
            EXPECT_LE(calls.Count(), kHandful) << name;
            EXPECT_EQ(DirectoryListings(), listings) << name;
        }
    }
}

TEST_F(PosixNames, NamesThatDifferOnlyInBytesAbove127AreTwo)
{
    // The two letters of one pair: small and capital u with two dots, in UTF-8 and in an 8-bit code.
    const std::pair<std::string, std::string> pairs[] = {{"m\xC3\xBC.txt", "m\xC3\x9C.txt"}, {"_m\xFC.txt", "_m\xDC.txt"}};
    for (const auto& [lower, upper] : pairs) {
        MakeFile(lower, "lower");
        EXPECT_FALSE(IsThere(At(upper)));
        Opened made(CreateBlock(At(upper)));
        ASSERT_TRUE(made.IsOpen()) << GetLastError();
        EXPECT_TRUE(WriteText(made.Get(), "upper"));
        made.Close();
        EXPECT_EQ(Contents(At(lower)), "lower");
        EXPECT_EQ(Contents(At(upper)), "upper");
        EXPECT_TRUE(DeleteFileA(At(upper).c_str()));
        EXPECT_EQ(Contents(At(lower)), "lower");
    }
}

TEST_F(PosixNames, APrivateNameIsNeverLookedForInAListing)
{
    for (int i = 0; i < 20; ++i) MakeFile("f" + std::to_string(i));
    const uint64_t before = DirectoryListings();
    for (const char* name : {"_CHANGE.DTY", "_change.dty", "_Some_Mixed.Name", "_index.blk"}) {
        EXPECT_FALSE(IsThere(At(name)));
        EXPECT_EQ(ErrorOf(DeleteFileA(At(name).c_str())), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(ErrorOfHandle(CreateBlock(At(name))), kDidNotFail);
        EXPECT_TRUE(DeleteFileA(At(name).c_str()));
    }
    EXPECT_EQ(DirectoryListings(), before);
}

TEST_F(PosixNames, MissesInADirectoryThatDoesNotChangeListItOnce)
{
    for (int i = 0; i < 20; ++i) MakeFile("f" + std::to_string(i));
    LetItSettle();
    const uint64_t before = DirectoryListings();
    for (int i = 0; i < 100; ++i) EXPECT_FALSE(IsThere(At("missing" + std::to_string(i))));
    EXPECT_TRUE(IsThere(At("F7")));
    EXPECT_EQ(DirectoryListings(), before + 1);
    MakeFile("NewOne");
    EXPECT_TRUE(IsThere(At("newone"))) << "a change shows";
}

TEST_F(PosixNames, MakingManyFilesDoesNotListTheirDirectoryForEach)
{
    MakeFile("first");
    const uint64_t before = DirectoryListings();
    for (int i = 0; i < 200; ++i) {
        Opened block(CreateBlock(At("_index.blk")));
        MakeFile("File" + std::to_string(i));
        block.Close();
        EXPECT_TRUE(DeleteFileA(At("_index.blk").c_str()));
    }
    EXPECT_LE(DirectoryListings(), before + 2);
    EXPECT_EQ(ErrorOfHandle(CreateBlock(At("FILE150"))), ERROR_FILE_EXISTS) << "what was made is known";
}

TEST_F(PosixNames, DeletingAndMakingTheSameNameListsNothing)
{
    MakeFile("Message.MAI");
    MakeFile("_Message.MAI");
    const uint64_t before = DirectoryListings();
    EXPECT_TRUE(DeleteFileA(At("Message.MAI").c_str()));
    EXPECT_TRUE(MoveFileA(At("_Message.MAI").c_str(), At("Message.MAI").c_str()));
    EXPECT_EQ(DirectoryListings(), before);
}

TEST_F(PosixNames, AFileMadeByAnotherHandInOtherLettersIsSeen)
{
    MakeFile("a");
    LetItSettle();
    EXPECT_FALSE(IsThere(At("OTHER")));
    std::string other = At("other");
    for (char& c : other) c = c == '\\' ? '/' : c;
    FILE* file = fopen(other.c_str(), "w");
    ASSERT_NE(file, nullptr);
    fclose(file);
    EXPECT_TRUE(IsThere(At("OTHER")));
    EXPECT_EQ(ErrorOfHandle(CreateBlock(At("OTHER"))), ERROR_FILE_EXISTS);
    EXPECT_EQ(unlink(other.c_str()), 0);
    EXPECT_FALSE(IsThere(At("OTHER")));
    EXPECT_EQ(ErrorOfHandle(CreateBlock(At("OTHER"))), kDidNotFail);
}

TEST_F(PosixNames, OfTwoFilesThatDifferInCaseEachIsFoundByItsOwnSpelling)
{
    for (const char* name : {"/twin", "/TWIN"}) {
        std::string path = Root() + name;
        for (char& c : path) c = c == '\\' ? '/' : c;
        FILE* file = fopen(path.c_str(), "w");
        ASSERT_NE(file, nullptr);
        fputs(name + 1, file);
        fclose(file);
    }
    EXPECT_EQ(Contents(At("twin")), "twin");
    EXPECT_EQ(Contents(At("TWIN")), "TWIN");
    EXPECT_EQ(Contents(At("Twin")), "TWIN") << "the one whose bytes come first";
}

TEST_F(PosixNames, MoreDirectoriesThanAreKeptAreAllSearched)
{
    for (int d = 0; d < 40; ++d) {
        const std::string directory = "d" + std::to_string(d);
        MakeDirectory(directory);
        MakeFile(directory + "\\File", directory);
    }
    for (int round = 0; round < 2; ++round) {
        for (int d = 0; d < 40; ++d) {
            const std::string directory = "d" + std::to_string(d);
            EXPECT_EQ(Contents(At(directory + "\\FILE")), directory);
        }
    }
}

TEST_F(PosixNames, ManyThreadsLookAndMakeAtOnce)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 50; ++i) {
                const std::string name = "T" + std::to_string(t) + "-" + std::to_string(i) + ".txt";
                Opened made(CreateFileA(At(name).c_str(), GENERIC_WRITE, kShareAll, nullptr, CREATE_NEW, 0, nullptr));
                EXPECT_TRUE(made.IsOpen()) << name << " " << GetLastError();
                EXPECT_TRUE(IsThere(At("t" + std::to_string(t) + "-" + std::to_string(i) + ".TXT"))) << name;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(Search(At("*.txt")).size(), 200u);
}

}  // namespace

}  // namespace velmora::test
