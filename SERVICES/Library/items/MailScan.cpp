#include "items/MailScan.h"

#include <algorithm>
#include <memory>

#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "common/Text.h"
#include "frame/Logging.h"
#include "frame/Settings.h"
#include "index/CachedDetails.h"
#include "index/DirectorySize.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/ItemFile.h"
#include "items/DateForms.h"
#include "items/MessageBranding.h"
#include "items/MessageHeader.h"
#include "locks/BlockFile.h"
#include "locks/FlagFiles.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr uint32_t kScanByName = 0;
constexpr int32_t kFullLoad = 3;
constexpr size_t kMaxPathLength = 1023;
constexpr DWORD kNoMessage = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE;

bool IsItemName(std::string_view name)
{
    if (name.empty() || name.size() > kMaxItemNameLength || name[0] == '_' || name[0] == '.') return false;
    return name.find_first_of("\">") == std::string_view::npos;
}

// The folder's _index.blk while a scan runs.
class ScanBlock {
public:
    ScanBlock(const std::string& folderPath, uint32_t lockMode) : taken_(lockMode == kScanCallerHolds)
    {
        if (taken_) return;
        path_ = BlockPathOf(folderPath.c_str(), kKindMail);
        handle_ = CreateFileA(path_.text, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle_ == INVALID_HANDLE_VALUE) return;
        taken_ = ours_ = true;
        if (lockMode == kScanByName) CloseBlockHandle(handle_);
    }
    ~ScanBlock()
    {
        if (!ours_) return;
        if (handle_) CloseBlockHandle(handle_);
        if (DeleteBlockFile(path_.text) == BlockDelete::GaveUp) PrintLine("ScanFoldersOrdered::Unable to remove blocking file");
    }
    ScanBlock(const ScanBlock&) = delete;
    ScanBlock& operator=(const ScanBlock&) = delete;

    bool Taken() const { return taken_; }

private:
    BlockPath path_{};
    void* handle_ = nullptr;
    bool taken_;
    bool ours_ = false;
};

// Behind a load: whether a file is there that was not seen to its end, so that it may be a good one. A reader notes the last
// write when it is through with the file; one that could not open the file took it for an empty one. A reader of documents
// notes that it had all the bytes, also when they are no document.
bool IndexIsUnread(const SORTEDSTOREINDEXTYPE& table, const std::string& path, bool loaded)
{
    if (table.Content && table.Content->ReadAsDocument) return false;
    if (table.IndexFileTime != 0 && (loaded || FileStream().OpenRead(path))) return false;
    return FileManagement::MayExist(path);
}

// Starts from what the index file knows, or from nothing; loaded in full either way. False, with an empty table, when there
// is an index file, or one that was put aside, that cannot be read at this moment, or that the settings leave without a reader.
bool LoadForScan(STOREINDEXTYPE* owner, SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, uint32_t indexKind,
                 uint32_t verifyItemFiles)
{
    UnInit(table);
    UnInit(table);
    // A table that holds chosen items only would take all the others for new ones.
    table.LoadSelection.clear();
    const std::string path = IndexFilePath(folderPath, indexKind);
    bool loaded = false;
    if (FileManagement::MayExist(path)) {
        IndexLoadArguments arguments;
        arguments.Owner = owner;
        arguments.FolderPath = folderPath;
        arguments.IndexKind = indexKind;
        if (owner) {
            arguments.Postoffice = owner->Postoffice;
            arguments.Mailbox = owner->Mailbox;
        }
        arguments.NoBlock = 1;  // held by the scan or by its caller
        arguments.CheckDirty = 0;
        arguments.VerifyItemFiles = verifyItemFiles;
        loaded = LoadIndex(table, arguments, kFullLoad);
        if (IndexIsUnread(table, path, loaded)) {
            UnInit(table);
            return false;
        }
        // A damaged file cannot be updated in place: what could be read of it is completed and written anew.
        if (!loaded) table.RewriteRequired = 1;
    }
    if (!loaded && !TakeOverLastUid(table, folderPath, indexKind)) {
        UnInit(table);
        return false;
    }
    table.LoadLevel = kFullLoad;
    return true;
}

bool FileDiffers(const IndexItemPropertyContainer& item, const ListedFile& file)
{
    static const IndexPropertyRef modifiedDate = IndexPropertyTable::LookUp(kModifiedDate);
    static const IndexPropertyRef size = IndexPropertyTable::LookUp(kSize);
    return ParseUnsigned(item.View(modifiedDate), 10) != file.lastWrite || item.GetNumber(size) != static_cast<int32_t>(file.size);
}

