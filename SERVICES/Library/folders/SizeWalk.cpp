// The size of a folder tree: each folder is brought up to date if that is due and cheap, and then the sizes of its items are
// added up from its index.
//
// The walk never waits for a folder: one that another process works on counts by the index as it stands. It finds the
// folders below one in its _folder.xml, and opens items only where it scans.
#include "folders/SizeWalk.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/FileManagement.h"
#include "common/Text.h"
#include "folders/DocumentGuard.h"
#include "folders/FolderIndexFile.h"
#include "folders/FolderLists.h"
#include "folders/FolderNames.h"
#include "folders/FolderRecord.h"
#include "folders/LocalIndex.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "frame/Settings.h"
#include "index/IndexPersistence.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexSteps.h"
#include "locks/BlockFile.h"
#include "locks/FlagFiles.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr uint32_t kLargestSize = std::numeric_limits<uint32_t>::max();
constexpr int64_t kKilobyte = 1024;

// ---- One folder ----

// The block file of a folder, had at once or not at all, and given back on every way out.
class FolderBlock {
public:
    explicit FolderBlock(const std::string& directory) : block_(BlockPathOf(directory.c_str(), kKindMail)), held_(block_.Try()) {}
    ~FolderBlock() { Release(); }
    FolderBlock(const FolderBlock&) = delete;
    FolderBlock& operator=(const FolderBlock&) = delete;

    bool Held() const { return held_; }
    // Nothing to release counts as deleted.
    BlockDelete Release()
    {
        if (!std::exchange(held_, false)) return BlockDelete::Deleted;
        const BlockDelete result = block_.Release();
        if (result != BlockDelete::Deleted) PrintLine("ScanFoldersOrdered::Unable to remove blocking file");
        return result;
    }

private:
    HeldBlock block_;
    bool held_;
};

// Whole kilobytes of a file; 0 when it is not there.
uint64_t KilobytesOf(const std::string& path)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return 0;
    FindClose(search);
    return ((uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow) / kKilobyte;
}

// Kept: the names are those that the walk itself makes of the children of "/". A calendar that is reached by another
// spelling, or asked for by itself, is looked at like mail, and so are tasks.
bool IsNeverScanned(const std::string& folderPath) { return folderPath == "/" || EqualsNoCase(folderPath, "//Calendar"); }

const ItemBackend& BackendOf(const std::string& folderPath)
{
    return BackendFor(EqualsNoCase(folderPath, "//Contacts") ? kKindContacts : kKindMail);
}

void ScanWithBlock(const ItemBackend& backend, const std::string& directory)
{
    try {
        if (!StoreIndex_FolderNeedsScan(directory.c_str())) return;
        const LocalIndex index(directory);
        LateMark mark(*index);
        backend.scan(&*index, index->Table, index->Path, kScanCallerHolds, 0);
        mark.NoteScan();
    } catch (...) {
        // The flag that asked for the scan may be gone.
        MarkFolderDirty(directory.c_str());
        throw;
    }
}

// False when the block of the folder could not be deleted.
bool BringUpToDate(const std::string& directory, const std::string& folderPath, const std::string& indexPath)
{
    if (IsNeverScanned(folderPath)) return true;
    if (KilobytesOf(indexPath) >= SettingValue(Setting::IndexInjectionSizeLimit)) return true;
    const ItemBackend& backend = BackendOf(folderPath);
    // The flag of a folder that nobody here can scan is not to be taken away.
    if (!backend.scannedByOpen) return true;
    FolderBlock block(directory);
    if (block.Held()) ScanWithBlock(backend, directory);
    return block.Release() != BlockDelete::GaveUp;
}

int64_t AddHeld(int64_t total, int64_t size)
{
    int64_t sum = 0;
    if (!__builtin_add_overflow(total, size, &sum)) return sum;
    return size > 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
}

std::string SizeTextOf(const platform::XmlNode& element)
{
    for (platform::XmlNode child = element.FirstElement(); child; child = child.NextElement())
        if (child.Name() == "SIZE") return child.Text();
    return {};
}

// Kept: whatever has a "-" in its ID is passed over with the removed items, whose IDs are nothing else.
bool Counts(const platform::XmlNode& element)
{
    if (element.Name() != "ELEMENT") return false;
    const std::optional<std::string> id = element.Attribute("ID");
    return id && id->find('-') == std::string::npos;
}

// The sizes of all items that the index names; 0 for one that does not load. Nothing after an error of the document facility.
// Raises when there is no memory.
std::optional<int64_t> SumOfSizes(const std::string& indexPath)
{
    return GuardedDocumentRead(std::optional<int64_t>(), [&]() -> std::optional<int64_t> {
        const std::unique_ptr<platform::XmlDocument> document = GetDOMInstance(kNoDomText);
        int64_t total = 0;
        if (!LoadFrom(Needed(document), indexPath)) return total;
        const platform::XmlNode root = document->DocumentElement();
        if (!root || root.Name() != "BASEELEMENT") return total;
        for (platform::XmlNode element = root.FirstElement(); element; element = element.NextElement())
            if (Counts(element)) total = AddHeld(total, ParseLong64(SizeTextOf(element)));
        return total;
    });
}

// A damaged index may give a negative sum.
uint32_t SizeInMode(int64_t bytes, uint32_t mode)
{
    const int64_t size = mode == kSizeInKilobytes ? bytes / kKilobyte : bytes;
    return static_cast<uint32_t>(std::clamp<int64_t>(size, 0, kLargestSize));
}

// ---- The tree ----

// A directory as the disk knows it.
struct Place {
    std::string name;  // the same for every spelling of its last part
    bool isLink = false;
};

