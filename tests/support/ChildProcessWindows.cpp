#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <string.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>

#include "tests/support/ChildProcess.h"
#include "tests/support/Wine.h"

namespace velmora::test {

namespace {

// Exit codes from here on are exceptions that ended a process; one that is killed ends with one of them.
constexpr DWORD kFirstException = 0xC0000000;
constexpr DWORD kDeath = 0xC000013A;

HANDLE AsHandle(intptr_t value) { return reinterpret_cast<HANDLE>(value); }

void CloseValue(intptr_t& value)
{
    if (value != -1) CloseHandle(AsHandle(value));
    value = -1;
}

// A handle that is closed with its scope; INVALID_HANDLE_VALUE, which is -1, for none.
class Handle {
public:
    explicit Handle(HANDLE handle = INVALID_HANDLE_VALUE) : value_(reinterpret_cast<intptr_t>(handle)) {}
    ~Handle() { CloseValue(value_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    HANDLE Get() const { return AsHandle(value_); }
    HANDLE* Place() { return reinterpret_cast<HANDLE*>(&value_); }
    intptr_t Release() { return std::exchange(value_, intptr_t{-1}); }

private:
    intptr_t value_;
};

void ThrowLast(const std::string& what) { throw std::runtime_error(what + ": error " + std::to_string(GetLastError())); }

SECURITY_ATTRIBUTES Inherited()
{
    SECURITY_ATTRIBUTES attributes{};
    attributes.nLength = sizeof attributes;
    attributes.bInheritHandle = TRUE;
    return attributes;
}

// A pipe whose end `own` stays in this process.
void MakePipe(Handle& readEnd, Handle& writeEnd, const Handle& own)
{
    SECURITY_ATTRIBUTES attributes = Inherited();
    if (!CreatePipe(readEnd.Place(), writeEnd.Place(), &attributes, 0)) ThrowLast("no pipe to be had");
    if (!SetHandleInformation(own.Get(), HANDLE_FLAG_INHERIT, 0)) ThrowLast("no pipe of our own to be had");
}

HANDLE OutputFile(const std::filesystem::path& path)
{
    SECURITY_ATTRIBUTES attributes = Inherited();
    const HANDLE file = CreateFileA(path.string().c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &attributes, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) ThrowLast("cannot open " + path.string());
    return file;
}

// A copy of this process's standard error that a process may inherit.
HANDLE OwnError()
{
    HANDLE copy = INVALID_HANDLE_VALUE;
    const HANDLE process = GetCurrentProcess();
    if (!DuplicateHandle(process, GetStdHandle(STD_ERROR_HANDLE), process, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS)) return OutputFile("NUL");
    return copy;
}

// One word as the C library of the new process takes it apart again: quotes around it (an unquoted "*" would become names
// of files), "\" before a quote, and every "\" that stands before a quote doubled.
std::string Quoted(const std::string& word)
{
    std::string quoted = "\"";
    size_t backslashes = 0;
    for (const char c : word) {
        if (c == '\\') {
            ++backslashes;
            continue;
        }
        quoted.append(c == '"' ? 2 * backslashes + 1 : backslashes, '\\');
        backslashes = 0;
        quoted += c;
    }
    quoted.append(2 * backslashes, '\\');
    return quoted + '"';
}

// The names of variables know no case.
struct NameLess {
    bool operator()(const std::string& a, const std::string& b) const { return _stricmp(a.c_str(), b.c_str()) < 0; }
};

std::string EnvironmentWith(const std::vector<std::pair<std::string, std::string>>& more)
{
    std::map<std::string, std::string, NameLess> values;
    char* const block = GetEnvironmentStringsA();
    for (const char* entry = block; *entry; entry += strlen(entry) + 1) {
        const std::string_view text(entry);
        const size_t equals = text.find('=', 1);  // the directories of the drives begin with one
        if (equals != std::string_view::npos) values[std::string(text.substr(0, equals))] = text.substr(equals + 1);
    }
    FreeEnvironmentStringsA(block);
    for (const auto& [name, value] : more) values[name] = value;
    std::string environment;
    for (const auto& [name, value] : values) environment += name + "=" + value + '\0';
    return environment + '\0';
}

// Lets a process inherit exactly the handles named: two that are started at once do not get each other's pipes.
class HandleList {
public:
    explicit HandleList(std::vector<HANDLE> handles) : handles_(std::move(handles))
    {
        std::sort(handles_.begin(), handles_.end());
        handles_.erase(std::unique(handles_.begin(), handles_.end()), handles_.end());
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        bytes_ = std::make_unique<char[]>(size);
        if (!InitializeProcThreadAttributeList(Get(), 1, 0, &size)) ThrowLast("no attribute list");
        if (!UpdateProcThreadAttribute(Get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(), handles_.size() * sizeof(HANDLE),
                                       nullptr, nullptr))
            ThrowLast("no handle list");
    }
    ~HandleList() { DeleteProcThreadAttributeList(Get()); }
    HandleList(const HandleList&) = delete;
    HandleList& operator=(const HandleList&) = delete;
    LPPROC_THREAD_ATTRIBUTE_LIST Get() const { return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(bytes_.get()); }

private:
    std::vector<HANDLE> handles_;
    std::unique_ptr<char[]> bytes_;
};

}  // namespace

std::filesystem::path OwnProgramPath()
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    return path;
}

void SetVariable(const char* name, const char* value) { _putenv_s(name, value ? value : ""); }

void ChildProcess::Start(const std::filesystem::path& program, const std::vector<std::string>& arguments, const ChildOptions& options)
{
    if (options.withoutRights) throw std::runtime_error("there is no such user here");
    Handle inRead, inWrite, outRead, outWrite;
    MakePipe(inRead, inWrite, inWrite);
    MakePipe(outRead, outWrite, outRead);
    const bool outFile = !options.stdoutPath.empty();
    const Handle file(outFile ? OutputFile(options.stdoutPath) : INVALID_HANDLE_VALUE);
    const Handle error(options.stderrPath.empty() ? OwnError() : OutputFile(options.stderrPath));

    STARTUPINFOEXA startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = inRead.Get();
    startup.StartupInfo.hStdOutput = outFile ? file.Get() : outWrite.Get();
    startup.StartupInfo.hStdError = error.Get();
    const HandleList inherited({startup.StartupInfo.hStdInput, startup.StartupInfo.hStdOutput, startup.StartupInfo.hStdError});
    startup.lpAttributeList = inherited.Get();

    std::string line = Quoted(program.string());
    for (const std::string& argument : arguments) line += ' ' + Quoted(argument);
    std::string environment = EnvironmentWith(options.environment);
    PROCESS_INFORMATION started{};
    const auto start = [&] {
        std::string text = line;  // may be written to
        return CreateProcessA(program.string().c_str(), text.data(), nullptr, nullptr, TRUE, EXTENDED_STARTUPINFO_PRESENT,
                              environment.data(), nullptr, &startup.StartupInfo, &started) != FALSE;
    };
    bool begun = start();
    // Under load Wine now and then fails by itself before the program has begun.
    for (int attempt = 0; !begun && GetLastError() == ERROR_INTERNAL_ERROR && RunsUnderWine() && attempt < 3; ++attempt) begun = start();
    if (!begun) ThrowLast("cannot start " + program.string());
    CloseHandle(started.hThread);
    process_ = reinterpret_cast<intptr_t>(started.hProcess);
    id_ = started.dwProcessId;
    if (!options.closedInput) in_ = inWrite.Release();
    if (!outFile) out_ = outRead.Release();
}

bool ChildProcess::Write(std::string_view bytes)
{
    while (!bytes.empty()) {
        DWORD count = 0;
        if (in_ == -1 || !WriteFile(AsHandle(in_), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr)) return false;
        bytes.remove_prefix(count);
    }
    return true;
}

bool ChildProcess::ReadMore(uint32_t timeoutMs)
{
    if (out_ == -1) return false;
    // An anonymous pipe cannot be waited for with a limit.
    if (timeoutMs != kForever) {
        const ULONGLONG begin = GetTickCount64();
        DWORD available = 0;
        while (PeekNamedPipe(AsHandle(out_), nullptr, 0, nullptr, &available, nullptr) && available == 0) {
            if (GetTickCount64() - begin >= timeoutMs) return false;
            Sleep(1);
        }
    }
    char piece[4096];
    DWORD count = 0;
    if (!ReadFile(AsHandle(out_), piece, sizeof piece, &count, nullptr) || count == 0) return false;
    unread_.append(piece, count);
    return true;
}

bool ChildProcess::Reap(bool wait)
{
    if (WaitForSingleObject(AsHandle(process_), wait ? INFINITE : 0) != WAIT_OBJECT_0) return false;
    DWORD code = 0;
    const bool known = GetExitCodeProcess(AsHandle(process_), &code) && code < kFirstException;
    exitCode_ = known ? static_cast<int>(code) : kKilled;
    CloseValue(process_);
    return true;
}

void ChildProcess::Terminate() { TerminateProcess(AsHandle(process_), kDeath); }

void ChildProcess::CloseInput() { CloseValue(in_); }

void ChildProcess::CloseOutput() { CloseValue(out_); }

ParentLine::ParentLine()
{
    std::fflush(stdout);
    const int descriptor = _dup(_fileno(stdout));
    answers_ = descriptor < 0 ? nullptr : _fdopen(descriptor, "wb");
    if (!answers_ || _dup2(_fileno(stderr), _fileno(stdout)) < 0) throw std::runtime_error("no line to the parent");
    _setmode(_fileno(stdin), _O_BINARY);
}

}  // namespace velmora::test
