#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

std::error_code LastError() { return {errno, std::generic_category()}; }

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool Valid() const { return number_ >= 0; }
    int Number() const { return number_; }
    // A full disk may be reported only here.
    bool Close()
    {
        if (number_ < 0) return true;
        int number = number_;
        number_ = -1;
        return ::close(number) == 0;
    }

private:
    int number_;
};

std::error_code WriteAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return LastError();
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return {};
}

std::error_code ReadToEnd(int descriptor, std::string& bytes)
{
    char piece[1 << 16];
    for (;;) {
        ssize_t count = ::read(descriptor, piece, sizeof piece);
        if (count == 0) return {};
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return LastError();
        bytes.append(piece, static_cast<size_t>(count));
    }
}

std::error_code CreateWith(const fs::path& path, std::string_view bytes, mode_t mode, Durability durability)
{
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!file.Valid()) return LastError();
    std::error_code error = WriteAll(file.Number(), bytes);
    if (!error && durability == Durability::Synced && ::fsync(file.Number()) != 0) error = LastError();
    if (!file.Close() && !error) error = LastError();
    if (error) ::unlink(path.c_str());
    return error;
}

}  // namespace

void PrepareStandardStreams() {}

std::FILE* TakeStandardOutput(bool noiseToStderr)
{
    int own = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (own < 0) return nullptr;
    std::fflush(stdout);
    if (noiseToStderr) {
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
    } else {
        Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (nowhere.Valid()) ::dup2(nowhere.Number(), STDOUT_FILENO);
    }
    return ::fdopen(own, "w");
}

bool IsTerminal(std::FILE* stream) { return ::isatty(::fileno(stream)) == 1; }

size_t TerminalColumns(std::FILE* stream)
{
    winsize size{};
    if (!IsTerminal(stream) || ::ioctl(::fileno(stream), TIOCGWINSZ, &size) != 0) return 0;
    return size.ws_col;
}

void SetEnvironment(const char* name, const std::string& value) { ::setenv(name, value.c_str(), 1); }

fs::path InstalledModulePath()
{
    std::error_code error;
    fs::path executable = fs::read_symlink("/proc/self/exe", error);
    fs::path directory = error ? fs::path() : executable.parent_path();
    return (directory / ".." / "lib" / "libvlaisp.so").lexically_normal();
}

fs::path SystemSettingsFile() { return "/etc/velmora/registry.reg"; }

void* OpenModule(const fs::path& path, std::string& error)
{
    void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        const char* reason = ::dlerror();
        error = reason ? reason : "unknown reason";
    }
    return module;
}

void* FindSymbol(void* module, const char* name) { return ::dlsym(module, name); }

BlockState ProbeBlockFile(const fs::path& path)
{
    int opened = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (opened < 0 && errno == EACCES) opened = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK);
    Descriptor file(opened);
    if (!file.Valid()) return errno == ENOENT ? BlockState::Free : BlockState::Hidden;
    // A holder has the exclusive lock. The shared one is asked for, so that two tools that look do not see each other.
    if (::flock(file.Number(), LOCK_SH | LOCK_NB) == 0) return BlockState::Unheld;
    return errno == EWOULDBLOCK ? BlockState::Held : BlockState::Unheld;
}

std::error_code CheckReadAndWrite(const fs::path& directory)
{
    if (::faccessat(AT_FDCWD, directory.c_str(), R_OK | W_OK | X_OK, AT_EACCESS) == 0) return {};
    return LastError();
}

fs::path MakePrivateDirectory(std::error_code& error)
{
    fs::path temporary = fs::temp_directory_path(error);
    if (error) return {};
    std::string name = (temporary / "vlstore-XXXXXX").string();
    if (::mkdtemp(name.data())) return name;
    error = LastError();
    return {};
}

std::error_code ReadFileContent(const fs::path& path, std::string& bytes)
{
    bytes.clear();
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.Valid()) return LastError();
    struct stat info {};
    if (::fstat(file.Number(), &info) == 0 && info.st_size > 0) bytes.reserve(static_cast<size_t>(info.st_size));
    return ReadToEnd(file.Number(), bytes);
}

std::error_code ReadStandardInput(std::string& bytes)
{
    bytes.clear();
    return ReadToEnd(STDIN_FILENO, bytes);
}

std::error_code WriteNewFile(const fs::path& path, std::string_view bytes, Durability durability)
{
    return CreateWith(path, bytes, 0666, durability);
}

std::error_code SyncDirectory(const fs::path& directory)
{
    Descriptor opened(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.Valid()) return LastError();
    // A file system that cannot do it for a directory says so.
    return ::fsync(opened.Number()) == 0 || errno == EINVAL ? std::error_code() : LastError();
}

std::error_code MoveWithoutReplacing(const fs::path& from, const fs::path& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    if (errno != EINVAL && errno != ENOSYS) return LastError();
    // A file system without that flag: a second name is made, which fails where there is one, and the first is taken away.
    if (::link(from.c_str(), to.c_str()) != 0) return LastError();
    ::unlink(from.c_str());
    return {};
}

std::error_code ReplaceFileContent(const fs::path& path, std::string_view bytes)
{
    std::error_code error;
    fs::path target = fs::weakly_canonical(path, error);  // a link to the settings file stays a link
    if (error) target = path;
    struct stat before {};
    bool existed = ::stat(target.c_str(), &before) == 0;
    mode_t mode = existed ? before.st_mode & 07777 : 0644;

    fs::path temporary = target;
    temporary += "." + std::to_string(::getpid()) + ".tmp";
    error = CreateWith(temporary, bytes, mode, Durability::Synced);
    if (error) return error;
    if (existed) ::chmod(temporary.c_str(), mode);
    if (::rename(temporary.c_str(), target.c_str()) == 0) return {};
    error = LastError();
    ::unlink(temporary.c_str());
    return error;
}

}  // namespace vlstore
