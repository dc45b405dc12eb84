// A store of one test's own: a temporary directory with a settings file, attached to the library.
#ifndef VELMORA_TESTS_SUPPORT_TESTSTORE_H
#define VELMORA_TESTS_SUPPORT_TESTSTORE_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

// Makes a directory below the system's temporary one and removes it at the end. VELMORA_REGISTRY, VELMORA_USER_REGISTRY
// and VELMORA_EVENTLOG point into it from the constructor on.
class TempDirectory {
public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::string Str() const { return path_.string(); }
    // `name` (with "/" or "\") below the directory.
    std::filesystem::path operator/(std::string_view name) const;

private:
    std::filesystem::path path_;
};

std::string ReadFileBytes(const std::filesystem::path& path);
void WriteFileBytes(const std::filesystem::path& path, std::string_view bytes);
bool FileExists(const std::filesystem::path& path);
std::vector<std::string> FileNames(const std::filesystem::path& directory);  // sorted

// A store: mail root <temp>/POSTOFFICES, stream reader and writer on. Settings are written before Attach().
class TestStore {
public:
    TestStore();
    ~TestStore();

    TempDirectory& Directory() { return directory_; }
    std::filesystem::path MailRoot() const;
    // <mail root>/po/MAILROOT/box/<folder>, created.
    std::filesystem::path MakeFolder(std::string_view folder, std::string_view mailbox = "box", std::string_view postoffice = "po");

    // Values below a key; the base key when `key` is empty. Rewrites the settings file and forgets cached settings.
    void SetNumber(std::string_view name, uint32_t value, std::string_view key = {});
    void SetText(std::string_view name, std::string_view value, std::string_view key = {});
    void RemoveSetting(std::string_view name, std::string_view key = {});

    // Loads the library as a process would (ProcessAttach); once.
    void Attach();

private:
    void WriteSettings();
    struct Value {
        std::string key, name, text;
    };
    TempDirectory directory_;
    std::vector<Value> values_;
    bool attached_ = false;
};

}  // namespace velmora::test

#endif
