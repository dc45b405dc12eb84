#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <map>
#include <stdexcept>

#include "tests/support/ChildProcess.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): not every system declares it

namespace velmora::test {

namespace {

constexpr unsigned kNobody = 65534;

void CloseDescriptor(intptr_t& descriptor)
{
    if (descriptor >= 0) ::close(static_cast<int>(descriptor));
    descriptor = -1;
}

// A descriptor that no started process inherits.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor()
    {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Number() const { return number_; }
    int Release() { return std::exchange(number_, -1); }

private:
    int number_;
};

int OpenedOrThrow(const std::filesystem::path& path, int flags)
{
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (descriptor < 0) throw std::runtime_error("cannot open " + path.string());
    return descriptor;
}

std::array<int, 2> PipeOrThrow()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe to be had");
    return ends;
}

std::vector<std::string> EnvironmentWith(const std::vector<std::pair<std::string, std::string>>& more)
{
    std::map<std::string, std::string> values;
    for (char** entry = environ; *entry; ++entry) {
        const std::string_view text(*entry);
        const size_t equals = text.find('=');
        if (equals != std::string_view::npos) values[std::string(text.substr(0, equals))] = text.substr(equals + 1);
    }
    for (const auto& [name, value] : more) values[name] = value;
    std::vector<std::string> environment;
    for (const auto& [name, value] : values) environment.push_back(name + "=" + value);
    return environment;
}

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The new process, between fork and exec: nothing but system calls.
struct Beginning {
    int in, out, err;
    bool withoutRights;
    const char* program;
    char* const* arguments;
    char* const* environment;

    [[noreturn]] void Run() const
    {
        if (::dup2(in, STDIN_FILENO) < 0 || ::dup2(out, STDOUT_FILENO) < 0 || ::dup2(err, STDERR_FILENO) < 0) ::_exit(126);
        if (withoutRights && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) ::_exit(126);
        ::signal(SIGPIPE, SIG_DFL);
        ::execve(program, arguments, environment);
        ::_exit(127);
    }
};

}  // namespace

std::filesystem::path OwnProgramPath() { return std::filesystem::read_symlink("/proc/self/exe"); }

void SetVariable(const char* name, const char* value)
{
    if (value) {
        ::setenv(name, value, 1);
    } else {
        ::unsetenv(name);
    }
}

void ChildProcess::Start(const std::filesystem::path& program, const std::vector<std::string>& arguments, const ChildOptions& options)
{
    const std::array<int, 2> input = PipeOrThrow();
    Descriptor inRead(input[0]), inWrite(input[1]);
    const std::array<int, 2> output = PipeOrThrow();
    Descriptor outRead(output[0]), outWrite(output[1]);
    const bool outFile = !options.stdoutPath.empty();
    const Descriptor file(outFile ? OpenedOrThrow(options.stdoutPath, O_WRONLY | O_CREAT | O_TRUNC) : -1);
    const Descriptor errFile(options.stderrPath.empty() ? -1 : OpenedOrThrow(options.stderrPath, O_WRONLY | O_CREAT | O_TRUNC));

    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = EnvironmentWith(options.environment);
    const std::vector<char*> argumentPointers = Pointers(words);
    const std::vector<char*> variablePointers = Pointers(variables);

    // A process that has died is an answer to a write, not the end of this one.
    ::signal(SIGPIPE, SIG_IGN);
    const Beginning beginning{inRead.Number(),
                              outFile ? file.Number() : outWrite.Number(),
                              errFile.Number() >= 0 ? errFile.Number() : STDERR_FILENO,
                              options.withoutRights,
                              program.c_str(),
                              argumentPointers.data(),
                              variablePointers.data()};
    const pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("cannot fork");
    if (child == 0) beginning.Run();
    process_ = child;
    id_ = static_cast<uint64_t>(child);
    if (!options.closedInput) in_ = inWrite.Release();
    if (!outFile) out_ = outRead.Release();
}

bool ChildProcess::Write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(static_cast<int>(in_), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

bool ChildProcess::ReadMore(uint32_t timeoutMs)
{
    if (out_ < 0) return false;
    const int limit = timeoutMs > INT_MAX ? -1 : static_cast<int>(timeoutMs);
    pollfd ready{static_cast<int>(out_), POLLIN, 0};
    int found = 0;
    while ((found = ::poll(&ready, 1, limit)) < 0 && errno == EINTR) {
    }
    if (found != 1) return false;
    char piece[4096];
    const ssize_t count = ::read(static_cast<int>(out_), piece, sizeof piece);
    if (count <= 0) return false;
    unread_.append(piece, static_cast<size_t>(count));
    return true;
}

bool ChildProcess::Reap(bool wait)
{
    int status = 0;
    pid_t ended = 0;
    while ((ended = ::waitpid(static_cast<pid_t>(process_), &status, wait ? 0 : WNOHANG)) < 0 && errno == EINTR) {
    }
    if (ended == 0) return false;
    exitCode_ = ended > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : kKilled;
    return true;
}

void ChildProcess::Terminate() { ::kill(static_cast<pid_t>(process_), SIGKILL); }

void ChildProcess::CloseInput() { CloseDescriptor(in_); }

void ChildProcess::CloseOutput() { CloseDescriptor(out_); }

ParentLine::ParentLine()
{
    std::fflush(stdout);
    const int descriptor = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    answers_ = descriptor < 0 ? nullptr : ::fdopen(descriptor, "w");
    if (!answers_ || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) throw std::runtime_error("no line to the parent");
    ::signal(SIGPIPE, SIG_IGN);
}

}  // namespace velmora::test
