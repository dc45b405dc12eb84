#include "tests/faults/Oracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "locks/FlagFiles.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "tests/faults/ScanWatch.h"
#include "tests/index/TestTable.h"
#include "tests/support/OpenHandles.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

// What a scan takes from a message that it reads again, which it does for every item with a flag change behind the message's
// own time. Kept: READ is among it, so a mark of a host is lost there.
Columns ReadAgain(Columns columns, const Columns& fresh)
{
    for (const char* const name : {"MESSAGEDATE", "SUBJECT", "RECEIVED", "MODIFIEDDATE", "ATTACHMENTS", "READ", "SIZE"}) {
        const auto found = fresh.find(name);
        if (found != fresh.end()) columns[name] = found->second;
    }
    return columns;
}

// Whether a scan takes the message for changed since the item was read from it.
bool IsReadAgain(const Columns& columns, const Columns& fresh)
{
    return columns.at("MODIFIEDDATE") != fresh.at("MODIFIEDDATE") || columns.at("SIZE") != fresh.at("SIZE");
}

// An item that a scan has read again in front of the change that leads from `before` to `after`.
Columns ReadAgainAndChanged(const Columns& before, const Columns& after, const Columns& fresh)
{
    Columns columns = ReadAgain(before, fresh);
    for (const auto& [name, value] : after) {
        const auto old = before.find(name);
        if (old == before.end() || old->second != value) columns[name] = value;
    }
    return columns;
}

// What a scan makes of an item of a damaged index.
Columns Repaired(const Columns& columns, Columns fresh)
{
    for (const char* const name : {"UID", "FLAGSTATUS", "READ"}) {
        const auto found = columns.find(name);
        if (found != columns.end()) fresh[name] = found->second;
    }
    return fresh;
}

constexpr const char* kQuirkNames[] = {"ReadAgain", "TornIndex",  "TornElement", "DamageStays", "FlagGone",
                                       "OldCounts", "TornCounts", "SizeGone",    "BlockStays",  "MessageUnderCopy"};
static_assert(std::size(kQuirkNames) == static_cast<size_t>(Quirk::Count_));

bool Loads(const fs::path& folder)
{
    StreamXMLStoreIndexSerialiser serialiser;
    TestTable table;
    return serialiser.Deserialise(table, folder.string(), 0, "", "", 3, 0, 0) == 3;
}

bool IsMessage(const std::string& name) { return name.front() != '_' && name.ends_with(".MAI"); }

}  // namespace

const char* NameOf(Quirk quirk) { return kQuirkNames[static_cast<size_t>(quirk)]; }

Oracle::Oracle(const Scenario& scenario, bool backup)
    : scenario_(scenario), backup_(backup), folder_(store_.MakeFolder("INBOX")), folderText_(folder_.string())
{
    for (const char* const setting : {"Use XML Stream Index Deserialisation", "Use XML Stream Index Serialisation"})
        store_.SetNumber(setting, scenario_.documents ? 0 : 1);
    store_.Attach();
    SetPresentTime(clock_);
    MakeFirstFolder(folder_);
    before_ = Open().listing;
    EXPECT_FALSE(before_.empty());
    for (const auto& [id, columns] : before_) lastUid_ = std::max(lastUid_, static_cast<uint32_t>(std::stoul(columns.at("UID"))));
    if (scenario_.prepare) scenario_.prepare(folder_);
    initial_ = ReadFolder(folder_);
    if (!initial_.contains("_index.xml")) before_.clear();
    countsBefore_ = ReadCounts();
    store_.SetNumber("Backup Index", backup_ ? 1 : 0);
    store_.SetNumber("UID Branding Enabled", scenario_.branding ? 1 : 0);
    Learn();
}

