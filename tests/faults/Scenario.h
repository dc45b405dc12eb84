// What is done to a folder while something goes wrong, and what of that may be seen afterwards.
#ifndef VELMORA_TESTS_FAULTS_SCENARIO_H
#define VELMORA_TESTS_FAULTS_SCENARIO_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/faults/Listing.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

// The test's clock stands here at the begin of every run, so that a change bears a time that is known.
inline constexpr long long kPresentSeconds = 2'000'000'000;
inline constexpr uint64_t kSecondsBefore1970 = 11'644'473'600;  // since 1601, where FILETIMEs begin
inline constexpr uint64_t kFileTimePerSecond = 10'000'000;
void SetPresentTime(class FakeClock& clock);

// What the answer of a save tells.
enum class Saved {
    NotAsked,
    Untold,  // it answers the same whatever became of it
    No,
    Yes,
    OrMarked,  // it is on the disk or the folder is marked, also where memory has run out
    Nothing,   // no part of it is in the index
};

// What a run of a scenario gave: the results of its calls, joined by blanks.
struct Report {
    std::string results;
    bool listed = false;            // the folder is open and unchanged: what it lists now counts
    Saved saved = Saved::NotAsked;  // of the whole change, which was made in memory before
    bool scanned = false;           // the folder was listed by more than the scenario itself
};

struct Scenario {
    const char* name;
    // From the folder that all scenarios begin with to this one's. Null: nothing.
    void (*prepare)(const std::filesystem::path& folder) = nullptr;
    // As a host does it, on the folder "INBOX" of mailbox "box", which has the path `folder`.
    void (*act)(const char* folder, Report& report) = nullptr;
    // Every answer that the calls may give, whatever goes wrong.
    std::vector<std::string> allowed = {};
    // The message that is deleted, if any.
    std::string removes = {};
    // Whether the scenario makes sense only with "Backup Index".
    bool backupOnly = false;
    bool branding = false;
    // Whether the index is damaged to begin with, and no backup tells the flags.
    bool beginsTorn = false;
    // The words of the cached counts that follow the listing behind a change that moves them alone; none: all, by a full count.
    std::vector<uint32_t> movedCounts = {};
    // Whether it keeps the cached counts of a folder that it does not load.
    bool countsUnderBlock = false;
    // At how many places, where it is not yet known what folder it is about, memory that runs out for good may leave a due
    // scan without its flag.
    uint32_t unmarked = 0;
    // How often the scenario lists the messages itself, which is no scan.
    uint32_t ownListings = 0;
    // Whether it leaves what it does not change in the index where it stands: a write that does nothing then costs nothing.
    bool savesInPlace = false;
    // Whether indexes are read and written as documents, as on a machine with no settings for it. There are no backups then.
    bool documents = false;
    // What must be met at the least, so that a seam that counts nothing is noticed: operations of any kind in one run, writes, changes
    // of the disk and allocations.
    uint32_t operations = 10;
    uint32_t writes = 2;
    uint32_t deaths = 10;
    uint32_t allocations = 50;
};

const std::vector<Scenario>& Scenarios();
const Scenario* FindScenario(const std::string& name);

// The folder that all begin with: six messages that an index knows, with flags of which their files know nothing.
// Two of them are as a scan leaves an item, so that none reads them again; the others were changed behind that.
void MakeFirstFolder(const std::filesystem::path& folder);
void PutMessage(const std::filesystem::path& folder, const std::string& name, const std::string& subject);

// Gives up everything that the calling thread has open.
void LeaveEverything();

}  // namespace velmora::test

#endif
