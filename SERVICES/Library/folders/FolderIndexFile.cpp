#include "folders/FolderIndexFile.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Exception.h"
#include "common/FileIterator.h"
#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "common/Text.h"
#include "folders/DocumentGuard.h"
#include "folders/DosStamp.h"
#include "folders/FolderNames.h"
#include "folders/FolderRecord.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "locks/FlagFiles.h"
#include "persistence/Dom.h"
#include "platform/win32.h"
#include "velmora/folders.h"

namespace velmora {

namespace {

constexpr std::string_view kFlagText = "DIRTY";
constexpr std::string_view kErrorMark = " (Error)";

std::string Below(const std::string& directory, const std::string& name) { return directory + "\\" + name; }

// In the order of the directory. False when it cannot be listed to its end.
bool ListChildDirectories(const std::string& directory, std::vector<std::string>& names)
{
    FileIterator children(Below(directory, "*"), kDirectoryAttribute);
    for (std::string name = children.First(); children.HasMore(); name = children.Next())
        if (name != "." && name != "..") names.push_back(name);
    return children.Error() == 0;
}

// The name that the list gives a directory. One that a list cannot hold is replaced on disk, and in `name`. Where that fails,
// because the new name is taken or the directory in use, the list shows it, and the next rebuild tries again.
std::string ListedName(const std::string& directory, std::string& name, bool isRoot)
{
    // Kept: only the list has the spelling of a well-known name, the directory stays as it is.
    std::string listed = isRoot ? WellKnownFolderName(name.c_str()) : name;
    if (!SanitiseFolderName(listed)) return listed;
    if (!MoveFileA(Below(directory, name).c_str(), Below(directory, listed).c_str())) return listed.append(kErrorMark);
    name = listed;
    return listed;
}

// `names` become what is on disk.
std::string ListText(const std::string& directory, std::vector<std::string>& names, bool isRoot)
{
    std::string text = "<folderindex>";
    for (std::string& name : names) text += "<folder><name><![CDATA[" + ListedName(directory, name, isRoot) + "]]></name></folder>";
    return text += "</folderindex>";
}

// Makes `text` and writes it. False, with no list left, when the file cannot be written whole; with the old one, when it cannot be
// opened, and then nothing is renamed.
bool WriteList(const std::string& directory, std::vector<std::string>& names, bool isRoot, std::string& text)
{
    const std::string path = Below(directory, kFolderIndexName);
    FileStream file;
    if (!file.OpenTruncate(path)) return false;
    try {
        text = ListText(directory, names, isRoot);
        file.Write(text);
    } catch (...) {
        // An empty list would be one that cannot be read, where none is one that is made.
        file.Close();
        DeleteFileA(path.c_str());
        throw;
    }
    if (file.Close()) return true;
    DeleteFileA(path.c_str());
    return false;
}

// Another process may have changed the directories, or have written an older list over this one, before the flag that it set
// was taken away.
bool IsListOf(const std::string& directory, std::vector<std::string> names, const std::string& text)
{
    std::vector<std::string> present;
    std::string written;
    if (!ListChildDirectories(directory, present) || !ReadWholeFile(Below(directory, kFolderIndexName), written)) return false;
    std::sort(names.begin(), names.end());
    std::sort(present.begin(), present.end());
    return present == names && written == text;
}

using Names = std::map<std::string, std::string>;

// Kept: the text of all elements in it counts, not that of its name alone. The white space between them does not: it would
// become part of the name in a list that somebody has indented.
std::string NameOf(const platform::XmlNode& folder)
{
    platform::XmlNode child = folder.FirstElement();
    if (!child) return folder.Text();
    std::string name;
    for (; child; child = child.NextElement()) name += child.Text();
    return name;
}

// False when the file does not load.
bool ReadNames(const std::string& path, Names& names)
{
    const std::unique_ptr<platform::XmlDocument> document = GetDOMInstance(kNoDomText);
    if (!LoadFrom(Needed(document), path)) return false;
    const platform::XmlNode root = document->DocumentElement();
    if (!root) return false;
    for (const platform::XmlNode& folder : root.SelectNodes("./folder")) {
        const std::string name = NameOf(folder);
        if (IsChildName(name)) names.emplace(name, name);
    }
    return true;
}

bool HoldsName(const platform::XmlNode& root, std::string_view name)
{
    constexpr size_t kLongestName = 259;
    for (const platform::XmlNode& folder : root.SelectNodes("//folderindex/folder")) {
        const platform::XmlNode child = folder.SelectSingleNode("name");
        if (child && EqualsNoCase(child.Text().substr(0, kLongestName), name)) return true;
    }
    return false;
}

// Behind the list that was written the flag alone is left to be deleted. That it is in use, or may not be deleted, is no reason to
// go without the list: the flag has the next request make it again.
bool IsRebuilt(const std::string& directory, bool isRoot)
try {
    return RebuildFolderIndex(directory, isRoot) != 0;
} catch (const Exception& error) {
    DebugTrace(error.Format() + "\n");
    return true;
}

}  // namespace

bool FolderIndexNeedsRebuild(const std::string& directory)
{
    return !FileManagement::Exists(Below(directory, kFolderIndexName)) || FileManagement::Exists(Below(directory, kHierarchyFlagName));
}

uint32_t RebuildFolderIndex(const std::string& directory, bool isRoot)
{
    // Listed to the end before anything is renamed: a search that is still going on may meet a new name once more.
    std::vector<std::string> names;
    if (!ListChildDirectories(directory, names)) return 0;
    std::string text;
    if (!WriteList(directory, names, isRoot, text)) return 0;
    FileManagement::RemoveTree(Below(directory, kHierarchyFlagName));
    bool isCurrent = false;
    try {
        isCurrent = IsListOf(directory, std::move(names), text);
    } catch (...) {
        MarkHierarchyDirty(directory);
        throw;
    }
    if (!isCurrent) MarkHierarchyDirty(directory);
    return 1;
}

uint32_t LoadFolderIndex(FolderEntryList*& entries, const std::string& directory, TLSFolderList& list)
{
    entries = nullptr;
    if (!list.Directories) return 0;
    // What is not there is loaded by the next request, whatever the times of the files, should this load fail.
    list.Directories->erase(directory);
    const bool loaded = GuardedDocumentRead(false, [&] {
        const std::string path = Below(directory, kFolderIndexName);
        // In front of the load, so that a list written during it is a newer one.
        const uint32_t stamp = DosStampOf(path);
        Names names;
        if (!ReadNames(path, names)) {
            if (FileManagement::Exists(path)) DeleteFileA(path.c_str());
            return false;
        }
        auto found = std::make_unique<FolderEntryList>(FolderEntryList{std::move(names), stamp});
        entries = list.Directories->emplace(directory, std::move(found)).first->second.get();
        return true;
    });
    return loaded ? 1 : 0;
}

uint32_t GetFolderEntryList(FolderEntryList*& entries, const std::string& directory, bool isRoot, TLSFolderList& list)
{
    entries = nullptr;
    if (!list.Directories) return 0;
    if (FolderIndexNeedsRebuild(directory)) return IsRebuilt(directory, isRoot) ? LoadFolderIndex(entries, directory, list) : 0;
    const auto known = list.Directories->find(directory);
    if (known == list.Directories->end()) return LoadFolderIndex(entries, directory, list);
    // Kept: a file that was written again within the two seconds of a stamp, or has an older one, is no new file.
    if (known->second->Stamp < DosStampOf(Below(directory, kFolderIndexName))) return LoadFolderIndex(entries, directory, list);
    entries = known->second.get();
    return 1;
}

bool IsNameInFolderIndex(const std::string& directory, const char* name)
{
    return GuardedDocumentWork(false, [&] {
        const std::unique_ptr<platform::XmlDocument> document = GetDOMInstance(kNoDomText);
        platform::XmlDocument& index = Needed(document);
        const std::string path = Below(directory, kFolderIndexName);
        // A directory that has no list yet is nothing to report.
        if (!FileManagement::Exists(path) || !LoadDOMFile(index, path)) return false;
        return HoldsName(index.DocumentElement(), name);
    });
}

uint32_t MarkHierarchyDirty(const std::string& directory) noexcept
{
    return SetFlag(directory.c_str(), kHierarchyFlagName, kFlagText) ? 1 : 0;
}

}  // namespace velmora

uint64_t StoreFolder_ReIndexChildFolders(StoreFolderRecord* record)
{
    using namespace velmora;
    return GuardedEntry("StoreFolder_ReIndexChildFolders", uint64_t{0}, [&]() -> uint64_t {
        if (!record) return 0;
        const std::optional<std::string> directory = FolderDirectoryOf(*record);
        return directory ? RebuildFolderIndex(*directory, IsRootFolderPath(record->FolderPath)) : 0;
    });
}
