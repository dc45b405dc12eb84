// Runs a scenario and judges what it left: no message lost, and an undisturbed open lists every one of them, each item as it
// was before or as it is after the scenario.
#ifndef VELMORA_TESTS_FAULTS_ORACLE_H
#define VELMORA_TESTS_FAULTS_ORACLE_H

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/FolderImage.h"
#include "tests/faults/Look.h"
#include "tests/faults/Scenario.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

// What may be seen afterwards beside the state before and the state behind the scenario. Nothing else may.
enum class Quirk : uint32_t {
    ReadAgain,         // a scan reads READ and MODIFIEDDATE of a changed item from its message, whatever a host has set
    TornIndex,         // a write of the index stopped half-way, and no backup is whole: an item may have lost its flags
    TornElement,       // the same, and the file is well-formed: one element is a mixture, or of no message
    DamageStays,       // without backups, a damaged index does not load until a flag asks for a scan
    FlagGone,          // no flag asks for the scan that is due: it went in front of one that came to no end, or could not be set
    OldCounts,         // a saved change is not in the cached counts, which could not be counted or written, until a scan or a save
    TornCounts,        // a write of the cached counts stopped half-way: each of them is an older or a newer one until a scan or a save
    SizeGone,          // a write of the folder's size stopped half-way, and nobody could delete the file
    BlockStays,        // nobody could delete the block file; the next open waits for it and breaks it
    MessageUnderCopy,  // a message is rewritten by delete and move, and stands under the name of its copy
    Count_
};
const char* NameOf(Quirk quirk);

// The quirks that one fault may lead to. ReadAgain is not among them: the oracle sees itself whether a scan ran.
class Licence {
public:
    Licence& Allow(Quirk quirk, bool when = true)
    {
        if (when) bits_ |= 1u << static_cast<uint32_t>(quirk);
        return *this;
    }
    Licence& AllowTornIndex(bool when = true) { return Allow(Quirk::TornIndex, when).Allow(Quirk::TornElement, when); }
    Licence& Forbid(Quirk quirk)
    {
        bits_ &= ~(1u << static_cast<uint32_t>(quirk));
        return *this;
    }
    bool Allows(Quirk quirk) const { return (bits_ & (1u << static_cast<uint32_t>(quirk))) != 0; }

private:
    uint32_t bits_ = 0;
};

class Oracle {
public:
    // `backup`: the setting "Backup Index".
    Oracle(const Scenario& scenario, bool backup);

    const std::filesystem::path& Folder() const { return folder_; }
    // Whether the folder has a message that its index does not know before the scenario: only a scan lists it.
    bool BeginsUnlisted() const;

    // How often each quirk was seen, for the reader of the output: "TornIndex 3, BlockStays 1".
    std::string QuirksSeen() const;

    // The number of judgements in which the quirk was seen.
    uint32_t Runs(Quirk quirk) const { return runs_[static_cast<size_t>(quirk)]; }

    // The folder as it is before the scenario.
    void Restore();
    // Whether there is an index file that does not load.
    bool IndexIsDamaged() const;
    // The scenario itself, undisturbed or with a fault that the caller has installed.
    Report Act();
    // Behind a run, with no fault installed any more.
    void Judge(const Report& report, const Licence& licence, const std::string& what);
    // Behind a run that no fault has met: it leaves the state behind the scenario, and no quirk is seen.
    void JudgeUndisturbed(const Report& report, const std::string& what);
    // The same as Judge behind a run in another process. `scanned`: as in Report, where that process told it.
    void JudgeOther(const Licence& licence, const std::string& what, bool scanned = false);
    // The next judgement has the folder opened by a new process.
    void AskANewProcess() { askNewProcess_ = true; }

private:
    void Learn();
    Listing ListingWithoutIndex(const FolderImage& image);
    // Opens the folder undisturbed, gives it up again and keeps what that told of scans.
    Look Open();
    bool HasFlag() const;
    void CheckSizes(const Licence& licence);
    // What the index file has, with no open by the rules.
    Listing ListingOfIndexFile() const;
    void JudgeSave(const Report& report, Licence& licence);
    void JudgeNextOpen(const Licence& licence);
    bool HasWholeBackup();
    void CheckMessagesKept(const Licence& licence);
    bool ListsAllMessages(const Listing& listing) const;
    void CheckListing(const Listing& listing, bool complete, const Licence& licence, const std::string& when);
    void CheckCounts(const Look& look, const Licence& licence, const std::string& when);
    bool AreKnownCounts(const std::optional<Counts>& counts, const Listing& listing, const Licence& licence);
    void CheckUids(const Listing& listing, const Licence& licence, const std::string& when);
    bool MayBeListed(const std::string& id, const Columns& columns, const Licence& licence);
    // The states that the present judgement takes an item from.
    std::vector<const Listing*> Known() const;
    bool MayStandAtATear(const std::string& id, Columns columns);
    bool Use(Quirk quirk, const Licence& licence);
    void Note(Quirk quirk);
    void Complain(const std::string& text);
    void Begin();
    void Conclude(const std::string& what);

    const Scenario& scenario_;
    const bool backup_;
    TestStore store_;
    std::filesystem::path folder_;
    const std::string folderText_;
    FakeClock clock_;
    CapturedLog log_;
    FolderImage initial_;
    FolderImage finished_;
    Listing before_;
    Listing after_;
    std::optional<Counts> countsBefore_;
    std::optional<Counts> countsAfter_;
    std::vector<Listing> fresh_;  // of folders that have lost their index
    uint32_t handles_ = 0;        // open when nobody has the folder open
    uint32_t lastUid_ = 0;        // the highest of `before_`
    // Of the present judgement.
    bool scanned_ = false;
    bool changeIsDue_ = false;  // the state behind the scenario is the only right one
    bool askNewProcess_ = false;
    using Tally = std::array<uint32_t, static_cast<size_t>(Quirk::Count_)>;
    Tally seen_{};
    Tally seenBefore_{};  // when the present judgement began
    Tally runs_{};
    std::string complaints_;
};

}  // namespace velmora::test

#endif
