#include "tests/faults/TreeOracle.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "persistence/Dom.h"
#include "tests/faults/Scenario.h"
#include "tests/support/OpenHandles.h"
#include "velmora/folders.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

bool IsWithin(const std::string& path, const std::string& folder) { return path.starts_with(folder + "/"); }

// A document that was cut is one that nobody can read any more.
bool IsWholeDocument(const fs::path& file)
{
    const auto document = platform::XmlDocument::Create();
    return document->Load(file.string());
}

}  // namespace

TreeOracle::TreeOracle(const TreeScenario& scenario) : scenario_(scenario)
{
    PutTreeSettings(store_);
    store_.Attach();
    SetPresentTime(clock_);
    MakeTree(store_);
    mailbox_ = store_.MailRoot() / "po" / "MAILROOT" / "box";
    initial_ = ReadTree(mailbox_);
    security_ = ReadTree(SecurityDirectory(store_));
    messages_ = MessagesOf(initial_);
    // Once for the settings and the names that a process learns.
    Act();
    LeaveEverything();
    Restore();
    undisturbed_ = Act();
    LeaveEverything();
    finished_ = ReadTree(mailbox_);
    finishedSecurity_ = ReadTree(SecurityDirectory(store_));
    EXPECT_EQ(undisturbed_.result, 1u);
    handles_ = OpenHandleCount();
}

void TreeOracle::Restore()
{
    RestoreTree(mailbox_, initial_);
    RestoreTree(SecurityDirectory(store_), security_);
    SetPresentTime(clock_);
}

void TreeOracle::JudgeUndisturbed(const TreeAnswer& answer, const std::string& what)
{
    if (answer.result != undisturbed_.result || answer.size != undisturbed_.size || answer.names != undisturbed_.names)
        Complain("the answer is not the one of an undisturbed run");
    Judge(answer, {}, what);
}

void TreeOracle::Judge(const TreeAnswer& answer, const TreeLicence& licence, const std::string& what)
{
    LeaveEverything();
    CheckHandles();
    CheckAnswer(answer, licence);
    CheckMessages(answer);
    CheckShares();
    // In front of the lists, which are made anew there.
    CheckSize(licence);
    CheckLists(licence);
    CheckScans(licence);
    Conclude(what);
}

void TreeOracle::CheckHandles()
{
    const uint32_t open = OpenHandleCount();
    if (open == handles_) return;
    Complain(std::to_string(open) + " handles are open in place of " + std::to_string(handles_));
    handles_ = open;
}

void TreeOracle::CheckAnswer(const TreeAnswer& answer, const TreeLicence& licence)
{
    if (answer.result > 1) Complain("answered " + std::to_string(answer.result));
    if (answer.size > undisturbed_.size) Complain("the size is " + std::to_string(answer.size));
    for (const std::string& name : answer.names)
        if (std::find(undisturbed_.names.begin(), undisturbed_.names.end(), name) == undisturbed_.names.end())
            Complain("the name " + name + " was given");
    if (!std::is_sorted(answer.names.begin(), answer.names.end())) Complain("the names are not in their order");
    for (const auto& [name, bytes] : ReadTree(mailbox_)) {
        if (name.ends_with("_index.blk") && !Use(licence.block, "block")) Complain("the block is left behind");
        if (name.ends_with(".tmp") && !Use(licence.leftovers, "leftovers")) Complain(name + " is left behind");
    }
}

// ---- Messages ----

void TreeOracle::CheckMessages(const TreeAnswer& answer)
{
    const Messages now = MessagesOf(ReadTree(mailbox_));
    const bool told = answer.result == 1;
    const bool goes = scenario_.change == TreeChange::Remove || scenario_.change == TreeChange::Move;
    for (const auto& [name, bytes] : messages_) {
        if (goes && IsWithin(name, scenario_.from)) continue;
        const auto found = now.find(name);
        if (found == now.end() || found->second != bytes) Complain(name + " is lost or has other bytes");
    }
    switch (scenario_.change) {
        case TreeChange::Add:
            if (fs::is_directory(mailbox_ / scenario_.from) != told)
                Complain(told ? "it was told to have been made, and is not there" : "it was made, and was not told");
            break;
        case TreeChange::Remove:
            if (told && fs::exists(mailbox_ / scenario_.from)) Complain("it was told to have been removed, and is there");
            break;
        case TreeChange::Move:
            CheckMoved(now, told);
            break;
        case TreeChange::Copy:
            if (told)
                for (const auto& [name, bytes] : MessagesOf(finished_)) {
                    const auto found = now.find(name);
                    if (found == now.end() || found->second != bytes) Complain(name + " was told to have been copied, and is not whole");
                }
            break;
        case TreeChange::None:
            break;
    }
}

