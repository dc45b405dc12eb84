#include "folders/FolderRecord.h"

#include <algorithm>

#include "common/Text.h"
#include "folders/FolderNames.h"
#include "frame/ProcessState.h"
#include "frame/StorePaths.h"
#include "remote/RemoteHost.h"

namespace velmora {

bool IsForThisMachine() { return CheckRemoteHost(RemoteLibrary::Store) == 0; }

std::vector<std::string_view> StepsOf(std::string_view path)
{
    std::vector<std::string_view> steps;
    for (size_t start = path.find_first_not_of("\\/"); start != std::string_view::npos; start = path.find_first_not_of("\\/", start)) {
        const size_t end = std::min(path.find_first_of("\\/", start), path.size());
        steps.push_back(path.substr(start, end - start));
        start = end;
    }
    return steps;
}

bool HoldsStep(std::string_view path)
{
    const std::vector<std::string_view> steps = StepsOf(path);
    return std::any_of(steps.begin(), steps.end(), IsNoFolderName);
}

namespace {

// One spelling for all that lead to the same place, by which walks are known. The mail root stays as it is set up.
void UniteSeparators(std::string& path)
{
    const size_t start = std::min(MailRootText().size(), path.size());
    size_t end = start;
    for (size_t at = start; at < path.size(); ++at) {
        const bool separates = IsPathSeparator(path[at]);
        if (separates && end > start && path[end - 1] == '\\') continue;
        path[end++] = separates ? '\\' : path[at];
    }
    path.resize(end);
}

}  // namespace

std::optional<std::string> FolderDirectoryOf(const std::string& postoffice, const std::string& mailbox, const std::string& folderPath)
{
    if (HoldsStep(postoffice) || HoldsStep(mailbox) || HoldsStep(folderPath)) return std::nullopt;
    // Room enough to tell a path that fits from one that was cut.
    char directory[2 * kFolderDirectorySize];
    std::string text = ResolveFolderPath(postoffice.c_str(), mailbox.c_str(), folderPath.c_str(), directory, sizeof directory);
    if (text.size() >= kFolderDirectorySize) return std::nullopt;
    UniteSeparators(text);
    text.resize(text.find_last_not_of("\\/") + 1);
    return text;
}

std::optional<std::string> FolderDirectoryOf(const StoreFolderRecord& record)
{
    return FolderDirectoryOf(RecordText(record.Postoffice), RecordText(record.Mailbox), RecordText(record.FolderPath));
}

std::optional<std::string> DirectoryOfMailbox(const StoreFolderRecord& record)
{
    const std::string postoffice = RecordText(record.Postoffice);
    const std::string mailbox = RecordText(record.Mailbox);
    if (HoldsStep(postoffice) || HoldsStep(mailbox)) return std::nullopt;
    return PlainMailboxDirectory(postoffice, mailbox);
}

}  // namespace velmora