void WriteFolderDetails(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath)
{
    uint32_t details[kDetailWords] = {};
    if (GetFolderDetails(table, details) != 0) WriteCachedDetails(folderPath + "\\" + kCachedDetailsFile, details);
}

struct SearchCloser {
    void operator()(void* search) const { FindClose(search); }
};

// A damaged index has items that never were: IDs that were cut or run together.
void DropWhatHasNoFile(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath)
{
    std::vector<IndexItemPropertyContainer*> gone;
    for (IndexItemPropertyContainer* const item : ContentOf(table).Sequence)
        if (!MayHaveItemFile(folderPath, item->Id())) gone.push_back(item);
    RemoveItems(table, gone);
}

// Whether the columns may be another item's: the element was damaged.
bool IsTorn(const IndexItemPropertyContainer& item) { return item.FileOffset == 0 && item.Owner && ContentOf(*item.Owner).DamagedFile; }

// A total at or above 2^31 counts as negative, and a negative one as 0.
int32_t Kilobytes(uint32_t totalBytes)
{
    const int32_t total = static_cast<int32_t>(totalBytes);
    return total > 0 ? total / 1024 : 0;
}

}  // namespace

void MessageListing::Read(const std::string& folderPath, uint32_t rowLimit)
{
    names_.clear();
    entries_.clear();
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((folderPath + "\\*.MAI").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        complete_ = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
        return;
    }
    const std::unique_ptr<void, SearchCloser> closer(search);
    complete_ = true;
    uint32_t seen = 0;
    do {
        // Kept: entries that are left out count as well, and the cut comes before the sort, so that the order of the
        // directory decides which files of a folder beyond the limit are indexed.
        if (++seen >= rowLimit) return Sort();
        const std::string_view name = found.cFileName;
        if ((found.dwFileAttributes & kNoMessage) != 0 || !IsItemName(name)) continue;
        entries_.push_back({static_cast<uint32_t>(names_.size()), static_cast<uint32_t>(name.size()), found.nFileSizeLow,
                            DosDateTime(found.ftLastWriteTime)});
        names_ += name;
    } while (FindNextFileA(search, &found));
    complete_ = GetLastError() == ERROR_NO_MORE_FILES;
    Sort();
}

void MessageListing::Sort()
{
    const auto byName = [this](const Entry& a, const Entry& b) { return CompareNoCase(NameOf(a), NameOf(b)) < 0; };
    if (!std::is_sorted(entries_.begin(), entries_.end(), byName)) std::stable_sort(entries_.begin(), entries_.end(), byName);
}

ListedFile MessageListing::operator[](size_t index) const
{
    const Entry& entry = entries_[index];
    return {NameOf(entry), entry.size, entry.lastWrite};
}

uint32_t GetFolderUniqueId(const std::string& folderPath)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((folderPath + "\\.").substr(0, kMaxPathLength).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return 0;
    FindClose(search);
    return found.ftCreationTime.dwLowDateTime;
}

MessageRead AddMessageItem(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, const ListedFile& file, uint32_t folderUid,
                           uint32_t& nextUid)
{
    MessageHeader header;
    header.FolderUid = folderUid;
    std::string path = folderPath;
    path += '\\';
    path += file.name;
    HeaderParseOptions options;
    options.honourUid = UidBrandingIsOn();
    if (nextUid == UINT32_MAX) return MessageRead::NoMessage;
    if (const MessageRead read = ReadMessageHeaders(path, header, options); read != MessageRead::Whole) return read;

    const uint32_t uid = ++nextUid;
    // Kept: a UID in the file is never kept for an item new to the index. It only tells that the X-UID line is out of date;
    // the file is branded with the new UID, and the strip behind it in the same pass takes that line away again.
    const bool branded = header.Uid > 0;
    header.Uid = static_cast<int32_t>(uid);
    if (branded) BrandMessageFile(folderPath, file.name, folderUid, uid);

    header.Size = static_cast<int32_t>(file.size);
    CopyBounded(header.ItemId, file.name);
    auto item = std::make_unique<IndexItemPropertyContainer>();
    MessageHeader_SetItemProperties(*item, header, false);
    if (!InsertItem(table, item.get())) return MessageRead::NoMessage;
    item.release();
    return MessageRead::Whole;
}

