// StoreIndex_Get, a load by kind of folder.
#include "tests/index/LifeFixture.h"

namespace velmora::test {
namespace {

TEST_F(OpenLife, GetOfANullRecordIsReported)
{
    uint64_t result = 1;
    const std::string printed = CaptureStdout([&] { result = StoreIndex_Get(nullptr); });
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(printed, "WARNING!: StoreIndex is NULL when passed to StoreIndex_Get\n");
}

TEST_F(OpenLife, GetOfAMailFolderIsAnOpenInModeFive)
{
    MakeIndexedInbox();
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Get(&record), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_TRUE(HasLineAt(9, "StoreIndex_Open::Loaded index for folder " + record.Path()));
}

TEST_F(OpenLife, GetOfAContactsFolderLoadsEveryTimeWithoutTheDirtyCheck)
{
    inbox = store.MakeFolder("Contacts");
    PutIndex(inbox, 1, Element("a.vcf", 1));
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    Attach();
    HostRecord record("Contacts", 1);
    EXPECT_EQ(StoreIndex_Get(&record), 1u);
    EXPECT_EQ(record.Count(), 1u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_FALSE(HasLinePart("StoreIndex_Open::")) << "no open is involved";
    PutIndex(inbox, 2, Element("a.vcf", 1) + Element("b.vcf", 2));
    EXPECT_EQ(StoreIndex_Get(&record), 1u);
    EXPECT_EQ(record.Count(), 2u);
}

TEST_F(OpenLife, GetOfACalendarOrTasksFolderLoadsOnce)
{
    const std::pair<const char*, uint32_t> kinds[] = {{"Calendar", 2}, {"Tasks", 3}};
    for (const auto& [name, kind] : kinds) {
        inbox = store.MakeFolder(name);
        PutIndex(inbox, 1, Element("a", 1));
    }
    Attach();
    for (const auto& [name, kind] : kinds) {
        inbox = store.MakeFolder(name);
        HostRecord record(name, kind);
        EXPECT_EQ(StoreIndex_Get(&record), 1u);
        EXPECT_EQ(record.Count(), 1u) << name;
        PutIndex(inbox, 2, Element("a", 1) + Element("b", 2));
        EXPECT_EQ(StoreIndex_Get(&record), 1u);
        EXPECT_EQ(record.Count(), 1u) << name << ": what is loaded stays";
    }
    EXPECT_FALSE(HasLinePart("StoreIndex_Open::"));
}

TEST_F(OpenLife, GetAnswersOneWhateverTheLoadDid)
{
    store.MakeFolder("INBOX");
    Attach();
    const std::pair<const char*, uint32_t> kinds[] = {{"x", 0}, {"Contacts", 1}, {"Calendar", 2}, {"Tasks", 3}, {"y", 54}};
    for (const auto& [name, kind] : kinds) {
        HostRecord record(name, kind);
        EXPECT_EQ(StoreIndex_Get(&record), 1u);
        EXPECT_EQ(record->Table.LoadLevel, 0) << name;
    }
    HostRecord record("x");
    GiveAbandonedMutex(*record);
    EXPECT_EQ(StoreIndex_Get(&record), 1u);
}

}  // namespace
}  // namespace velmora::test
