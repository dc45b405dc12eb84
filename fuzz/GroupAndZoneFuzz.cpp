// Group files of any bytes, taken into an index and rewritten behind its save, and the bytes that the settings have of a time
// zone, up to the offset that holds at a moment. The rules stand here a second time, in the plainest form.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/Text.h"
#include "fuzz/FuzzedChoices.h"
#include "index/IndexTable.h"
#include "index/ItemInsertion.h"
#include "items/GroupItem.h"
#include "items/TimeZones.h"
#include "tests/support/StandardOutput.h"
#include "tests/support/TestStore.h"
#include "velmora/index.h"

using namespace velmora;
using namespace velmora::test;

namespace {

constexpr size_t kChoiceBytes = 120;
constexpr size_t kZoneBytes = 44;
constexpr size_t kLongestFirstLine = 1023;
constexpr char kZone[] = "Dated Standard Time";  // that of the mailbox "dated", as the options module has it
constexpr char kZonesKey[] = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\";

struct Store {
    Store()
    {
        setenv("VELMORA_EVENTLOG", "/dev/null", 1);
        SendStandardOutputTo(std::fopen("/dev/null", "w"));
        store.SetText("Application Directory", VELMORA_FUZZ_MODULES "/zones");
        folder = store.MakeFolder("Inbox");
        settingsFile = store.Directory() / "registry.reg";
        settings = ReadFileBytes(settingsFile);
        store.Attach();
    }

    TestStore store;
    std::filesystem::path folder;
    std::filesystem::path settingsFile;
    std::string settings;
};

// ---- Groups ----

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

struct PlainGroup {
    bool named = false;
    std::string name, rest;
};

PlainGroup Plain(const std::string& text)
{
    const size_t end = text.find("\r\n");
    std::string line = text.substr(0, end);
    if (line.size() > kLongestFirstLine) line.resize(kLongestFirstLine);
    std::string lower = line;
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    const size_t mark = lower.find("name:");
    if (mark == std::string::npos) return {false, "", text};
    PlainGroup group{true, line.substr(mark + 5), end == std::string::npos ? text.substr(line.size()) : text.substr(end + 2)};
    group.name = group.name.substr(0, group.name.find('\0'));
    return group;
}

void AnyGroup(const Store& store, const std::string& text)
{
    const PlainGroup expected = Plain(text);
    const GroupText group = ParseGroupText(text);
    if (group.named != expected.named || group.name != expected.name || group.rest != expected.rest) Require("another group: " + text);

    const auto file = store.folder / "a.GRP";
    WriteFileBytes(file, text);
    STOREINDEXTYPE index;
    StoreIndex_Init(&index);
    index.IndexKind = kKindGroups;
    index.Table.LoadLevel = 3;
    CopyBounded(index.InsertItem.FolderPath, store.folder.string());
    InsertionHeader header;
    if (InsertItemFromFile(index, "a.GRP", 1, false, header) != 1) Require("a group was not taken");
    const IndexItemPropertyContainer* const item = FindLoadedItem(index.Table, "a.GRP");
    std::string name = "(none)";
    if (!item || item->GetText("NAME", name) != expected.named) Require("a name is not there, or is there");
    if (expected.named && name != expected.name) Require("another name: " + name);
    if (ReadFileBytes(file) != text) Require("a file was changed before its index was saved");
    RunStepsAfterSave(index.Table);
    if (ReadFileBytes(file) != expected.rest) Require("what is left of a group is not what is behind its name");
    StoreIndex_Release(&index);
    if (FileNames(store.folder) != std::vector<std::string>{"a.GRP"}) Require("another file was left in the folder");
}

// ---- Zones ----

std::string HexOf(std::string_view bytes)
{
    std::string text = "hex:";
    for (size_t i = 0; i < bytes.size(); ++i) {
        char digits[8];
        std::snprintf(digits, sizeof digits, i == 0 ? "%02x" : ",%02x", static_cast<unsigned>(static_cast<unsigned char>(bytes[i])));
        text += digits;
    }
    return text;
}

uint32_t NumberAt(std::string_view bytes, size_t offset, size_t size)
{
    uint32_t number = 0;
    for (size_t i = size; i > 0; --i) number = number * 256 + static_cast<unsigned char>(bytes[offset + i - 1]);
    return number;
}

bool IsDateAt(std::string_view bytes, size_t offset, const SYSTEMTIME& date)
{
    const WORD fields[] = {date.wYear, date.wMonth, date.wDayOfWeek, date.wDay, date.wHour, date.wMinute, date.wSecond, date.wMilliseconds};
    for (size_t i = 0; i < std::size(fields); ++i)
        if (fields[i] != NumberAt(bytes, offset + 2 * i, 2)) return false;
    return true;
}

bool IsText(const char (&text)[kZoneOffsetSize]) { return std::memchr(text, 0, sizeof text) && (text[0] == '+' || text[0] == '-'); }

void AnyZone(const Store& store, const std::string& bytes, Choices& choices)
{
    WriteFileBytes(store.settingsFile, store.settings + "\r\n" + kZonesKey + kZone + "]\r\n\"TZI\"=" + HexOf(bytes) + "\r\n");
    TimeZoneRecord record;
    record.Bias = 7;
    const bool read = LoadRegistryTimeZone(kZone, record);
    if (read != (bytes.size() == kZoneBytes)) Require("a zone has 44 bytes, and this one has " + std::to_string(bytes.size()));
    if (!read && record.Bias != 7) Require("a record was changed by a zone that is none");
    if (read &&
        (record.Bias != static_cast<int32_t>(NumberAt(bytes, 0, 4)) || record.StandardBias != static_cast<int32_t>(NumberAt(bytes, 4, 4)) ||
         record.DaylightBias != static_cast<int32_t>(NumberAt(bytes, 8, 4)) || !IsDateAt(bytes, 12, record.StandardDate) ||
         !IsDateAt(bytes, 28, record.DaylightDate)))
        Require("a zone was read as another one");

    CalendarZone zone;
    if (LoadMailboxTimeZone("po", "dated", zone) != read) Require("a mailbox has no zone, or has one");
    if ((std::string_view(zone.Name) == kZone) != read) Require("a zone of another name");
    if (!read) return;
    const char* const texts[] = {zone.Standard.OffsetFrom, zone.Standard.OffsetTo, zone.Daylight.OffsetFrom, zone.Daylight.OffsetTo};
    if (!IsText(zone.Standard.OffsetFrom) || !IsText(zone.Standard.OffsetTo) || !IsText(zone.Daylight.OffsetFrom) ||
        !IsText(zone.Daylight.OffsetTo))
        Require("an offset is no text");
    for (int moments = 0; moments < 3; ++moments) {
        const uint64_t moment = uint64_t{choices.Below(UINT32_MAX)} << 32 | choices.Below(UINT32_MAX);
        const char* const offset = SelectZoneOffset(zone, moment);
        if (std::find(std::begin(texts), std::end(texts), offset) == std::end(texts)) Require("an offset is none of the zone's own");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Store store;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    AnyGroup(store, bytes);
    const size_t choiceBytes = std::min(size, kChoiceBytes);
    FuzzedChoices choices(data + (size - choiceBytes), choiceBytes);
    // As long as a zone is, or nearly.
    std::string zone = bytes.substr(0, 200);
    if (!choices.OneIn(8)) zone.resize(kZoneBytes);
    AnyZone(store, zone, choices);
    return 0;
}
