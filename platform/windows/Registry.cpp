// Settings: the system's registry, or the files in regedit's format that VELMORA_REGISTRY (local machine) and
// VELMORA_USER_REGISTRY (current user) name, for tests and for several stores on one machine.
//
// A file is read whenever a key is opened, so a value changed on disk is seen by the next open. One that is there and cannot
// be read has the values that were read last (RegistryReading.h).
#define VELMORA_PLATFORM_BELOW_THE_SEAM
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/shared/RegistryReading.h"
#include "platform/win32.h"

namespace velmora::platform {

namespace {

struct Root {
    HKEY key;
    const char* name;         // as it stands in the file
    const char* environment;  // the variable that names a file
};

const Root* RootOf(HKEY key)
{
    static const Root roots[] = {
        {HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE", "VELMORA_REGISTRY"},
        {HKEY_CURRENT_USER, "HKEY_CURRENT_USER", "VELMORA_USER_REGISTRY"},
    };
    const auto* root = std::find_if(std::begin(roots), std::end(roots), [&](const Root& each) { return each.key == key; });
    return root != std::end(roots) ? root : nullptr;
}

// The file that stands for a root; empty for the system's registry.
std::string FileOf(const Root& root)
{
    const char* named = getenv(root.environment);
    return named ? named : "";
}

struct FileKey {
    std::string file;
    std::string path;
    std::shared_ptr<const RegistryKeys> keys;  // as the file was when the key was opened
};

// The keys opened in files, by the handles given out for them.
struct FileKeys {
    std::mutex lock;
    std::map<HKEY, std::shared_ptr<FileKey>> open;
};

FileKeys& TheFileKeys()
{
    static FileKeys& keys = *new FileKeys;
    return keys;
}

std::shared_ptr<FileKey> FileKeyOf(HKEY key)
{
    FileKeys& keys = TheFileKeys();
    std::lock_guard<std::mutex> hold(keys.lock);
    const auto found = keys.open.find(key);
    return found != keys.open.end() ? found->second : nullptr;
}

RegistryFiles& TheFiles()
{
    static RegistryFiles& files = *new RegistryFiles;
    return files;
}

struct FileCloser {
    using pointer = HANDLE;
    void operator()(HANDLE file) const
    {
        if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    }
};

RegistryRead WhyNotOpened(const std::string& path)
{
    const DWORD error = GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return RegistryRead::Absent;
    const DWORD attributes = GetFileAttributesA(path.c_str());
    const bool isDirectory = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return isDirectory ? RegistryRead::Absent : RegistryRead::Refused;
}

RegistryRead ReadBytes(const std::string& path, std::string& bytes)
{
    // Everything is shared: whoever is about to move this file, or another one here, holds it with the right to delete it.
    const std::unique_ptr<HANDLE, FileCloser> file(CreateFileA(path.c_str(), GENERIC_READ,
                                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file.get() == INVALID_HANDLE_VALUE) return WhyNotOpened(path);
    char piece[16 * 1024];
    while (bytes.size() <= kLargestRegistryFile) {
        DWORD got = 0;
        if (!ReadFile(file.get(), piece, sizeof(piece), &got, nullptr)) return RegistryRead::Refused;
        if (got == 0) break;
        bytes.append(piece, got);
    }
    return RegistryRead::Done;
}

std::shared_ptr<const RegistryKeys> ReadKeys(const std::string& path)
{
    return TheFiles().KeysOf(path, {}, [&](RegistryBytes& into) { return ReadBytes(path, into.bytes); });
}

LSTATUS OpenInFile(FileKey place, bool always, LPCSTR subKey, PHKEY opened)
{
    *opened = nullptr;
    AppendRegistryPath(place.path, subKey ? subKey : "");
    place.keys = ReadKeys(place.file);
    if (!always && !HasRegistryKey(*place.keys, place.path)) return ERROR_FILE_NOT_FOUND;
    auto key = std::make_shared<FileKey>(std::move(place));
    *opened = reinterpret_cast<HKEY>(key.get());
    FileKeys& keys = TheFileKeys();
    std::lock_guard<std::mutex> hold(keys.lock);
    keys.open[*opened] = std::move(key);
    return ERROR_SUCCESS;
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

LSTATUS SeamedRegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD options, REGSAM access, PHKEY opened)
{
    if (!opened) return ERROR_INVALID_PARAMETER;
    if (const auto parent = FileKeyOf(key)) return OpenInFile({parent->file, parent->path, nullptr}, false, subKey, opened);
    if (const Root* root = RootOf(key)) {
        if (std::string file = FileOf(*root); !file.empty()) {
            return OpenInFile({std::move(file), root->name, nullptr}, !subKey || !*subKey, subKey, opened);
        }
    }
    return RegOpenKeyExA(key, subKey, options, access, opened);
}

LSTATUS SeamedRegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size)
{
    const Root* root = RootOf(key);
    if (root && !FileOf(*root).empty()) {
        HKEY opened = nullptr;
        if (const LSTATUS status = SeamedRegOpenKeyExA(key, nullptr, 0, KEY_READ, &opened); status != ERROR_SUCCESS) return status;
        const LSTATUS status = SeamedRegQueryValueExA(opened, name, reserved, type, data, size);
        SeamedRegCloseKey(opened);
        return status;
    }
    const auto inFile = FileKeyOf(key);
    if (!inFile) return RegQueryValueExA(key, name, reserved, type, data, size);
    if (reserved || (data && !size)) return ERROR_INVALID_PARAMETER;
    return GiveRegistryValue(*inFile->keys, inFile->path, name ? name : "", type, data, size);
}

LSTATUS SeamedRegCloseKey(HKEY key)
{
    {
        FileKeys& keys = TheFileKeys();
        std::lock_guard<std::mutex> hold(keys.lock);
        if (keys.open.erase(key) > 0) return ERROR_SUCCESS;
    }
    return RegCloseKey(key);
}
