#include "tests/tool/ToolRun.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

constexpr unsigned kNobody = 65534;

}  // namespace

fs::path ToolPath() { return VLSTORE_PROGRAM; }

Outcome RunProgram(const fs::path& program, const std::vector<std::string>& arguments, const TempDirectory& directory,
                   const RunOptions& options)
{
    fs::path outPath = options.stdoutPath.empty() ? directory.Path() / "stdout.txt" : fs::path(options.stdoutPath);
    fs::path errPath = options.stderrPath.empty() ? directory.Path() / "stderr.txt" : fs::path(options.stderrPath);
    std::vector<const char*> argv{program.c_str()};
    for (const std::string& argument : arguments) argv.push_back(argument.c_str());
    argv.push_back(nullptr);

    pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("cannot fork");
    if (child == 0) {
        int in = ::open("/dev/null", O_RDONLY);
        int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(in, STDIN_FILENO);
        ::dup2(out, STDOUT_FILENO);
        ::dup2(err, STDERR_FILENO);
        if (options.asNobody && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) ::_exit(126);
        ::execv(program.c_str(), const_cast<char* const*>(argv.data()));
        ::_exit(127);
    }
    if (options.meanwhile) options.meanwhile(child);
    int status = 0;
    ::waitpid(child, &status, 0);
    Outcome run;
    if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
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

ScopedVariable::ScopedVariable(const char* name, const char* value) : name_(name) { ::setenv(name, value, 1); }
ScopedVariable::~ScopedVariable() { ::unsetenv(name_); }

Terminal::Terminal() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)), slave_(-1)
{
    if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0) throw std::runtime_error("no terminal to be had");
    slave_ = ::open(Path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    winsize size{};
    size.ws_col = 80;
    if (slave_ < 0 || ::ioctl(slave_, TIOCSWINSZ, &size) != 0) throw std::runtime_error("no terminal to be had");
}

Terminal::~Terminal()
{
    ::close(slave_);
    ::close(master_);
}

std::string Terminal::Path() const { return ::ptsname(master_); }

std::string Terminal::Read()
{
    std::string text;
    pollfd ready{master_, POLLIN, 0};
    while (::poll(&ready, 1, 100) == 1) {
        char piece[4096];
        ssize_t count = ::read(master_, piece, sizeof piece);
        if (count <= 0) break;
        text.append(piece, static_cast<size_t>(count));
    }
    return text;
}

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
    : path_(folder / "_index.blk"), descriptor_(::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666))
{
    if (descriptor_ < 0 || ::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) throw std::runtime_error("cannot hold " + path_.string());
}

HeldBlock::~HeldBlock() { Release(); }

void HeldBlock::Release()
{
    if (descriptor_ < 0) return;
    ::unlink(path_.c_str());
    ::close(descriptor_);
    descriptor_ = -1;
}

fs::path ToolTest::FolderPath(std::string_view folder) const { return Root() / "POSTOFFICES" / "po" / "MAILROOT" / "box" / folder; }

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
    ASSERT_EQ(Tool({"store", "init", Root().string()}).exitCode, 0);
    InStore({"mailbox", "add", "po", "box"});
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
