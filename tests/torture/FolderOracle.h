// Judges one folder: what is in it, against what the journals say. The folder is at rest while it is judged.
#ifndef VELMORA_TESTS_TORTURE_FOLDERORACLE_H
#define VELMORA_TESTS_TORTURE_FOLDERORACLE_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/torture/Allowances.h"
#include "tests/torture/History.h"
#include "tests/torture/Plan.h"

namespace velmora::torture {

// A message as the index has it.
struct ListedItem {
    uint32_t uid = 0;
    std::string flags;
    bool read = false;
};

class FolderOracle {
public:
    // `folder` of the plan's store.
    FolderOracle(const Plan& plan, uint32_t folder, AllowanceCounts& counts);

    // Checks the folder, with one open by the rules and, if asked for, a rebuild. The faults that were found, one text each.
    std::vector<std::string> Check(const History& history, bool rebuild);

private:
    enum class Fate { There, MayBeThere, Gone };

    void FollowFiles();
    void CheckHolds();
    void CheckBlocks();
    void CheckRefusals();
    void CheckWrites();
    void PeekAtIndex();
    void CheckCounts();
    void SpoilCounts();
    void OpenByTheRules();
    void OpenMarked();
    bool ReadIndex();
    std::string Compared(const std::string& description) const;
    void CheckListing();
    void CheckGhosts();
    void CheckUids();
    void CheckFlags();
    void CheckRead(const std::string& id, int64_t written);
    void Rebuild();

    bool LostFlagIsAllowed(const FlagSet& set, const std::string& flagsNow);
    bool MayHaveLeft(const Session& session, const std::string& id, const std::string& flags) const;
    bool WasScannedBeforeItsDelivery(const FlagSet& set) const;
    const Save* SaveOf(const FlagSet& set) const;
    // Until when somebody else had the block as well in which this was written; 0 for nobody.
    int64_t WasSharedUntil(const IndexWrite& write) const;
    bool AnyOlderLoadSaved() const;
    bool AnyCutOpen() const;
    // Whether a death in the middle of a write may be why something of that time is gone.
    bool DamageExcuses(int64_t time) const { return time <= damagedUntil_; }
    bool Damaged() const { return damagedUntil_ != 0; }
    void Allow(Allowance allowance) { counts_.Use(allowance); }
    void Fault(const std::string& rule, const std::string& evidence);

    const uint32_t folder_;
    const bool hasBackups_;
    const bool readsStreams_;
    const bool nobodyDies_;
    const bool spoilsCounts_;
    const std::filesystem::path directory_;
    AllowanceCounts& counts_;

    // What is known from one check to the next.
    std::map<std::string, Fate> fates_;
    std::map<std::string, ListedItem> before_;
    std::map<uint32_t, std::string> uids_;
    std::map<std::string, std::set<std::string>> everSet_;  // flags, by message
    uint32_t lastUid_ = 0;

    // One check.
    const History* history_ = nullptr;
    std::vector<BlockSpan> blocks_;
    std::vector<std::string> faults_;
    std::set<std::string> files_;
    std::map<std::string, ListedItem> items_;
    uint32_t headerUid_ = 0;
    std::map<std::string, bool> readBefore_;  // as the index said before the oracle's own open
    int64_t damagedUntil_ = 0;                // what was so until then, damage may have taken back; 0 for no damage
};

}  // namespace velmora::torture

#endif
