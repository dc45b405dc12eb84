// Folders are directories, so to add, remove, rename or copy one is what the file system does; what is added here are the names
// that are refused, the spelling of the well-known ones, the flag that has the parent listed anew, and what goes with a folder:
// its shares, and the counted size of its mailbox.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Exception.h"
#include "common/FileIterator.h"
#include "common/FileManagement.h"
#include "common/Text.h"
#include "folders/FolderIndexFile.h"
#include "folders/FolderNames.h"
#include "folders/FolderRecord.h"
#include "folders/Shares.h"
#include "frame/Guard.h"
#include "frame/Settings.h"
#include "frame/StorePaths.h"
#include "index/DirectorySize.h"
#include "locks/FlagFiles.h"
#include "platform/win32.h"
#include "velmora/folders.h"

namespace velmora {

namespace {

constexpr uint32_t kLinkAttribute = 0x400;  // a reparse point

bool IsReservedPublicPath(std::string_view name)
{
    return EqualsNoCase(name, "\\Public") || EqualsNoCase(name, "/Public") || EqualsNoCase(name, "Public");
}

// A name that is a step, or separators alone, would be the folder of the path or another than it says.
bool IsNoName(const std::string& folderName) { return HoldsStep(folderName) || (!folderName.empty() && StepsOf(folderName).empty()); }

void CanonicaliseFolderName(StoreFolderRecord& record)
{
    if (!IsRootFolderPath(record.FolderPath)) return;
    const std::string name = RecordText(record.FolderName);
    const std::string_view stored = WellKnownFolderName(name.c_str());
    if (stored != name) CopyBounded(record.FolderName, stored);
}

// Kept: with no name the folder is that of the path itself, the whole mailbox for its root. What cannot be named fails the
// operation. Separators at the end do not count.
std::string TargetOf(const StoreFolderRecord& record)
{
    const std::optional<std::string> directory = FolderDirectoryOf(record);
    const std::string name = RecordText(record.FolderName);
    if (!directory || IsNoName(name)) throw Exception("The record names no folder", "FolderOperations");
    std::string target = *directory + "\\" + name;
    target.resize(target.find_last_not_of("\\/") + 1);
    return target;
}

// ---- Roots ----

bool IsRootOfMailboxes(std::string_view step) { return EqualsNoCase(step, "MAILROOT") || EqualsNoCase(step, "FILEROOT"); }
bool IsSharedRootName(std::string_view step)
{
    return IsRootOfMailboxes(step) || EqualsNoCase(step, "PUBROOT") || EqualsNoCase(step, "VCFROOT");
}

// Where among the steps of its directories the post office has the name of a root.
size_t PlaceOfRoot(const StoreFolderRecord& record) { return StepsOf(PlainMailboxDirectory(RecordText(record.Postoffice), {})).size() - 1; }

// All mailboxes, all public folders or all contacts. A spelling of their path that is not the reserved one leads there too.
bool IsSharedRoot(const StoreFolderRecord& record, const std::string& target)
{
    const std::vector<std::string_view> steps = StepsOf(target);
    const size_t root = PlaceOfRoot(record);
    return steps.size() <= root || (steps.size() == root + 1 && IsSharedRootName(steps[root]));
}

// How much of the path of a folder is that of the root that it is below: a mailbox's, or that of all public folders or contacts.
size_t LengthOfRoot(const StoreFolderRecord& record, const std::string& folder)
{
    const std::vector<std::string_view> steps = StepsOf(folder);
    const size_t root = PlaceOfRoot(record);
    if (steps.size() <= root) return folder.size();
    const bool hasMailbox = IsRootOfMailboxes(steps[root]) && steps.size() > root + 1;
    const std::string_view last = steps[hasMailbox ? root + 1 : root];
    return static_cast<size_t>(last.data() - folder.data()) + last.size();
}

// A move and a copy make the parents of their destination, and the list that the first of them is missing from is not that of
// the last one's children. The nearest folder on the way up that is there, of the same root.
std::string NearestFolderAbove(const StoreFolderRecord& record, const std::string& destination)
{
    const size_t least = LengthOfRoot(record, destination);
    std::string folder = FileManagement::ParentDirectory(destination);
    while (folder.size() > least && !FileManagement::Exists(folder)) folder = FileManagement::ParentDirectory(folder);
    return folder;
}

// ---- The operations ----

uint64_t AddFolder(StoreFolderRecord& record)
{
    if (!IsForThisMachine()) return 0;
    CanonicaliseFolderName(record);
    const std::string name = RecordText(record.FolderName);
    // Kept: the name is free below any other folder.
    if (PublicFoldersEnabled() && IsRootFolderPath(record.FolderPath) && IsReservedPublicPath(name)) return 0;
    const std::optional<std::string> parent = FolderDirectoryOf(record);
    if (!parent || IsNoName(name)) return 0;
    // Kept: the name is always appended, so that with none the directory of the path itself is made.
    const bool made = CreateDirectoryA((*parent + "\\" + name).c_str(), nullptr) != 0;
    // Kept: also when nothing was made; a folder that somebody else made gets listed this way. The flag is that of the path,
    // whatever a name with a separator in it has led to.
    if (!IsNameInFolderIndex(*parent, name.c_str())) MarkHierarchyDirty(*parent);
    return made ? 1 : 0;
}

// Shares go by the folder's path alone.
// Kept: it comes back in the form that they are kept in, with a slash before it. A special name, such as "$FILEROOT\x", is none
// behind that: the record then names a folder of the mailbox.
void RemoveShares(StoreFolderRecord& record)
{
    static_assert(sizeof record.FolderPath == kFolderPathSize);
    record.FolderPath[sizeof record.FolderPath - 1] = 0;
    RemoveFolderShareEntries(record.FolderPath, RecordText(record.Mailbox).c_str(), RecordText(record.Postoffice).c_str());
}

std::string MailboxSizeFile(const StoreFolderRecord& record)
{
    return PlainMailboxDirectory(RecordText(record.Postoffice), RecordText(record.Mailbox)) + "\\" + kDirectorySizeFile;
}

uint64_t RemoveFolder(StoreFolderRecord& record)
{
    // Kept: only the path is asked, so "Public" as a name at the root is removed like any other.
    if (!IsForThisMachine() || IsReservedPublicPath(RecordText(record.FolderPath))) return 0;
    const std::string target = TargetOf(record);
    if (IsSharedRoot(record, target)) return 0;
    const std::string parent = FileManagement::ParentDirectory(target);
    RemoveShares(record);
    FileManagement::RemoveTree(target);
    MarkHierarchyDirty(parent);
    FileManagement::RemoveTree(MailboxSizeFile(record));  // it is counted again where it is asked for
    return 1;
}

uint64_t MoveFolder(StoreFolderRecord& from, StoreFolderRecord& to)
{
    if (!IsForThisMachine()) return 0;
    CanonicaliseFolderName(from);
    CanonicaliseFolderName(to);
    if (IsReservedPublicPath(RecordText(from.FolderPath)) || IsReservedPublicPath(RecordText(to.FolderPath))) return 0;
    const std::string source = TargetOf(from);
    const std::string destination = TargetOf(to);
    if (IsSharedRoot(from, source) || IsSharedRoot(to, destination)) return 0;
    const std::string changed[] = {FileManagement::ParentDirectory(source), FileManagement::ParentDirectory(destination),
                                   NearestFolderAbove(to, destination)};
    // Kept: a move that fails leaves the parents that it has made.
    FileManagement::MovePath(source, destination);
    for (const std::string& folder : changed) MarkHierarchyDirty(folder);
    return 1;
}

// The folders, as paths below either tree, that a copy is going to find at its destination.
std::vector<std::string> MergedFolders(const std::string& source, const std::string& destination)
{
    std::vector<std::string> merged;
    std::vector<std::string> pending;
    if (FileManagement::Exists(source)) pending.emplace_back();
    while (!pending.empty()) {
        const std::string below = std::move(pending.back());
        pending.pop_back();
        if (!FileManagement::Exists(destination + below)) continue;
        merged.push_back(below);
        FileIterator children(source + below + "\\*", kDirectoryAttribute);
        for (std::string name = children.First(); children.HasMore(); name = children.Next()) {
            const bool isChild = name != "." && name != ".." && (children.Attributes() & kLinkAttribute) == 0;
            if (isChild) pending.emplace_back(below).append("\\").append(name);
        }
    }
    return merged;
}

// A file that comes along with the copy of a folder, over that of the destination, and tells of the source alone: the list of
// its child folders, or its index. A flag has it made anew.
struct MergedFile {
    std::string folder;
    std::string path;
    bool isList;