// All of it here or all of it there.
void TreeOracle::CheckMoved(const Messages& now, bool told)
{
    const bool isThere = fs::exists(mailbox_ / scenario_.to);
    if (isThere == fs::exists(mailbox_ / scenario_.from)) Complain("the folder is in both places, or in none");
    if (isThere != told) Complain(told ? "it was told to have moved" : "it has moved, and was not told");
    for (const auto& [name, bytes] : messages_) {
        if (!IsWithin(name, scenario_.from)) continue;
        const auto found = now.find(isThere ? scenario_.to + name.substr(scenario_.from.size()) : name);
        if (found == now.end() || found->second != bytes) Complain(name + " is lost or has other bytes");
    }
}

// ---- Documents ----

// Each is what it was, what it is to be, or something in between that can be read; nobody's other shares go.
void TreeOracle::CheckShares()
{
    const bool takes = scenario_.takesShares || scenario_.takesAllShares;
    const auto check = [&](const fs::path& root, const TreeImage& before) {
        for (const auto& [name, bytes] : before) {
            const bool isDocument = name.ends_with("_Shares.xml") || name.ends_with("_Access.XML") || root != mailbox_;
            if (!bytes || !isDocument) continue;
            if (!FileExists(root / name)) {
                if (!takes && !IsWithin(name, scenario_.from)) Complain(name + " is gone");
                if (root != mailbox_) Complain(name + " is gone with the share of another mailbox");
                continue;
            }
            if (!takes && ReadFileBytes(root / name) != *bytes) Complain(name + " has changed");
            if (!IsWholeDocument(root / name)) Complain(name + " cannot be read");
            if (root != mailbox_ && ReadFileBytes(root / name).find("SF:po/other/Inbox") == std::string::npos)
                Complain(name + " has lost the share of another mailbox");
        }
    };
    check(mailbox_, initial_);
    check(SecurityDirectory(store_), security_);
}

// ---- Lists ----

// The first request gives what is there: no list that was cut stands in its way.
void TreeOracle::CheckLists(const TreeLicence& licence)
{
    std::vector<std::string> folders = {""};
    for (size_t at = 0; at < folders.size(); ++at) {
        const std::string folder = folders[at];
        const std::set<std::string> there = ChildFolders(mailbox_ / folder);
        const auto matches = [&] {
            const std::vector<std::string> names = ListChildren(folder);
            return std::set<std::string>(names.begin(), names.end()) == there && names.size() == there.size();
        };
        if (!matches()) {
            if (!Use(licence.oldLists, "oldLists")) Complain("the list of \"" + folder + "\" is not what is there");
            StoreFolderRecord record{};
            std::string("po").copy(record.Postoffice, 2);
            std::string("box").copy(record.Mailbox, 3);
            ("/" + folder).copy(record.FolderPath, sizeof record.FolderPath - 1);
            if (StoreFolder_ReIndexChildFolders(&record) != 1 || !matches()) Complain("\"" + folder + "\" cannot be listed anew");
        }
        for (const std::string& name : there) folders.push_back(folder.empty() ? name : folder + "/" + name);
    }
}

// The next size is that of an undisturbed run, whatever the one before it met.
void TreeOracle::CheckSize(const TreeLicence& licence)
{
    if (!scenario_.sizes) return;
    if (SizeOfTree() == undisturbed_.size || Use(licence.block, "block") || Use(licence.unlisted, "unlisted")) return;
    Complain("the next size is not " + std::to_string(undisturbed_.size));
}

// An open lists all messages.
void TreeOracle::CheckScans(const TreeLicence& licence)
{
    if (!scenario_.sizes) return;
    for (const char* const folder : kTreeFolders) {
        std::set<std::string> files;
        for (const std::string& name : FileNames(mailbox_ / folder))
            if (name.ends_with(".MAI")) files.insert(name);
        if (ListMessages(folder) == files) continue;
        if (!Use(licence.unlisted, "unlisted")) Complain(std::string(folder) + " does not list its messages");
        WriteFileBytes(mailbox_ / folder / "_CHANGE.DTY", "changed");
        if (ListMessages(folder) != files) Complain(std::string(folder) + " does not list its messages behind a mark");
    }
    if (const uint32_t size = SizeOfTree(); size != undisturbed_.size)
        Complain("the size behind that is " + std::to_string(size) + " and not " + std::to_string(undisturbed_.size));
}

// ---- The verdict ----

bool TreeOracle::Use(bool licensed, const char* name)
{
    if (licensed) ++used_[name];
    return licensed;
}

void TreeOracle::Complain(const std::string& text)
{
    constexpr size_t kEnough = 700;
    if (complaints_.size() < kEnough) complaints_ += text + "\n";
}

void TreeOracle::Conclude(const std::string& what)
{
    EXPECT_EQ(complaints_, "") << scenario_.name << ": " << what;
    complaints_.clear();
}

std::string TreeOracle::Used() const
{
    std::string text;
    for (const auto& [name, count] : used_) text += (text.empty() ? "" : ", ") + name + " " + std::to_string(count);
    return text.empty() ? "nothing allowed" : text;
}

}  // namespace velmora::test