// What the listings are when nothing goes wrong.
void Oracle::Learn()
{
    const Report report = Act();
    EXPECT_EQ(report.results, scenario_.allowed.back()) << scenario_.name;
    LeaveEverything();
    const Look look = Open();
    after_ = look.listing;
    countsAfter_ = look.counts;
    EXPECT_FALSE(after_.empty());
    EXPECT_TRUE(countsAfter_ && AreCountsOf(*countsAfter_, after_, scenario_.movedCounts));
    finished_ = ReadFolder(folder_);

    fresh_.push_back(ListingWithoutIndex(initial_));
    fresh_.push_back(ListingWithoutIndex(finished_));
    handles_ = OpenHandleCount();
}

// What a folder with the messages of `image` lists when nothing else is known of them.
Listing Oracle::ListingWithoutIndex(const FolderImage& image)
{
    FolderImage messages;
    for (const auto& [name, file] : image)
        if (IsMessage(name)) messages.emplace(name, file);
    RestoreFolder(folder_, messages);
    return Open().listing;
}

void Oracle::Restore()
{
    RestoreFolder(folder_, initial_);
    SetPresentTime(clock_);
}

Report Oracle::Act()
{
    Report report;
    const ScanWatch watch;
    scenario_.act(folderText_.c_str(), report);
    report.scanned = watch.Scans() > scenario_.ownListings;
    return report;
}

Look Oracle::Open()
{
    SetPresentTime(clock_);
    Look look = askNewProcess_ ? LookInNewProcess(store_.Directory().Path()) : LookHere();
    scanned_ = scanned_ || look.scanned;
    return look;
}

bool Oracle::BeginsUnlisted() const
{
    return std::any_of(initial_.begin(), initial_.end(),
                       [&](const auto& file) { return IsMessage(file.first) && !before_.contains(file.first); });
}

bool Oracle::IndexIsDamaged() const { return FileExists(folder_ / "_index.xml") && !Loads(folder_); }

// In a place of its own, where it is an index.
bool Oracle::HasWholeBackup()
{
    if (!backup_ || !FileExists(folder_ / "_index.xml.bak")) return false;
    const fs::path place = store_.Directory().Path() / "backup";
    fs::create_directory(place);
    WriteFileBytes(place / "_index.xml", ReadFileBytes(folder_ / "_index.xml.bak"));
    return Loads(place);
}

void Oracle::Begin()
{
    complaints_.clear();
    seenBefore_ = seen_;
    changeIsDue_ = false;
}

void Oracle::Conclude(const std::string& what)
{
    askNewProcess_ = false;
    for (size_t i = 0; i < seen_.size(); ++i) runs_[i] += seen_[i] != seenBefore_[i];
    EXPECT_EQ(complaints_, "") << what;
}

void Oracle::JudgeUndisturbed(const Report& report, const std::string& what)
{
    Begin();
    if (report.results != scenario_.allowed.back()) Complain("answered " + report.results + " with no fault");
    LeaveEverything();
    const Look look = Open();
    if (look.listing != after_ || look.counts != countsAfter_) Complain("is not what it was when nothing went wrong");
    if (FileExists(folder_ / "_index.blk")) Complain("the block is left behind");
    Conclude(what);
}

void Oracle::Judge(const Report& report, const Licence& licence, const std::string& what)
{
    Begin();
    if (std::find(scenario_.allowed.begin(), scenario_.allowed.end(), report.results) == scenario_.allowed.end())
        Complain("answered " + report.results);
    scanned_ = report.scanned;
    // What could not be found out for now is asked for again by a flag.
    if (report.listed) CheckListing(ListingOfOpenFolder(), !HasFlag() && !licence.Allows(Quirk::FlagGone), licence, "at once");
    LeaveEverything();
    if (const uint32_t open = OpenHandleCount(); open != handles_) {
        Complain(std::to_string(open) + " handles are open in place of " + std::to_string(handles_));
        handles_ = open;
    }
    Licence narrowed = licence;
    CheckSizes(licence);
    JudgeSave(report, narrowed);
    JudgeNextOpen(narrowed);
    Conclude(what);
}

