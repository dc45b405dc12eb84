#include "tests/torture/TreeLook.h"

#include <fstream>
#include <stdexcept>

#include "frame/Attach.h"
#include "tests/support/ChildProcess.h"
#include "tests/torture/HastyClock.h"
#include "tests/torture/Tree.h"
#include "velmora/folder.h"
#include "velmora/item.h"

namespace velmora::torture {

namespace {

// One line each: what it is, the folder's path, "|", and the name or the number.
constexpr char kFolderLine = 'F', kChildLine = 'C', kOpenLine = 'O', kMessageLine = 'M', kSizeLine = 'S', kEndLine = 'E';

void Put(std::ostream& out, char kind, const std::string& path, const std::string& text) { out << kind << path << '|' << text << '\n'; }

std::string CurrentId()
{
    void* value = nullptr;
    uint64_t size = 0;
    std::string text;
    if (StoreItem_GetProperty("VL_ITEM_ID", &value, &size) == 2) text = static_cast<const char*>(value);
    StoreItem_FreeProperty(value);
    return text;
}

// A list that a death has cut is deleted by whoever meets it, whose request fails; the next one makes it anew.
void PutList(std::ostream& out, const std::string& path)
{
    Put(out, kFolderLine, path, "");
    StoreFolderRecord record = RecordOf(path);
    uint64_t more = StoreFolderFindFirst(&record);
    if (more != 1) more = StoreFolderFindFirst(&record);
    for (; more == 1; more = StoreFolderFindNext(&record)) Put(out, kChildLine, path, record.FolderName);
    StoreFolderFindClose(&record);
}

void PutMessages(std::ostream& out, const std::string& path)
{
    if (StoreFolder_Open(kPostoffice, kMailbox, path.substr(1).c_str(), 0, 0) != 1) return;
    Put(out, kOpenLine, path, "");
    for (uint64_t more = StoreFolder_FindFirstItem(); more == 1; more = StoreFolder_FindNextItem())
        Put(out, kMessageLine, path, CurrentId());
    StoreFolder_Close();
}

void TakeLine(TreeLook& look, const std::string& line, bool& ended)
{
    const size_t bar = line.find('|');
    if (bar == line.npos || bar == 0) throw std::runtime_error("a process that was to look at the tree said " + line);
    const std::string path = line.substr(1, bar - 1), text = line.substr(bar + 1);
    switch (line[0]) {
        case kFolderLine:
            look.lists[path];
            break;
        case kChildLine:
            look.lists[path].insert(text);
            break;
        case kOpenLine:
            look.messages[path];
            break;
        case kMessageLine:
            look.messages[path].insert(text);
            break;
        case kSizeLine:
            look.ledgerSize = std::stoull(text);
            break;
        default:
            ended = line[0] == kEndLine;
    }
}

}  // namespace

TreeLook LookAtTree(const Plan& plan, const std::filesystem::path& answer)
{
    std::filesystem::remove(answer);
    Plan own = plan;
    own.look = answer.string();
    test::ChildOptions options;
    options.closedInput = true;
    options.stdoutPath = answer.string() + ".out";
    test::ChildProcess process(test::OwnProgramPath(), WorkerArguments(own, 0, ""), options);
    if (const int ended = process.Wait(); ended != 0)
        throw std::runtime_error("a process that was to look at the tree ended with " + std::to_string(ended));
    TreeLook look;
    bool ended = false;
    std::ifstream lines(answer, std::ios::binary);
    for (std::string line; std::getline(lines, line);) TakeLine(look, line, ended);
    if (!ended) throw std::runtime_error("a process that was to look at the tree broke off");
    return look;
}

int RunTreeLook(const Plan& plan)
{
    if (!ProcessAttach()) throw std::runtime_error("the library does not load");
    {
        const HastyClock clock(plan.haste);
        std::ofstream out(plan.look, std::ios::binary);
        for (const std::string& path : TreeFolders(plan.mailRoot)) PutList(out, path);
        for (const char* const path : kKeptFolders)
            if (*path) PutMessages(out, path);
        StoreFolderRecord record = RecordOf(kLedger);
        if (StoreFolderGetSize(&record) == 1) Put(out, kSizeLine, "", std::to_string(record.FolderSize));
        Put(out, kEndLine, "", "");
        if (!out.flush()) throw std::runtime_error("what was seen cannot be written");
    }
    ThreadDetach();
    ProcessDetach();
    return 0;
}

}  // namespace velmora::torture
