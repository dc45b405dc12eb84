// Whole loads from files: the header path, the repetition in full, the stamp, the check for item files.
#include <gtest/gtest.h>

#include <string>

#include "common/FileStream.h"
#include "platform/FileSeam.h"
#include "tests/persistence/IndexFolder.h"
#include "tests/persistence/MutatedFiles.h"
#include "tests/persistence/Outcome.h"
#include "tests/support/Captured.h"

namespace velmora::test {
namespace {

const std::string kSelfClosed = "<BASEELEMENT LASTUID=\"x00000007\"/>";

std::string MalformedText(const IndexFolder& folder, const std::string& fault)
{
    return "Malformed index detected: " + fault + " (" + folder.Folder() + ")\n";
}

class Load : public testing::Test {
protected:
    IndexFolder folder_;
    TestTable table_;
    CapturedLog log_;
};

TEST_F(Load, AHeaderOnlyLoadGivesLastUidAndNoItem)
{
    folder_.Write(IndexFile(0x2A, Element("a", 1) + Element("b", 2)));
    EXPECT_EQ(folder_.Load(table_, 1, "b"), 1);
    EXPECT_EQ(table_.LastUID, 42u);
    EXPECT_EQ(ItemCountOf(table_), 0u);
    EXPECT_EQ(table_.RewriteRequired, 0);
    EXPECT_EQ(table_.LoadSelection, "b");
    EXPECT_TRUE(log_.Events().empty());
}

TEST_F(Load, AHeaderOnlyLoadNeverSeesAFaultInTheBody)
{
    folder_.Write(Header(9) + "</ELEMENT><<<>>> rubbish");
    EXPECT_EQ(folder_.Load(table_, 1), 1);
    EXPECT_EQ(folder_.Load(table_, 2), 0);
    EXPECT_EQ(folder_.Load(table_, 3), 0);
    EXPECT_EQ(log_.Events().size(), 2u);
}

TEST_F(Load, AHeaderOnlyLoadReadsTheSameOfALargeFileAsOfASmallOne)
{
    struct ReadSeam : platform::FileSeam {
        ReadSeam() : before(platform::ReplaceFileSeam(this)) {}
        ~ReadSeam() override { platform::ReplaceFileSeam(before); }
        platform::FileVerdict Before(platform::FileOperation operation, const char*, uint64_t size) override
        {
            if (operation == platform::FileOperation::Read) bytes += size;
            ++operations;
            return {};
        }
        platform::FileSeam* before;
        uint64_t bytes = 0;
        int operations = 0;
    };
    uint64_t bytes[2];
    int operations[2];
    for (const int large : {0, 1}) {
        folder_.Write(IndexFile(9, Element("a", 1, {{"TO", std::string(large ? 5000000 : 2000, 'x')}})));
        ReadSeam seam;
        EXPECT_EQ(folder_.Load(table_, 1), 1);
        bytes[large] = seam.bytes;
        operations[large] = seam.operations;
    }
    EXPECT_EQ(bytes[0], bytes[1]);
    EXPECT_LE(bytes[1], 8192u);
    EXPECT_EQ(operations[0], operations[1]);
}

TEST_F(Load, ARootClosedAtOnceIsAFullEmptyIndexAtEveryLevel)
{
    folder_.Write(kSelfClosed);
    for (const int32_t level : {1, 2, 3}) {
        table_.LoadSelection = "x";
        EXPECT_EQ(folder_.Load(table_, level, "x"), level == 2 ? 2 : 3);
        EXPECT_EQ(table_.RewriteRequired, 1);
        EXPECT_EQ(table_.LastUID, 7u);
        EXPECT_EQ(table_.LoadSelection, "");
        EXPECT_EQ(ItemCountOf(table_), 0u);
    }
    EXPECT_TRUE(log_.Events().empty());
}

TEST_F(Load, AnOldFormIsLoadedInFullWhenOnlyTheHeaderWasAskedFor)
{
    folder_.Write("<BASEELEMENT LASTUID=\"30\">" + Element("a", 9, {{"TO", "x"}}) + Element("b", 3) + kRootEnd);
    EXPECT_EQ(folder_.Load(table_, 1, "b"), 3);
    EXPECT_EQ(IdsInSequence(table_), "b a");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "a"), "TO"), "x");
    EXPECT_EQ(table_.RewriteRequired, 1);
    EXPECT_EQ(table_.LoadSelection, "");
}