void Oracle::JudgeOther(const Licence& licence, const std::string& what, bool scanned)
{
    Begin();
    // Nobody else saw what the other one did.
    scanned_ = scanned || initial_.contains("_CHANGE.DTY") || scenario_.backupOnly;
    JudgeNextOpen(licence);
    Conclude(what);
}

// A change that is told to be saved is on the disk, and one that is not asks for a scan by a flag.
void Oracle::JudgeSave(const Report& report, Licence& licence)
{
    if (report.saved == Saved::NotAsked) return;
    if (report.saved == Saved::Nothing) {
        if (ListingOfIndexFile() != before_) Complain("the index has other items behind a call that did nothing");
        return;
    }
    const bool marked = HasFlag();
    changeIsDue_ = report.saved == Saved::Yes ||
                   ((report.saved == Saved::Untold || report.saved == Saved::OrMarked) && !marked && !licence.Allows(Quirk::FlagGone));
    if (changeIsDue_) licence.Forbid(Quirk::TornIndex).Forbid(Quirk::TornElement).Forbid(Quirk::DamageStays);
    if (report.saved == Saved::No && !marked && !Use(Quirk::FlagGone, licence)) Complain("a save that failed leaves no flag");
}

Listing Oracle::ListingOfIndexFile() const
{
    StreamXMLStoreIndexSerialiser serialiser;
    TestTable table;
    serialiser.Deserialise(table, folder_.string(), 0, "", "", 3, 0, 0);
    return ListingOf(table);
}

// A size is the old or the new one, or it is not there and computed where it is asked for.
void Oracle::CheckSizes(const Licence& licence)
{
    constexpr char kSizes[] = "_DIRSIZE.TMP";
    if (!FileExists(folder_ / kSizes)) return;
    const std::string bytes = ReadFileBytes(folder_ / kSizes);
    for (const FolderImage* const image : {&initial_, &finished_})
        if (const auto found = image->find(kSizes); found != image->end() && found->second.bytes == bytes) return;
    if (!Use(Quirk::SizeGone, licence)) Complain("the folder's size is \"" + bytes + "\"");
}

void Oracle::Complain(const std::string& text)
{
    constexpr size_t kEnough = 700;
    if (complaints_.size() < kEnough) complaints_ += text + "\n";
}

bool Oracle::HasFlag() const { return FileExists(folder_ / "_CHANGE.DTY") || FileExists(folder_ / "_change.dty"); }

void Oracle::JudgeNextOpen(const Licence& given)
{
    Licence licence = given;
    CheckMessagesKept(licence);
    if (FileExists(folder_ / "_index.blk") && !Use(Quirk::BlockStays, licence)) Complain("the block is left behind");
    const bool damaged = IndexIsDamaged();
    // The backup knows the flags.
    if (damaged && HasWholeBackup()) licence.Forbid(Quirk::TornIndex).Forbid(Quirk::TornElement);

    const std::optional<Counts> counts = ReadCounts();
    const bool scanIsDue = HasFlag() || damaged;
    Look look = Open();
    if (look.opened == 0) {
        // With "Backup Index" the damaged file has been put aside now; without, somebody has to ask for the mending.
        if (!damaged || !Use(Quirk::DamageStays, licence)) Complain("the next open failed");
        if (!backup_) MarkFolderDirty(folder_.string().c_str());
        look = Open();
    }
    if (look.opened != 1) Complain("the folder does not open");
    const Listing unmended = look.listing;
    if (!ListsAllMessages(look.listing) && Use(Quirk::FlagGone, licence)) {
        CheckListing(look.listing, false, licence, "next");
        MarkFolderDirty(folder_.string().c_str());
        look = Open();
        if (look.opened != 1) Complain("the folder does not open for a scan");
    }
    CheckListing(look.listing, true, licence, "next");
    const bool areCounts = counts && (AreCountsOf(*counts, look.listing) || AreCountsOf(*counts, unmended));
    if (!scanIsDue && !areCounts && !AreKnownCounts(counts, look.listing, licence))
        Complain("the counts in front of the next open are " + (counts ? Text(*counts) : "gone") + " for " + Text(CountsOf(look.listing)));
    CheckCounts(look, licence, "next");
    // It is on the disk and not in memory alone.
    if (IndexIsDamaged() || !FileExists(folder_ / "_index.xml")) Complain("the index is damaged behind a good open");
    const Look second = Open();
    if (second.opened == 0 || second.listing != look.listing) Complain("the second open lists something else");
    CheckCounts(second, licence, "second");
}

