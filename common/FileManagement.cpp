#include "common/FileManagement.h"

#include <cstdint>
#include <vector>

#include "common/Exception.h"
#include "common/FileIterator.h"
#include "common/FileStream.h"
#include "common/Text.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr uint32_t kLinkAttribute = 0x400;  // a reparse point
constexpr size_t kLongestPath = 4095;       // what the platform takes

[[noreturn]] void Fail(const std::string& message) { throw Exception(message, "FileManagement"); }

std::string ErrorText(uint32_t error) { return "(GetLastError() returned " + FormatSigned(error) + ")"; }
std::string LastErrorText() { return ErrorText(GetLastError()); }

enum class EntryKind { Missing, File, Directory, Link };

EntryKind KindOf(uint32_t attributes)
{
    if ((attributes & kDirectoryAttribute) == 0) return EntryKind::File;
    return attributes & kLinkAttribute ? EntryKind::Link : EntryKind::Directory;
}

EntryKind KindOfPath(const std::string& path, uint32_t& error)
{
    FileIterator entry(path);
    const bool found = !entry.First().empty();
    error = entry.Error();
    return found ? KindOf(entry.Attributes()) : EntryKind::Missing;
}

EntryKind KindOfPath(const std::string& path)
{
    uint32_t ignored = 0;
    return KindOfPath(path, ignored);
}

struct Entry {
    std::string name;  // below the directory that was listed
    EntryKind kind;
};

// `error` becomes that of a listing that is not whole.
std::vector<Entry> ListDirectory(const std::string& directory, uint32_t& error)
{
    std::vector<Entry> entries;
    FileIterator iterator(directory + "\\*");
    for (std::string name = iterator.First(); iterator.HasMore(); name = iterator.Next())
        if (name != "." && name != "..") entries.push_back({name, KindOf(iterator.Attributes())});
    if (iterator.Error() != 0) error = iterator.Error();
    return entries;
}

// Everything below a directory, each directory before what is in it. A list and no recursion: the depth of a tree is
// not ours to choose. The whole tree is known before anything is changed, so a copy into itself ends as well.
std::vector<Entry> ListTree(const std::string& root, uint32_t& error)
{
    std::vector<Entry> tree = ListDirectory(root, error);
    for (size_t at = 0; at < tree.size(); ++at) {
        if (tree[at].kind != EntryKind::Directory) continue;
        const std::string parent = tree[at].name + "\\";
        for (Entry& entry : ListDirectory(root + "\\" + tree[at].name, error)) tree.push_back({parent + entry.name, entry.kind});
    }
    return tree;
}

// Another process may have removed it since it was found, or its name means nothing by now: both leave nothing to remove.
void RemoveOne(const std::string& path, EntryKind kind)
{
    const bool isFile = kind == EntryKind::File;
    if (isFile ? DeleteFileA(path.c_str()) : RemoveDirectoryA(path.c_str())) return;
    if (NamesNothing(GetLastError())) return;
    Fail((isFile ? "Call to DeleteFile failed for " : "Call to RemoveDirectory failed for ") + path + " " + LastErrorText());
}

void CopyOneFile(const std::string& from, const std::string& to)
{
    if (!CopyFileA(from.c_str(), to.c_str(), FALSE)) Fail("Call to CopyFile failed " + LastErrorText());
}

void CopyWhole(const std::string& from, const std::string& to, EntryKind kind)
{
    if (kind != EntryKind::Directory) return CopyOneFile(from, to);
    uint32_t error = 0;
    const std::vector<Entry> tree = ListTree(from, error);
    if (error != 0) Fail("Call to CopyFile failed " + ErrorText(error));
    FileManagement::CreateDirectories(to);
    for (const Entry& entry : tree) {
        const std::string target = to + "\\" + entry.name;
        if (entry.kind == EntryKind::Directory)
            FileManagement::CreateDirectories(target);
        else
            CopyOneFile(from + "\\" + entry.name, target);
    }
}

void MakeParentOf(const std::string& path)
{
    const std::string parent = FileManagement::ParentDirectory(path);
    if (!parent.empty()) FileManagement::CreateDirectories(parent);
}

// The length of `path` without the separators at its end.
size_t LengthWithoutSeparators(std::string_view path)
{
    size_t length = path.size();
    while (length > 0 && IsPathSeparator(path[length - 1])) --length;
    return length;
}

// The length of the parent's path within `path`; 0 when there is none.
size_t ParentLength(std::string_view path)
{
    const size_t separator = path.substr(0, LengthWithoutSeparators(path)).find_last_of("\\/");
    return separator == std::string_view::npos ? 0 : LengthWithoutSeparators(path.substr(0, separator));
}

