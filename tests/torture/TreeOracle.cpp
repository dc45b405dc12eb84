#include "tests/torture/TreeOracle.h"

#include <algorithm>
#include <iterator>
#include <system_error>

#include "tests/support/OwnList.h"
#include "tests/support/TestStore.h"
#include "tests/torture/Letter.h"
#include "tests/torture/Tree.h"
#include "tests/torture/TreeHand.h"
#include "velmora/folders.h"

namespace velmora::torture {

namespace fs = std::filesystem;

namespace {

constexpr size_t kEnoughFolders = 60;  // free ones go above it

std::pair<std::string, std::string> BothPaths(const std::string& text)
{
    const size_t bar = text.find('|');
    return {text.substr(0, bar), bar == text.npos ? std::string() : text.substr(bar + 1)};
}

std::string Joined(const std::set<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return "{" + text + "}";
}

}  // namespace

TreeOracle::TreeOracle(const Plan& plan, fs::path answer, AllowanceCounts& counts)
    : plan_(plan), answer_(std::move(answer)), counts_(counts)
{
}

std::vector<std::string> TreeOracle::Check(const std::vector<Record>& records)
{
    faults_.clear();
    entries_.clear();
    trees_.clear();
    folders_.clear();
    cutLetters_.clear();
    anyCut_ = false;
    Follow(records);
    CheckLetters();
    look_ = LookAtTree(plan_, answer_);
    CheckLists();
    CheckMessages();
    CheckLedger();
    Clean();
    return faults_;
}

// ---- What the journals say ----

void TreeOracle::Follow(const std::vector<Record>& records)
{
    std::map<std::pair<uint64_t, uint32_t>, Begun> loose;
    std::map<std::string, Record> drops;
    for (const Record& record : records) {
        Begun& begun = loose[{record.process, record.thread}];
        switch (record.deed) {
            case Deed::Begin:
                begun = {record, true};
                break;
            case Deed::End:
                TakeChange(begun.record, record.number == 1, true);
                begun.open = false;
                break;
            case Deed::DropBegin:
                drops[record.id] = record;
                break;
            case Deed::DropEnd:
                letters_[record.id] = {{record.text}, false};
                drops.erase(record.id);
                break;
            case Deed::Fault:
                Fault("what a worker sees is right", "process " + std::to_string(record.process) + " saw: " + record.text);
                break;
            default:
                break;
        }
    }
    for (const auto& [who, begun] : loose)
        if (begun.open) TakeChange(begun.record, false, false);
    for (const auto& [name, record] : drops) {
        letters_[name] = {{record.text}, true};
        cutLetters_.insert(name);
        anyCut_ = true;
    }
}

void TreeOracle::TakeChange(const Record& begin, bool told, bool ended)
{
    const auto [from, to] = BothPaths(begin.text);
    if (!ended) anyCut_ = true;
    if (begin.id == kAdd) {
        if (!ended) entries_.emplace(std::pair(ParentOf(from), LeafOf(from)), Allowance::ListCutByADeath);
    } else if (begin.id == kRename) {
        TakeRename(from, to, told, ended);
    } else if (begin.id == kCopy) {
        // Lists come along with what is copied, as they were, and over what is there.
        trees_.emplace(to, Allowance::ListThatWasCopied);
        ExcuseParentsOf(to);
        if (!told) entries_.emplace(std::pair(ParentOf(to), LeafOf(to)), Allowance::ListBehindAFailure);
    } else if (begin.id == kRemove) {
        TakeRemoval(from, told, ended);
    } else if (!ended) {
        // A size walk lists on its way.
        (begin.id == kSize ? trees_ : folders_).emplace(from, Allowance::ListCutByADeath);
    }
}

void TreeOracle::TakeRename(const std::string& from, const std::string& to, bool told, bool ended)
{
    ExcuseParentsOf(to);
    // What others did in it at that moment has marked a folder that was not there any more, or listed one.
    if (!IsOwnName(LeafOf(from))) trees_.emplace(to, Allowance::ListOfAFolderThatMoved);
    if (!ended)
        for (const std::string& path : {from, to}) entries_.emplace(std::pair(ParentOf(path), LeafOf(path)), Allowance::ListCutByADeath);
    if (!told && ended) return;
    for (auto& [name, letter] : letters_) {
        if (letter.places.count(from) == 0) continue;
        if (ended) letter.places.erase(from);
        letter.places.insert(to);
    }
}

void TreeOracle::TakeRemoval(const std::string& path, bool told, bool ended)
{
    if (!told) {
        const Allowance why = ended ? Allowance::ListBehindAFailure : Allowance::ListCutByADeath;
        trees_.emplace(path, why);
        entries_.emplace(std::pair(ParentOf(path), LeafOf(path)), why);
    }
    if (!IsOwnName(LeafOf(path))) return;
    for (auto entry = letters_.begin(); entry != letters_.end();) {
        const bool within = entry->second.places.count(path) != 0;
        if (within && told) {
            entry = letters_.erase(entry);
            continue;
        }
        if (within) entry->second.mayBeGone = true;
        ++entry;
    }
}

// A rename and a copy make the parents of their target, also those that went while they looked.
void TreeOracle::ExcuseParentsOf(const std::string& path)
{
    for (std::string parent = ParentOf(path); !IsKept(parent); parent = ParentOf(parent))
        entries_.emplace(std::pair(ParentOf(parent), LeafOf(parent)), Allowance::ParentMadeOnTheWay);
}

// ---- What is there ----

void TreeOracle::CheckLetters()
{
    for (auto entry = letters_.begin(); entry != letters_.end();) {
        auto& [name, letter] = *entry;
        std::set<std::string> found;
        for (const std::string& place : letter.places)
            if (fs::exists(TreeDirectory(plan_.mailRoot, place) / name)) found.insert(place);
        if (found.size() > 1) Fault("a rename leaves a message in one place", name + " is in " + Joined(found));
        if (found.empty() && !letter.mayBeGone)
            Fault("a folder that nobody removed keeps its messages", name + " of " + Joined(letter.places));
        for (const std::string& place : found)
            if (test::ReadFileBytes(TreeDirectory(plan_.mailRoot, place) / name) != LetterBytes(name))
                Fault("a message file stays as it is", name + " in " + place);
        if (found.empty()) {
            entry = letters_.erase(entry);
            continue;
        }
        letter = {found, false};
        ++entry;
    }
}

// In whatever case it was asked for: a name may have got its own spelling, and a folder may be there in another one.
const Allowance* TreeOracle::ExcuseOf(const std::string& path, const std::string& name) const
{
    const auto lower = [](std::string text) {
        std::transform(text.begin(), text.end(), text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
        return text;
    };
    const std::string folder = lower(path);
    for (const auto& [tree, allowance] : trees_)
        if (IsWithin(folder, lower(tree))) return &allowance;
    for (const auto& [known, allowance] : folders_)
        if (lower(known) == folder) return &allowance;
    const auto entry = std::find_if(entries_.begin(), entries_.end(), [&](const auto& known) {
        return lower(known.first.first) == folder && lower(known.first.second) == lower(name);
    });
    return entry == entries_.end() ? nullptr : &entry->second;
}

// As a list has them: at the root, a well-known name has its own spelling, whatever the directory's.
std::set<std::string> TreeOracle::ListedChildren(const std::string& path) const
{
    std::set<std::string> names = ChildDirectories(TreeDirectory(plan_.mailRoot, path));
    if (path.empty() && names.erase("drafts") != 0) names.insert("Drafts");
    return names;
}

void TreeOracle::CheckList(const std::string& path, const std::set<std::string>& listed)
{
    const std::set<std::string> there = ListedChildren(path);
    if (listed == there) return;
    std::set<std::string> wrong;
    std::set_symmetric_difference(listed.begin(), listed.end(), there.begin(), there.end(), std::inserter(wrong, wrong.end()));
    for (const std::string& name : wrong) {
        const Allowance* const excuse = ExcuseOf(path, name);
        if (excuse)
            Allow(*excuse);
        else
            Fault("every list equals the directories", "\"" + path + "\" lists " + Joined(listed) + " and has " + Joined(there));
    }
    StoreFolderRecord record = RecordOf(path);
    if (StoreFolder_ReIndexChildFolders(&record) != 1) Fault("a folder at rest can be listed anew", path);
}

void TreeOracle::CheckLists()
{
    const std::vector<std::string> folders = TreeFolders(plan_.mailRoot);
    for (const std::string& path : folders) {
        const auto list = look_.lists.find(path);
        if (list == look_.lists.end())
            Fault("a look changes no folder", path);
        else
            CheckList(path, list->second);
    }
    for (const std::string& path : folders) {
        // One that this thread has kept may be taken for the new one, within the two seconds of a stamp.
        const test::OwnList list;
        StoreFolderRecord record = RecordOf(path);
        std::set<std::string> listed;
        for (uint64_t more = TLS_StoreFolderFindFirst(&record, list); more == 1; more = TLS_StoreFolderFindNext(&record, list))
            listed.insert(record.FolderName);
        if (listed != ListedChildren(path)) Fault("a list made anew equals the directories", "\"" + path + "\" lists " + Joined(listed));
    }
}

void TreeOracle::CheckMessages()
{
    for (const char* const path : kKeptFolders) {
        if (!*path) continue;
        const std::set<std::string> files = MessageFiles(TreeDirectory(plan_.mailRoot, path));
        for (const std::string& file : files)
            if (letters_.count(file) == 0) Fault("nothing is there that nobody delivered", file + " in " + path);
        const auto opened = look_.messages.find(path);
        if (opened == look_.messages.end()) {
            if (anyCut_)
                Allow(Allowance::OpenFailsOnDamage);
            else
                Fault("a folder that stays can be opened", path);
            continue;
        }
        for (const std::string& file : files) {
            if (opened->second.count(file) != 0) continue;
            if (cutLetters_.count(file) != 0)
                Allow(Allowance::FileWithoutMark);
            else if (anyCut_)
                Allow(Allowance::MarkDiedWithItsTaker);
            else
                Fault("an open by the rules lists every file", file + " in " + path);
        }
    }
}

// Of what a new process has just listed; where a death has left something out, the sum is left alone.
void TreeOracle::CheckLedger()
{
    if (anyCut_) return;
    uint64_t size = 0;
    for (const std::string& file : MessageFiles(TreeDirectory(plan_.mailRoot, kLedger))) size += LetterBytes(file).size();
    if (look_.ledgerSize != size)
        Fault("a size is the sum of the messages", std::to_string(look_.ledgerSize) + " and not " + std::to_string(size));
}

// ---- Behind a check ----

// The threads begin anew with folders of their own, and the tree stays small.
void TreeOracle::Clean()
{
    std::vector<std::string> folders = TreeFolders(plan_.mailRoot);
    const bool tooMany = folders.size() > kEnoughFolders;
    for (const std::string& path : folders) {
        const bool goes = IsKept(ParentOf(path)) && !IsKept(path) && (IsOwnName(LeafOf(path)) || tooMany);
        if (!goes) continue;
        StoreFolderRecord record = ChildRecordOf(path);
        if (StoreFolderRemove(&record) != 1 || fs::exists(TreeDirectory(plan_.mailRoot, path)))
            Fault("a folder at rest can be removed", path);
        std::erase_if(letters_, [&](const auto& letter) { return letter.second.places.count(path) != 0; });
    }
    // What a death has left undone is mended by a mark.
    if (anyCut_)
        for (const char* const path : kKeptFolders)
            if (*path) test::WriteFileBytes(TreeDirectory(plan_.mailRoot, path) / "_CHANGE.DTY", "looked at");
}

}  // namespace velmora::torture