TEST_F(Load, AFileOf33BytesFallsThroughToAParseAndIsMalformed)
{
    folder_.Write(Header(7));
    ASSERT_EQ(folder_.Bytes().size(), 33u);
    EXPECT_EQ(folder_.Load(table_, 1), 0);
    EXPECT_TRUE(log_.HasEvent(MalformedText(folder_, "Did not find root element end tag")));
}

TEST_F(Load, ALineFeedDoesNotCountIntoTheHeaderLine)
{
    folder_.Write(Header(7) + "\n" + Element("a", 1) + kRootEnd);
    EXPECT_EQ(folder_.Load(table_, 1), 1);
    EXPECT_EQ(IdsInSequence(table_), "a");  // the line has 33 bytes, so the elements were read
    folder_.Write(Header(7) + "\r\n" + Element("a", 1) + kRootEnd);
    EXPECT_EQ(folder_.Load(table_, 1), 1);
    EXPECT_EQ(IdsInSequence(table_), "");
}

TEST_F(Load, AnEmptyFileIsMalformed)
{
    for (const int32_t level : {1, 2, 3}) {
        folder_.Write("");
        CapturedLog log;
        EXPECT_EQ(folder_.Load(table_, level), 0);
        ASSERT_EQ(log.Events().size(), 1u);
        EXPECT_TRUE(log.HasEvent(MalformedText(folder_, "Did not find root element start tag")));
        EXPECT_NE(table_.IndexFileTime, 0u);
        EXPECT_EQ(table_.IndexFileSize, 0u);
    }
}

TEST_F(Load, AMissingFileIsMalformedAndHasNoTimeAndNoSize)
{
    table_.IndexFileSize = 99;
    for (const int32_t level : {1, 2, 3}) {
        EXPECT_EQ(folder_.Load(table_, level), 0);
        EXPECT_EQ(table_.IndexFileTime, 0u);
        EXPECT_EQ(table_.IndexFileSize, 0u);
    }
    EXPECT_TRUE(log_.HasEvent(MalformedText(folder_, "Did not find root element start tag")));
}

TEST_F(Load, ADirectoryInTheFilesPlaceIsMalformed)
{
    std::filesystem::create_directory(folder_.File());
    EXPECT_EQ(folder_.Load(table_, 3), 0);
    EXPECT_TRUE(log_.HasEvent("Did not find root element start tag"));
}

TEST_F(Load, TheStampIsTakenOnGoodAndBadResultsAlike)
{
    for (const std::string& bytes : {IndexFile(9, Element("a", 1)), std::string("<rubbish>")}) {
        folder_.Write(bytes);
        folder_.Load(table_, 3);
        EXPECT_EQ(table_.IndexFileSize, bytes.size());
        EXPECT_EQ(table_.IndexFileTime, ReadFileStamp(folder_.File().string()).lastWrite);
        EXPECT_NE(table_.IndexFileTime, 0u);
    }
}

TEST_F(Load, ALoadBeginsWithAnEmptyTable)
{
    folder_.Write(IndexFile(9, Element("a", 1)));
    Add(table_, "before", 500);
    table_.RewriteRequired = 1;
    EXPECT_EQ(folder_.Load(table_, 3), 3);
    EXPECT_EQ(IdsInSequence(table_), "a");
    EXPECT_EQ(table_.LastUID, 9u);
    EXPECT_EQ(table_.RewriteRequired, 0);
    EXPECT_EQ(table_.FirstDirtyUID, 0);
}

TEST_F(Load, AMalformedFileKeepsWhatWasInserted)
{
    folder_.Write(Header(9) + Element("a", 1) + "<ELEMENT ID=\"b\"");
    EXPECT_EQ(folder_.Load(table_, 3), 0);
    EXPECT_EQ(IdsInSequence(table_), "a");
}

