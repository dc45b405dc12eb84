#include "items/GroupItem.h"

#include <algorithm>
#include <utility>

#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "common/Text.h"
#include "index/IndexItem.h"
#include "index/IndexTable.h"
#include "index/ItemFile.h"
#include "items/MessageFile.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr size_t kLongestFirstLine = 1023;
constexpr std::string_view kNameMark = "NAME:";
constexpr std::string_view kLineEnd = "\r\n";

enum class FileRead { Whole, Missing, Interrupted };

FileRead ReadGroupFile(const std::string& path, std::string& text)
{
    MessageFile file(path);
    // A directory or a device of that name is no group.
    if (!file.IsOpen()) return NamesNothing(file.OpenError()) ? FileRead::Missing : FileRead::Interrupted;
    char block[4096];
    while (const size_t size = file.Read(block, sizeof block)) text.append(block, size);
    return file.Failed() ? FileRead::Interrupted : FileRead::Whole;
}

// The copy bears a name that no item has: they never begin with "_".
bool ReplaceFile(const std::string& path, std::string_view bytes)
{
    const std::string copy = FileManagement::ParentDirectory(path) + "\\_" + FileManagement::FileName(path) + ".TMP";
    FileStream file;
    bool written = file.OpenTruncate(copy);
    if (written) {
        file.Write(bytes);
        written = file.Close();
    }
    if (written && MoveFileExA(copy.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
    DeleteFileA(copy.c_str());
    return false;
}

// Until the index file has the name, the file's first line is all that tells it, and somebody may write the file meanwhile.
void TakeNameOutOfFile(const std::string& path, std::string_view name)
{
    std::string text;
    if (ReadGroupFile(path, text) != FileRead::Whole) return;
    const GroupText group = ParseGroupText(text);
    // A file that could not be written anew is still whole, first line and all.
    if (group.named && group.name == name) (void)ReplaceFile(path, group.rest);
}

}  // namespace

GroupText ParseGroupText(std::string_view text)
{
    const size_t end = text.find(kLineEnd);
    const std::string_view line = text.substr(0, std::min(end, kLongestFirstLine));
    const size_t mark = FindNoCase(line, kNameMark);
    if (mark == std::string_view::npos) return {false, {}, text};
    const std::string_view name = line.substr(mark + kNameMark.size());
    const size_t behind = end == std::string_view::npos ? line.size() : end + kLineEnd.size();
    return {true, name.substr(0, name.find('\0')), text.substr(behind)};
}

void ImportGroupItem(STOREINDEXTYPE& index, std::unique_ptr<IndexItemPropertyContainer> item, std::string_view text,
                     const std::string& path)
{
    const GroupText group = ParseGroupText(text);
    if (group.named) SetItemProperty(*item, "NAME", group.name);
    if (!EnterNewItem(index, std::move(item)) || !group.named) return;
    AddStepAfterSave(index.Table, *index.InsertItem.Item, [path, name = std::string(group.name)] { TakeNameOutOfFile(path, name); });
}

bool InsertGroupFile(STOREINDEXTYPE& index, const NewItemFile& file, InsertionHeader&)
{
    std::string text;
    const std::string path = ItemFilePath(index.InsertItem, file.id);
    const FileRead read = path.empty() ? FileRead::Missing : ReadGroupFile(path, text);
    if (read == FileRead::Interrupted) return false;
    auto item = std::make_unique<IndexItemPropertyContainer>();
    SetItemKeyProperty(*item, kId, file.id);
    ImportGroupItem(index, std::move(item), text, path);
    return true;
}

}  // namespace velmora
