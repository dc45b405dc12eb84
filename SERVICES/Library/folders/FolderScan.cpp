// The scan of one folder of which the caller knows no more than the directory.
#include <string_view>

#include "common/Text.h"
#include "folders/LocalIndex.h"
#include "frame/Guard.h"
#include "index/IndexPersistence.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexSteps.h"
#include "locks/BlockFile.h"
#include "locks/FlagFiles.h"
#include "velmora/folders.h"

namespace velmora {

namespace {

constexpr int32_t kFullLoad = 3;

// A folder's index, and its block while that is held.
class ScannedFolder {
public:
    explicit ScannedFolder(std::string_view directory) : index_(directory) {}
    ~ScannedFolder()
    {
        if (held_) ReleaseIndexBlock(*index_);
    }
    ScannedFolder(const ScannedFolder&) = delete;
    ScannedFolder& operator=(const ScannedFolder&) = delete;

    // One attempt.
    bool Hold() { return held_ = index_.IsPlaced() && AcquireIndexBlock(*index_); }

    uint64_t Scan()
    {
        try {
            if (!Rebuild()) return 0;
            const uint64_t saved = SaveIndex(index_->Table, index_->Path, kKindMail);
            if (saved == 0) MarkFolderDirty(index_->Path);
            return saved;
        } catch (...) {
            // The flag that asked for the scan may be gone with the load.
            MarkFolderDirty(index_->Path);
            throw;
        }
    }

private:
    // Kept: whatever the folder is called, it is scanned for messages.
    bool Rebuild()
    {
        IndexLoadArguments arguments = LoadArgumentsOf(*index_);
        arguments.NoBlock = 1;
        arguments.CheckDirty = 1;
        arguments.ForceRebuild = 1;
        return LoadIndex(index_->Table, arguments, kFullLoad);
    }

    LocalIndex index_;
    bool held_ = false;
};

}  // namespace

}  // namespace velmora

using namespace velmora;

uint64_t ScanFolders(const char* directory)
{
    return GuardedEntry("ScanFolders", uint64_t{0}, [&]() -> uint64_t {
        ScannedFolder folder(TextOrEmpty(directory));
        return folder.Hold() ? folder.Scan() : 0;
    });
}
