// Walks the names that match one pattern in one directory.
//
// An iterator belongs to one thread. It goes from unstarted to searching to ended; First() may start it again.
#ifndef VELMORA_COMMON_FILEITERATOR_H
#define VELMORA_COMMON_FILEITERATOR_H

#include <cstdint>
#include <string>

namespace velmora {

inline constexpr uint32_t kDirectoryAttribute = 16;

class FileIterator {
public:
    // Every entry that matches `pattern`, a path whose last part may hold "*" and "?"; "." and ".." are entries as well.
    explicit FileIterator(std::string pattern);
    // Only entries that have one of the attributes in `attributeMask`.
    FileIterator(std::string pattern, uint32_t attributeMask);
    virtual ~FileIterator();
    FileIterator(const FileIterator&) = delete;
    FileIterator& operator=(const FileIterator&) = delete;

    // The first or next accepted name, without its directory; empty at the end.
    std::string First();
    std::string Next();
    // True while the search is open and stands on an entry.
    bool HasMore() const { return hasMore_; }
    // Why the search gave nothing or ended early, as a Windows error number; 0 when it has told all that there is.
    uint32_t Error() const { return error_; }
    // The attributes of the entry that was returned last.
    uint32_t Attributes() const { return attributes_; }

private:
    struct FoundEntry;
    std::string AcceptFrom(FoundEntry& entry, bool found);
    void CloseSearch();

    std::string pattern_;
    bool filterEnabled_ = false;
    uint32_t attributeMask_ = 0;
    void* searchHandle_ = nullptr;
    bool hasMore_ = false;
    uint32_t attributes_ = 0;
    uint32_t error_ = 0;
};

}  // namespace velmora

#endif
