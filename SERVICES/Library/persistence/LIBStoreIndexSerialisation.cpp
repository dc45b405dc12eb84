// Choosing a strategy, and the two dispatchers around it.
#include "persistence/LIBStoreIndexSerialisation.h"

#include <algorithm>

#include "common/FileManagement.h"
#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "frame/Settings.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "locks/BlockFile.h"
#include "locks/FlagFiles.h"
#include "persistence/ReplacedFile.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr int32_t kFullLoad = 3;

std::unique_ptr<StoreIndexSerialiser> MakeFileSerialiser(Setting streamSetting)
{
    if (SettingIsOn(streamSetting)) return std::make_unique<StreamXMLStoreIndexSerialiser>();
    return std::make_unique<MSXMLStoreIndexSerialiser>();
}

struct LoadRequest {
    const std::string& folderPath;
    uint32_t indexKind;
    const std::string& pathA;
    const std::string& pathB;
    int32_t level;
    uint32_t reserved;
    uint32_t verifyItemFiles;
    uint64_t dirtyMark;  // the noted flag that a full load takes away; 0 none
};

void KeepBackup(StoreIndexSerialiser& serialiser, const std::string& folderPath)
{
    if (!SettingIsOn(Setting::BackupIndex) || !serialiser.SupportsBackup()) return;
    const uint32_t interval = SettingValue(Setting::BackupIndexInterval);
    if (serialiser.HasBackup(folderPath) && serialiser.BackupAgeMinutes(folderPath) <= interval) return;
    try {
        serialiser.BackupIndex(folderPath);
    } catch (...) {
        PrintLine("Exception occured when backing up\n");
    }
}

std::string ChangeFlagPath(const std::string& folderPath) { return folderPath + "\\_change.dty"; }

struct LoadResult {
    int32_t level = 0;
    bool settled = false;  // false when the load failed for what may pass: neither the file nor its backup is known to be damaged
};

// A file did not load: what can be done about it, and the text that tells. `settled` as in LoadResult.
std::string RecoverFrom(StoreIndexSerialiser& serialiser, SORTEDSTOREINDEXTYPE& index, const LoadRequest& request, bool& settled)
{
    // A file that nobody could look into need not be damaged.
    settled = serialiser.OpenedFile();
    if (!settled || !SettingIsOn(Setting::BackupIndex) || !serialiser.SupportsBackup()) return "\n";
    // Until the folder has an index that knows all its files, whatever ends the recovery, the next load has to look at them. A
    // flag that stands is left as it is: it may be noted, and goes when this load has been through the files.
    if (!serialiser.HasBackup(request.folderPath)) {
        if (RebuildsFromFiles(request.indexKind) && !FileManagement::Exists(ChangeFlagPath(request.folderPath)))
            MarkFolderDirty(request.folderPath.c_str());
        serialiser.QuarantineIndex(request.folderPath);
        return ". Unable to find recovery index. Recovering Index (there may be some flag loss)\n";
    }
    // The backup may know less than the folder has. Whatever ends the recovery behind the restore, the next load goes on.
    if (RebuildsFromFiles(request.indexKind)) MarkFolderDirty(request.folderPath.c_str());
    // A backup that could not be put in place has not been tried; it stays for the next load.
    settled = serialiser.RestoreBackup(request.folderPath);
    if (!settled) return "\n";
    UnindexedStoreIndexSerialiser rebuild(serialiser);
    if (DispatchDeserialise(rebuild, index, request.folderPath, request.indexKind, request.pathA, request.pathB, request.level, 0, 1,
                            NoteDirtyMark(request.folderPath.c_str())) != 0)
        return ". Successfully loaded recovery index.\n";
    // A backup that could not be read has not been tried either.
    settled = !rebuild.InnerUnread();
    if (!settled) return "\n";
    serialiser.DeleteBackup(request.folderPath);
    return ". Backup Index is also corrupt.\n";
}

enum class Recovery { Allowed, Finished };

