// Where settings come from, and those that are read once and kept: where each lies and what it means when it is missing.
// docs/settings.md lists all of them, with who reads them and when.
//
// Settings are values of the registry (a text file where there is none, see docs/platform.md). A cached setting is read
// at its first use and kept for the life of the process; a value of 0xFFFFFFFF is the mark for "not read yet", so a
// stored 0xFFFFFFFF is read again at every use. There is no lock: two threads may both read, and store the same.
#ifndef VELMORA_FRAME_SETTINGS_H
#define VELMORA_FRAME_SETTINGS_H

#include <cstdint>
#include <string>

namespace velmora {

inline constexpr char kBaseKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora";

// Straight from the registry, under the local machine root; false, with `value` left alone, when key or value is missing
// or does not fit. The stored type is not looked at: a number is the first four bytes, a text of at most `size` bytes ends
// at its first zero.
bool ReadSettingNumber(const char* key, const char* name, uint32_t& value);
bool ReadSettingText(const char* key, const char* name, std::string& value, uint32_t size = 1024);

enum class Setting : uint32_t {
    UidBrandingEnabled,
    MaximumIndexRows,
    CalendarReIndexMode,
    BackupIndex,
    BackupIndexInterval,
    StreamDeserialisation,
    StreamSerialisation,
    DomOldFormat,
    GarbageCollectionThreshold,
    NotificationWaitTimeout,
    IndexUnblockMode,
    IndexInjectionSizeLimit,
    Count_
};

// The cached value of a first-use setting, or its default.
uint32_t SettingValue(Setting setting);
// A boolean setting is on only when its value is exactly 1.
inline bool SettingIsOn(Setting setting) { return SettingValue(setting) == 1; }
// The version of the document facility that is asked for, "XML Version": 3, 4 or 6. Cached like the others.
uint32_t XmlVersion();
// Forgets all cached values, as a restart of the service would. For tests.
void ForgetCachedSettings();

// Read at every call: "Public Folders Enabled", default 1.
bool PublicFoldersEnabled();

}  // namespace velmora

#endif