TEST_F(Load, TombstonesAtTheThresholdTurnAPartialLoadIntoAFullOne)
{
    std::string elements = Element("a", 1, {{"TO", "x"}});
    for (int i = 0; i < 500; ++i) elements += Element("-----", "--");
    folder_.Write(IndexFile(9, elements + Element("b", 2)));
    for (const auto& [level, selection] : {std::pair{2, ""}, std::pair{3, "b"}, std::pair{2, "b"}}) {
        EXPECT_EQ(folder_.Load(table_, level, selection), 3);
        EXPECT_EQ(IdsInSequence(table_), "a b");
        EXPECT_EQ(TextOf(*FindLoadedItem(table_, "a"), "TO"), "x");
        EXPECT_EQ(table_.RewriteRequired, 1);
        EXPECT_EQ(table_.LoadSelection, "");
        EXPECT_EQ(table_.LastUID, 9u);
    }
    EXPECT_TRUE(log_.Events().empty());
}

TEST_F(Load, AnItemsFileMustBeAPlainFileOfExactlyThatName)
{
    folder_.Write(
        IndexFile(9, Element("a.MAI", 1) + Element("B.mai", 2) + Element("dir.MAI", 3) + Element("*.MAI", 4) + Element("sub\\x.MAI", 5)));
    WriteFileBytes(std::filesystem::path(folder_.Folder()) / "a.MAI", "");
    WriteFileBytes(std::filesystem::path(folder_.Folder()) / "b.MAI", "");
    std::filesystem::create_directory(std::filesystem::path(folder_.Folder()) / "dir.MAI");
    std::filesystem::create_directory(std::filesystem::path(folder_.Folder()) / "sub");
    WriteFileBytes(std::filesystem::path(folder_.Folder()) / "sub" / "x.MAI", "");
    EXPECT_EQ(folder_.Load(table_, 3, "", 1), 3);
    EXPECT_EQ(IdsInSequence(table_), "a.MAI");
    EXPECT_EQ(table_.RewriteRequired, 1);
    EXPECT_EQ(folder_.Load(table_, 3, "", 0), 3);
    EXPECT_EQ(ItemCountOf(table_), 5u);
    EXPECT_EQ(table_.RewriteRequired, 0);
}

TEST_F(Load, AnIdThatIsNoNameForAFileGoesWhenFilesAreCheckedFor)
{
    WriteFileBytes(folder_.File().parent_path() / "there", "");
    folder_.Write(IndexFile(9, Element("there", 1) + Element(std::string(300, 'x'), 2) + Element("bad|name", 3)));
    EXPECT_EQ(folder_.Load(table_, 3, "", 1), 3);
    EXPECT_EQ(IdsByUid(table_), "there");
}

TEST_F(Load, GroupsAreReadFromTheirOwnFile)
{
    folder_.Write("rubbish");
    WriteFileBytes(folder_.File(54), IndexFile(9, Element("g.GRP", 1)));
    StreamXMLStoreIndexSerialiser serialiser;
    EXPECT_EQ(serialiser.Deserialise(table_, folder_.Folder(), 54, "", "", 3, 0, 0), 3);
    EXPECT_EQ(IdsInSequence(table_), "g.GRP");
}

// --- hostile files -------------------------------------------------------------------------------------------------

TEST_F(Load, ATagOfTenMegabytesEndsInAFault)
{
    folder_.Write(Header(9) + "<ELEMENT ID=\"" + std::string(10000000, 'a') + "\" UID=\"1\"></ELEMENT>" + kRootEnd);
    for (const int32_t level : {2, 3}) {
        CapturedLog log;
        EXPECT_EQ(folder_.Load(table_, level), 0);
        ASSERT_EQ(log.Events().size(), 1u);
        EXPECT_TRUE(log.HasEvent("Malformed index detected: Unable to parse ID attribute, Tag=[ELEMENT ID=\"aaaa"));
        EXPECT_LT(log.Events()[0].size(), 2000u);
    }
    folder_.Write("<BASEELEMENT LASTUID=\"x" + std::string(10000000, '0') + "\">" + kRootEnd);
    EXPECT_EQ(folder_.Load(table_, 1), 3);  // no end of the value within the tag: the old form, and the rest is text
    EXPECT_EQ(table_.LastUID, 0u);
    EXPECT_EQ(table_.RewriteRequired, 1);
}

