#include "frame/Settings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/TestStore.h"

namespace velmora {
namespace {

constexpr char kProviders[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers";
constexpr char kStoreProvider[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store";

struct Row {
    Setting setting;
    const char* key;
    const char* name;
    uint32_t missing;
};

// What an administrator finds in the documentation, one row a setting.
const Row kRows[] = {
    {Setting::UidBrandingEnabled, kBaseKey, "UID Branding Enabled", 0},
    {Setting::MaximumIndexRows, kBaseKey, "Maximum Index Rows", 100000},
    {Setting::CalendarReIndexMode, kBaseKey, "Calendar ReIndex Mode", 0},
    {Setting::BackupIndex, kBaseKey, "Backup Index", 0},
    {Setting::BackupIndexInterval, kBaseKey, "Backup Index Interval", 370},
    {Setting::StreamDeserialisation, kBaseKey, "Use XML Stream Index Deserialisation", 0},
    {Setting::StreamSerialisation, kBaseKey, "Use XML Stream Index Serialisation", 0},
    {Setting::DomOldFormat, kBaseKey, "MSXML Index Serialisation Produces Old Format", 1},
    {Setting::GarbageCollectionThreshold, kBaseKey, "Index Garbage Collection Threshold", 500},
    {Setting::NotificationWaitTimeout, kProviders, "Store Notification Wait Timeout", 100},
    {Setting::IndexUnblockMode, kProviders, "Index Unblock Mode", 0},
    {Setting::IndexInjectionSizeLimit, kStoreProvider, "Index Injection Size Limit", 3072},
};

// Settings::SetNumber forgets what is cached; writing the file below the library's feet does not.
void StoreQuietly(const test::TempDirectory& directory, const Row& row, const char* value)
{
    test::WriteFileBytes(directory / "registry.reg", std::string("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\") +
                                                         row.key + "]\r\n\"" + row.name + "\"=" + value + "\r\n");
}

class SettingRows : public testing::TestWithParam<Row> {
protected:
    void SetUp() override { ForgetCachedSettings(); }
    test::TempDirectory directory_;
};

TEST_P(SettingRows, HasItsDefaultWhenNothingIsStored) { EXPECT_EQ(SettingValue(GetParam().setting), GetParam().missing); }

TEST_P(SettingRows, TakesTheStoredValue)
{
    StoreQuietly(directory_, GetParam(), "dword:0000002a");
    EXPECT_EQ(SettingValue(GetParam().setting), 42u);
}

TEST_P(SettingRows, IsReadOnceAProcess)
{
    StoreQuietly(directory_, GetParam(), "dword:00000007");
    EXPECT_EQ(SettingValue(GetParam().setting), 7u);
    StoreQuietly(directory_, GetParam(), "dword:0000002a");
    EXPECT_EQ(SettingValue(GetParam().setting), 7u);
    ForgetCachedSettings();
    EXPECT_EQ(SettingValue(GetParam().setting), 42u);
}

TEST_P(SettingRows, KeepsItsDefaultOnceThatWasTaken)
{
    EXPECT_EQ(SettingValue(GetParam().setting), GetParam().missing);
    StoreQuietly(directory_, GetParam(), "dword:0000002a");
    EXPECT_EQ(SettingValue(GetParam().setting), GetParam().missing);
}

TEST_P(SettingRows, AStoredMarkForUnreadIsReadAgainAtEveryUse)
{
    StoreQuietly(directory_, GetParam(), "dword:ffffffff");
    EXPECT_EQ(SettingValue(GetParam().setting), 0xFFFFFFFFu);
    StoreQuietly(directory_, GetParam(), "dword:0000002a");
    EXPECT_EQ(SettingValue(GetParam().setting), 42u);
    StoreQuietly(directory_, GetParam(), "dword:00000007");
    EXPECT_EQ(SettingValue(GetParam().setting), 42u);
}

TEST_P(SettingRows, OfTypeTextGivesItsBytesAsTheNumber)
{
    StoreQuietly(directory_, GetParam(), "\"AB\"");  // with its zero three bytes; the fourth stays 0
    EXPECT_EQ(SettingValue(GetParam().setting), 0x4241u);
}

TEST_P(SettingRows, WithMoreThanFourBytesIsAsGoodAsMissing)
{
    StoreQuietly(directory_, GetParam(), "hex:01,02,03,04,05");
    EXPECT_EQ(SettingValue(GetParam().setting), GetParam().missing);
}

INSTANTIATE_TEST_SUITE_P(Settings, SettingRows, testing::ValuesIn(kRows), [](const auto& row) {
    std::string name;
    for (const char* at = row.param.name; *at; ++at)
        if (*at != ' ') name += *at;
    return name;
});

class SettingsTest : public testing::Test {
protected:
    test::TestStore store_;
};

TEST_F(SettingsTest, InjectionLimitOfZeroIsTheDefaultWhileAGarbageThresholdOfZeroStays)
{
    store_.SetNumber("Index Injection Size Limit", 0, kStoreProvider);
    store_.SetNumber("Index Garbage Collection Threshold", 0);
    EXPECT_EQ(SettingValue(Setting::IndexInjectionSizeLimit), 3072u);
    EXPECT_EQ(SettingValue(Setting::GarbageCollectionThreshold), 0u);
}

TEST_F(SettingsTest, ASwitchIsOnOnlyWithExactlyOne)
{
    store_.SetNumber("Backup Index", 1);
    EXPECT_TRUE(SettingIsOn(Setting::BackupIndex));
    store_.SetNumber("Backup Index", 2);
    EXPECT_FALSE(SettingIsOn(Setting::BackupIndex));
    store_.SetNumber("Backup Index", 0);
    EXPECT_FALSE(SettingIsOn(Setting::BackupIndex));
}

TEST_F(SettingsTest, PublicFoldersAreReadAtEveryCall)
{
    EXPECT_TRUE(PublicFoldersEnabled());
    store_.SetNumber("Public Folders Enabled", 0);
    EXPECT_FALSE(PublicFoldersEnabled());
    store_.SetNumber("Public Folders Enabled", 7);
    EXPECT_TRUE(PublicFoldersEnabled());
    store_.RemoveSetting("Public Folders Enabled");
    EXPECT_TRUE(PublicFoldersEnabled());
}

TEST_F(SettingsTest, TextIsReadAsItStands)
{
    std::string text = "before";
    EXPECT_FALSE(ReadSettingText(kBaseKey, "Bad Mail Directory", text));
    EXPECT_FALSE(ReadSettingText("SOFTWARE\\No\\Such\\Key", "Bad Mail Directory", text));
    EXPECT_EQ(text, "before");
    store_.SetText("Bad Mail Directory", "C:\\bad \"mail\"");
    EXPECT_TRUE(ReadSettingText(kBaseKey, "Bad Mail Directory", text));
    EXPECT_EQ(text, "C:\\bad \"mail\"");
}

TEST_F(SettingsTest, AStoredEmptyTextIsASuccess)
{
    std::string text = "before";
    store_.SetText("Bad Mail Directory", "");
    EXPECT_TRUE(ReadSettingText(kBaseKey, "Bad Mail Directory", text));
    EXPECT_EQ(text, "");
}

TEST_F(SettingsTest, TextThatDoesNotFitIsAsGoodAsMissing)
{
    std::string text = "before";
    store_.SetText("Bad Mail Directory", std::string(1023, 'x'));
    EXPECT_TRUE(ReadSettingText(kBaseKey, "Bad Mail Directory", text));
    EXPECT_EQ(text.size(), 1023u);
    store_.SetText("Bad Mail Directory", std::string(1024, 'y'));
    EXPECT_FALSE(ReadSettingText(kBaseKey, "Bad Mail Directory", text));
    EXPECT_EQ(text[0], 'x');
}

TEST_F(SettingsTest, NumberUnderAMissingKeyLeavesTheValueAlone)
{
    uint32_t value = 9;
    EXPECT_FALSE(ReadSettingNumber("SOFTWARE\\No\\Such\\Key", "Backup Index", value));
    EXPECT_FALSE(ReadSettingNumber(kBaseKey, "Backup Index", value));
    EXPECT_EQ(value, 9u);
}

}  // namespace
}  // namespace velmora