MessageRead RefreshMessageItem(IndexItemPropertyContainer& item, const std::string& folderPath, const ListedFile& file, uint32_t folderUid)
{
    if (IsTorn(item)) {
        // Before the read: when it fails, the item is saved without columns, and a later scan completes it.
        item.ResetKeepingKeys();
        MarkItemChanged(item);
    }
    MessageHeader header;
    header.FolderUid = folderUid;
    HeaderParseOptions options;
    options.clearTempFlags = true;
    const MessageRead read = ReadMessageHeaders(folderPath + "\\" + std::string(file.name), header, options);
    if (read != MessageRead::Whole) return read;
    header.Size = static_cast<int32_t>(file.size);
    if (MessageHeader_IsMissingFrom(item))
        MessageHeader_CompleteItemProperties(item, header);
    else
        MessageHeader_RefreshItemProperties(item, header);
    return MessageRead::Whole;
}

ReconcileResult ReconcileMessages(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, const MessageListing& files,
                                  uint32_t rowLimit)
{
    const uint32_t folderUid = GetFolderUniqueId(folderPath);
    uint32_t nextUid = table.LastUID;
    uint32_t count = 0;
    ReconcileResult result;
    result.listed = files.IsComplete();
    result.unread = !result.listed;
    if (ContentOf(table).DamagedFile && result.listed) DropWhatHasNoFile(table, folderPath);
    for (size_t i = 0; i < files.Count(); ++i) {
        const ListedFile file = files[i];
        if (++count >= rowLimit) {
            result.overflow = true;
            break;
        }
        result.totalBytes += file.size;
        if (IndexItemPropertyContainer* const known = FindLoadedItem(table, file.name)) {
            if (!IsTorn(*known) && !FileDiffers(*known, file)) continue;
            if (RefreshMessageItem(*known, folderPath, file, folderUid) == MessageRead::Interrupted) result.unread = true;
        } else {
            const MessageRead added = AddMessageItem(table, folderPath, file, folderUid, nextUid);
            if (added == MessageRead::Interrupted) result.unread = true;
            // The flags of a file that is not in the index stand in the file alone.
            if (added != MessageRead::Whole) continue;
            // Kept: the item keeps the size and time that the file had before, so the next scan reads a stripped file again.
            StripMessageBranding(folderPath, file.name, folderUid, nextUid);
        }
    }
    return result;
}

uint64_t WriteDirectorySize(const std::string& folderPath, int32_t kilobytes)
{
    const std::string path = folderPath + "\\" + kDirectorySizeFile;
    FileStream file;
    if (!file.OpenTruncate(path)) return 1;
    file.Write(FormatSigned(kilobytes));
    // The first digits alone are another size; without the file it is computed where it is asked for.
    if (!file.Close()) DeleteFileA(path.c_str());
    return 0;
}

bool StoreScanResult(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, uint32_t indexKind, const ReconcileResult& result)
{
    if (result.listed) WriteDirectorySize(folderPath, Kilobytes(result.totalBytes));
    // The flag that asked for this scan is gone by now: without a new one, what the scan found would be forgotten.
    const bool saved = !result.overflow && SaveIndex(table, folderPath.c_str(), indexKind) != 0;
    if (!saved) MarkFolderDirty(folderPath.c_str());
    if (!result.overflow) WriteFolderDetails(table, folderPath);
    return saved;
}

uint64_t ScanFoldersOrdered(STOREINDEXTYPE* owner, SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, uint32_t lockMode,
                            uint32_t verifyItemFiles)
{
    if (folderPath.empty()) return 0;
    const uint32_t rowLimit = SettingValue(Setting::MaximumIndexRows);
    const uint32_t indexKind = owner ? owner->IndexKind : kKindMail;

    const ScanBlock block(folderPath, lockMode);
    if (!block.Taken()) return 1;
    if (!LoadForScan(owner, table, folderPath, indexKind, verifyItemFiles)) {
        // Every known message would be taken for a new one, and its flags and UID would be lost. A later scan may fare better.
        MarkFolderDirty(folderPath.c_str());
        return 1;
    }
    MessageListing files;
    files.Read(folderPath, rowLimit);
    const ReconcileResult result = ReconcileMessages(table, folderPath, files, rowLimit);
    const bool saved = StoreScanResult(table, folderPath, indexKind, result);
    // The same for what could not be read.
    if (saved && result.unread) {
        if (owner)
            ContentOf(table).ScanUnread = true;
        else
            MarkFolderDirty(folderPath.c_str());
    }
    return 1;
}

bool RebuildFromMessages(SORTEDSTOREINDEXTYPE& table, std::string_view folderPath)
{
    const std::string folder(folderPath);
    const uint32_t rowLimit = SettingValue(Setting::MaximumIndexRows);
    MessageListing files;
    files.Read(folder, rowLimit);
    const ReconcileResult result = ReconcileMessages(table, folder, files, rowLimit);
    if (result.listed) WriteDirectorySize(folder, Kilobytes(result.totalBytes));
    WriteFolderDetails(table, folder);
    return !result.unread;
}

}  // namespace velmora
