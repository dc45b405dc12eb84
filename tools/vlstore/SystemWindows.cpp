#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::error_code ErrorOf(DWORD number) { return {static_cast<int>(number), std::system_category()}; }
std::error_code LastError() { return ErrorOf(GetLastError()); }

class Handle {
public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    ~Handle() { Close(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    bool Valid() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return handle_; }
    // A full disk may be reported only here.
    bool Close()
    {
        if (!Valid()) return true;
        HANDLE handle = handle_;
        handle_ = INVALID_HANDLE_VALUE;
        return CloseHandle(handle) != 0;
    }

private:
    HANDLE handle_;
};

HANDLE OpenExisting(const fs::path& path, DWORD access, DWORD flags)
{
    return CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, flags, nullptr);
}

std::string Utf8Of(const wchar_t* text, DWORD length)
{
    int size = WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(length), nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(length), utf8.data(), size, nullptr, nullptr);
    return utf8;
}

// What the system says of an error, without the full stop and line end that it puts behind.
std::string ReasonOf(DWORD number)
{
    wchar_t text[512];
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, number, 0, text,
                                  static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && (text[length - 1] <= L' ' || text[length - 1] == L'.')) --length;
    return length > 0 ? Utf8Of(text, length) : "error " + std::to_string(number);
}

std::error_code WriteAll(HANDLE file, std::string_view bytes)
{
    constexpr size_t kLargestPiece = 1 << 30;
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), static_cast<DWORD>(std::min(bytes.size(), kLargestPiece)), &written, nullptr))
            return LastError();
        bytes.remove_prefix(written);
    }
    return {};
}

std::error_code ReadToEnd(HANDLE file, std::string& bytes)
{
    char piece[1 << 16];
    for (;;) {
        DWORD count = 0;
        if (!ReadFile(file, piece, sizeof piece, &count, nullptr)) return LastError();
        if (count == 0) return {};
        bytes.append(piece, count);
    }
}

std::error_code CreateWith(const fs::path& path, std::string_view bytes, Durability durability)
{
    Handle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.Valid()) return LastError();
    std::error_code error = WriteAll(file.Get(), bytes);
    if (!error && durability == Durability::Synced && !FlushFileBuffers(file.Get())) error = LastError();
    if (!file.Close() && !error) error = LastError();
    if (error) DeleteFileW(path.c_str());
    return error;
}

// Who may do what with a file, from one to another. A file without such a list, or one that may not be set, is left alone.
void CopyRights(const fs::path& from, const fs::path& to)
{
    DWORD size = 0;
    GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::string rights(size, '\0');
    if (size == 0 || !GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, rights.data(), size, &size)) return;
    SetFileSecurityW(to.c_str(), DACL_SECURITY_INFORMATION, rights.data());
}

bool IsConsole(std::FILE* stream, DWORD& mode) { return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))), &mode); }

UINT consoleCodePage = 0;  // as it was found, to be left so

}  // namespace

void PrepareStandardStreams()
{
    for (std::FILE* stream : {stdout, stderr}) {
        _setmode(_fileno(stream), _O_BINARY);
        DWORD mode = 0;
        if (!IsConsole(stream, mode)) continue;
        SetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
        if (consoleCodePage != 0) continue;
        consoleCodePage = GetConsoleOutputCP();
        SetConsoleOutputCP(CP_UTF8);
        std::atexit([] { SetConsoleOutputCP(consoleCodePage); });
    }
}

std::FILE* TakeStandardOutput(bool noiseToStderr)
{
    std::fflush(stdout);
    int own = _dup(_fileno(stdout));
    if (own < 0) return nullptr;
    if (noiseToStderr) {
        _dup2(_fileno(stderr), _fileno(stdout));
    } else {
        int nowhere = _open("NUL", _O_WRONLY | _O_BINARY);
        if (nowhere >= 0) {
            _dup2(nowhere, _fileno(stdout));
            _close(nowhere);
        }
    }
    return _fdopen(own, "wb");
}

// The C library calls every character device a terminal, NUL too.
bool IsTerminal(std::FILE* stream)
{
    DWORD mode = 0;
    return IsConsole(stream, mode);
}

size_t TerminalColumns(std::FILE* stream)
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!GetConsoleScreenBufferInfo(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))), &info)) return 0;
    int columns = info.srWindow.Right - info.srWindow.Left + 1;
    return columns > 0 ? static_cast<size_t>(columns) : 0;
}

void SetEnvironment(const char* name, const std::string& value)
{
    // The C library keeps a copy of its own, and a library may bring its own C library.
    _putenv_s(name, value.c_str());
    SetEnvironmentVariableA(name, value.c_str());
}

