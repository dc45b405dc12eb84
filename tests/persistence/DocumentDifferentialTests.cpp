// The two readers against each other, on files that both writers made of any items.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "persistence/DocumentBytes.h"
#include "tests/persistence/AnyItem.h"
#include "tests/persistence/DocumentFolder.h"
#include "tests/persistence/FolderModel.h"
#include "tests/persistence/Outcome.h"

namespace velmora::test {
namespace {

constexpr const char* kColumns[] = {"SUBJECT", "TO", "FLAGSTATUS", "SIZE", "READ", "VL_STATUS", "X-Column", "a.b", "_private"};

class DocumentDifferential : public DocumentFolder {
protected:
    void FillAnyItems(Choices& choices, bool anyId)
    {
        for (uint32_t count = choices.Below(8), number = 0; number < count; ++number) {
            // A zero byte ends a text for XML.
            std::string id = std::to_string(choices.Below(1000)) + "-" + std::to_string(number);
            if (anyId) {
                for (const char c : choices.Bytes(12))
                    if (std::string_view("\">,*").find(c) == std::string_view::npos && c != '\0') id += c;
                if (choices.OneIn(4)) id += " & ";
            }
            IndexItemPropertyContainer* const item = Add(table_, id, choices.OneIn(2) ? choices.Below(5000) : 0);
            if (!item) continue;
            for (const char* column : kColumns) {
                if (!choices.OneIn(2)) continue;
                std::string value = AnyValueOf(column, choices);
                std::erase(value, '\0');
                item->SetText(column, value);
            }
        }
        table_.LastUID += choices.Below(100);
    }
};

TEST_F(DocumentDifferential, BothReadersSeeTheSameInWhatAnyWriterWrote)
{
    int items = 0;
    for (uint64_t seed = 1; seed <= 250; ++seed) {
        SeededChoices choices(seed);
        UnInit(table_);
        table_.LoadLevel = 3;
        FillAnyItems(choices, true);
        items += static_cast<int>(ItemCountOf(table_));
        const FolderModel expected = ModelOf(table_);
        for (const Form form : kForms) {
            std::filesystem::remove(File());
            ASSERT_EQ(Save(table_, form), 1u);
            for (const Reader reader : kReaders) {
                TestTable read;
                ASSERT_EQ(Load(read, reader), 3) << seed << "\n" << Bytes();
                ASSERT_EQ(Difference(expected, ModelOf(read)), "") << seed << " form " << static_cast<int>(form);
                ASSERT_EQ(IdsInSequence(read), IdsByUid(read)) << seed;
            }
        }
    }
    EXPECT_GT(items, 500);
}

// Columns whose names are none for XML.
TEST_F(DocumentDifferential, BothReadersSeeEveryColumnThatTheStreamWriterWrote)
{
    for (const std::string& column : WrittenColumns()) {
        std::filesystem::remove(File());
        TestTable table;
        IndexItemPropertyContainer* const item = Add(table, "a.MAI");
        item->SetText(column, "1");
        item->SetText("_x41_", "2");
        ASSERT_EQ(Save(table, Form::Stream), 1u);
        for (const Reader reader : kReaders) {
            TestTable read;
            ASSERT_EQ(Load(read, reader), 3) << Bytes();
            const IndexItemPropertyContainer* const known = FindLoadedItem(read, "a.MAI");
            ASSERT_NE(known, nullptr) << Bytes();
            EXPECT_EQ(TextOf(*known, column), "1") << Bytes();
            EXPECT_EQ(TextOf(*known, "_x41_"), "2") << Bytes();
        }
    }
}

// The order in memory, the sequence numbers and the numbers of the elements.
TEST_F(DocumentDifferential, BothReadersFillTheTableAlike)
{
    for (uint64_t seed = 1000; seed < 1150; ++seed) {
        SeededChoices choices(seed);
        UnInit(table_);
        table_.LoadLevel = 3;
        FillAnyItems(choices, false);
        for (const Form form : kForms) {
            std::filesystem::remove(File());
            ASSERT_EQ(Save(table_, form), 1u);
            std::string seen[2];
            for (const Reader reader : kReaders) {
                TestTable read;
                ASSERT_EQ(Load(read, reader), 3) << seed;
                for (IndexItemPropertyContainer* const item : ContentOf(read).Sequence) item->FileOffset = item->FileLength = 0;
                seen[static_cast<size_t>(reader)] = DescribeItems(read);
            }
            ASSERT_EQ(seen[0], seen[1]) << seed << "\n" << Bytes();
        }
    }
}

// --- the bytes in between ------------------------------------------------------------------------------------------

TEST(DocumentBytes, ReturnsInValuesBecomeReferencesAndNoOthers)
{
    EXPECT_EQ(WithBytesKept("<a>x</a>\r\n"), std::nullopt);
    EXPECT_EQ(WithBytesKept("<a><b>x\r\ny\r</b></a>\r\n"), "<a><b>x&#x0D;\ny&#x0D;</b></a>\r\n");
    EXPECT_EQ(WithBytesKept("<?xml version='1.0'?>\r\n<!-- \r --><a\r\nb='c'><![CDATA[\r]]>\r</a>"),
              "<?xml version='1.0'?>\r\n<!-- \r --><a\r\nb='c'><![CDATA[\r]]>&#x0D;</a>");
    EXPECT_EQ(WithBytesKept("\r"), std::nullopt);
    EXPECT_EQ(WithBytesKept("\r<"), std::nullopt);
    EXPECT_EQ(WithBytesKept(""), std::nullopt);
    EXPECT_EQ(WithBytesKept("</"), std::nullopt);
    EXPECT_EQ(WithBytesKept("<a>\r<![CDATA[</"), "<a>&#x0D;<![CDATA[</");
}

TEST(DocumentBytes, AttributesAndNamesAreKeptInFilesOfTheStreamWriterAlone)
{
    EXPECT_EQ(WithNamesKept(IndexFile(9, Element("R&D\xFC", 1, {{"TO", "a&amp;b"}}))),
              IndexFile(9, Element("R&#x26;D&#xFC;", 1, {{"TO", "a&amp;b"}})));
    EXPECT_EQ(WithNamesKept(IndexFile(9, Element("plain", 1))), std::nullopt);
    EXPECT_EQ(WithNamesKept(IndexFile(9, Element("a", 1, {{"IM_TYPE=ICQ", "7"}, {"1_x", "8"}}))),
              IndexFile(9, Element("a", 1, {{"IM_TYPE_x3D_ICQ", "7"}, {"_x31__x5F_x", "8"}})));
    EXPECT_EQ(ColumnOfName("IM_TYPE_x3D_ICQ"), "IM_TYPE=ICQ");
    EXPECT_EQ(ColumnOfName("_x31__x5F_x"), "1_x");
    EXPECT_EQ(ColumnOfName("_x3"), "_x3");
    EXPECT_EQ(WithBytesKept(IndexFile(9, Element("a\tb", 1, {{"TO", "a\tb"}}))), IndexFile(9, Element("a&#x09;b", 1, {{"TO", "a\tb"}})));
    EXPECT_EQ(WithBytesKept(IndexFile(9, Element("R&amp;D\xC3\xA9", 1, {{"\xC3\xA9", "a\nb"}, {"_x41_", ""}, {"a=b", ""}}))),
              IndexFile(9, Element("R&#x26;amp;D&#xC3;&#xA9;", 1, {{"_xC3__xA9_", "a\nb"}, {"_x5F_x41_", ""}, {"a=b", ""}})));
    EXPECT_EQ(WithBytesKept("<BASEELEMENT LASTUID=\"9\">" + Element("R&amp;D\xC3\xA9", 1) + kRootEnd), std::nullopt);
    EXPECT_EQ(WithNamesKept("<BASEELEMENT LASTUID=\"9\">" + Element("R&D", 1) + kRootEnd), std::nullopt);
    EXPECT_EQ(WithNamesKept(Header(9) + "<ELEMENT ID=\"&"), std::nullopt);
}

}  // namespace
}  // namespace velmora::test
