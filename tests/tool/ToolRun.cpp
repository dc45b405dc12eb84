#include "tests/tool/ToolRun.h"

#include <chrono>
#include <cstdlib>
#include <stdexcept>

#include "platform/win32.h"

namespace velmora::test {

namespace fs = std::filesystem;

fs::path ToolPath() { return VLSTORE_PROGRAM; }

Outcome RunProgram(const fs::path& program, const std::vector<std::string>& arguments, const TempDirectory& directory,
                   const RunOptions& options)
{
    fs::path outPath = options.stdoutPath.empty() ? directory.Path() / "stdout.txt" : fs::path(options.stdoutPath);
    fs::path errPath = options.stderrPath.empty() ? directory.Path() / "stderr.txt" : fs::path(options.stderrPath);
    ChildProcess child(program, arguments,
                       {.closedInput = options.input.empty() && !options.openInput,
                        .stdoutPath = outPath,
                        .stderrPath = errPath,
                        .withoutRights = options.asNobody});
    if (!options.input.empty()) {
        child.Write(options.input);
        child.CloseInput();
    }
    if (options.meanwhile) options.meanwhile(child);
    Outcome run;
    run.exitCode = child.Wait();
    if (options.stdoutPath.empty()) run.out = ReadFileBytes(outPath);
    if (options.stderrPath.empty()) run.err = ReadFileBytes(errPath);
    return run;
}

void AwaitTrue(const std::function<bool()>& condition)
{
    auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) throw std::runtime_error("waited for a minute");
    }
}

ScopedVariable::ScopedVariable(const char* name, const char* value) : name_(name) { SetVariable(name, value); }
ScopedVariable::~ScopedVariable() { SetVariable(name_, nullptr); }

std::map<std::string, std::string> TreeOf(const fs::path& root)
{
    std::map<std::string, std::string> tree;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        std::string content = "directory";
        if (entry.is_regular_file()) {
            content = std::to_string(entry.last_write_time().time_since_epoch().count()) + ":" + ReadFileBytes(entry.path());
        }
        tree[entry.path().string()] = content;
    }
    return tree;
}

HeldBlock::HeldBlock(const fs::path& folder)
    : path_((folder / "_index.blk").string()),
      file_(CreateFileA(path_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr))
{
    if (file_ == INVALID_HANDLE_VALUE) throw std::runtime_error("cannot hold " + path_);
}

HeldBlock::~HeldBlock() { Release(); }

void HeldBlock::Release()
{
    if (file_ == INVALID_HANDLE_VALUE) return;
    CloseHandle(file_);
    file_ = INVALID_HANDLE_VALUE;
    DeleteFileA(path_.c_str());
}

fs::path ToolTest::FolderPath(std::string_view folder) const
{
    // With the separators of the system throughout, as the tool shows paths.
    return (Root() / "POSTOFFICES" / "po" / "MAILROOT" / "box" / folder).make_preferred();
}

Outcome ToolTest::InStore(std::vector<std::string> arguments, int exitCode) const
{
    arguments.insert(arguments.begin(), {"--store", Root().string()});
    Outcome run = Tool(arguments);
    EXPECT_EQ(run.exitCode, exitCode) << run.err;
    return run;
}

Outcome ToolTest::InStoreWith(const RunOptions& options, std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {"--store", Root().string()});
    return RunProgram(ToolPath(), arguments, directory_, options);
}

nlohmann::json ToolTest::JsonInStore(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {"--format", "json"});
    Outcome run = InStore(std::move(arguments));
    nlohmann::json parsed = nlohmann::json::parse(run.out, nullptr, false);
    EXPECT_TRUE(parsed.is_array()) << run.out;
    return parsed.is_array() ? parsed : nlohmann::json::array();
}

void ToolTest::ExpectRefusal(std::vector<std::string> arguments, int exitCode, const std::string& line) const
{
    Outcome run = InStore(std::move(arguments), exitCode);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "vlstore: " + line + "\n");
}

void ToolTest::MakeStore() const
{
    const char* const index = std::getenv("VELMORA_TEST_INDEX");
    std::vector<std::string> init = {"store", "init", Root().string()};
    if (index && index == std::string_view("document-document")) init.emplace_back("--no-settings");
    ASSERT_EQ(Tool(init).exitCode, 0);
    InStore({"mailbox", "add", "po", "box"});
}

void ToolTest::TurnIndexWritersOff() const
{
    // Every form that the store has written can be read.
    InStore({"settings", "set", "Use XML Stream Index Deserialisation", "1"});
    InStore({"settings", "set", "Use XML Stream Index Serialisation", "0"});
    // The document writer of this version is not there.
    InStore({"settings", "set", "XML Version", "4", "--key", "Providers\\Store"});
}

fs::path ToolTest::MakeFile(std::string_view name, std::string_view bytes) const
{
    fs::path path = directory_.Path() / name;
    fs::create_directories(path.parent_path());
    WriteFileBytes(path, bytes);
    return path;
}

std::vector<std::string> ToolTest::ImportSubjects(const std::vector<std::string>& subjects) const
{
    std::string mbox;
    for (const std::string& subject : subjects) {
        mbox += "From a@b Thu Jan  1 00:00:00 1970\nSubject: " + subject + "\nFrom: Ada <ada@example.org>\n";
        mbox += "Date: Mon, 02 Jan 2023 03:04:05 +0000\n\ntext\n\n";
    }
    fs::path file = MakeFile("subjects.mbox", mbox);
    std::vector<std::string> ids;
    for (const auto& row : JsonInStore({"import", file.string(), "--to", kInbox})) ids.push_back(row.at("VL_ITEM_ID"));
    EXPECT_EQ(ids.size(), subjects.size());
    return ids;
}

}  // namespace velmora::test
