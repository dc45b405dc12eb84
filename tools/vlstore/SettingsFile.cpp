#include "SettingsFile.h"

#include <cstdlib>

#include "ExitCode.h"
#include "Session.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kSystemFile = "/etc/velmora/registry.reg";
constexpr const char* kFileInStore = "registry.reg";

constexpr std::string_view kBase = "";
constexpr std::string_view kProviders = "Providers";
constexpr std::string_view kStoreProvider = "Providers\\Store";
constexpr std::string_view kPostoffice = "CONNECTORS\\SF";
constexpr std::string_view kPlainProviders = "SOFTWARE\\Velmora\\Velmora\\Providers";

constexpr auto kText = RegistryValue::Type::Text;
constexpr auto kNumber = RegistryValue::Type::Number;

constexpr KnownSetting kKnownSettings[] = {
    {"Allow Custom Postoffice Paths", kNumber, kBase},
    {"Application Directory", kText, kBase},
    {"Apply Timeout", kNumber, kPlainProviders},
    {"Backup Index", kNumber, kBase},
    {"Backup Index Interval", kNumber, kBase},
    {"Bad Mail Directory", kText, kBase},
    {"Calendar ReIndex Mode", kNumber, kBase},
    {"Configuration Directory", kText, kBase},
    {"Data Directory", kText, kBase},
    {"Disabled Mailbox Quota Enumeration Mode", kNumber, kPostoffice},
    {"Index Garbage Collection Threshold", kNumber, kBase},
    {"Index Injection Size Limit", kNumber, kStoreProvider},
    {"Index Unblock Mode", kNumber, kProviders},
    {"MSXML Index Serialisation Produces Old Format", kNumber, kBase},
    {"Mail Root", kText, kBase},
    {"Mail Root Directory", kText, "Services\\MAPI"},
    {"Mailbox Size Calc Mode", kNumber, kBase},
    {"Maximum Index Rows", kNumber, kBase},
    {"Public Folders Enabled", kNumber, kBase},
    {"Quota Calc Timeout", kNumber, kPostoffice},
    {"Quota Enumeration Mode", kNumber, kPostoffice},
    {"Read Wait Timeout", kNumber, kPlainProviders},
    {"Store Event Notification Mode", kNumber, kBase},
    {"Store Notification Wait Timeout", kNumber, kProviders},
    {"UID Branding Enabled", kNumber, kBase},
    {"UnBlock Timeout", kNumber, kPlainProviders},
    {"Use XML Stream Index Deserialisation", kNumber, kBase},
    {"Use XML Stream Index Serialisation", kNumber, kBase},
    {"Write Wait Timeout", kNumber, kPlainProviders},
    {"XML Version", kText, kStoreProvider},
};

}  // namespace

fs::path SettingsFilePath(const Session& session)
{
    if (!session.store.empty()) return fs::absolute(fs::path(session.store)) / kFileInStore;
    const char* named = std::getenv("VELMORA_REGISTRY");
    return named && *named ? named : kSystemFile;
}

std::string FullKey(std::string_view key)
{
    if (key.empty()) return std::string(kBaseKey);
    if (StartsWithNoCase(key, "HKEY_")) return std::string(key);
    if (StartsWithNoCase(key, "SOFTWARE\\")) return "HKEY_LOCAL_MACHINE\\" + std::string(key);
    return std::string(kBaseKey) + "\\" + std::string(key);
}

const KnownSetting* FindKnownSetting(std::string_view name)
{
    for (const KnownSetting& setting : kKnownSettings) {
        if (EqualNoCase(setting.name, name)) return &setting;
    }
    return nullptr;
}

SettingsFile SettingsFile::Load(const fs::path& path)
{
    SettingsFile file;
    file.path_ = path;
    std::error_code error;
    if (!fs::exists(path, error)) return file;
    std::string bytes;
    error = ReadFileContent(path, bytes);
    if (error) throw Failure(ExitCode::IoError, "cannot read the settings file " + path.string() + ": " + error.message());
    file.text_ = RegistryText::Parse(bytes);
    return file;
}

uint32_t SettingsFile::Number(std::string_view name, uint32_t fallback) const
{
    const RegistryValue* value = text_.Find(kBaseKey, name);
    return value && value->type == RegistryValue::Type::Number ? value->number : fallback;
}

void SettingsFile::Set(std::string_view key, std::string_view name, const RegistryValue& value)
{
    if (text_.FirstFault() != 0) {
        throw Failure(ExitCode::Data, path_.string() + ":" + std::to_string(text_.FirstFault()) + ": not a line of a settings file");
    }
    text_.Set(key, name, value);
    std::error_code error = ReplaceFileContent(path_, text_.Serialise());
    if (error) throw Failure(ExitCode::IoError, "cannot write the settings file " + path_.string() + ": " + error.message());
}

}  // namespace vlstore