LoadResult RunDeserialise(StoreIndexSerialiser& serialiser, SORTEDSTOREINDEXTYPE& index, const LoadRequest& request, Recovery recovery)
{
    bool completed = false;
    bool settled = true;
    GuardedSwallow("StoreIndexSerialiser::Deserialise", [&] {
        index.LoadLevel = serialiser.Deserialise(index, request.folderPath, request.indexKind, request.pathA, request.pathB, request.level,
                                                 request.reserved, request.verifyItemFiles);
        if (index.LoadLevel == kFullLoad) {
            // What a rebuild could not save is in this process's memory alone, and what it could not read is nowhere, so the
            // next one has to look again.
            if (serialiser.LeftUnfinished()) MarkFolderDirty(request.folderPath.c_str());
            KeepBackup(serialiser, request.folderPath);
            // Last: a load that ends in an exception has taken no flag into account.
            if (!serialiser.LeftUnfinished()) DropNotedMark(request.folderPath.c_str(), request.dirtyMark);
        } else if (index.LoadLevel == 0) {
            settled = serialiser.OpenedFile();
            const std::string message = "Failed to deserialise index: " + request.folderPath +
                                        (recovery == Recovery::Allowed ? RecoverFrom(serialiser, index, request, settled) : "\n");
            DebugTrace(message);
            LogIndexEvent(message);
        }
        completed = true;
    });
    if (!completed) index.LoadLevel = 0;
    return {index.LoadLevel, completed && settled};
}

// The folder's block file for the time of a load, unless the caller of the load has it.
class LoadBlock {
public:
    explicit LoadBlock(const IndexLoadArguments& load)
        : owner_(load.NoBlock ? nullptr : load.Owner), held_(load.NoBlock || (owner_ && AcquireIndexBlock(*owner_)))
    {
    }
    ~LoadBlock()
    {
        if (held_ && owner_) ReleaseIndexBlock(*owner_);
    }
    LoadBlock(const LoadBlock&) = delete;
    LoadBlock& operator=(const LoadBlock&) = delete;
    bool Held() const { return held_; }

private:
    STOREINDEXTYPE* const owner_;
    const bool held_;
};

}  // namespace

const char* IndexFileName(uint32_t indexKind) { return indexKind == kKindGroups ? "_groups.xml" : "_index.xml"; }

std::string IndexFilePath(const std::string& folderPath, uint32_t indexKind) { return folderPath + "\\" + IndexFileName(indexKind); }

std::unique_ptr<StoreIndexSerialiser> ChooseSerialiser() { return MakeFileSerialiser(Setting::StreamSerialisation); }

std::unique_ptr<StoreIndexSerialiser> ChooseDeserialiser(const std::string& folderPath, uint32_t indexKind, bool checkDirty,
                                                         bool forceRebuild)
{
    const bool rebuildsCalendar = indexKind == kKindCalendar && SettingValue(Setting::CalendarReIndexMode) != 0;
    std::unique_ptr<StoreIndexSerialiser> chosen;
    bool rebuild = forceRebuild || rebuildsCalendar;
    // A file that cannot be asked for now is there: an empty index in its place would cost every item its flags and its UID.
    if (FileManagement::MayExist(IndexFilePath(folderPath, indexKind))) {
        chosen = MakeFileSerialiser(Setting::StreamDeserialisation);
        // So is a flag: the load takes it away as one that it has taken into account.
        rebuild = rebuild || (checkDirty && FileManagement::MayExist(ChangeFlagPath(folderPath)));
    } else if (checkDirty) {
        chosen = std::make_unique<UnindexedStoreIndexSerialiser>(nullptr);
        // Kept: for a calendar this one is wrapped in another of its kind.
        rebuild = rebuildsCalendar;
    } else {
        chosen = std::make_unique<NullStoreIndexDeserialiser>();
    }
    if (rebuild) return std::make_unique<UnindexedStoreIndexSerialiser>(std::move(chosen));
    return chosen;
}

int32_t DispatchDeserialise(StoreIndexSerialiser& serialiser, SORTEDSTOREINDEXTYPE& index, const std::string& folderPath,
                            uint32_t indexKind, const std::string& pathA, const std::string& pathB, int32_t level, uint32_t reserved,
                            uint32_t verifyItemFiles, uint64_t dirtyMark)
{
    const LoadRequest request{folderPath, indexKind, pathA, pathB, level, reserved, verifyItemFiles, dirtyMark};
    return RunDeserialise(serialiser, index, request, Recovery::Allowed).level;
}

uint64_t DispatchSerialise(StoreIndexSerialiser& serialiser, SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind)
{
    return GuardedEntry<uint64_t>("StoreIndexSerialiser::Serialise", 0, [&] { return serialiser.Serialise(index, folderPath, indexKind); });
}

bool RequiresFullLoad() { return ChooseSerialiser()->RequiresFullLoad(); }

uint64_t SaveIndex(SORTEDSTOREINDEXTYPE& table, const char* folderPath, uint32_t indexKind)
{
    const std::unique_ptr<StoreIndexSerialiser> serialiser = ChooseSerialiser();
    const uint64_t result = DispatchSerialise(*serialiser, table, folderPath, indexKind);
    if (result == 1) {
        table.FirstDirtyUID = 0;
        table.RewriteRequired = 0;
    }
    return result;
}

