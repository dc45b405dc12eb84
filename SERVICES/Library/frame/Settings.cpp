#include "frame/Settings.h"

#include <algorithm>
#include <atomic>
#include <vector>

#include "platform/win32.h"

namespace velmora {

namespace {

constexpr uint32_t kNotRead = 0xFFFFFFFFu;
constexpr char kProvidersKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers";
constexpr char kStoreProviderKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store";

struct SettingRow {
    Setting setting;
    const char* key;
    const char* name;
    uint32_t missing;  // the value when nothing is stored
    // Kept: a stored 0 means the same as nothing, for the injection limit alone.
    bool zeroIsMissing;
};

constexpr SettingRow kSettings[] = {
    {Setting::UidBrandingEnabled, kBaseKey, "UID Branding Enabled", 0, false},
    {Setting::MaximumIndexRows, kBaseKey, "Maximum Index Rows", 100000, false},
    {Setting::CalendarReIndexMode, kBaseKey, "Calendar ReIndex Mode", 0, false},
    {Setting::BackupIndex, kBaseKey, "Backup Index", 0, false},
    {Setting::BackupIndexInterval, kBaseKey, "Backup Index Interval", 370, false},
    {Setting::StreamDeserialisation, kBaseKey, "Use XML Stream Index Deserialisation", 0, false},
    {Setting::StreamSerialisation, kBaseKey, "Use XML Stream Index Serialisation", 0, false},
    {Setting::DomOldFormat, kBaseKey, "MSXML Index Serialisation Produces Old Format", 1, false},
    {Setting::GarbageCollectionThreshold, kBaseKey, "Index Garbage Collection Threshold", 500, false},
    {Setting::NotificationWaitTimeout, kProvidersKey, "Store Notification Wait Timeout", 100, false},
    {Setting::IndexUnblockMode, kProvidersKey, "Index Unblock Mode", 0, false},
    {Setting::IndexInjectionSizeLimit, kStoreProviderKey, "Index Injection Size Limit", 3072, true},
};
constexpr size_t kSettingCount = static_cast<size_t>(Setting::Count_);

constexpr bool RowsStandInEnumOrder()
{
    for (size_t i = 0; i < std::size(kSettings); ++i)
        if (static_cast<size_t>(kSettings[i].setting) != i) return false;
    return std::size(kSettings) == kSettingCount;
}
static_assert(RowsStandInEnumOrder());

// Relaxed order is enough: each word stands alone, and whoever finds it unread reads it for itself.
struct CachedWord {
    std::atomic<uint32_t> value{kNotRead};
};
constinit CachedWord cachedWords[kSettingCount];
constinit CachedWord cachedXmlVersion;

// The stored bytes, whatever their type says; false when key or value is missing or longer than `size`.
bool ReadValue(const char* key, const char* name, void* data, uint32_t& size)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, key, 0, KEY_QUERY_VALUE, &opened) != 0) return false;
    DWORD length = size;
    const bool found = RegQueryValueExA(opened, name, nullptr, nullptr, static_cast<BYTE*>(data), &length) == 0;
    RegCloseKey(opened);
    if (found) size = length;
    return found;
}

}  // namespace

bool ReadSettingNumber(const char* key, const char* name, uint32_t& value)
{
    DWORD stored = 0;
    uint32_t size = sizeof stored;
    if (!ReadValue(key, name, &stored, size)) return false;
    value = stored;
    return true;
}

bool ReadSettingText(const char* key, const char* name, std::string& value, uint32_t size)
{
    std::vector<char> stored(size);
    if (!ReadValue(key, name, stored.data(), size)) return false;
    // A stored text need not be terminated.
    value.assign(stored.begin(), std::find(stored.begin(), stored.begin() + size, '\0'));
    return true;
}

uint32_t SettingValue(Setting setting)
{
    const auto index = static_cast<size_t>(setting);
    std::atomic<uint32_t>& word = cachedWords[index].value;
    const uint32_t cached = word.load(std::memory_order_relaxed);
    if (cached != kNotRead) return cached;

    const SettingRow& row = kSettings[index];
    uint32_t value = row.missing;
    if (ReadSettingNumber(row.key, row.name, value) && value == 0 && row.zeroIsMissing) value = row.missing;
    // Kept: a stored 0xFFFFFFFF looks as if nothing had been read, so it is read again at every use.
    word.store(value, std::memory_order_relaxed);
    return value;
}

uint32_t XmlVersion()
{
    constexpr uint32_t kLongestText = 64;
    const uint32_t cached = cachedXmlVersion.value.load(std::memory_order_relaxed);
    if (cached != kNotRead) return cached;

    std::string text;
    ReadSettingText(kStoreProviderKey, "XML Version", text, kLongestText);
    const char first = text.empty() ? '\0' : text.front();
    const uint32_t version = first == '4' ? 4 : first == '6' ? 6 : 3;
    cachedXmlVersion.value.store(version, std::memory_order_relaxed);
    return version;
}

void ForgetCachedSettings()
{
    cachedXmlVersion.value.store(kNotRead, std::memory_order_relaxed);
    for (CachedWord& word : cachedWords) word.value.store(kNotRead, std::memory_order_relaxed);
}

bool PublicFoldersEnabled()
{
    uint32_t value = 1;
    ReadSettingNumber(kBaseKey, "Public Folders Enabled", value);
    return value != 0;
}

}  // namespace velmora
