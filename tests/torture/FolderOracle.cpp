#include "tests/torture/FolderOracle.h"

#include <algorithm>
#include <sstream>

#include "index/IndexTable.h"
#include "tests/persistence/Outcome.h"
#include "tests/persistence/PlainReader.h"
#include "tests/support/TestStore.h"
#include "tests/torture/Letter.h"
#include "tests/torture/OwnRecord.h"
#include "tests/torture/Tree.h"
#include "velmora/status.h"

namespace velmora::torture {

namespace fs = std::filesystem;

namespace {

constexpr uint32_t kByTheRules = 1;
constexpr uint32_t kWithNoLookAtTheMark = 5;
constexpr uint32_t kRebuildIfMarked = 3;  // any mode without a name: no dirty check of its own, but the load's

std::string FieldOf(const test::PlainItem& item, const char* name)
{
    const auto found = item.properties.find(name);
    return found == item.properties.end() ? std::string() : found->second;
}

// A description without the places of its items, "161 at 27+546 ...", which a reader of documents does not know.
std::string WithoutPlaces(const std::string& description)
{
    constexpr std::string_view kPlace = " at ";
    std::string text;
    std::istringstream lines(description);
    for (std::string line; std::getline(lines, line); text += line + '\n') {
        const size_t place = line.find(kPlace);
        const size_t end = place == line.npos ? line.npos : line.find(' ', place + kPlace.size());
        if (end != line.npos && place == line.find(' ')) line.erase(place, end - place);
    }
    return text;
}

}  // namespace

std::string FolderOracle::Compared(const std::string& description) const
{
    return readsStreams_ ? description : WithoutPlaces(description);
}

FolderOracle::FolderOracle(const Plan& plan, uint32_t folder, AllowanceCounts& counts)
    : folder_(folder),
      hasBackups_(plan.backup != 0 && StrategyOf(plan).streamReader),
      readsStreams_(StrategyOf(plan).streamReader),
      nobodyDies_(plan.kills == 0),
      spoilsCounts_(plan.sabotage == "spoil-counts"),
      directory_(FolderDirectory(plan.mailRoot, folder)),
      counts_(counts)
{
}

void FolderOracle::Fault(const std::string& rule, const std::string& evidence)
{
    faults_.push_back(FolderName(folder_) + ": " + rule + ": " + evidence);
}

std::vector<std::string> FolderOracle::Check(const History& history, bool rebuild)
{
    history_ = &history;
    faults_.clear();
    for (const std::string& fault : history.faults) Fault("what a worker sees is whole", fault);
    for (const FlagSet& set : history.sets) everSet_[set.id].insert(set.flags);
    FollowFiles();
    CheckHolds();
    CheckBlocks();
    CheckRefusals();
    CheckWrites();
    PeekAtIndex();
    OpenByTheRules();
    if (ReadIndex()) {
        CheckListing();
        CheckGhosts();
        CheckUids();
        CheckFlags();
    }
    before_ = items_;
    if (rebuild) Rebuild();
    std::error_code none;
    fs::remove(directory_ / "_index.xml.bad", none);
    return faults_;
}

// ---- Files and locks ----

void FolderOracle::FollowFiles()
{
    files_ = MessageFiles(directory_);
    for (const Delivery& delivery : history_->deliveries) fates_[delivery.id] = delivery.ended ? Fate::There : Fate::MayBeThere;
    for (const Removal& removal : history_->removals) {
        Fate& fate = fates_[removal.id];
        if (removal.ended && removal.told)
            fate = Fate::Gone;
        else if (!removal.ended && fate == Fate::There)
            fate = Fate::MayBeThere;
    }
    for (const auto& [name, fate] : fates_) {
        const bool there = files_.count(name) != 0;
        if (fate == Fate::There && !there) Fault("no message file is lost", name + " was delivered and is not there");
        if (fate == Fate::Gone && there) Fault("a removed file stays away", name);
        if (there && test::ReadFileBytes(directory_ / name) != LetterBytes(name)) Fault("a message file stays as it is", name);
    }
    for (const std::string& name : files_) {
        if (fates_.count(name) == 0) Fault("nothing is there that nobody delivered", name);
        fates_[name] = Fate::There;
    }
    std::erase_if(fates_, [&](const auto& known) { return files_.count(known.first) == 0 && known.second == Fate::MayBeThere; });
}

void FolderOracle::CheckHolds()
{
    std::vector<Hold> holds = history_->holds;
    for (const IndexWrite& write : history_->writes)
        if (write.end != kNever && write.begin != 0) holds.push_back({write.process, write.thread, write.begin, write.end});
    std::sort(holds.begin(), holds.end(), [](const Hold& a, const Hold& b) { return a.begin < b.begin; });
    for (size_t i = 1; i < holds.size(); ++i)
        if (holds[i].begin < holds[i - 1].end && (holds[i].process != holds[i - 1].process || holds[i].thread != holds[i - 1].thread))
            Fault("a block has one holder", "processes " + std::to_string(holds[i - 1].process) + " and " +
                                                std::to_string(holds[i].process) + " at " + std::to_string(holds[i].begin));
}

// Two have the block only when somebody has taken it away from one of them.
void FolderOracle::CheckBlocks()
{
    blocks_ = history_->blocks;
    std::sort(blocks_.begin(), blocks_.end(), [](const BlockSpan& a, const BlockSpan& b) { return a.surelyFrom < b.surelyFrom; });
    for (size_t i = 0; i < blocks_.size(); ++i)
        for (size_t j = i + 1; j < blocks_.size() && blocks_[j].surelyFrom < blocks_[i].surelyTo; ++j) {
            BlockSpan& first = blocks_[i];
            BlockSpan& second = blocks_[j];
            first.sharedUntil = second.sharedUntil = std::max({first.sharedUntil, second.sharedUntil, first.surelyTo, second.surelyTo});
            const bool broken =
                std::any_of(history_->breaks.begin(), history_->breaks.end(), [&](int64_t time) { return time < second.surelyFrom; });
            if (!broken)
                Fault("a block has one holder", "processes " + std::to_string(first.process) + " and " + std::to_string(second.process) +
                                                    " at " + std::to_string(second.surelyFrom));
        }
}

int64_t FolderOracle::WasSharedUntil(const IndexWrite& write) const
{
    const auto own = std::find_if(blocks_.begin(), blocks_.end(), [&](const BlockSpan& block) {
        return block.process == write.process && block.thread == write.thread && block.begin < write.end && block.end > write.begin;
    });
    return own == blocks_.end() ? 0 : own->sharedUntil;
}

// Who is refused has somebody to blame: while nobody dies, a thread that has the block. Or one that has just begun to delete
// it as an orphan: on some systems a name is not free again before the last of those who delete it has let go.
void FolderOracle::CheckRefusals()
{
    if (!nobodyDies_) return;
    constexpr int64_t kDeletionTakes = 200'000'000;  // nanoseconds, at most
    for (const Refusal& refusal : history_->refusals) {
        const bool held = std::any_of(history_->blocks.begin(), history_->blocks.end(), [&](const BlockSpan& block) {
            return (block.process != refusal.process || block.thread != refusal.thread) && block.begin < refusal.end &&
                   block.end > refusal.begin;
        });
        const bool deleted = std::any_of(history_->breaks.begin(), history_->breaks.end(),
                                         [&](int64_t time) { return time < refusal.end && time > refusal.begin - kDeletionTakes; });
        if (!held && !deleted)
            Fault("a block that nobody has can be had",
                  "it was refused to process " + std::to_string(refusal.process) + " at " + std::to_string(refusal.begin));
    }
}

// Only a death in the middle of a write damages an index, and a direct call whose block was taken away.
void FolderOracle::CheckWrites()
{
    int64_t firstCut = kNever;
    damagedUntil_ = 0;
    const auto firstBreak = std::min_element(history_->breaks.begin(), history_->breaks.end());
    for (const int64_t theft : history_->thefts)
        if (firstBreak == history_->breaks.end() || *firstBreak > theft)
            Fault("who writes the index holds its block", "it was gone at " + std::to_string(theft) + ", and nobody had deleted it");
    for (const IndexWrite& write : history_->writes) {
        const int64_t sharedUntil = write.byName && write.end != kNever ? WasSharedUntil(write) : 0;
        if (write.end == kNever && write.died == kNever)
            Fault("a write comes to its end", "process " + std::to_string(write.process) + " at " + std::to_string(write.begin));
        if (sharedUntil != 0) Allow(Allowance::UpdateThatLostItsBlock);
        if (sharedUntil == 0 && (write.end != kNever || write.died == kNever)) continue;
        firstCut = std::min(firstCut, write.begin);
        damagedUntil_ = std::max(damagedUntil_, std::max(write.begin, sharedUntil));
    }
    for (const IndexWrite& write : history_->writes)
        if (!write.whole && firstCut > write.end)
            Fault("a write leaves a whole index", "process " + std::to_string(write.process) + " at " + std::to_string(write.end));
    for (const int64_t damage : history_->damages)
        if (damage > firstCut)
            damagedUntil_ = std::max(damagedUntil_, damage);
        else
            Fault("an index is damaged by nothing but a death", "noticed at " + std::to_string(damage));
}

// What the last worker left, before the oracle's own open scans the folder.
void FolderOracle::PeekAtIndex()
{
    readBefore_.clear();
    test::PlainIndex index;
    if (!fs::exists(directory_ / "_index.xml") || test::PlainLoad(index, test::ReadFileBytes(directory_ / "_index.xml"), {}).result != 3)
        return;
    for (const auto& item : index.sequence) readBefore_[FieldOf(*item, "ID")] = FieldOf(*item, "READ") == "1";
}

// ---- The open ----

bool FolderOracle::AnyCutOpen() const
{
    return std::any_of(history_->sessions.begin(), history_->sessions.end(), [](const Session& session) { return session.IsCutInOpen(); });
}

void FolderOracle::OpenByTheRules()
{
    // A backup that is found damaged as well goes.
    const fs::path backup = directory_ / "_index.xml.bak";
    const bool hadBackup = hasBackups_ && fs::exists(backup);
    OwnRecord record(FolderName(folder_));
    const uint64_t result = StoreIndex_Open(&record, kByTheRules);
    if (fs::exists(directory_ / "_index.xml.bad")) {
        if (!Damaged()) Fault("an index is damaged by nothing but a death", "_index.xml.bad, and no process died in a write");
        if (Damaged()) damagedUntil_ = kNever;
    }
    if (result != 1 && Damaged() && !(hadBackup && fs::exists(backup))) {
        Allow(Allowance::OpenFailsOnDamage);
        damagedUntil_ = kNever;
        OpenMarked();
    } else if (result != 1) {
        Fault("a folder at rest can be opened", "result " + std::to_string(result));
    }
    if (fs::exists(directory_ / "_index.blk")) Fault("no block is left that nobody holds", "_index.blk behind an open");
}

// As whoever finds a folder wanting makes it whole.
void FolderOracle::OpenMarked()
{
    test::WriteFileBytes(directory_ / "_CHANGE.DTY", "looked at");
    OwnRecord record(FolderName(folder_));
    const uint64_t result = StoreIndex_Open(&record, kByTheRules);
    if (result != 1) Fault("a marked folder can be opened", "result " + std::to_string(result));
}

// Takes the index file apart, by the plain reader and by the library.
bool FolderOracle::ReadIndex()
{
    items_.clear();
    if (!fs::exists(directory_ / "_index.xml")) {
        Fault("an open leaves an index", "none there");
        return false;
    }
    const std::string bytes = test::ReadFileBytes(directory_ / "_index.xml");
    test::PlainIndex index;
    const test::PlainOutcome outcome = test::PlainLoad(index, bytes, {});
    if (outcome.result != 3) {
        Fault("the index file is whole", outcome.fault);
        return false;
    }
    OwnRecord record(FolderName(folder_));
    StoreIndex_Open(&record, kWithNoLookAtTheMark);
    const std::string plain = Compared(test::Describe(outcome, index));
    const std::string library = Compared(test::Describe(record.Table.LoadLevel, outcome.fault, record.Table));
    if (plain != library) Fault("the library reads what is in the file", "plain " + plain + " library " + library);
    headerUid_ = index.lastUid;
    uint32_t uidBefore = 0;
    for (const auto& item : index.sequence) {
        const std::string name = FieldOf(*item, "ID");
        const uint32_t uid = test::PlainUnsigned(FieldOf(*item, "UID"), 10);
        if (uid <= uidBefore) Fault("UIDs are in order", name + " with " + std::to_string(uid) + " behind " + std::to_string(uidBefore));
        uidBefore = uid;
        if (uid > headerUid_)
            Fault("LASTUID is the highest", name + " with " + std::to_string(uid) + " above " + std::to_string(headerUid_));
        if (!items_.emplace(name, ListedItem{uid, FieldOf(*item, "FLAGSTATUS"), FieldOf(*item, "READ") == "1"}).second)
            Fault("no ID stands twice", name);
        const std::string size = std::to_string(LetterBytes(name).size());
        if (FieldOf(*item, "SUBJECT") != LetterSubject(name) || FieldOf(*item, "FROM").find(LetterSender(name)) == std::string::npos ||
            FieldOf(*item, "SIZE") != size)
            Fault("no element is written over in part",
                  name + ": " + FieldOf(*item, "SUBJECT") + " | " + FieldOf(*item, "FROM") + " | " + FieldOf(*item, "SIZE"));
    }
    return true;
}

// ---- What is listed ----

void FolderOracle::CheckListing()
{
    std::set<std::string> missing;
    for (const std::string& name : files_)
        if (items_.count(name) == 0) missing.insert(name);
    if (missing.empty()) return;
    for (const std::string& name : missing) {
        const bool cut = std::any_of(history_->deliveries.begin(), history_->deliveries.end(),
                                     [&](const Delivery& delivery) { return delivery.id == name && !delivery.ended; });
        if (cut)
            Allow(Allowance::FileWithoutMark);
        else if (Damaged())
            Allow(Allowance::FileUnlistedByDamage);
        else if (AnyCutOpen())
            Allow(Allowance::MarkDiedWithItsTaker);
        else
            Fault("an open by the rules lists every file", name + " is not listed");
    }
    OpenMarked();
    if (!ReadIndex()) return;
    for (const std::string& name : missing)
        if (items_.count(name) == 0) Fault("an open of a marked folder lists every file", name + " is not listed");
}

void FolderOracle::CheckGhosts()
{
    for (const auto& [name, item] : items_) {
        if (files_.count(name) != 0) continue;
        const auto known = fates_.find(name);
        const auto removal =
            std::find_if(history_->removals.begin(), history_->removals.end(), [&](const Removal& r) { return r.id == name; });
        const bool removedBefore = before_.count(name) != 0 && known != fates_.end() && known->second == Fate::Gone;
        if (removal != history_->removals.end() ? !removal->withItem || !removal->ended : removedBefore)
            Allow(Allowance::ItemOfAFileThatWent);
        else if (removal != history_->removals.end() && (AnyOlderLoadSaved() || Damaged()))
            Allow(Allowance::ItemBroughtBack);
        else
            Fault("no item is listed that has no file", name);
    }
}

// Whether an index was saved, and really written, from a load that was no longer the newest state of the folder.
bool FolderOracle::AnyOlderLoadSaved() const
{
    for (const Session& session : history_->sessions) {
        if (session.underBlock || session.LastWrite() == kNotAtAll) continue;
        for (const Session& other : history_->sessions)
            if (&other != &session && other.loadBegin < session.LastWrite() && other.close > session.loadBegin) return true;
    }
    return false;
}

// ---- UIDs ----

void FolderOracle::CheckUids()
{
    // Also behind damage: the header that tells it is written first, and in one piece.
    if (headerUid_ < lastUid_) Fault("LASTUID never falls", std::to_string(lastUid_) + " before, " + std::to_string(headerUid_) + " now");
    lastUid_ = headerUid_;

    const auto take = [&](uint32_t uid, const std::string& name, const std::string& witness) {
        const auto [known, added] = uids_.emplace(uid, name);
        if (added || known->second == name) return;
        Fault("no UID is given twice", std::to_string(uid) + " was " + known->second + " and is " + name + " for " + witness);
        known->second = name;
    };
    // What a process saw in its own memory alone and took with it is known to nobody.
    for (const Sighting& sighting : history_->sightings)
        if (!Damaged() || sighting.uid <= headerUid_) take(sighting.uid, sighting.id, "process " + std::to_string(sighting.process));
    for (const auto& [name, item] : items_) take(item.uid, name, "the index file");

    for (const auto& [name, item] : before_) {
        const auto now = items_.find(name);
        if (now == items_.end() || now->second.uid == item.uid) continue;
        if (Damaged())
            Allow(Allowance::NewUidAfterDamage);
        else
            Fault("a message keeps its UID", name + " had " + std::to_string(item.uid) + " and has " + std::to_string(now->second.uid));
    }
    std::map<std::string, std::set<uint32_t>> uidsOf;
    for (const Sighting& sighting : history_->sightings) uidsOf[sighting.id].insert(sighting.uid);
    for (auto& [name, uids] : uidsOf) {
        if (uids.size() < 2) continue;
        if (Damaged())
            Allow(Allowance::NewUidAfterDamage);
        else if (AnyOlderLoadSaved())
            Allow(Allowance::NewUidAfterOlderLoad);
        else
            Fault("a message keeps its UID", name + " had " + std::to_string(*uids.begin()) + " and " + std::to_string(*uids.rbegin()));
    }
}

// ---- The rebuild ----

void FolderOracle::Rebuild()
{
    const std::map<std::string, ListedItem> listed = items_;
    test::WriteFileBytes(directory_ / "_CHANGE.DTY", "to be rebuilt");
    {
        OwnRecord record(FolderName(folder_));
        if (StoreIndex_Open(&record, kRebuildIfMarked) != 1) Fault("a folder at rest can be rebuilt", "it did not load");
    }
    if (!ReadIndex()) return;
    for (const std::string& name : files_)
        if (items_.count(name) == 0) Fault("a rebuild lists every file", name);
    for (const auto& [name, item] : items_) {
        if (files_.count(name) == 0) Fault("a rebuild lists nothing but files", name);
        const auto known = listed.find(name);
        if (known != listed.end() && (known->second.uid != item.uid || known->second.flags != item.flags))
            Fault("a rebuild keeps UIDs and flags", name);
    }
    if (spoilsCounts_) SpoilCounts();
    CheckCounts();
    if (fs::exists(directory_ / "_CHANGE.DTY")) Fault("a rebuild takes the mark away", "_CHANGE.DTY");
    if (headerUid_ < lastUid_) Fault("LASTUID never falls", std::to_string(lastUid_) + " before the rebuild");
    before_ = items_;
}

// A sabotage of the driver's own: no worker is there when the counts are looked at.
void FolderOracle::SpoilCounts()
{
    uint32_t details[VELMORA_STATUS_WORDS] = {};
    details[VELMORA_STATUS_ITEMS] = static_cast<uint32_t>(items_.size()) + 1;
    SetCachedStatus(kPostoffice, kMailbox, FolderName(folder_).c_str(), details);
}

// The cached counts are those of the listing whenever the listing is made from the files.
void FolderOracle::CheckCounts()
{
    uint32_t details[VELMORA_STATUS_WORDS] = {};
    if (GetCachedStatus(kPostoffice, kMailbox, FolderName(folder_).c_str(), details) != 1)
        return Fault("a rebuild leaves cached counts", "none there");
    uint32_t expected[VELMORA_STATUS_WORDS] = {};
    expected[VELMORA_STATUS_LAST_UID] = headerUid_;
    for (const auto& [name, item] : items_) {
        ++expected[VELMORA_STATUS_ITEMS];
        if (item.read || item.flags.find("\\SEEN") != std::string::npos) ++expected[VELMORA_STATUS_SEEN];
        if (item.flags.find("\\RECENT") != std::string::npos) ++expected[VELMORA_STATUS_RECENT];
    }
    // Where the first seen message stands is not followed here.
    expected[VELMORA_STATUS_FIRST_SEEN] = details[VELMORA_STATUS_FIRST_SEEN];
    for (unsigned word = 0; word < VELMORA_STATUS_WORDS; ++word)
        if (details[word] != expected[word])
            Fault("a rebuild leaves cached counts",
                  "word " + std::to_string(word) + " is " + std::to_string(details[word]) + " and not " + std::to_string(expected[word]));
}

}  // namespace velmora::torture