bool LoadIndex(SORTEDSTOREINDEXTYPE& table, const IndexLoadArguments& arguments, int32_t level)
{
    if (&arguments != &table.LastLoad) table.LastLoad = arguments;
    const IndexLoadArguments& load = table.LastLoad;
    // Kept: whatever is loaded is enough here, also below the level asked for, now and at every later raise.
    if (load.SkipIfLoaded && table.LoadLevel != 0) return true;
    if (load.Owner) CopyBounded(load.Owner->Path, load.FolderPath);
    const LoadBlock block(load);
    if (!block.Held()) return false;
    // Before the choice: a flag that comes behind it has not been taken into account, and stays. Under the block: the note
    // changes the flag, and another load, which has it noted, would not know it again.
    const uint64_t dirtyMark = load.CheckDirty ? NoteDirtyMark(load.FolderPath.c_str()) : 0;
    const std::unique_ptr<StoreIndexSerialiser> serialiser =
        ChooseDeserialiser(load.FolderPath, load.IndexKind, load.CheckDirty != 0, load.ForceRebuild != 0);
    return DispatchDeserialise(*serialiser, table, load.FolderPath, load.IndexKind, load.Postoffice, load.Mailbox, level, 0,
                               load.VerifyItemFiles, dirtyMark) >= level;
}

bool OpenIndexForLoad(SORTEDSTOREINDEXTYPE& table, const IndexLoadArguments& arguments, int32_t level)
{
    if (!RequiresFullLoad()) return LoadIndex(table, arguments, std::max(level, 1));
    // Such a writer writes all that is in memory and nothing else, so all of the folder has to be there. Without a file nothing
    // of it is, and a selection keeps an empty index from taking the place of one that is still to be made.
    if (FileManagement::MayExist(IndexFilePath(arguments.FolderPath, arguments.IndexKind))) table.LoadSelection.clear();
    return LoadIndex(table, arguments, kFullLoad);
}

// Makes the index agree with the folder's own files.

uint64_t UnindexedStoreIndexSerialiser::Serialise(SORTEDSTOREINDEXTYPE&, const std::string&, uint32_t) { return 0; }

int32_t UnindexedStoreIndexSerialiser::Deserialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind,
                                                   const std::string& pathA, const std::string& pathB, int32_t, uint32_t, uint32_t)
{
    index.LoadSelection.clear();
    bool startsAfresh = true;
    if (StoreIndexSerialiser* const inner = Inner()) {
        const LoadRequest request{folderPath, indexKind, pathA, pathB, kFullLoad, 0, 1, 0};
        const LoadResult loaded = RunDeserialise(*inner, index, request, borrowed_ ? Recovery::Finished : Recovery::Allowed);
        innerUnread_ = !loaded.settled;
        // A file that could not be read at this moment, or that nobody here can read, may be a good one: a rebuild would put other
        // UIDs and no flags in its place. It waits, too.
        if (loaded.level == 0 && innerUnread_) return 0;
        // The restored backup is damaged too. The recovery ends here, or it would restore the same file for ever.
        if (loaded.level == 0 && borrowed_) return 0;
        startsAfresh = loaded.level == 0 || borrowed_;
    } else {
        UnInit(index);
    }
    if (startsAfresh && !TakeOverLastUid(index, folderPath, indexKind)) {
        innerUnread_ = true;
        return 0;
    }
    // A damaged file does not stop the scan: what was loaded of it stays, and the scan completes it.
    index.LoadLevel = kFullLoad;
    const ItemBackend& backend = BackendFor(indexKind);
    const bool known = backend.rebuild != nullptr;
    const bool whole = known && backend.rebuild(index.LastLoad.Owner, index, folderPath.c_str());
    index.RewriteRequired = 1;
    if (!known) return 0;
    finished_ = SaveIndex(index, folderPath.c_str(), indexKind) == 1 && whole;
    return kFullLoad;
}

// Nothing there, nothing to do.

uint64_t NullStoreIndexDeserialiser::Serialise(SORTEDSTOREINDEXTYPE&, const std::string&, uint32_t) { return 0; }

int32_t NullStoreIndexDeserialiser::Deserialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind,
                                                const std::string&, const std::string&, int32_t, uint32_t, uint32_t)
{
    UnInit(index);
    return TakeOverLastUid(index, folderPath, indexKind) ? kFullLoad : 0;
}

}  // namespace velmora
