// The settings file of a store, with what is known of the settings themselves.
#ifndef VLSTORE_SETTINGSFILE_H
#define VLSTORE_SETTINGSFILE_H

#include <filesystem>
#include <string>
#include <string_view>

#include "RegistryText.h"

namespace vlstore {

// The key of most settings.
inline constexpr std::string_view kBaseKey = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\Velmora\\Velmora";

// The full key that `key` means: nothing is the base key, "HKEY_..." stands for itself, "SOFTWARE\..." is taken below the
// local machine, anything else below the base key.
std::string FullKey(std::string_view key);

// What is known of a setting by its name; null for a name that the store does not read.
struct KnownSetting {
    std::string_view name;
    RegistryValue::Type type;
    std::string_view key;  // as FullKey takes it
};
const KnownSetting* FindKnownSetting(std::string_view name);

class SettingsFile {
public:
    // A file that is not there is empty. Throws Failure when it cannot be read.
    static SettingsFile Load(const std::filesystem::path& path);

    const RegistryText& Text() const { return text_; }
    // A number below the base key.
    uint32_t Number(std::string_view name, uint32_t fallback) const;
    // Sets a value and puts the file in place in one step. Throws Failure; a file with a fault in it is not written, because
    // nothing behind the fault is read.
    void Set(std::string_view key, std::string_view name, const RegistryValue& value);

private:
    std::filesystem::path path_;
    RegistryText text_;
};

}  // namespace vlstore

#endif
