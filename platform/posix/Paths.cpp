#include "platform/posix/Paths.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "platform/shared/Ascii.h"

namespace velmora::platform {

namespace {

constexpr size_t kLongestName = 255;

// The private files whose spelling is neither all lower nor all upper case, and those that are known under two.
constexpr std::string_view kMixedSpellings[] = {
    "_Access.XML", "_Access.xml", "_Shares.xml", "_Shares.XML", "_INDEX.xml",  "_index.XML",   "_Index.xml",
    "_GROUPS.xml", "_Folder.xml", "_CHANGE.dty", "_CACHED.dty", "_FOLDER.dat", "_DIRSIZE.tmp",
};

bool Exists(const char* path)
{
    struct stat info = {};
    return fstatat(AT_FDCWD, path, &info, AT_SYMLINK_NOFOLLOW) == 0;
}

// The directory that the name at `start` is in.
void DirectoryBefore(const PathText& path, size_t start, PathText& directory)
{
    size_t length = start;
    while (length > 1 && path.text[length - 1] == '/') --length;
    if (length == 0) {
        directory.text[0] = '.';
        length = 1;
    } else {
        std::memcpy(directory.text, path.text, length);
    }
    directory.text[length] = '\0';
    directory.length = length;
}

// Puts the spelling into the name at `start` when it exists so.
bool ProbeSpelling(PathText& path, size_t start, size_t length, std::string_view spelling)
{
    char* name = path.text + start;
    if (std::memcmp(name, spelling.data(), length) == 0) return false;  // as spelled: known to be missing
    char before[kLongestName + 1];
    std::memcpy(before, name, length);
    std::memcpy(name, spelling.data(), length);
    if (Exists(path.text)) return true;
    std::memcpy(name, before, length);
    return false;
}

// A private name at `start`: the handful of spellings that it may have. The byte behind it is zero.
bool ProbePrivateName(PathText& path, size_t start, size_t length)
{
    char folded[kLongestName + 1] = {};
    std::transform(path.text + start, path.text + start + length, folded, LowerByte);
    if (ProbeSpelling(path, start, length, {folded, length})) return true;
    std::transform(path.text + start, path.text + start + length, folded, UpperByte);
    if (ProbeSpelling(path, start, length, {folded, length})) return true;
    for (std::string_view known : kMixedSpellings) {
        if (EqualBytesNoCase(known, {path.text + start, length}) && ProbeSpelling(path, start, length, known)) return true;
    }
    return false;
}

// One name of a path, at `start`, whose directory (before it) is spelled as on disk and identified by `parent`.
// `missed` tells that the caller's own spelling was tried just now. 0 with the spelling written, 2, or another error.
DWORD FindName(PathText& path, size_t start, size_t length, const DirectoryIdentity& parent, Purpose purpose, bool missed)
{
    char* name = path.text + start;
    const char behind = name[length];
    name[length] = '\0';
    DWORD error = ERROR_FILE_NOT_FOUND;
    if (length > kLongestName) {
        error = ERROR_FILENAME_EXCED_RANGE;
    } else if (!missed && Exists(path.text)) {
        error = 0;
    } else if (name[0] == '_') {
        if (ProbePrivateName(path, start, length)) error = 0;
    } else {
        PathText directory;
        DirectoryBefore(path, start, directory);
        error = FindInDirectory(directory.text, parent, name, length, purpose == Purpose::Create);
        // What the directory was remembered to hold may be gone.
        if (error == 0 && !Exists(path.text)) error = ERROR_FILE_NOT_FOUND;
    }
    name[length] = behind;
    return error;
}

// Finds the spelling of the directory part, name by name. `end` is where its last name ends. 0 or an error.
DWORD FindDirectorySpelling(PathText& path, size_t end)
{
    size_t at = 0;
    while (at < end) {
        while (at < end && path.text[at] == '/') ++at;
        if (at == end) break;
        const size_t length = std::string_view(path.text + at, end - at).find('/');
        const size_t stop = length == std::string_view::npos ? end : at + length;
        const char behind = path.text[stop];
        path.text[stop] = '\0';
        struct stat info = {};
        DWORD error = 0;
        if (stat(path.text, &info) != 0) {
            error = PresentError();
            if (error == ERROR_FILE_NOT_FOUND) {
                PathText directory;
                DirectoryBefore(path, at, directory);
                DirectoryIdentity parent;
                error = IdentifyDirectory(directory.text, parent);
                if (error == 0) error = FindName(path, at, stop - at, parent, Purpose::Find, true);
            }
            if (error == 0 && stat(path.text, &info) != 0) error = PresentError();
        }
        path.text[stop] = behind;
        if (error == 0 && !S_ISDIR(info.st_mode)) error = ERROR_PATH_NOT_FOUND;
        if (error == ERROR_FILE_NOT_FOUND) error = ERROR_PATH_NOT_FOUND;
        if (error != 0) return error;
        at = stop;
    }
    return 0;
}

bool HasForbiddenByte(std::string_view name)
{
    return std::any_of(name.begin(), name.end(), [](char c) {
        return static_cast<unsigned char>(c) < 32 || c == '?' || c == '*' || c == '<' || c == '>' || c == '|' || c == '"';
    });
}

// Trivial: still usable while a thread's other objects are being destroyed.
struct DeletedPath {
    char text[1024];
    size_t length;
};
thread_local DeletedPath lastDeleted{};

}  // namespace

size_t PathText::LeafStart() const
{
    const size_t slash = View().rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

void PathText::DropTrailingSeparators()
{
    while (length > 1 && text[length - 1] == '/') text[--length] = '\0';
}

DWORD ToSystemPath(const char* path, PathText& native)
{
    native.length = 0;
    native.text[0] = '\0';
    if (!path || !*path) return ERROR_PATH_NOT_FOUND;
    const size_t length = strnlen(path, kPathSize);
    if (length >= kPathSize) return ERROR_FILENAME_EXCED_RANGE;
    std::replace_copy(path, path + length, native.text, '\\', '/');
    native.text[length] = '\0';
    native.length = length;
    return 0;
}

void ParentOf(const PathText& path, PathText& parent) { DirectoryBefore(path, path.LeafStart(), parent); }

DWORD CheckNewName(std::string_view name)
{
    if (name.size() > kLongestName) return ERROR_FILENAME_EXCED_RANGE;
    return name.empty() || HasForbiddenByte(name) ? ERROR_INVALID_NAME : 0;
}

NameSearch FindSpelling(PathText& path, Purpose purpose)
{
    NameSearch result;
    PathText directory;
    ParentOf(path, directory);
    bool missed = purpose == Purpose::Find;
    result.error = IdentifyDirectory(directory.text, result.parent);
    if (result.error == ERROR_FILE_NOT_FOUND || result.error == ERROR_PATH_NOT_FOUND) {
        missed = false;
        result.error = FindDirectorySpelling(path, path.LeafStart());
        if (result.error == 0) {
            ParentOf(path, directory);
            result.error = IdentifyDirectory(directory.text, result.parent);
        }
        // A directory that went away meanwhile.
        if (result.error == ERROR_FILE_NOT_FOUND) result.error = ERROR_PATH_NOT_FOUND;
    }
    if (result.error == 0) {
        const size_t start = path.LeafStart();
        if (start == path.length) return result;
        if (purpose == Purpose::Create && TakeDeleted(path)) {
            result.error = ERROR_FILE_NOT_FOUND;
        } else {
            result.error = FindName(path, start, path.length - start, result.parent, purpose, missed);
        }
    }
    // A name that no file can have is told from one that is missing.
    const bool missing = result.error == ERROR_FILE_NOT_FOUND || result.error == ERROR_PATH_NOT_FOUND;
    if (missing && HasForbiddenByte(path.View())) result.error = ERROR_INVALID_NAME;
    return result;
}

OwnChange::OwnChange(const PathText& path)
{
    if (!AnyDirectoryKept()) return;
    PathText directory;
    ParentOf(path, directory);
    if (IdentifyDirectory(directory.text, before_) != 0) before_ = {};
}

void OwnChange::Note(const PathText& path, bool created) const
{
    if (before_.inode == 0 || !AnyDirectoryKept()) return;
    PathText directory;
    ParentOf(path, directory);
    NoteChange(directory.text, before_, created ? path.Leaf() : std::string_view());
}

void RememberDeleted(const PathText& path)
{
    lastDeleted.length = 0;
    if (path.length > sizeof(lastDeleted.text)) return;
    std::memcpy(lastDeleted.text, path.text, path.length);
    lastDeleted.length = path.length;
}

bool TakeDeleted(const PathText& path)
{
    if (lastDeleted.length == 0 || path.View() != std::string_view(lastDeleted.text, lastDeleted.length)) return false;
    lastDeleted.length = 0;
    return true;
}

}  // namespace velmora::platform