fs::path InstalledModulePath()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return fs::path(path).parent_path() / "VLAISP.DLL";
        }
        path.resize(2 * path.size());
    }
}

// They are in the system's registry, where regedit is the tool for them.
fs::path SystemSettingsFile() { return {}; }

void* OpenModule(const fs::path& path, std::string& error)
{
    HMODULE module = LoadLibraryW(path.c_str());
    if (!module) error = path.string() + ": " + ReasonOf(GetLastError());
    return reinterpret_cast<void*>(module);
}

void* FindSymbol(void* module, const char* name)
{
    return reinterpret_cast<void*>(GetProcAddress(reinterpret_cast<HMODULE>(module), name));
}

BlockState ProbeBlockFile(const fs::path& path)
{
    // A holder shares nothing. The look shares everything: it keeps nobody from deleting the file, and two tools that look
    // do not see each other.
    DWORD error = ERROR_SUCCESS;
    for (DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}}) {
        Handle file(OpenExisting(path, access, FILE_ATTRIBUTE_NORMAL));
        if (file.Valid()) return BlockState::Unheld;
        error = GetLastError();
        if (error != ERROR_ACCESS_DENIED) break;
    }
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return BlockState::Free;
    return error == ERROR_SHARING_VIOLATION ? BlockState::Held : BlockState::Hidden;
}

std::error_code CheckReadAndWrite(const fs::path& directory)
{
    Handle opened(OpenExisting(directory, FILE_LIST_DIRECTORY | FILE_ADD_FILE | FILE_TRAVERSE, FILE_FLAG_BACKUP_SEMANTICS));
    return opened.Valid() ? std::error_code() : LastError();
}

fs::path MakePrivateDirectory(std::error_code& error)
{
    // The temporary files of a user are below its profile, which is its own; what is made there inherits that.
    fs::path temporary = fs::temp_directory_path(error);
    if (error) return {};
    for (unsigned attempt = 0;; ++attempt) {
        fs::path path = temporary / ("vlstore-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(GetTickCount() + attempt));
        if (CreateDirectoryW(path.c_str(), nullptr)) return path;
        error = LastError();
        if (error != std::errc::file_exists) return {};
        error.clear();
    }
}

std::error_code ReadFileContent(const fs::path& path, std::string& bytes)
{
    bytes.clear();
    Handle file(OpenExisting(path, GENERIC_READ, FILE_ATTRIBUTE_NORMAL));
    if (!file.Valid()) return LastError();
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file.Get(), &size) && size.QuadPart > 0) bytes.reserve(static_cast<size_t>(size.QuadPart));
    return ReadToEnd(file.Get(), bytes);
}

std::error_code ReadStandardInput(std::string& bytes)
{
    bytes.clear();
    std::error_code error = ReadToEnd(GetStdHandle(STD_INPUT_HANDLE), bytes);
    // The end of a pipe is told as an error.
    return error.value() == ERROR_BROKEN_PIPE ? std::error_code() : error;
}

std::error_code WriteNewFile(const fs::path& path, std::string_view bytes, Durability durability)
{
    return CreateWith(path, bytes, durability);
}

// The system keeps its directories by itself.
std::error_code SyncDirectory(const fs::path&) { return {}; }

std::error_code MoveWithoutReplacing(const fs::path& from, const fs::path& to)
{
    return MoveFileExW(from.c_str(), to.c_str(), 0) ? std::error_code() : LastError();
}

std::error_code ReplaceFileContent(const fs::path& path, std::string_view bytes)
{
    std::error_code error;
    fs::path target = fs::weakly_canonical(path, error);  // a link to the settings file stays a link
    if (error) target = path;
    fs::path temporary = target;
    temporary += "." + std::to_string(GetCurrentProcessId()) + ".tmp";
    error = CreateWith(temporary, bytes, Durability::Synced);
    if (error) return error;
    CopyRights(target, temporary);
    // Who reads the file at this moment keeps it from being replaced; nobody reads it for long.
    constexpr int kTries = 50;
    constexpr DWORD kBetweenTriesMs = 20;
    for (int i = 0; i < kTries; ++i) {
        if (MoveFileExW(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return {};
        error = LastError();
        if (error.value() != ERROR_SHARING_VIOLATION && error.value() != ERROR_ACCESS_DENIED) break;
        Sleep(kBetweenTriesMs);
    }
    DeleteFileW(temporary.c_str());
    return error;
}

}  // namespace vlstore
