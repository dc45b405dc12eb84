#include "tests/support/TestStore.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <stdexcept>

#include "frame/Attach.h"
#include "frame/Settings.h"
#include "tests/support/ChildProcess.h"

namespace velmora::test {

namespace {

// A text as it stands between quotes in a settings file.
std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '\\' || c == '"') quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string WithSlashes(std::string_view name)
{
    std::string path(name);
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

}  // namespace

TempDirectory::TempDirectory()
{
    std::random_device dice;
    do {
        char name[40];
        std::snprintf(name, sizeof name, "velmora-test-%08x%08x", dice(), dice());
        path_ = std::filesystem::temp_directory_path() / name;
    } while (!std::filesystem::create_directory(path_));
    SetVariable("VELMORA_REGISTRY", (path_ / "registry.reg").string().c_str());
    SetVariable("VELMORA_USER_REGISTRY", (path_ / "user.reg").string().c_str());
    SetVariable("VELMORA_EVENTLOG", (path_ / "events.log").string().c_str());
}

TempDirectory::~TempDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempDirectory::operator/(std::string_view name) const { return path_ / WithSlashes(name); }

std::string ReadFileBytes(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFileBytes(const std::filesystem::path& path, std::string_view bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

bool FileExists(const std::filesystem::path& path) { return std::filesystem::exists(path); }

std::vector<std::string> FileNames(const std::filesystem::path& directory)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

TestStore::TestStore()
{
    std::filesystem::create_directory(MailRoot());
    SetText("Mail Root", MailRoot().string());
    // By the flat form, unless the run says otherwise: reader and writer, as in "document-stream".
    const char* const given = std::getenv("VELMORA_TEST_INDEX");
    const std::string_view strategies = given ? given : "stream-stream";
    if (!strategies.starts_with("document-")) SetNumber("Use XML Stream Index Deserialisation", 1);
    if (!strategies.ends_with("-document")) SetNumber("Use XML Stream Index Serialisation", 1);
}

TestStore::~TestStore()
{
    if (!attached_) return;
    ThreadDetach();
    ProcessDetach();
}

std::filesystem::path TestStore::MailRoot() const { return directory_.Path() / "POSTOFFICES"; }

std::filesystem::path TestStore::MakeFolder(std::string_view folder, std::string_view mailbox, std::string_view postoffice)
{
    const auto path = MailRoot() / WithSlashes(postoffice) / "MAILROOT" / WithSlashes(mailbox) / WithSlashes(folder);
    std::filesystem::create_directories(path);
    return path;
}

void TestStore::SetNumber(std::string_view name, uint32_t value, std::string_view key)
{
    char text[16];
    std::snprintf(text, sizeof text, "dword:%08x", value);
    RemoveSetting(name, key);
    values_.push_back({std::string(key), std::string(name), text});
    WriteSettings();
}

void TestStore::SetText(std::string_view name, std::string_view value, std::string_view key)
{
    RemoveSetting(name, key);
    values_.push_back({std::string(key), std::string(name), Quoted(value)});
    WriteSettings();
}

void TestStore::RemoveSetting(std::string_view name, std::string_view key)
{
    std::erase_if(values_, [&](const Value& value) { return value.name == name && value.key == key; });
    WriteSettings();
}

void TestStore::Attach()
{
    if (attached_) throw std::logic_error("the store is attached already");
    ForgetCachedSettings();
    attached_ = ProcessAttach();
    if (!attached_) throw std::runtime_error("the library does not load");
}

void TestStore::WriteSettings()
{
    std::map<std::string, std::string> keys;
    for (const Value& value : values_) {
        const std::string key = value.key.empty() ? std::string(kBaseKey) : value.key;
        keys[key] += Quoted(value.name) + "=" + value.text + "\r\n";
    }
    std::string file = "Windows Registry Editor Version 5.00\r\n";
    for (const auto& [key, lines] : keys) file += "\r\n[HKEY_LOCAL_MACHINE\\" + key + "]\r\n" + lines;

    // The file is replaced by a rename, so that a reader in another process sees the old values or the new ones.
    const auto temporary = directory_.Path() / "registry.tmp";
    WriteFileBytes(temporary, file);
    std::filesystem::rename(temporary, directory_.Path() / "registry.reg");
    ForgetCachedSettings();
}

}  // namespace velmora::test
