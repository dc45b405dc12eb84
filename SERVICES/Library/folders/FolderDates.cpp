// When a mailbox's folders were changed last, and how many messages were delivered to it since it was asked.
#include <optional>
#include <string>

#include "common/FileManagement.h"
#include "folders/DosStamp.h"
#include "folders/FolderIndexFile.h"
#include "folders/FolderRecord.h"
#include "frame/Guard.h"
#include "index/StoreIndexLife.h"
#include "locks/FlagFiles.h"
#include "platform/win32.h"
#include "velmora/folders.h"

namespace velmora {

namespace {

// Of the opened file, which on a network file system is fresher than a search; from a search where the open fails. Nothing
// for a file that is not there.
std::optional<FILETIME> LastWriteOf(const std::string& path)
{
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        FILETIME lastWrite = {};
        const bool told = GetFileTime(file, nullptr, nullptr, &lastWrite) != 0;
        CloseHandle(file);
        if (told) return lastWrite;
    }
    return FoundLastWrite(path);
}

uint32_t HierarchyDateOf(const std::string& directory) { return DosStampOf(LastWriteOf(directory + "\\" + kFolderIndexName)); }

// A folder that is flagged as changed has no date: what is in its index is not what is in the folder. A flag that cannot be
// asked for may be there.
uint32_t ContentsDateOf(const std::string& directory)
{
    if (FileManagement::MayExist(directory + "\\" + kChangeFlagName)) return 0;
    return DosStampOf(LastWriteOf(directory + "\\_index.xml"));
}

// The counters lie beside the folders, so only the mailbox counts.
uint64_t TakeDelivered(const StoreFolderRecord& record)
{
    const std::optional<std::string> mailbox = DirectoryOfMailbox(record);
    return mailbox ? TakeNewMailCounter(mailbox->c_str()) : 0;
}

uint64_t AnswerOfFolder(const char* name, const StoreFolderRecord* record, uint32_t (*dateOf)(const std::string& directory))
{
    return GuardedEntry(name, uint64_t{0}, [&]() -> uint64_t {
        if (!record) return 0;
        const std::optional<std::string> directory = FolderDirectoryOf(*record);
        return directory ? dateOf(*directory) : 0;
    });
}

}  // namespace

}  // namespace velmora

using namespace velmora;

uint64_t StoreFolder_GetHierarchyModificationDate(StoreFolderRecord* record)
{
    return AnswerOfFolder("StoreFolder_GetHierarchyModificationDate", record, HierarchyDateOf);
}

uint64_t StoreFolder_GetContentsModificationDate(StoreFolderRecord* record)
{
    return AnswerOfFolder("StoreFolder_GetContentsModificationDate", record, ContentsDateOf);
}

uint64_t StoreGetDeliveredMessageCount(StoreFolderRecord* record)
{
    return GuardedEntry("StoreGetDeliveredMessageCount", uint64_t{0}, [&] { return record ? TakeDelivered(*record) : 0; });
}
