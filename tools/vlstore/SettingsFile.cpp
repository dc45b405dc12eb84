#include "SettingsFile.h"

#include <algorithm>
#include <cstdlib>

#include "ExitCode.h"
#include "Session.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kFileInStore = "registry.reg";
// The store takes no longer text, the zero byte at its end included, and no larger file.
constexpr size_t kLongestText = 1024;
constexpr size_t kLargestFile = 16 * 1024 * 1024;

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
    {kPlainMailRootSetting, kText, kBase},
    {kMailRootSetting, kText, kMailRootKey},
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
    {kXmlVersionSetting, kText, kStoreProvider},
};

}  // namespace

fs::path SettingsFilePath(const Session& session)
{
    if (!session.store.empty()) return fs::absolute(PathOf(session.store)) / kFileInStore;
    const char* named = std::getenv("VELMORA_REGISTRY");
    if (named && *named) return PathOf(named);
    fs::path system = SystemSettingsFile();
    if (!system.empty()) return system;
    throw Failure(ExitCode::Usage, "no store is named: use --store, or name a settings file in VELMORA_REGISTRY");
}

fs::path ExistingSettingsFile(const Session& session)
{
    fs::path path = SettingsFilePath(session);
    std::error_code error;
    fs::file_status status = fs::status(path, error);
    if (fs::is_regular_file(status)) return path;
    // A store by its directories alone.
    std::error_code ignored;
    if (!session.store.empty() && !fs::exists(status) && fs::is_directory(path.parent_path() / kMailRootInStore, ignored)) return path;
    if (error && !fs::status_known(status)) throw CannotRead(path.string(), error);
    if (!session.store.empty()) throw Failure(ExitCode::NoInput, "no such store: " + session.store);
    throw Failure(ExitCode::NoInput, "no such settings file: " + path.string());
}

std::string FullKey(std::string_view key)
{
    std::string full(kBaseKey);
    if (StartsWithNoCase(key, "HKEY_")) full.clear();
    if (StartsWithNoCase(key, "SOFTWARE\\")) full = "HKEY_LOCAL_MACHINE";
    while (!key.empty()) {
        size_t end = std::min(key.find('\\'), key.size());
        if (end > 0) full.append(full.empty() ? "" : "\\").append(key.substr(0, end));
        key.remove_prefix(std::min(end + 1, key.size()));
    }
    return full;
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
    std::string bytes;
    std::error_code error = ReadFileContent(path, bytes);
    if (error == std::errc::no_such_file_or_directory) return file;
    if (error) throw CannotRead("the settings file " + path.string(), error);
    if (bytes.size() > kLargestFile) throw Failure(ExitCode::Data, path.string() + ": a settings file has 16 MB at most");
    file.text_ = RegistryText::Parse(bytes);
    return file;
}

uint32_t SettingsFile::Number(std::string_view name, uint32_t fallback) const
{
    const RegistryValue* value = text_.Find(kBaseKey, name);
    return value ? value->Number().value_or(fallback) : fallback;
}

bool SettingsFile::SavesIndexes() const
{
    if (Number(kIndexWriterSetting, 0) == 1) return true;
    const RegistryValue* version = text_.Find(FullKey(kStoreProvider), kXmlVersionSetting);
    const std::string text = version && version->GetType() == RegistryValue::Type::Text ? version->Text() : std::string();
    return !text.starts_with('4') && !text.starts_with('6');
}

fs::path SettingsFile::MailRoot() const
{
    for (const RegistryValue* root : {text_.Find(FullKey(kMailRootKey), kMailRootSetting), text_.Find(kBaseKey, kPlainMailRootSetting)}) {
        if (root && root->data.size() <= kLongestText) return PathOf(WithSlashes(root->Text()));
    }
    return {};
}

void SettingsFile::RequireNoFault() const
{
    if (text_.FirstFault() == 0) return;
    throw Failure(ExitCode::Data, path_.string() + ":" + std::to_string(text_.FirstFault()) + ": not a line of a settings file");
}

std::string SettingsFile::WithMailRoot(const fs::path& root) const
{
    RequireNoFault();
    RegistryText changed = text_;
    changed.Set(FullKey(kMailRootKey), kMailRootSetting, RegistryValue::OfText(root.string()));
    return changed.Serialise();
}

void SettingsFile::Set(std::string_view key, std::string_view name, const RegistryValue& value)
{
    RequireNoFault();
    text_.Set(key, name, value);
    std::error_code error = ReplaceFileContent(path_, text_.Serialise());
    if (error) throw Failure(CodeOf(error, ExitCode::IoError), "cannot write the settings file " + path_.string() + ": " + error.message());
}

}  // namespace vlstore
