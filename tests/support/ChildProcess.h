// Processes that a test starts, on either platform: their input and output as lines and bytes, their end, their death.
//
// There is no fork: a second process of a test is a program, most often the test's own (OwnProgramPath) with an argument
// that says what it is to be. It inherits the environment, so that a store of the test is its store too.
#ifndef VELMORA_TESTS_SUPPORT_CHILDPROCESS_H
#define VELMORA_TESTS_SUPPORT_CHILDPROCESS_H

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::test {

std::filesystem::path OwnProgramPath();

struct ChildOptions {
    std::vector<std::pair<std::string, std::string>> environment = {};  // on top of this process's own
    bool closedInput = false;                                           // no pipe: the input is at its end from the beginning
    std::filesystem::path stdoutPath = {};                              // in place of the pipe; the file is made anew
    std::filesystem::path stderrPath = {};                              // in place of this process's own standard error
    bool withoutRights = false;                                         // as a user with no rights of its own; POSIX, root alone
};

// One started process. Not for two threads at a time.
class ChildProcess {
public:
    static constexpr uint32_t kForever = 0xFFFFFFFF;
    static constexpr int kKilled = -1;  // the exit code of a process that did not end by itself

    // Starts `program`; throws std::runtime_error when that fails. On POSIX a program that cannot be run ends with 127.
    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments, const ChildOptions& options = {});
    // Kills the process if it still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // False when the process reads no more.
    bool Write(std::string_view bytes);
    bool WriteLine(std::string_view line) { return Write(std::string(line) + "\n"); }
    // The process finds the end of its input.
    void CloseInput();

    // The next byte or line (without its end) of its output; none at the end of it, or when the time is up.
    std::optional<char> ReadByte(uint32_t timeoutMs = kForever);
    std::optional<std::string> ReadLine(uint32_t timeoutMs = kForever);

    // Waits for the end and gives the exit code. An unread output may keep the process from ending.
    int Wait();
    // The exit code of a process that has ended; none while it runs.
    std::optional<int> Ended();
    // Ends the process where it stands, and waits for that.
    void KillNow();

    uint64_t Id() const { return id_; }

private:
    // The platform's half.
    void Start(const std::filesystem::path& program, const std::vector<std::string>& arguments, const ChildOptions& options);
    bool ReadMore(uint32_t timeoutMs);  // appends to `unread_`; false at the end or when the time is up
    bool Reap(bool wait);               // sets `exitCode_`; false when it still runs
    void Terminate();
    void CloseOutput();

    intptr_t process_ = -1;
    intptr_t in_ = -1;   // its standard input: we write
    intptr_t out_ = -1;  // its standard output: we read
    uint64_t id_ = 0;
    std::string unread_;
    std::optional<int> exitCode_;
};

// The other end: a process's line to the one that started it. Takes over standard input and output; what else is printed
// goes to standard error from then on, so that it never gets into an answer. One in a process.
class ParentLine {
public:
    ParentLine();
    ~ParentLine();
    ParentLine(const ParentLine&) = delete;
    ParentLine& operator=(const ParentLine&) = delete;

    // None when the parent has closed the line or is gone.
    std::optional<char> ReadByte();
    std::optional<std::string> ReadLine();
    // False when the parent is gone.
    bool Write(std::string_view bytes);
    bool WriteLine(std::string_view line) { return Write(std::string(line) + "\n"); }

private:
    std::FILE* answers_;
};

// An environment variable of this process, and of those it starts; none when `value` is null.
void SetVariable(const char* name, const char* value);

}  // namespace velmora::test

#endif
