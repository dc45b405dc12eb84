// Paths: both separators, names without regard to case, and what of that a look at the disk costs.
//
// A path is first tried as its caller spelled it: one system call when that is the spelling on disk. Only a miss comes
// here. Folding is ASCII, so the spelling on disk has the same length and is written over the caller's, in place.
//
// A private name (first byte "_") is probed under a handful of spellings and never looked for in a listing, because flag
// files are asked for at every open of folders with 100,000 files. Any other name is looked up in the names of its
// directory, which DirectoryNames keeps as long as the directory does not change.
#ifndef VELMORA_PLATFORM_POSIX_PATHS_H
#define VELMORA_PLATFORM_POSIX_PATHS_H

#include <cerrno>
#include <string_view>

#include "platform/posix/DirectoryNames.h"
#include "platform/posix/Errors.h"

namespace velmora::platform {

inline constexpr size_t kPathSize = 4096;

// A path of the system: "/" separates, a zero byte ends it. Not filled before ToSystemPath.
struct PathText {
    char text[kPathSize];
    size_t length;

    std::string_view View() const { return {text, length}; }
    // Where the last name begins; 0 when there is no separator.
    size_t LeafStart() const;
    std::string_view Leaf() const { return View().substr(LeafStart()); }
    bool EndsInSeparator() const { return length > 0 && text[length - 1] == '/'; }
    void DropTrailingSeparators();
};

// Turns separators round. 0, 3 for a null or empty path, 206 for one that is too long.
[[nodiscard]] DWORD ToSystemPath(const char* path, PathText& native);

// The directory that a path's last name is in ("." when it names none), written to `parent`.
void ParentOf(const PathText& path, PathText& parent);

enum class Purpose {
    Find,    // the name is to be opened: what the directory holds now counts
    Create,  // the name is to be made: as good as one process can know, without a listing for each new name
};

// What a look for a name in other spellings gave.
struct NameSearch {
    DWORD error = 0;           // 0: it is there; 2: it is not, though its directory is; else why that cannot be told
    DirectoryIdentity parent;  // its directory as it was then; inode 0 when that is not known
};

// Looks for a path that was missed as spelled, and writes the spelling on disk into it. When the last name is missing,
// the path has the right spelling of its directory and keeps the caller's of the name.
NameSearch FindSpelling(PathText& path, Purpose purpose);

// Whether a name with these characters can be made: 0, 123, or 206 for more than 255 bytes.
DWORD CheckNewName(std::string_view name);

// Runs `attempt` on the path, and once more with the spelling on disk when it was missing. The attempt answers as system
// calls do. On a failure `error` has the Windows number.
template <typename Attempt>
auto WithSpelling(PathText& path, DWORD& error, Attempt attempt)
{
    auto result = attempt(static_cast<const char*>(path.text));
    if (result >= 0) return result;
    if (errno != ENOENT) {
        error = PresentError();
        return result;
    }
    error = FindSpelling(path, Purpose::Find).error;
    if (error != 0) return result;
    result = attempt(static_cast<const char*>(path.text));
    if (result < 0) error = PresentError();
    return result;
}

// A change that this process makes to a directory, told to the names that are kept of it. The directory is looked at
// when the object is made, and only when any names are kept at all.
class OwnChange {
public:
    explicit OwnChange(const PathText& path);
    // The same with the directory as a search found it.
    explicit OwnChange(const NameSearch& search) : before_(search.parent) {}
    // The change is made; with `created` the last name of the path is new now.
    void Note(const PathText& path, bool created) const;

private:
    DirectoryIdentity before_;
};

// The calling thread deleted exactly this path: making it again needs no look for other spellings.
void RememberDeleted(const PathText& path);
// Whether it was the last path that the thread deleted; asked once.
bool TakeDeleted(const PathText& path);

}  // namespace velmora::platform

#endif