void Oracle::CheckMessagesKept(const Licence& licence)
{
    const FolderImage present = ReadFolder(folder_);
    for (const auto& [name, file] : initial_) {
        if (!IsMessage(name) || name == scenario_.removes) continue;
        const auto found = present.find(name);
        if (found == present.end()) {
            const auto copy = present.find("_" + name);
            const bool aside = copy != present.end() && copy->second.bytes == finished_.at(name).bytes;
            if (!aside || !Use(Quirk::MessageUnderCopy, licence)) Complain(name + " is lost");
            continue;
        }
        const auto finished = finished_.find(name);
        const bool asAfter = finished != finished_.end() && found->second.bytes == finished->second.bytes;
        if (found->second.bytes != file.bytes && !asAfter) Complain(name + " has other bytes");
    }
}

bool Oracle::ListsAllMessages(const Listing& listing) const
{
    const std::vector<std::string> names = FileNames(folder_);
    return std::all_of(names.begin(), names.end(), [&](const std::string& name) { return !IsMessage(name) || listing.contains(name); });
}

void Oracle::CheckListing(const Listing& listing, bool complete, const Licence& licence, const std::string& when)
{
    if (complete && !ListsAllMessages(listing)) Complain("a message is not listed " + when);
    // Where a write was cut, the file may have come out well-formed: one element is then a mixture.
    bool tearSeen = false;
    for (const auto& [id, columns] : listing) {
        if (MayBeListed(id, columns, licence)) continue;
        if (!tearSeen && MayStandAtATear(id, columns) && Use(Quirk::TornElement, licence)) {
            tearSeen = true;
            continue;
        }
        Complain(id + " is listed " + when + " as " + Text(columns));
    }
    CheckUids(listing, licence, when);
}

// None is given twice, and a new message has a higher one than every old one; what a tear took is numbered anew.
void Oracle::CheckUids(const Listing& listing, const Licence& licence, const std::string& when)
{
    std::set<uint32_t> seen;
    for (const auto& [id, columns] : listing) {
        const auto uid = static_cast<uint32_t>(std::strtoul(columns.at("UID").c_str(), nullptr, 10));
        if (uid == 0 || !seen.insert(uid).second) Complain(id + " is listed " + when + " with a UID that is 0 or another's");
        if (!before_.empty() && !before_.contains(id) && uid <= lastUid_ && !licence.Allows(Quirk::TornIndex))
            Complain(id + " is listed " + when + " with an old UID");
    }
}

// They are a cache: those of the listing, or with no scan behind them, older ones.
void Oracle::CheckCounts(const Look& look, const Licence& licence, const std::string& when)
{
    if (look.counts && AreCountsOf(*look.counts, look.listing)) return;
    if (!look.scanned && AreKnownCounts(look.counts, look.listing, licence)) return;
    Complain("the counts behind the " + when + " open are " + (look.counts ? Text(*look.counts) : "gone") + " for " +
             Text(CountsOf(look.listing)) + (look.scanned ? ", behind a scan" : ""));
}

