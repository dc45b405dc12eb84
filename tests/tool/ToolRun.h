// Runs the built program as a user would, and a store of the test's own for it.
#ifndef VELMORA_TESTS_TOOL_TOOLRUN_H
#define VELMORA_TESTS_TOOL_TOOLRUN_H

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

// How a run of the program ended.
struct Outcome {
    int exitCode = -1;  // -1 when a signal ended it
    std::string out;
    std::string err;
};

struct RunOptions {
    std::string stdoutPath = {}, stderrPath = {};       // in place of a file below the directory
    bool asNobody = false;                              // as a user without rights of its own; POSIX, and only root may ask for it
    std::function<void(ChildProcess&)> meanwhile = {};  // called while the program runs
    std::string input = {};                             // what it finds on standard input; nothing when empty
    bool openInput = false;                             // `meanwhile` writes it, and closes it
};

// Starts `program` with its output going to files below `directory`, and waits for its end.
Outcome RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments, const TempDirectory& directory,
                   const RunOptions& options = {});

// Waits until `condition` holds; throws when it does not within a minute.
void AwaitTrue(const std::function<bool()>& condition);

// An environment variable, set until the end of scope.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value);
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* name_;
};

std::filesystem::path ToolPath();

// Every file and directory below `root`, with the content and the last-write time of the files.
std::map<std::string, std::string> TreeOf(const std::filesystem::path& root);

// A folder's block file, held as another process of the library holds it: open and shared with nobody, until the end of scope.
class HeldBlock {
public:
    explicit HeldBlock(const std::filesystem::path& folder);
    ~HeldBlock();
    HeldBlock(const HeldBlock&) = delete;
    HeldBlock& operator=(const HeldBlock&) = delete;
    void Release();  // lets go, then deletes the file

private:
    std::string path_;
    void* file_;
};

class ToolTest : public ::testing::Test {
protected:
    const TempDirectory& Directory() const { return directory_; }
    std::filesystem::path Root() const { return directory_.Path() / "store"; }
    std::filesystem::path FolderPath(std::string_view folder = "Inbox") const;
    std::filesystem::path SettingsPath() const { return Root() / "registry.reg"; }

    Outcome Tool(const std::vector<std::string>& arguments) const { return RunProgram(ToolPath(), arguments, directory_); }
    // With --store, and the test failing unless it ends with `exitCode`.
    Outcome InStore(std::vector<std::string> arguments, int exitCode = 0) const;
    Outcome InStoreWith(const RunOptions& options, std::vector<std::string> arguments) const;
    // The same in JSON form, parsed.
    nlohmann::json JsonInStore(std::vector<std::string> arguments) const;
    // A run that must fail with `exitCode` and say `line` and nothing else.
    void ExpectRefusal(std::vector<std::string> arguments, int exitCode, const std::string& line) const;

    // "store init" and "mailbox add po box". With VELMORA_TEST_INDEX=document-document the store has no settings file, and its
    // indexes are documents.
    void MakeStore() const;
    // From here on no index is saved; those that are there are read.
    void TurnIndexWritersOff() const;
    // A file outside the store.
    std::filesystem::path MakeFile(std::string_view name, std::string_view bytes) const;
    // Imports messages of one line of subject each and returns their IDs.
    std::vector<std::string> ImportSubjects(const std::vector<std::string>& subjects) const;

private:
    TempDirectory directory_;
};

inline constexpr const char* kInbox = "po/box/Inbox";
inline constexpr const char* kBaseKey = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\Velmora\\Velmora";

}  // namespace velmora::test

#endif
