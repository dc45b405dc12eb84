// The part of the oracle that is about flags: every one that a save was told to have stored is there, or its loss has a
// name.
#include <algorithm>

#include "tests/torture/FolderOracle.h"
#include "tests/torture/Letter.h"

namespace velmora::torture {

const Save* FolderOracle::SaveOf(const FlagSet& set) const
{
    const std::vector<Save>& saves = history_->sessions[set.session].saves;
    return set.save < saves.size() ? &saves[set.save] : nullptr;
}

void FolderOracle::CheckFlags()
{
    for (const auto& [name, item] : items_) {
        std::vector<const FlagSet*> sets;
        for (const FlagSet& set : history_->sets)
            if (set.id == name) sets.push_back(&set);
        const auto before = before_.find(name);
        const std::string base = before == before_.end() ? kFlagsAsDelivered : before->second.flags;

        const auto present = std::find_if(sets.begin(), sets.end(), [&](const FlagSet* set) { return set->flags == item.flags; });
        const bool presentIsASet = present != sets.end();
        if (!presentIsASet && item.flags != base) {
            // As delivered, or as the backup has it: never what nobody has set.
            if (item.flags != kFlagsAsDelivered && everSet_[name].count(item.flags) == 0)
                Fault("no flag is made up", name + " has " + item.flags + " and had " + base);
            else if (Damaged())
                Allow(Allowance::FlagLostWithDamage);
            else
                Fault("no flag comes back", name + " has " + item.flags + " and had " + base);
            continue;
        }
        const Save* const presentSave = presentIsASet ? SaveOf(**present) : nullptr;
        const int64_t presentEnd = !presentIsASet ? 0 : presentSave ? presentSave->end : kNever;
        for (const FlagSet* const set : sets) {
            const Save* const save = SaveOf(*set);
            if (!save || !save->told || (presentIsASet && set == *present)) continue;
            // Written over by what is there now, which may have come later.
            if (presentIsASet && presentEnd > set->time) continue;
            if (!LostFlagIsAllowed(*set))
                Fault("a flag that a save was told of is there",
                      name + " was given " + set->flags + " by process " + std::to_string(history_->sessions[set->session].process) +
                          " at " + std::to_string(set->time) + ", saved until " + std::to_string(save->end) + ", and has " + item.flags);
        }
        CheckRead(name, presentIsASet ? (presentSave ? presentSave->begin : (*present)->time) : 0);
    }
}

bool FolderOracle::LostFlagIsAllowed(const FlagSet& set)
{
    const Session& own = history_->sessions[set.session];
    const Save* const save = SaveOf(set);
    for (const Session& other : history_->sessions) {
        if (&other == &own || other.underBlock || other.saves.empty()) continue;
        if (other.loadBegin < save->end && other.LastWrite() > set.time) {
            Allow(Allowance::FlagUnderOlderLoad);
            return true;
        }
    }
    for (const Session& other : history_->sessions) {
        const bool shares = own.process % 4 == 3 && other.process == own.process && other.thread != own.thread;
        if (shares && other.loadBegin < save->end && other.loadEnd > set.time) {
            Allow(Allowance::FlagReloadedAway);
            return true;
        }
    }
    if (!DamageExcuses(save->begin)) return false;
    Allow(Allowance::FlagLostWithDamage);
    return true;
}

// Every set of flags made the message read as well; `written`: when the present ones were saved, or 0 before the last check.
// A scan behind that takes READ from the file, which says unread.
void FolderOracle::CheckRead(const std::string& id, int64_t written)
{
    const ListedItem& item = items_.at(id);
    const auto peeked = readBefore_.find(id);
    const bool read = peeked == readBefore_.end() ? item.read : peeked->second;
    if (read || item.flags == kFlagsAsDelivered) return;
    const auto before = before_.find(id);
    const bool scanned = std::any_of(history_->scans.begin(), history_->scans.end(), [&](int64_t end) { return end > written; });
    if (scanned || DamageExcuses(written) || (written == 0 && before != before_.end() && !before->second.read))
        Allow(Allowance::ReadTakenFromTheFile);
    else
        Fault("a message that was read stays read", id);
}

}  // namespace velmora::torture
