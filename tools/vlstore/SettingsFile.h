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
// local machine, anything else below the base key. Empty parts of a path do not count, as nowhere in the registry.
std::string FullKey(std::string_view key);

// What is known of a setting by its name; null for a name that the store does not read.
struct KnownSetting {
    std::string_view name;
    RegistryValue::Type type;
    std::string_view key;  // as FullKey takes it
};
const KnownSetting* FindKnownSetting(std::string_view name);

// Where the store looks for the mail root, the first that is there.
inline constexpr std::string_view kMailRootKey = "Services\\MAPI";
inline constexpr std::string_view kMailRootSetting = "Mail Root Directory";
inline constexpr std::string_view kPlainMailRootSetting = "Mail Root";
// The directory of the post offices in a store that the tool made.
inline constexpr const char* kMailRootInStore = "POSTOFFICES";

// Turns on the stream writer of indexes; without it the document writer saves them, unless it is of a version that is not there.
inline constexpr std::string_view kIndexWriterSetting = "Use XML Stream Index Serialisation";
inline constexpr std::string_view kXmlVersionSetting = "XML Version";
// What a verb says that would have an index saved where none is.
inline constexpr const char* kNoIndexWriterNote =
    "note: this store saves no indexes, as its \"XML Version\" is one that is not there; items are found by scanning, and changes to them "
    "are lost. Turn the stream writer on with: vlstore settings set \"Use XML Stream Index Serialisation\" 1";

class SettingsFile {
public:
    // A file that is not there is empty. Throws Failure when it cannot be read.
    static SettingsFile Load(const std::filesystem::path& path);

    const RegistryText& Text() const { return text_; }
    // The mail root, with "/" between its parts; empty when there is none.
    std::filesystem::path MailRoot() const;
    // A number below the base key.
    uint32_t Number(std::string_view name, uint32_t fallback) const;
    // Whether the store saves its indexes.
    bool SavesIndexes() const;
    // Sets a value and puts the file in place in one step. Throws Failure; a file with a fault in it is not written, because
    // nothing behind the fault is read.
    void Set(std::string_view key, std::string_view name, const RegistryValue& value);
    // The same settings with another mail root, as the bytes of a file. Throws Failure as Set does.
    std::string WithMailRoot(const std::filesystem::path& root) const;

private:
    void RequireNoFault() const;

    std::filesystem::path path_;
    RegistryText text_;
};

}  // namespace vlstore

#endif