// Nothing when there is no such directory.
std::optional<Place> PlaceOf(const std::string& directory)
{
    const size_t leaf = directory.find_last_of("\\/") + 1;
    WIN32_FIND_DATAA found;
    DWORD attributes = INVALID_FILE_ATTRIBUTES;
    Place place{directory.substr(0, leaf)};
    // A name with a wildcard in it would be a search for others.
    const bool isPattern = directory.find_first_of("*?<>\"", leaf) != std::string::npos;
    const HANDLE search = isPattern ? INVALID_HANDLE_VALUE : FindFirstFileA(directory.c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        FindClose(search);
        attributes = found.dwFileAttributes;
        place.name += found.cFileName;
    } else {
        attributes = GetFileAttributesA(directory.c_str());
        // One that cannot be asked about may be there.
        if (attributes == INVALID_FILE_ATTRIBUTES) {
            if (NamesNothing(GetLastError())) return std::nullopt;
            attributes = FILE_ATTRIBUTE_DIRECTORY;
        }
        std::transform(directory.begin() + static_cast<std::ptrdiff_t>(leaf), directory.end(), std::back_inserter(place.name), UpperAscii);
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return std::nullopt;
    place.isLink = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    return place;
}

struct WaitingFolder {
    std::string path;
    std::string directory;
    bool belowLink = false;
};

// Works from a list, so that a deep tree needs no deep stack. Each directory is entered once, whatever it is called: a list
// may hold it under several spellings, and some paths lead to the directory above. A path that does not fit a record or a
// directory is not gone into, which bounds the depth; and below a link no other link is followed, which bounds the way
// through links that lead back up.
class TreeMeasure {
public:
    TreeMeasure(const StoreFolderRecord& record, uint32_t mode)
        : postoffice_(RecordText(record.Postoffice)), mailbox_(RecordText(record.Mailbox)), mode_(mode)
    {
        AddTop(RecordText(record.FolderPath));
    }

    uint32_t Run()
    {
        while (!waiting_.empty()) {
            const WaitingFolder folder = std::move(waiting_.back());
            waiting_.pop_back();
            const uint32_t size = MeasureFolder(folder);
            total_ = size > kLargestSize - total_ ? kLargestSize : total_ + size;
            AddChildren(folder);
        }
        return total_;
    }

private:
    // A link at the top is the folder that was asked for.
    void AddTop(std::string path)
    {
        std::optional<std::string> directory = FolderDirectoryOf(postoffice_, mailbox_, path);
        if (!directory) return;
        const std::optional<Place> place = PlaceOf(*directory);
        if (!place) return;
        entered_.insert(place->name);
        waiting_.push_back({std::move(path), std::move(*directory)});
    }

    // A folder that cannot be measured counts nothing.
    uint32_t MeasureFolder(const WaitingFolder& folder)
    {
        const std::string indexPath = IndexFilePath(folder.directory, kKindMail);
        // Where one block cannot be deleted, the next ones would be left as well, each behind its wait.
        if (takesBlocks_) takesBlocks_ = BringUpToDate(folder.directory, folder.path, indexPath);
        return SizeInMode(SumOfSizes(indexPath).value_or(0), mode_);
    }

    // What cannot be listed has no children here.
    void AddChildren(const WaitingFolder& folder)
    {
        LocalFolderList list;
        FolderEntryList* entries = nullptr;
        const bool isRoot = IsRootFolderPath(folder.path.c_str());
        if (GetFolderEntryList(entries, folder.directory, isRoot, list) == 0) return;
        const auto before = static_cast<std::ptrdiff_t>(waiting_.size());
        for (const auto& [name, same] : entries->Names) AddChild(folder, name);
        // They come off the list in their order.
        std::reverse(waiting_.begin() + before, waiting_.end());
    }

    void AddChild(const WaitingFolder& parent, const std::string& name)
    {
        std::string path = parent.path + "/" + name;
        if (path.size() >= sizeof StoreFolderRecord::FolderPath) return;
        std::optional<std::string> directory = FolderDirectoryOf(postoffice_, mailbox_, path);
        if (!directory) return;
        const std::optional<Place> place = PlaceOf(*directory);
        if (!place || (place->isLink && parent.belowLink) || !entered_.insert(place->name).second) return;
        waiting_.push_back({std::move(path), std::move(*directory), parent.belowLink || place->isLink});
    }

    const std::string postoffice_;
    const std::string mailbox_;
    const uint32_t mode_;
    std::set<std::string> entered_;
    std::vector<WaitingFolder> waiting_;
    bool takesBlocks_ = true;
    uint32_t total_ = 0;
};

}  // namespace

uint64_t MeasureFolderTree(StoreFolderRecord& record, uint32_t mode)
{
    record.FolderSize = 0;
    record.FolderSize = TreeMeasure(record, mode).Run();
    return 1;
}

}  // namespace velmora

using namespace velmora;

uint64_t StoreFolderGet(StoreFolderRecord* record)
{
    return GuardedEntry("StoreFolderGet", uint64_t{0},
                        [&] { return record && IsForThisMachine() ? MeasureFolderTree(*record, kSizeInBytes) : 0; });
}

uint64_t StoreFolderGet_Ex(StoreFolderRecord* record, uint32_t mode)
{
    return GuardedEntry("StoreFolderGet_Ex", uint64_t{0}, [&]() -> uint64_t {
        if (!record) return 0;
        // Kept: this one is never forwarded; with a host selected it answers in bytes, whatever was asked for.
        return MeasureFolderTree(*record, IsForThisMachine() ? mode : kSizeInBytes);
    });
}

uint64_t StoreFolderGetSize(StoreFolderRecord* record)
{
    // Kept: no host is asked for.
    return GuardedEntry("StoreFolderGetSize", uint64_t{0}, [&] { return record ? MeasureFolderTree(*record, kSizeInBytes) : 0; });
}
