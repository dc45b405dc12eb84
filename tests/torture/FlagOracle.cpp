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
            if (!LostFlagIsAllowed(*set, item.flags))
                Fault("a flag that a save was told of is there",
                      name + " was given " + set->flags + " by process " + std::to_string(history_->sessions[set->session].process) +
                          " at " + std::to_string(set->time) + ", saved until " + std::to_string(save->end) + ", and has " + item.flags);
        }
        CheckRead(name, presentIsASet ? (presentSave ? presentSave->begin : (*present)->time) : 0);
    }
}

// Whether a save of the session may have left these flags: the message had them when it was loaded, or was given them in it.
// A message that the load did not know is indexed anew, by the scan that the save asks for.
bool FolderOracle::MayHaveLeft(const Session& session, const std::string& id, const std::string& flags) const
{
    if (!session.hasLoaded) return true;
    const auto loaded = session.loaded.find(id);
    if (FlagsMark(flags) == (loaded == session.loaded.end() ? FlagsMark(kFlagsAsDelivered) : loaded->second)) return true;
    return std::any_of(history_->sets.begin(), history_->sets.end(), [&](const FlagSet& set) {
        return &history_->sessions[set.session] == &session && set.id == id && set.flags == flags;
    });
}

bool FolderOracle::LostFlagIsAllowed(const FlagSet& set, const std::string& flagsNow)
{
    const Session& own = history_->sessions[set.session];
    const Save* const save = SaveOf(set);
    for (const Session& other : history_->sessions) {
        if (&other == &own || other.underBlock) continue;
        if (other.loadBegin < save->end && other.LastWrite() > set.time && MayHaveLeft(other, set.id, flagsNow)) {
            Allow(Allowance::FlagUnderOlderLoad);
            return true;
        }
    }
    for (const Session& other : history_->sessions) {
        const bool shares =
            own.process % 4 == 3 && !own.underBlock && !other.underBlock && other.process == own.process && other.thread != own.thread;
        if (shares && other.loadBegin < save->end && other.loadEnd > set.time) {
            Allow(Allowance::FlagReloadedAway);
            return true;
        }
    }
    if (DamageExcuses(save->begin)) {
        Allow(Allowance::FlagLostWithDamage);
        return true;
    }
    if (!WasScannedBeforeItsDelivery(set)) return false;
    Allow(Allowance::FlagOfAScannedMessage);
    return true;
}

// Whether a scan may have indexed the message between its file and the direct call that brought these flags.
bool FolderOracle::WasScannedBeforeItsDelivery(const FlagSet& set) const
{
    const auto delivery =
        std::find_if(history_->deliveries.begin(), history_->deliveries.end(), [&](const Delivery& d) { return d.id == set.id; });
    if (delivery == history_->deliveries.end() || !history_->sessions[set.session].delivers) return false;
    const int64_t end = SaveOf(set)->end;
    return std::any_of(history_->sessions.begin(), history_->sessions.end(), [&](const Session& session) {
        return (session.scans || session.IsCutInOpen()) && session.loadBegin < end && session.OpenEnd() > delivery->begin;
    });
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
