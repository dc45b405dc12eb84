// Settings: the system's registry, or the files in regedit's format that VELMORA_REGISTRY (local machine) and
// VELMORA_USER_REGISTRY (current user) name, for tests and for several stores on one machine.
//
// A file is read whenever a key is opened, so a value changed on disk is seen by the next open.
#define VELMORA_PLATFORM_BELOW_THE_SEAM
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/shared/RegistryFile.h"
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
    std::map<std::string, std::string> reported;  // file, and the content whose fault was told
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

std::shared_ptr<const RegistryKeys> ReadKeys(const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::make_shared<const RegistryKeys>();
    std::string bytes;
    char piece[16 * 1024];
    while (bytes.size() <= kLargestRegistryFile && (in.read(piece, sizeof(piece)), in.gcount() > 0))
        bytes.append(piece, static_cast<size_t>(in.gcount()));
    RegistryContents contents = bytes.size() > kLargestRegistryFile ? UnreadableRegistryFile() : ParseRegistryFile(bytes);
    if (contents.fault) {
        FileKeys& keys = TheFileKeys();
        std::lock_guard<std::mutex> hold(keys.lock);
        std::string& told = keys.reported[file];
        if (told != bytes) ReportRegistryFault(file, *contents.fault);
        told = bytes;
    }
    return std::make_shared<const RegistryKeys>(std::move(contents.keys));
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