// Asked by its attributes: a search finds no root, and takes a pattern for a name.
bool IsDirectory(std::string_view path)
{
    const DWORD attributes = GetFileAttributesA(std::string(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & kDirectoryAttribute) != 0;
}

// Why the directory cannot be made, or an empty text when it is there now.
std::string MakeOneDirectory(const std::string& path)
{
    if (!FileManagement::IsValidPath(path)) return "Invalid path: " + path;
    if (IsDirectory(path) || CreateDirectoryA(path.c_str(), nullptr)) return {};
    // Another process may have made it in between.
    if (GetLastError() == ERROR_ALREADY_EXISTS && IsDirectory(path)) return {};
    return "Failed to create directory (" + path + ")";
}

}  // namespace

// The guard is there before its table, and goes behind it.
Mutex FileManagement::fileMutexesMutex("FileManagement::fileMutexesMutex");
FileMutexTable FileManagement::fileMutexes;

bool NamesNothing(uint32_t error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_INVALID_NAME ||
           error == ERROR_FILENAME_EXCED_RANGE;
}

std::string FileManagement::ParentDirectory(std::string_view path) { return std::string(path.substr(0, ParentLength(path))); }

std::string FileManagement::FileName(std::string_view path)
{
    // Kept: a bare name, with no separator before it, has an empty one.
    const size_t separator = path.find_last_of("\\/");
    return separator == std::string_view::npos ? std::string() : std::string(path.substr(separator + 1));
}

bool FileManagement::IsValidPath(const std::string& path)
{
    WIN32_FIND_DATAA found = {};
    HANDLE search = FindFirstFileA(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return GetLastError() != ERROR_INVALID_NAME;
    FindClose(search);
    return true;
}

bool FileManagement::Exists(const std::string& path) { return KindOfPath(path) != EntryKind::Missing; }

bool FileManagement::MayExist(const std::string& path)
{
    FileIterator entry(path);
    return !entry.First().empty() || (entry.Error() != 0 && !NamesNothing(entry.Error()));
}

bool FileManagement::CreateDirectories(const std::string& path, bool quiet)
{
    const auto fail = [quiet](const std::string& message) {
        if (!quiet) Fail(message);
        return false;
    };
    if (path.empty()) return fail("Empty path");
    if (path.size() > kLongestPath || !IsValidPath(path)) return fail("Invalid path: " + path);
    if (IsDirectory(path)) return true;

    // By their lengths: a path may have two thousand parents.
    const std::string_view whole = path;
    std::vector<size_t> missing;
    for (size_t length = ParentLength(whole); length != 0 && !IsDirectory(whole.substr(0, length));
         length = ParentLength(whole.substr(0, length)))
        missing.push_back(length);
    for (; !missing.empty(); missing.pop_back()) {
        // Kept: a parent that cannot be made throws, also when the call is quiet.
        const std::string fault = MakeOneDirectory(path.substr(0, missing.back()));
        if (!fault.empty()) Fail(fault);
    }
    const std::string fault = MakeOneDirectory(path);
    return fault.empty() || fail(fault);
}

void FileManagement::WriteWholeFile(const std::string& path, std::string_view bytes)
{
    MakeParentOf(path);
    FileStream file;
    if (!file.OpenTruncate(path)) Fail("Failed to open file " + path + " for output");
    file.Write(bytes);
    if (!file.Close()) Fail("Failed to write file " + path);
}

void FileManagement::RemoveTree(const std::string& path)
{
    uint32_t error = 0;
    const EntryKind kind = KindOfPath(path, error);
    if (kind == EntryKind::Missing) {
        // What could not be asked for need not be gone.
        if (error != 0 && !NamesNothing(error)) Fail("Call to DeleteFile failed for " + path + " " + ErrorText(error));
        return;
    }
    if (kind == EntryKind::Directory) {
        // What a failed listing leaves out keeps its directory from being removed, which is then reported.
        uint32_t ignored = 0;
        const std::vector<Entry> tree = ListTree(path, ignored);
        for (auto entry = tree.rbegin(); entry != tree.rend(); ++entry) RemoveOne(path + "\\" + entry->name, entry->kind);
    }
    RemoveOne(path, kind);
}

void FileManagement::MovePath(const std::string& from, const std::string& to)
{
    if (!Exists(from)) Fail("File not found: " + from);
    MakeParentOf(to);
    if (!MoveFileA(from.c_str(), to.c_str())) Fail("Call to MoveFile failed " + LastErrorText());
}

bool FileManagement::CopyTree(const std::string& from, const std::string& to, bool quiet)
{
    const EntryKind kind = KindOfPath(from);
    if (kind == EntryKind::Missing) {
        if (!quiet) Fail("File not found: " + from);
        return false;
    }
    MakeParentOf(to);
    try {
        CopyWhole(from, to, kind);
    } catch (const Exception&) {
        if (!quiet) throw;
        return false;
    }
    return true;
}

}  // namespace velmora
