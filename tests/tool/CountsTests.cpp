// folder counts: what the store keeps, and what the items make of it.

#include "tests/tool/DeliveryFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class FolderCounts : public Delivery {
protected:
    // Puts a number into one of the thirteen words that the store keeps.
    void SetWord(size_t word, uint8_t number) const
    {
        std::string bytes = ReadFileBytes(FolderPath() / "_FOLDER.DAT");
        ASSERT_EQ(bytes.size(), 52u);
        bytes[4 * word] = static_cast<char>(number);
        WriteFileBytes(FolderPath() / "_FOLDER.DAT", bytes);
    }
};

}  // namespace

TEST_F(FolderCounts, AreReadWithoutOpening)
{
    ImportSubjects({"one", "two", "three"});
    InStore({"item", "set", kInbox, "00000002.MAI", "PR_VL_FLAGSTATUS", "\\SEEN \\ANSWERED \\FLAGGED"});
    WriteFileBytes(FolderPath() / "_CHANGE.DTY", "x");
    std::map<std::string, std::string> before = TreeOf(Root());
    nlohmann::json expected = {{"items", 3},           {"seen", 1},          {"recent", 2},
                               {"answered", 1},        {"flagged", 1},       {"firstSeen", 2},
                               {"addedSinceCount", 0}, {"newSinceCount", 0}, {"lastUid", 3}};
    EXPECT_EQ(Counts(), expected);
    HeldBlock block(FolderPath());
    EXPECT_EQ(Counts(), expected);
    block.Release();
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(FolderCounts, OfAFolderThatWasNeverCountedAreAnError)
{
    ExpectRefusal({"folder", "counts", kInbox}, 66, "the folder has not been counted yet: po/box/Inbox");
    ExpectRefusal({"folder", "counts", kInbox, "--verify"}, 66, "the folder has not been counted yet: po/box/Inbox");
    ExpectRefusal({"folder", "counts", "po/box/Nope"}, 66, "no such folder: po/box/Nope");
    ExpectRefusal({"folder", "counts", "po/box/Calendar", "--verify"}, 69, "not a mail folder: po/box/Calendar");
    EXPECT_FALSE(fs::exists(FolderPath() / "_FOLDER.DAT"));
}

TEST_F(FolderCounts, ThatAreRightAreVerified)
{
    ImportSubjects({"one", "two"});
    InStore({"item", "set", kInbox, "00000002.MAI", "PR_VL_READ", "1"});
    EXPECT_EQ(InStore({"--format", "tab", "folder", "counts", kInbox, "--verify"}).out,
              "count\tcached\tcomputed\nitems\t2\t2\nseen\t1\t1\nrecent\t2\t2\nanswered\t0\t0\nflagged\t0\t0\nfirstSeen\t2\t2\n");
}

TEST_F(FolderCounts, ThatDifferAreAnErrorEach)
{
    ImportSubjects({"one", "two", "three", "four"});
    InStore({"item", "set", kInbox, "00000001.MAI", "PR_VL_FLAGSTATUS", "\\SEEN \\ANSWERED \\FLAGGED"});
    std::string right = ReadFileBytes(FolderPath() / "_FOLDER.DAT");
    struct Case {
        const char* name;
        size_t word;
        uint8_t wrong;
    };
    for (const Case& one : {Case{"items", 6, 9}, Case{"seen", 7, 3}, Case{"recent", 8, 1}, Case{"answered", 3, 0}, Case{"flagged", 4, 2},
                            Case{"firstSeen", 5, 4}}) {
        SCOPED_TRACE(one.name);
        SetWord(one.word, one.wrong);
        Outcome run = InStore({"--format", "tab", "folder", "counts", kInbox, "--verify"}, 65);
        EXPECT_NE(run.out.find(std::string("\n") + one.name + "\t" + std::to_string(one.wrong) + "\t"), std::string::npos) << run.out;
        EXPECT_EQ(run.err, std::string("vlstore: the cached counts of po/box/Inbox differ: ") + one.name + "\n");
        WriteFileBytes(FolderPath() / "_FOLDER.DAT", right);
    }
    InStore({"folder", "counts", kInbox, "--verify"});
}

}  // namespace velmora::test
