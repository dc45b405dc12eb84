#include "locks/FlagFiles.h"

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "common/FileStream.h"
#include "common/Text.h"
#include "frame/StorePaths.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr char kCachedFlagName[] = "_CACHED.DTY";
constexpr char kTakenFlagName[] = "_CHANGE.TKN";  // a flag that is being taken away
constexpr char kIndexName[] = "_INDEX.XML";

// For whoever finds the file; nobody reads it.
constexpr std::string_view kChangeText = "This file is a flag file that denotes that this folder has been changed";
constexpr std::string_view kCachedText = "This file is a flag file that there are cached transactions that are not written to disk.";

// No system here opens a longer one.
constexpr size_t kLongestPath = 4096;

std::string FlagPath(const char* folderPath, const char* name) { return std::string(TextOrEmpty(folderPath)) + "\\" + name; }

// A flag that is to be taken away. The memory for that is had beforehand: with a flag gone and its taker stopped for want of
// memory, nobody would know of it.
class FlagToTake {
public:
    FlagToTake(const char* folderPath, const char* name)
        : pattern_(FlagPath(folderPath, name)), path_(FlagPath(folderPath, "")), directoryLength_(path_.size())
    {
        path_.reserve(directoryLength_ + sizeof WIN32_FIND_DATAA::cFileName);
    }

    // Deletes every file that bears the name; true when there was one.
    bool Take()
    {
        WIN32_FIND_DATAA found;
        const HANDLE search = FindFirstFileA(pattern_.c_str(), &found);
        if (search == INVALID_HANDLE_VALUE) return false;
        do {
            path_.resize(directoryLength_);
            path_ += found.cFileName;
            DeleteFileA(path_.c_str());
        } while (FindNextFileA(search, &found));
        FindClose(search);
        return true;
    }

private:
    std::string pattern_;
    std::string path_;
    size_t directoryLength_;
};

bool FileIsThere(const std::string& path)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return false;
    FindClose(search);
    return true;
}

}  // namespace

FlagSwitches& Switches()
{
    static FlagSwitches switches;
    return switches;
}

bool SetFlag(const char* directory, const char* name, std::string_view text) noexcept
{
    char path[kLongestPath];
    const int length = std::snprintf(path, sizeof path, "%s\\%s", directory, name);
    if (length < 0 || static_cast<size_t>(length) >= sizeof path) return false;
    const HANDLE file =
        CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    // That it exists is the message, so that a text that does not fit on the disk is no failure.
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
    return true;
}

uint64_t MarkFolderDirty(const char* folderPath) noexcept
{
    if (folderPath) SetFlag(folderPath, kChangeFlagName, kChangeText);
    return 1;
}

uint64_t NoteDirtyMark(const char* folderPath)
{
    const std::string path = FlagPath(folderPath, kChangeFlagName);
    uint64_t lastWrite = ReadFileStamp(path).lastWrite;
    // A process that died while it took one away may have had a newer one in its hands.
    if (lastWrite == 0 && MoveFileA(FlagPath(folderPath, kTakenFlagName).c_str(), path.c_str())) lastWrite = ReadFileStamp(path).lastWrite;
    if (lastWrite == 0) return 0;
    MoveLastWriteOn(path, lastWrite);
    return ReadFileStamp(path).lastWrite;
}

// Under another name nobody sets it any more, so that between the look and the removal nothing is lost.
void DropNotedMark(const char* folderPath, uint64_t noted)
{
    if (noted == 0) return;
    const std::string flag = FlagPath(folderPath, kChangeFlagName);
    const std::string taken = FlagPath(folderPath, kTakenFlagName);
    if (!MoveFileExA(flag.c_str(), taken.c_str(), MOVEFILE_REPLACE_EXISTING)) return;
    // A newer one goes back as it is, which needs no room on the disk. When yet another one stands there by now, that serves.
    if (ReadFileStamp(taken).lastWrite != noted && MoveFileA(taken.c_str(), flag.c_str())) return;
    DeleteFileA(taken.c_str());
}

uint64_t MarkInboxDirty(const char* postoffice, const char* mailbox)
{
    if (Switches().DirtyTrackingEnabled != 1) return 1;
    char inbox[kStoreNameSize] = {};
    ResolveFolderPath(postoffice ? postoffice : "", mailbox ? mailbox : "", "Inbox", inbox, sizeof(inbox));
    return MarkFolderDirty(inbox);
}

uint64_t MarkCachedTransactions(const char* folderPath)
{
    if (Switches().CachedTransactionsEnabled == 0 || !folderPath) return 0;
    return SetFlag(folderPath, kCachedFlagName, kCachedText) ? 1 : 0;
}

uint64_t ClearCachedTransactions(const char* folderPath)
{
    if (Switches().CachedTransactionsEnabled == 0 || !folderPath) return 0;
    DeleteFileA(FlagPath(folderPath, kCachedFlagName).c_str());
    return 1;
}

bool StoreIndex_FolderNeedsScan(const char* folderPath)
{
    // A folder without a path would be looked for, and its flag deleted, at the root of the drive.
    if (!folderPath) return true;
    // Kept: the flag goes before the scan that it asks for, so that one set while the scan runs asks for another. A scan that
    // fails sets it again; when the process dies, the scan stays undone until the next flag.
    FlagToTake left(folderPath, kTakenFlagName);
    FlagToTake flag(folderPath, kChangeFlagName);
    const std::string index = FlagPath(folderPath, kIndexName);
    const std::string cached = FlagPath(folderPath, kCachedFlagName);
    if (Switches().CachedTransactionsEnabled != 0) DeleteFileA(cached.c_str());
    const bool taken = left.Take();
    const bool flagged = flag.Take() || taken;
    if (Switches().DirtyTrackingEnabled == 0 || flagged) return true;
    // A folder that was never indexed is scanned once.
    return !FileIsThere(index);
}

}  // namespace velmora