    // By its attributes, for which a name that is spelled as it was found needs no memory.
    void Mark() const
    {
        if (GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES && NamesNothing(GetLastError())) return;
        if (isList)
            MarkHierarchyDirty(folder);
        else
            MarkFolderDirty(folder.c_str());
    }
};

std::vector<MergedFile> MergedFiles(const std::string& source, const std::string& destination)
{
    std::vector<MergedFile> files;
    for (const std::string& below : MergedFolders(source, destination)) {
        const std::string folder = destination + below;
        files.push_back({folder, folder + "\\" + kFolderIndexName, true});
        files.push_back({folder, folder + "\\_index.xml", false});
    }
    return files;
}

void CopyOrMerge(const std::string& source, const std::string& destination)
{
    const std::vector<MergedFile> merged = MergedFiles(source, destination);
    const auto mark = [&] {
        for (const MergedFile& file : merged) file.Mark();
    };
    try {
        FileManagement::CopyTree(source, destination);
    } catch (...) {
        mark();
        throw;
    }
    mark();
}

uint64_t CopyFolder(StoreFolderRecord& from, StoreFolderRecord& to)
{
    if (!IsForThisMachine()) return 0;
    CanonicaliseFolderName(from);
    CanonicaliseFolderName(to);
    // Kept: no name is reserved here.
    const std::string source = TargetOf(from);
    const std::string destination = TargetOf(to);
    const std::string changed[] = {FileManagement::ParentDirectory(destination), NearestFolderAbove(to, destination)};
    CopyOrMerge(source, destination);
    for (const std::string& folder : changed) MarkHierarchyDirty(folder);
    return 1;
}

// Kept: what goes wrong is not told, and what was done by then stays done; no flag is set behind it.
template <typename Body>
uint64_t Unreported(Body body)
try {
    return body();
} catch (...) {
    return 0;
}

}  // namespace

}  // namespace velmora

using namespace velmora;

uint64_t StoreFolderAdd(StoreFolderRecord* record)
{
    return GuardedEntry("StoreFolderAdd", uint64_t{0}, [&] { return record ? AddFolder(*record) : 0; });
}

uint64_t StoreFolderRemove(StoreFolderRecord* record)
{
    return Unreported([&] { return record ? RemoveFolder(*record) : 0; });
}

uint64_t StoreFolderEdit(StoreFolderRecord* from, StoreFolderRecord* to)
{
    return Unreported([&] { return from && to ? MoveFolder(*from, *to) : 0; });
}

uint64_t StoreFolderCopy(StoreFolderRecord* from, StoreFolderRecord* to)
{
    return Unreported([&] { return from && to ? CopyFolder(*from, *to) : 0; });
}
