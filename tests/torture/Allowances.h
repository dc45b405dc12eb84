// What the store may do although it is a loss: behaviour that is kept, by name and with its reason. Whatever else is lost
// is a fault. The oracle uses one only where the journals show that its cause was there, and counts each use.
#ifndef VELMORA_TESTS_TORTURE_ALLOWANCES_H
#define VELMORA_TESTS_TORTURE_ALLOWANCES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace velmora::torture {

enum class Allowance {
    FlagUnderOlderLoad,
    FlagReloadedAway,
    FlagLostWithDamage,
    FlagOfAScannedMessage,
    ReadTakenFromTheFile,
    NewUidAfterOlderLoad,
    NewUidAfterDamage,
    FileWithoutMark,
    MarkDiedWithItsTaker,
    FileUnlistedByDamage,
    OpenFailsOnDamage,
    ItemOfAFileThatWent,
    ItemBroughtBack,
    UpdateThatLostItsBlock,
    ListCutByADeath,
    ListBehindAFailure,
    ListThatWasCopied,
    ListOfAFolderThatMoved,
    ParentMadeOnTheWay,
    kCount
};

struct AllowanceText {
    Allowance allowance;
    const char* name;
    const char* reason;
};

inline constexpr std::array<AllowanceText, static_cast<size_t>(Allowance::kCount)> kAllowances = {{
    {Allowance::FlagUnderOlderLoad, "flag under an older load",
     "a save writes the whole of what its process loaded, also over what others have saved since that load"},
    {Allowance::FlagReloadedAway, "flag reloaded away",
     "a shared record is loaded anew by another thread's open, and what was set and not saved is gone"},
    {Allowance::FlagLostWithDamage, "flag lost with a damaged index",
     "a process died while it wrote in place; the backup is older, and without one the index is made from the files"},
    {Allowance::FlagOfAScannedMessage, "flag of a scanned message",
     "a scan may find a message between its file and the call that delivers it; the call's item is a second one, and goes"},
    {Allowance::ReadTakenFromTheFile, "READ taken from the file",
     "a save stamps MODIFIEDDATE, so the next scan reads the message again, and its file says unread"},
    {Allowance::NewUidAfterOlderLoad, "new UID after an older load",
     "the same save leaves out messages that were indexed since; the scan that it asks for gives them UIDs again, new ones"},
    {Allowance::NewUidAfterDamage, "new UID after damage",
     "a restored or remade index does not know what the damaged one listed; its messages get new UIDs, which nobody has had"},
    {Allowance::FileWithoutMark, "file without a mark", "a delivery died between its file and the mark on the folder"},
    {Allowance::MarkDiedWithItsTaker, "mark died with its taker",
     "an open takes the mark away before it scans, and its process died before the index was saved"},
    {Allowance::FileUnlistedByDamage, "file unlisted by damage",
     "a backup that is loaded, or a delivery that found no index, does not know the other files until the next mark"},
    {Allowance::OpenFailsOnDamage, "open fails on damage",
     "the load that finds an index damaged, with no backup, fails; the next one mends it"},
    {Allowance::ItemOfAFileThatWent, "item of a file that went", "an item whose file is gone stays until a rebuild"},
    {Allowance::ItemBroughtBack, "item brought back", "a save of an older load brings back what was removed since, until a rebuild"},
    {Allowance::UpdateThatLostItsBlock, "update that lost its block",
     "an update holds the block by its name alone, and who has waited for it to the end takes it away; two write at once then"},
    {Allowance::ListCutByADeath, "list cut by a death", "a process died between a change of the folders and the mark that tells of it"},
    {Allowance::ListBehindAFailure, "list behind a failure",
     "a removal or a copy that fails half-way leaves what it has done by then, and marks nothing"},
    {Allowance::ListThatWasCopied, "list that was copied",
     "a copy takes the lists along as they are, also over those of a folder that is there"},
    {Allowance::ListOfAFolderThatMoved, "list of a folder that moved",
     "who marks or lists a folder while it is renamed does so under a name that is not there any more"},
    {Allowance::ParentMadeOnTheWay, "parent made on the way",
     "a rename and a copy make the parents of their target again that another has removed meanwhile, and mark where they saw the first "
     "missing"},
}};

// How often each was used.
class AllowanceCounts {
public:
    void Use(Allowance allowance) { ++counts_[static_cast<size_t>(allowance)]; }
    std::string Report() const
    {
        std::string report;
        for (const AllowanceText& text : kAllowances)
            report += "  " + std::to_string(counts_[static_cast<size_t>(text.allowance)]) + "  " + text.name + ": " + text.reason + "\n";
        return report;
    }

private:
    std::array<uint64_t, static_cast<size_t>(Allowance::kCount)> counts_{};
};

}  // namespace velmora::torture

#endif