TEST_F(Load, MillionsOfTinyTagsTakeNoQuadraticTime)
{
    std::string bytes = Header(9);
    while (bytes.size() < 3000000) bytes += "<>";
    folder_.Write(bytes);
    EXPECT_EQ(folder_.Load(table_, 3), 0);
    EXPECT_TRUE(log_.HasEvent("Encountered property tag () outside an element"));
    std::string attributes = Header(9) + "<ELEMENT";
    while (attributes.size() < 1000) attributes += " A=\"b\"";
    std::string elements = attributes + "></ELEMENT>";
    while (elements.size() < 2000000) elements += "<ELEMENT A=\"b\"></ELEMENT>";
    folder_.Write(elements + kRootEnd);
    EXPECT_EQ(folder_.Load(table_, 3), 0);
}

TEST_F(Load, TheLargestLastUidIsLoadedAndWrittenBack)
{
    folder_.Write(IndexFile(UINT32_MAX, Element("a", 5, {{"READ", "0"}})));
    EXPECT_EQ(folder_.Load(table_, 3), 3);
    EXPECT_EQ(table_.LastUID, UINT32_MAX);
    EXPECT_EQ(Add(table_, "b"), nullptr);
    SetItemKeyProperty(*FindLoadedItem(table_, "a"), "TO", "x");
    EXPECT_EQ(folder_.Save(table_), 1u);
    EXPECT_EQ(folder_.Bytes(), IndexFile(UINT32_MAX, Element("a", 5, {{"READ", "0"}, {"TO", "x"}})));
}

TEST_F(Load, AReferenceWithNoEndStaysAsItIsAndIsWrittenSafely)
{
    folder_.Write(IndexFile(9, Element("a", 5, {{"READ", "0"}, {"TO", "x &#12"}})));
    EXPECT_EQ(folder_.Load(table_, 3), 3);
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "a"), "TO"), "x &#12");
    table_.RewriteRequired = 1;
    EXPECT_EQ(folder_.Save(table_), 1u);
    EXPECT_EQ(folder_.Bytes(), IndexFile(9, Element("a", 5, {{"READ", "0"}, {"TO", "x &amp;#12"}})));
    EXPECT_EQ(folder_.Load(table_, 3), 3);
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "a"), "TO"), "x &#12");
}

TEST_F(Load, WholeLoadsAgreeWithThePlainReader)
{
    for (uint64_t seed = 900000; seed < 900600; ++seed) {
        Dice dice(seed);
        std::string bytes = RandomFile(dice);
        if (dice.OneIn(2)) Damage(bytes, dice);
        PlainOptions options;
        options.level = 1 + static_cast<int>(dice.Below(3));
        std::string selection;
        if (dice.OneIn(3)) selection = std::string(1, kIdLetters[dice.Below(8)]) + "," + std::string(1, kIdLetters[dice.Below(8)]);
        for (const std::string& id : MakeSelectionSet(selection)) options.selection.insert(id);
        PlainIndex plain;
        plain.loadSelection = selection;
        const PlainOutcome expected = PlainLoad(plain, bytes, options);

        folder_.Write(bytes);
        CapturedLog log;
        const int32_t level = folder_.Load(table_, options.level, selection);
        ASSERT_EQ(Describe(level, expected.fault, table_), Describe(expected, plain)) << "seed " << seed << "\n" << bytes;
        ASSERT_EQ(log.Events().size(), level == 0 ? 1u : 0u) << seed;
        if (level == 0) {
            ASSERT_TRUE(log.HasEvent(MalformedText(folder_, expected.fault))) << seed;
        }
    }
}

}  // namespace
}  // namespace velmora::test
