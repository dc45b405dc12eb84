// What one strategy writes every strategy reads back byte for byte.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/persistence/DocumentFolder.h"
#include "tests/persistence/FolderModel.h"

namespace velmora::test {
namespace {

std::vector<std::string> Values()
{
    std::vector<std::string> values = {"",     " ",        "     ",     " leading",  "trailing  ", "\r",     "\n",
                                       "\r\n", "\t",       "a\rb",      "a\nb",      "a\r\nb",     "\r\n x", "x\r",
                                       "]]>",  "&amp;",    "&",         "&#65;",     "&#x41;",     "&lt;b>", "<b/>",
                                       "\"'",  "<!-- -->", "<![CDATA[", "&amp;amp;", "plain text", "\t \n"};
    std::string all;
    for (int byte = 1; byte < 256; ++byte) {
        all += static_cast<char>(byte);
        values.push_back(std::string(1, static_cast<char>(byte)));
        values.push_back("a" + std::string(2, static_cast<char>(byte)) + "b");
    }
    values.push_back(all);
    std::string large;
    while (large.size() < 100 * 1024) large += all;
    values.push_back(large);
    values.push_back(std::string(100 * 1024, ' '));
    return values;
}

void Fill(SORTEDSTOREINDEXTYPE& table, const std::vector<std::string>& values)
{
    int number = 0;
    for (const std::string& value : values) {
        IndexItemPropertyContainer* const item = Add(table, std::to_string(++number) + ".MAI");
        ASSERT_NE(item, nullptr);
        item->SetText("SUBJECT", value);
        item->SetText("TO", value);
        item->SetNumber(kRead, number % 2);
    }
}

class FormMatrix : public DocumentFolder, public testing::WithParamInterface<std::tuple<Form, Reader>> {
protected:
    Form Writer() const { return std::get<0>(GetParam()); }
    Reader ReadBy() const { return std::get<1>(GetParam()); }
    void ExpectReadBack(const FolderModel& expected)
    {
        TestTable read;
        ASSERT_EQ(Load(read, ReadBy()), 3);
        EXPECT_EQ(Difference(expected, ModelOf(read)), "");
    }
};

TEST_P(FormMatrix, EveryValueComesBackAsItWas)
{
    Fill(table_, Values());
    ASSERT_EQ(Save(table_, Writer()), 1u);
    ExpectReadBack(ModelOf(table_));
}

TEST_P(FormMatrix, WhatWasReadIsWrittenByEveryOtherWriterAsItWas)
{
    Fill(table_, Values());
    const FolderModel expected = ModelOf(table_);
    for (const Form second : kForms) {
        std::filesystem::remove(File());
        ASSERT_EQ(Save(table_, Writer()), 1u);
        TestTable read;
        ASSERT_EQ(Load(read, ReadBy()), 3);
        read.RewriteRequired = 1;
        ASSERT_EQ(Save(read, second), 1u);
        ExpectReadBack(expected);
        EXPECT_FALSE(IsMarked());
    }
}

TEST_P(FormMatrix, EveryIdComesBackAsItWas)
{
    for (const char* id : {"plain.MAI", "two words.VCF", "R&D.VCF", "Gr\xFC\xDF\x80.VCF", "caf\xC3\xA9.MAI", "R&amp;D.MAI", "&#65;", "\x7F",
                           "_x41_", "it's.VCF", "a<b.VCF", "&amp;.VCF", "&lt;x", "tab\tb", "a;b", "\x01", "a\r\nb", "x=y"}) {
        std::filesystem::remove(File());
        TestTable table;
        ASSERT_NE(Add(table, id), nullptr);
        Add(table, "other.MAI");
        ASSERT_EQ(Save(table, Writer()), 1u);
        TestTable read;
        ASSERT_EQ(Load(read, ReadBy()), 3) << id;
        EXPECT_NE(FindLoadedItem(read, id), nullptr) << id << "\n" << Bytes();
        EXPECT_EQ(ItemCountOf(read), 2u);
    }
}

TEST_P(FormMatrix, TheLastUidComesBack)
{
    for (const uint32_t lastUid : {0u, 1u, 9u, 10u, 0x1Fu, 1234u, 0x7FFFFFFEu, 0x7FFFFFFFu, 0x80000000u, 4294967294u}) {
        std::filesystem::remove(File());
        for (const bool withItem : {false, true}) {
            TestTable table;
            if (withItem) Add(table, "a.MAI", 1);
            table.LastUID = std::max(lastUid, table.LastUID);
            const uint32_t expected = table.LastUID;
            std::filesystem::remove(File());
            ASSERT_EQ(Save(table, Writer()), 1u);
            TestTable read;
            ASSERT_EQ(Load(read, ReadBy()), 3);
            EXPECT_EQ(read.LastUID, expected) << Bytes();
            EXPECT_EQ(ItemCountOf(read), withItem ? 1u : 0u);
        }
    }
}

// UIDs and IDs in different orders, and columns that an item does not have.
TEST_P(FormMatrix, TheSequenceFollowsTheUids)
{
    Add(table_, "b.MAI", 3);
    Add(table_, "c.MAI", 7)->SetText("SUBJECT", "x");
    Add(table_, "a.MAI", 5)->SetText("TO", "");
    ASSERT_EQ(Save(table_, Writer()), 1u);
    TestTable read;
    ASSERT_EQ(Load(read, ReadBy()), 3);
    EXPECT_EQ(IdsInSequence(read), "b.MAI a.MAI c.MAI");
    EXPECT_EQ(IdsByUid(read), "b.MAI a.MAI c.MAI");
    EXPECT_EQ(IdsById(read), "a.MAI b.MAI c.MAI");
    EXPECT_EQ(TextOf(*FindLoadedItem(read, "b.MAI"), kSeq), "1");
    EXPECT_EQ(TextOf(*FindLoadedItem(read, "a.MAI"), kSeq), "2");
    EXPECT_EQ(TextOf(*FindLoadedItem(read, "c.MAI"), kSeq), "3");
    EXPECT_EQ(TextOf(*FindLoadedItem(read, "a.MAI"), kIdx), Writer() == Form::OldDocument ? "1" : "2");
    EXPECT_EQ(TextOf(*FindLoadedItem(read, "a.MAI"), "TO"), "");
    EXPECT_EQ(TextOf(*FindLoadedItem(read, "a.MAI"), "SUBJECT"), "(absent)");
}

std::string NameOfCase(const testing::TestParamInfo<std::tuple<Form, Reader>>& info)
{
    const char* const forms[] = {"Stream", "OldDocument", "NewDocument"};
    return std::string(forms[static_cast<size_t>(std::get<0>(info.param))]) + "ReadBy" +
           (std::get<1>(info.param) == Reader::Stream ? "Stream" : "Document");
}

INSTANTIATE_TEST_SUITE_P(Forms, FormMatrix, testing::Combine(testing::ValuesIn(kForms), testing::ValuesIn(kReaders)), NameOfCase);

}  // namespace
}  // namespace velmora::test
