#include "common/FileIterator.h"

#include <utility>

#include "platform/win32.h"

namespace velmora {

struct FileIterator::FoundEntry {
    WIN32_FIND_DATAA data = {};
};

FileIterator::FileIterator(std::string pattern) : pattern_(std::move(pattern)) {}

FileIterator::FileIterator(std::string pattern, uint32_t attributeMask)
    : pattern_(std::move(pattern)), filterEnabled_(true), attributeMask_(attributeMask)
{
}

FileIterator::~FileIterator() { CloseSearch(); }

std::string FileIterator::First()
{
    CloseSearch();
    error_ = 0;
    FoundEntry entry;
    HANDLE handle = FindFirstFileA(pattern_.c_str(), &entry.data);
    if (handle == INVALID_HANDLE_VALUE) {
        if (GetLastError() != ERROR_FILE_NOT_FOUND) error_ = GetLastError();
        return {};
    }
    searchHandle_ = handle;
    return AcceptFrom(entry, true);
}

std::string FileIterator::Next()
{
    if (!searchHandle_) return {};
    FoundEntry entry;
    const bool found = FindNextFileA(searchHandle_, &entry.data) != 0;
    return AcceptFrom(entry, found);
}

// Goes on from `entry` until the filter lets one through.
std::string FileIterator::AcceptFrom(FoundEntry& entry, bool found)
{
    while (found && filterEnabled_ && (entry.data.dwFileAttributes & attributeMask_) == 0)
        found = FindNextFileA(searchHandle_, &entry.data) != 0;
    if (!found) {
        if (GetLastError() != ERROR_NO_MORE_FILES) error_ = GetLastError();
        CloseSearch();
        return {};
    }
    hasMore_ = true;
    attributes_ = entry.data.dwFileAttributes;
    return entry.data.cFileName;
}

void FileIterator::CloseSearch()
{
    if (searchHandle_) FindClose(searchHandle_);
    searchHandle_ = nullptr;
    hasMore_ = false;
}

}  // namespace velmora
