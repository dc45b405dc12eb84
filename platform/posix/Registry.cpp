// Settings: the two roots of the registry, each a text file in regedit's format (RegistryFile.h).
//
// The file is looked at whenever a key is opened: a value changed on disk is seen by the next open. What was parsed is
// kept as long as the file is the same by inode, size and last-write time, and where it is there and cannot be read
// (RegistryReading.h).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>

#include "platform/posix/OpenFiles.h"
#include "platform/shared/RegistryReading.h"

namespace velmora::platform {

namespace {

constexpr int64_t kYoungNanoseconds = 20'000'000;

struct Root {
    uintptr_t key;            // the predefined key's number
    const char* name;         // as it stands in the file
    const char* environment;  // the variable that names another file
    const char* file;         // below the home directory when it does not begin with "/"
};

constexpr uintptr_t kLocalMachine = static_cast<uintptr_t>(intptr_t{static_cast<int32_t>(0x80000002u)});
constexpr uintptr_t kCurrentUser = static_cast<uintptr_t>(intptr_t{static_cast<int32_t>(0x80000001u)});

constexpr Root kRoots[] = {
    {kLocalMachine, "HKEY_LOCAL_MACHINE", "VELMORA_REGISTRY", "/etc/velmora/registry.reg"},
    {kCurrentUser, "HKEY_CURRENT_USER", "VELMORA_USER_REGISTRY", ".config/velmora/registry.reg"},
};

std::string FileOf(const Root& root)
{
    const char* named = getenv(root.environment);
    if (named && *named) return named;
    if (root.file[0] == '/') return root.file;
    const char* home = getenv("HOME");
    return home && *home ? std::string(home) + '/' + root.file : std::string();
}

RegistryFiles& TheFiles()
{
    static RegistryFiles& files = *new RegistryFiles;
    return files;
}

std::string StampOf(const struct stat& info)
{
    std::string stamp;
    for (const auto number : {static_cast<uint64_t>(info.st_dev), static_cast<uint64_t>(info.st_ino), static_cast<uint64_t>(info.st_size),
                              static_cast<uint64_t>(info.st_mtim.tv_sec), static_cast<uint64_t>(info.st_mtim.tv_nsec)})
        stamp += std::to_string(number) + ' ';
    return stamp;
}

// Whether the last change lies far enough behind for a later one to have another time.
bool IsSettled(const struct stat& info)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return (now.tv_sec - info.st_mtim.tv_sec) * 1'000'000'000 + (now.tv_nsec - info.st_mtim.tv_nsec) > kYoungNanoseconds;
}

RegistryRead ReadFileAt(const std::string& path, RegistryBytes& into)
{
    const Descriptor opened(OpenFile(path.c_str(), O_RDONLY));
    if (!opened.IsOpen()) return errno == ENOENT || errno == ENOTDIR ? RegistryRead::Absent : RegistryRead::Refused;
    struct stat info = {};
    if (fstat(opened.Get(), &info) != 0) return RegistryRead::Refused;
    if (!S_ISREG(info.st_mode)) return RegistryRead::Absent;
    if (IsSettled(info)) into.stamp = StampOf(info);
    char piece[16 * 1024];
    while (into.bytes.size() <= kLargestRegistryFile) {
        const ssize_t got = read(opened.Get(), piece, sizeof(piece));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return RegistryRead::Refused;
        if (got == 0) break;
        into.bytes.append(piece, static_cast<size_t>(got));
    }
    return RegistryRead::Done;
}

std::shared_ptr<const RegistryKeys> ReadKeys(const std::string& path)
{
    if (path.empty()) return std::make_shared<const RegistryKeys>();
    struct stat info = {};
    const std::string stamp = stat(path.c_str(), &info) == 0 ? StampOf(info) : std::string();
    return TheFiles().KeysOf(path, stamp, [&](RegistryBytes& into) { return ReadFileAt(path, into); });
}

struct KeyObject : HandleObject {
    static constexpr HandleKind kKind = HandleKind::RegistryKey;
    KeyObject(const Root& below, std::string at, std::shared_ptr<const RegistryKeys> of)
        : HandleObject(kKind), root(below), path(std::move(at)), keys(std::move(of))
    {
    }
    const Root& root;
    const std::string path;
    const std::shared_ptr<const RegistryKeys> keys;  // as the file was when the key was opened
};

const Root* RootOf(HKEY key)
{
    for (const Root& root : kRoots) {
        if (root.key == reinterpret_cast<uintptr_t>(key)) return &root;
    }
    return nullptr;
}

// A key's root and path: of an opened key or of a root itself. False for neither.
bool Place(HKEY key, const Root*& root, std::string& path)
{
    root = RootOf(key);
    if (root) {
        path = root->name;
        return true;
    }
    const KeyObject* object = HandleAs<KeyObject>(key);
    if (!object) return false;
    root = &object->root;
    path = object->path;
    return true;
}

LSTATUS Status(DWORD error) { return static_cast<LSTATUS>(error); }

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD, REGSAM, PHKEY opened)
{
    if (!opened) return Status(ERROR_INVALID_PARAMETER);
    *opened = nullptr;
    const Root* root = nullptr;
    std::string path;
    if (!Place(key, root, path)) return Status(ERROR_INVALID_HANDLE);
    const bool isRoot = RootOf(key) != nullptr && (!subKey || !*subKey);
    AppendRegistryPath(path, subKey ? subKey : "");
    std::shared_ptr<const RegistryKeys> keys = ReadKeys(FileOf(*root));
    if (!isRoot && !HasRegistryKey(*keys, path)) return Status(ERROR_FILE_NOT_FOUND);
    *opened = MakeHandle(std::make_unique<KeyObject>(*root, std::move(path), std::move(keys)));
    return Status(*opened ? ERROR_SUCCESS : ERROR_TOO_MANY_OPEN_FILES);
}

LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size)
{
    if (reserved || (data && !size)) return Status(ERROR_INVALID_PARAMETER);
    if (RootOf(key)) {
        HKEY opened = nullptr;
        if (const LSTATUS status = RegOpenKeyExA(key, nullptr, 0, KEY_READ, &opened); status != 0) return status;
        const LSTATUS status = RegQueryValueExA(opened, name, nullptr, type, data, size);
        RegCloseKey(opened);
        return status;
    }
    const KeyObject* object = HandleAs<KeyObject>(key);
    if (!object) return Status(ERROR_INVALID_HANDLE);
    return GiveRegistryValue(*object->keys, object->path, name ? name : "", type, data, size);
}

LSTATUS RegCloseKey(HKEY key)
{
    if (RootOf(key)) return Status(ERROR_SUCCESS);
    return Status(TakeHandle(key, HandleKind::RegistryKey) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE);
}
