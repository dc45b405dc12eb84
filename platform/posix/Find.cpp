// Directory searches.
//
// A search without a wildcard is one system call. One with a wildcard reads the directory once, keeps the names that
// match, sorts them by their upper-cased bytes, and asks for the details of a file only when it comes to it: a hundred
// thousand names cost their own bytes and sixteen more each. A file that goes away meanwhile is left out.
#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "platform/posix/DosPattern.h"
#include "platform/posix/FileInfo.h"
#include "platform/posix/OpenFiles.h"
#include "platform/shared/Ascii.h"
#include "platform/shared/AskSeam.h"

namespace velmora::platform {

namespace {

struct FoundName {
    uint64_t order;  // the first eight upper-cased bytes, as a number
    uint32_t start;  // in the text of all names
    uint32_t length;
};

struct SearchObject : HandleObject {
    static constexpr HandleKind kKind = HandleKind::Search;
    SearchObject() : HandleObject(kKind) {}

    std::string_view NameOf(const FoundName& name) const { return {text.data() + name.start, name.length}; }
    void Add(std::string_view name);
    void Sort();
    // The next file that is still there: 0; ERROR_NO_MORE_FILES when there is none; another error when it cannot be told
    // what a file is, which does not mean that it is gone.
    DWORD Next(WIN32_FIND_DATAA& found);

    Descriptor directory;
    std::string text;  // each name ends with a zero byte
    std::vector<FoundName> names;
    size_t next = 0;
};

void SearchObject::Add(std::string_view name)
{
    uint64_t order = 0;
    for (size_t i = 0; i < 8; ++i) {
        order = (order << 8) | (i < name.size() ? static_cast<unsigned char>(UpperByte(name[i])) : 0u);
    }
    if (name == "." || name == "..") order = 0;  // in front of everything
    names.push_back({order, static_cast<uint32_t>(text.size()), static_cast<uint32_t>(name.size())});
    text.append(name).push_back('\0');
}

void SearchObject::Sort()
{
    std::sort(names.begin(), names.end(), [this](const FoundName& a, const FoundName& b) {
        if (a.order != b.order) return a.order < b.order;
        const std::string_view left = NameOf(a);
        const std::string_view right = NameOf(b);
        const size_t common = std::min(left.size(), right.size());
        for (size_t i = 0; i < common; ++i) {
            const auto x = static_cast<unsigned char>(UpperByte(left[i]));
            const auto y = static_cast<unsigned char>(UpperByte(right[i]));
            if (x != y) return x < y;
        }
        return left.size() != right.size() ? left.size() < right.size() : left < right;
    });
}

DWORD SearchObject::Next(WIN32_FIND_DATAA& found)
{
    while (next < names.size()) {
        const FoundName& name = names[next++];
        if (DescribeAt(directory.Get(), text.data() + name.start, found) == 0) {
            SetFoundName(found, NameOf(name));
            return 0;
        }
        if (errno != ENOENT) return PresentError();
    }
    return ERROR_NO_MORE_FILES;
}

// A name that holds "\" cannot be asked for under its name, so no search tells of it.
bool CanBeNamed(std::string_view name) { return name.find('\\') == std::string_view::npos && name.size() < MAX_PATH; }

DWORD ReadNames(SearchObject& search, DosPattern pattern)
{
    Descriptor forReading(openat(search.directory.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!forReading.IsOpen()) return PresentError();
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(fdopendir(forReading.Get()), closedir);
    if (!listing) return PresentError();
    forReading.Release();
    for (errno = 0; const dirent* entry = readdir(listing.get()); errno = 0) {
        const std::string_view name(entry->d_name);
        if (pattern.Matches(name) && CanBeNamed(name)) search.Add(name);
    }
    if (errno != 0) return PresentError();
    search.Sort();
    return 0;
}

// A directory that is asked for by a search: what is missing on the way is 3.
DWORD OpenSearchedDirectory(const PathText& pattern, Descriptor& directory)
{
    PathText path;
    ParentOf(pattern, path);
    DWORD error = 0;
    const int fd = WithSpelling(path, error, [](const char* name) { return OpenFile(name, O_RDONLY | O_DIRECTORY); });
    if (fd < 0) return error == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : error;
    directory = Descriptor(fd);
    return 0;
}

HANDLE HandOut(std::unique_ptr<SearchObject> search)
{
    const HANDLE handle = MakeHandle(std::move(search));
    return handle ? handle : INVALID_HANDLE_VALUE;
}

HANDLE FindPattern(const PathText& path, WIN32_FIND_DATAA& found)
{
    auto search = std::make_unique<SearchObject>();
    DWORD error = OpenSearchedDirectory(path, search->directory);
    if (error == 0) error = ReadNames(*search, DosPattern(path.Leaf()));
    if (error == 0) error = search->Next(found);
    if (error == ERROR_NO_MORE_FILES) error = ERROR_FILE_NOT_FOUND;
    return error == 0 ? HandOut(std::move(search)) : FailHandle(error);
}

HANDLE FindOne(PathText& path, WIN32_FIND_DATAA& found)
{
    DWORD error = 0;
    if (WithSpelling(path, error, [&](const char* name) { return DescribeAt(AT_FDCWD, name, found); }) != 0) return FailHandle(error);
    SetFoundName(found, path.Leaf());
    return HandOut(std::make_unique<SearchObject>());
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* found)
try {
    if (SeamRefuses(FileOperation::Search, pattern)) return INVALID_HANDLE_VALUE;
    PathText path;
    if (const DWORD error = ToSystemPath(pattern, path); error != 0) return FailHandle(error);
    if (path.EndsInSeparator()) return FailHandle(ERROR_FILE_NOT_FOUND);
    return DosPattern::HasWildcard(path.Leaf()) ? FindPattern(path, *found) : FindOne(path, *found);
} catch (const std::bad_alloc&) {
    return FailHandle(ERROR_NOT_ENOUGH_MEMORY);
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* found)
{
    SearchObject* search = HandleAs<SearchObject>(handle);
    if (!search) return FALSE;
    const DWORD error = search->Next(*found);
    return error == 0 ? TRUE : Fail(error);
}

BOOL FindClose(HANDLE handle) { return TakeHandle(handle, HandleKind::Search) != nullptr; }
