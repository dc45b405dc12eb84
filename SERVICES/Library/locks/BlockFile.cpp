#include "locks/BlockFile.h"

#include <cstdio>

#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "frame/Settings.h"
#include "platform/Clock.h"
#include "platform/win32.h"
#include "velmora/locks.h"

namespace velmora {

namespace {

constexpr char kIndexBlockName[] = "\\_index.blk";
constexpr char kGroupsBlockName[] = "\\_groups.blk";
constexpr char kIndexName[] = "\\_index.xml";

constexpr uint32_t kGroupItems = 54;   // the kind whose block file has a name of its own
constexpr uint32_t kCallerHolds = 99;  // a scan mode: the caller holds the block, no attempt is made
constexpr uint32_t kTraceDenials = 6;  // trace level from which a denied access is reported

BlockPath PathIn(const char* folderPath, const char* name)
{
    BlockPath path;
    CopyBounded(path.text, TextOrEmpty(folderPath));
    AppendBounded(path.text, name);
    return path;
}

// One attempt. The name is the lock: nothing is written, and nobody may share the file. Null on failure, with the
// system's error.
void* CreateBlockFile(const char* path)
{
    const HANDLE file = CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file == INVALID_HANDLE_VALUE ? nullptr : file;
}

// Errors that say that the folder cannot hold a block file at all.
bool EndsTheWait(uint32_t error)
{
    return error == ERROR_PATH_NOT_FOUND || error == ERROR_FILENAME_EXCED_RANGE || error == ERROR_INVALID_NAME;
}

void ReportDenial(const std::string& path)
{
    if (BlockTraceLevel() < kTraceDenials) return;
    ReportStoreEvent(FormatText("[%d] Access Denied error occured in WaitForAccessToIndexFileEx for block file: %s\r\n",
                                static_cast<int>(GetCurrentThreadId()), path.c_str()));
}

// Whether an existing block file may be tried for an orphan at once. Kept: a block of group items never is.
bool MayBeOrphan(const std::string& path, uint32_t error)
{
    return error == ERROR_FILE_EXISTS && SettingValue(Setting::IndexUnblockMode) != 0 && ContainsNoCase(path, kIndexBlockName);
}

bool DeletedOrphan(const std::string& path)
{
    // A live holder has the file open, and the delete fails.
    if (!DeleteFileA(path.c_str())) return false;
    PrintLine("deleted orphan\n");
    return true;
}

}  // namespace

uint32_t& BlockTraceLevel()
{
    static uint32_t level = 0;
    return level;
}

BlockPath BlockPathOf(const char* folderPath, uint32_t indexKind)
{
    return PathIn(folderPath, indexKind == kGroupItems ? kGroupsBlockName : kIndexBlockName);
}

std::string BlockFilePath(const char* folderPath, uint32_t indexKind) { return BlockPathOf(folderPath, indexKind).text; }

bool AcquireIndexBlock(STOREINDEXTYPE& index)
{
    // Kept: a save of group items takes _index.blk as well, while the wait of their opens is on _groups.blk.
    void* const handle = CreateBlockFile(PathIn(index.Path, kIndexBlockName).text);
    if (!handle) return false;
    index.BlockFileHandle = handle;
    return true;
}

bool ReleaseIndexBlock(STOREINDEXTYPE& index)
{
    CloseBlockHandle(index.BlockFileHandle);
    return DeleteBlockFile(PathIn(index.Path, kIndexBlockName).text) == BlockDelete::Deleted;
}

BlockDelete DeleteBlockFile(const char* path)
{
    for (uint32_t failures = 0; failures <= kBlockDeleteLimit; ++failures) {
        if (DeleteFileA(path)) return BlockDelete::Deleted;
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return BlockDelete::Gone;
        platform::SleepMs(kRetryPauseMs);
    }
    return BlockDelete::GaveUp;
}

void CloseBlockHandle(void*& handle)
{
    if (!CloseHandle(handle)) {
        // In a destructor's way, where no memory may be wanted.
        char line[96];
        std::snprintf(line, sizeof line, "An error occured closing the handle of a block file: %d\n", static_cast<int>(GetLastError()));
        PrintLine(line);
    }
    handle = nullptr;
}

BlockWait WaitForIndexBlock(const std::string& blockPath, void*& handle)
{
    const auto attempt = [&] { return (handle = CreateBlockFile(blockPath.c_str())) != nullptr; };

    for (uint32_t attempts = 1; !attempt(); ++attempts) {
        const DWORD error = GetLastError();
        if (error == ERROR_ACCESS_DENIED)
            ReportDenial(blockPath);
        else if (EndsTheWait(error))
            return BlockWait::NotHeld;
        platform::SleepMs(kRetryPauseMs);

        const bool last = attempts > kBlockWaitLimit;
        const bool freed = MayBeOrphan(blockPath, error) && DeletedOrphan(blockPath);
        if (!last) continue;
        // The block is stale. Only the party that deleted it may try once more: a file that vanished by itself has been
        // released, and is somebody else's to take.
        const bool broken = freed || DeleteBlockFile(blockPath) == BlockDelete::Deleted;
        return broken && attempt() ? BlockWait::Held : BlockWait::NotHeld;
    }
    return BlockWait::Held;
}

IndexAvailability CheckIndexFileAvailability(const char* folder, uint32_t mode)
{
    const BlockPath blockPath = PathIn(folder, kIndexBlockName);
    const bool takeBlock = mode != kCallerHolds;
    // By name: the look below is over before anybody would take the file for an orphan.
    if (takeBlock && WaitForAccessToIndexFileEx(blockPath.text, 0, nullptr) == 0) return IndexAvailability::Busy;

    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(PathIn(folder, kIndexName).text, &found);
    const bool present = search != INVALID_HANDLE_VALUE;
    if (present) FindClose(search);

    if (takeBlock && DeleteBlockFile(blockPath.text) == BlockDelete::GaveUp)
        PrintLine("CheckIndexFileAvailability::Unable to remove blocking file");
    return present ? IndexAvailability::Present : IndexAvailability::Missing;
}

}  // namespace velmora

using namespace velmora;

uint64_t WaitForAccessToIndexFileEx(const char* filename, uint32_t keepHandle, void** handle)
{
    return GuardedEntry("WaitForAccessToIndexFileEx", uint64_t{0}, [&]() -> uint64_t {
        // A handle that nobody could give back would hold the folder until the process ends.
        if (!filename || (keepHandle != 0 && !handle)) return 0;
        void* const file = CreateBlockFile(PathIn(filename, "").text);
        if (!file) return 0;
        if (keepHandle == 0) CloseHandle(file);
        if (handle) *handle = keepHandle == 0 ? nullptr : file;
        return 1;
    });
}

uint64_t UnBlockIndexFileAccessEx(const char* filename, uint32_t keepHandle, void** handle)
{
    return GuardedEntry("UnBlockIndexFileAccessEx", uint64_t{0}, [&]() -> uint64_t {
        // Kept: the handle is closed for 1 alone, although any number but 0 made it stay open; and a file that is gone
        // already answers 0, as one that cannot be deleted does.
        if (keepHandle == 1 && handle) CloseBlockHandle(*handle);
        return filename && DeleteBlockFile(PathIn(filename, "").text) == BlockDelete::Deleted ? 1 : 0;
    });
}