bool Oracle::AreKnownCounts(const std::optional<Counts>& counts, const Listing& listing, const Licence& licence)
{
    // A save that failed in the middle of a commit is counted all the same, and only a scan brings back what it left.
    if (counts == countsAfter_ && (AreCountsOf(*counts, listing, scenario_.movedCounts) || Use(Quirk::FlagGone, licence))) return true;
    if (counts == countsBefore_ && (!changeIsDue_ || Use(Quirk::OldCounts, licence))) return true;
    if (!counts || !licence.Allows(Quirk::TornCounts)) return false;
    const Counts present = CountsOf(listing);
    for (size_t word = 0; word < counts->size(); ++word) {
        const uint32_t value = (*counts)[word];
        const bool isBefore = value == (countsBefore_ ? (*countsBefore_)[word] : 0);
        if (!isBefore && value != (*countsAfter_)[word] && value != present[word]) return false;
    }
    return Use(Quirk::TornCounts, licence);
}

std::vector<const Listing*> Oracle::Known() const
{
    if (changeIsDue_) return {&after_};
    return {&before_, &after_};
}

// An ID of no message, or flags that no item ever had, or columns that were cut off; everything else is the item's own.
bool Oracle::MayStandAtATear(const std::string& id, Columns columns)
{
    if (!FileExists(folder_ / id)) return true;
    const Licence torn = Licence().AllowTornIndex();
    for (const Listing* const known : {&before_, &after_}) {
        const auto found = known->find(id);
        if (found == known->end()) continue;
        columns["FLAGSTATUS"] = found->second.at("FLAGSTATUS");
        for (const auto& column : found->second) columns.insert(column);
        if (MayBeListed(id, columns, torn)) return true;
    }
    return false;
}

bool Oracle::MayBeListed(const std::string& id, const Columns& columns, const Licence& licence)
{
    std::vector<const Columns*> ofFile;
    for (const Listing& listing : fresh_)
        if (const auto found = listing.find(id); found != listing.end()) ofFile.push_back(&found->second);
    // A new message may come behind another one than it does when nothing goes wrong.
    const bool isNew = !before_.contains(id);
    const auto same = [&](const Columns& known) { return isNew ? WithoutUid(columns) == WithoutUid(known) : columns == known; };
    for (const Listing* const known : Known()) {
        const auto found = known->find(id);
        if (found == known->end()) continue;
        if (same(found->second)) return true;
        if (!scanned_) continue;
        for (const Columns* const fresh : ofFile) {
            if (!IsReadAgain(found->second, *fresh)) continue;
            const auto before = before_.find(id);
            const bool earlier =
                known == &after_ && before != before_.end() && columns == ReadAgainAndChanged(before->second, found->second, *fresh);
            if (!earlier && !same(ReadAgain(found->second, *fresh))) continue;
            Note(Quirk::ReadAgain);
            return true;
        }
    }
    const bool fromItsFile = std::any_of(ofFile.begin(), ofFile.end(), [&](const Columns* fresh) {
        // A damaged index gives the flags alone, or nothing.
        for (const Listing* const known : {&before_, &after_}) {
            const auto found = known->find(id);
            if (found != known->end() && columns == Repaired(found->second, *fresh)) return true;
        }
        return WithoutUid(columns) == WithoutUid(*fresh);
    });
    return fromItsFile && (isNew || Use(Quirk::TornIndex, licence));
}

bool Oracle::Use(Quirk quirk, const Licence& licence)
{
    if (!licence.Allows(quirk)) return false;
    Note(quirk);
    return true;
}

void Oracle::Note(Quirk quirk) { ++seen_[static_cast<size_t>(quirk)]; }

std::string Oracle::QuirksSeen() const
{
    std::string text;
    for (size_t i = 0; i < seen_.size(); ++i) {
        if (seen_[i] == 0) continue;
        if (!text.empty()) text += ", ";
        text += NameOf(static_cast<Quirk>(i)) + (" " + std::to_string(seen_[i]));
    }
    return text.empty() ? "no quirks" : text;
}

}  // namespace velmora::test
