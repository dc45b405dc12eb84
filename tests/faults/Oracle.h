// Runs a scenario and judges what it left: no message lost, and an undisturbed open lists every one of them, each item as it
// was before or as it is after the scenario.
#ifndef VELMORA_TESTS_FAULTS_ORACLE_H
#define VELMORA_TESTS_FAULTS_ORACLE_H

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/faults/FolderImage.h"
#include "tests/faults/Scenario.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

// What may be seen afterwards beside the state before and the state behind the scenario. Nothing else may.
enum class Quirk : uint32_t {
    ReadAgain,         // a scan reads READ and MODIFIEDDATE of an item from its message, whatever a host has set
    TornIndex,         // a write of the index stopped half-way: an item may have lost its flags
    TornElement,       // the same, and the file is well-formed: one element is a mixture, or of no message
    DamageStays,       // without backups, a damaged index does not load until a flag asks for a scan
    FlagGone,          // _CHANGE.DTY goes in front of the scan, which then came to no end and could not set it again
    BlockStays,        // nobody could delete the block file; the next open waits for it and breaks it
    MessageUnderCopy,  // a message is rewritten by delete and move, and stands under the name of its copy
    Count_
};
const char* NameOf(Quirk quirk);

// The quirks that one fault may lead to.
class Licence {
public:
    Licence() { Allow(Quirk::ReadAgain).Allow(Quirk::DamageStays); }
    Licence& Allow(Quirk quirk, bool when = true)
    {
        if (when) bits_ |= 1u << static_cast<uint32_t>(quirk);
        return *this;
    }
    Licence& AllowTornIndex(bool when = true) { return Allow(Quirk::TornIndex, when).Allow(Quirk::TornElement, when); }
    bool Allows(Quirk quirk) const { return (bits_ & (1u << static_cast<uint32_t>(quirk))) != 0; }

private:
    uint32_t bits_ = 0;
};

class Oracle {
public:
    // `backup`: the setting "Backup Index".
    Oracle(const Scenario& scenario, bool backup);

    const std::filesystem::path& Folder() const { return folder_; }
    FakeClock& Clock() { return clock_; }

    // How often each quirk was seen, for the reader of the output: "TornIndex 3, BlockStays 1".
    std::string QuirksSeen() const;

    // The folder as it is before the scenario.
    void Restore();
    // Whether there is an index file that does not load.
    bool IndexIsDamaged() const;
    // The scenario itself, undisturbed or with a fault that the caller has installed.
    Report Act();
    // Behind a run, with no fault installed any more.
    void Judge(const Report& report, const Licence& licence, const std::string& what);
    // The same behind a run in a process that has died.
    void JudgeDeath(const Licence& licence, const std::string& what);

private:
    void Learn();
    Listing ListingWithoutIndex(const FolderImage& image);
    uint64_t Open();
    bool HasFlag() const;
    void JudgeNextOpen(const Licence& licence);
    void CheckMessagesKept(const Licence& licence);
    bool ListsAllMessages(const Listing& listing) const;
    void CheckListing(const Listing& listing, bool complete, const Licence& licence, const std::string& when);
    bool MayBeListed(const std::string& id, const Columns& columns, const Licence& licence);
    bool MayStandAtATear(const std::string& id, Columns columns);
    bool Use(Quirk quirk, const Licence& licence);
    void Complain(const std::string& text);

    const Scenario& scenario_;
    const bool backup_;
    TestStore store_;
    std::filesystem::path folder_;
    FakeClock clock_;
    CapturedLog log_;
    FolderImage initial_;
    FolderImage finished_;
    Listing before_;
    Listing after_;
    std::vector<Listing> fresh_;  // of folders that have lost their index
    std::array<uint32_t, static_cast<size_t>(Quirk::Count_)> seen_{};
    std::string complaints_;
};

}  // namespace velmora::test

#endif
