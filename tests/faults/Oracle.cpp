#include "tests/faults/Oracle.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "locks/FlagFiles.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "tests/index/TestTable.h"
#include "velmora/vlaisp.h"

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

// What a scan makes of an item of a damaged index.
Columns Repaired(const Columns& columns, Columns fresh)
{
    for (const char* const name : {"UID", "FLAGSTATUS", "READ"}) {
        const auto found = columns.find(name);
        if (found != columns.end()) fresh[name] = found->second;
    }
    return fresh;
}

constexpr const char* kQuirkNames[] = {"ReadAgain", "TornIndex",  "TornElement",     "DamageStays",
                                       "FlagGone",  "BlockStays", "MessageUnderCopy"};
static_assert(std::size(kQuirkNames) == static_cast<size_t>(Quirk::Count_));

bool IsMessage(const std::string& name) { return name.front() != '_' && name.ends_with(".MAI"); }

}  // namespace

const char* NameOf(Quirk quirk) { return kQuirkNames[static_cast<size_t>(quirk)]; }

Oracle::Oracle(const Scenario& scenario, bool backup) : scenario_(scenario), backup_(backup), folder_(store_.MakeFolder("INBOX"))
{
    store_.Attach();
    SetPresentTime(clock_);
    MakeFirstFolder(folder_);
    EXPECT_NE(Open(), 0u);
    before_ = ListingOfOpenFolder();
    LeaveEverything();
    if (scenario_.prepare) scenario_.prepare(folder_);
    initial_ = ReadFolder(folder_);
    if (!initial_.contains("_index.xml")) before_.clear();
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
    EXPECT_NE(Open(), 0u);
    after_ = ListingOfOpenFolder();
    LeaveEverything();
    finished_ = ReadFolder(folder_);

    fresh_.push_back(ListingWithoutIndex(initial_));
    fresh_.push_back(ListingWithoutIndex(finished_));
}

// What a folder with the messages of `image` lists when nothing else is known of them.
Listing Oracle::ListingWithoutIndex(const FolderImage& image)
{
    FolderImage messages;
    for (const auto& [name, file] : image)
        if (IsMessage(name)) messages.emplace(name, file);
    RestoreFolder(folder_, messages);
    EXPECT_NE(Open(), 0u);
    const Listing listing = ListingOfOpenFolder();
    LeaveEverything();
    return listing;
}

void Oracle::Restore()
{
    RestoreFolder(folder_, initial_);
    SetPresentTime(clock_);
}

Report Oracle::Act()
{
    Report report;
    scenario_.act(folder_, report);
    return report;
}

uint64_t Oracle::Open() { return StoreFolder_Open("po", "box", "INBOX", 0, 0); }

bool Oracle::IndexIsDamaged() const
{
    if (!FileExists(folder_ / "_index.xml")) return false;
    StreamXMLStoreIndexSerialiser serialiser;
    TestTable table;
    return serialiser.Deserialise(table, folder_.string(), 0, "", "", 3, 0, 0) != 3;
}

void Oracle::Judge(const Report& report, const Licence& licence, const std::string& what)
{
    complaints_.clear();
    if (std::find(scenario_.allowed.begin(), scenario_.allowed.end(), report.results) == scenario_.allowed.end())
        Complain("answered " + report.results);
    // What could not be found out for now is asked for again by a flag.
    if (report.listed) CheckListing(ListingOfOpenFolder(), !HasFlag(), licence, "at once");
    LeaveEverything();
    JudgeNextOpen(licence);
    EXPECT_EQ(complaints_, "") << what;
}

void Oracle::JudgeDeath(const Licence& licence, const std::string& what)
{
    complaints_.clear();
    JudgeNextOpen(licence);
    EXPECT_EQ(complaints_, "") << what;
}

void Oracle::Complain(const std::string& text)
{
    constexpr size_t kEnough = 700;
    if (complaints_.size() < kEnough) complaints_ += text + "\n";
}

bool Oracle::HasFlag() const { return FileExists(folder_ / "_CHANGE.DTY") || FileExists(folder_ / "_change.dty"); }

void Oracle::JudgeNextOpen(const Licence& licence)
{
    CheckMessagesKept(licence);
    if (FileExists(folder_ / "_index.blk") && !Use(Quirk::BlockStays, licence)) Complain("the block is left behind");
    const bool damaged = IndexIsDamaged();

    SetPresentTime(clock_);
    uint64_t opened = Open();
    if (opened == 0) {
        // With "Backup Index" the damaged file has been put aside now; without, somebody has to ask for the mending.
        if (!damaged || !Use(Quirk::DamageStays, licence)) Complain("the next open failed");
        LeaveEverything();
        if (!backup_) MarkFolderDirty(folder_.string().c_str());
        opened = Open();
    }
    if (opened != 1) Complain("the folder does not open");
    Listing listing = ListingOfOpenFolder();
    LeaveEverything();
    if (!ListsAllMessages(listing) && Use(Quirk::FlagGone, licence)) {
        CheckListing(listing, false, licence, "next");
        MarkFolderDirty(folder_.string().c_str());
        if (Open() != 1) Complain("the folder does not open for a scan");
        listing = ListingOfOpenFolder();
        LeaveEverything();
    }
    CheckListing(listing, true, licence, "next");
    // It is on the disk and not in memory alone.
    if (IndexIsDamaged() || !FileExists(folder_ / "_index.xml")) Complain("the index is damaged behind a good open");
    if (Open() == 0 || ListingOfOpenFolder() != listing) Complain("the second open lists something else");
    LeaveEverything();
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
}

// An ID of no message, or flags that no item ever had; everything else is the item's own.
bool Oracle::MayStandAtATear(const std::string& id, Columns columns)
{
    if (!FileExists(folder_ / id)) return true;
    const Licence torn = Licence().AllowTornIndex();
    for (const Listing* const known : {&before_, &after_}) {
        const auto found = known->find(id);
        if (found == known->end()) continue;
        columns["FLAGSTATUS"] = found->second.at("FLAGSTATUS");
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
    for (const Listing* const known : {&before_, &after_}) {
        const auto found = known->find(id);
        if (found == known->end()) continue;
        if (same(found->second)) return true;
        for (const Columns* const fresh : ofFile)
            if (same(ReadAgain(found->second, *fresh))) return Use(Quirk::ReadAgain, licence);
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
    ++seen_[static_cast<size_t>(quirk)];
    return true;
}

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
