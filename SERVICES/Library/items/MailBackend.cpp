#include "items/MailBackend.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "common/Text.h"
#include "index/IndexItem.h"
#include "index/ItemFile.h"
#include "index/ItemInsertion.h"
#include "index/ItemOperations.h"
#include "items/ColumnValue.h"
#include "items/MailProperties.h"
#include "items/MailScan.h"
#include "items/MessageFile.h"
#include "items/MessageHeader.h"

namespace velmora {

namespace {

uint64_t GetProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    PropertyBinding binding;
    if (!ResolveMailProperty(TextOrEmpty(name), binding)) return kNoProperty;
    return GetColumnValue(handle, binding, value, size);
}

// Values of mail are text, whatever their type is on the way out.
uint64_t SetProperty(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* name, const void* value)
{
    PropertyBinding binding;
    if (!value || !ResolveMailProperty(TextOrEmpty(name), binding)) return 0;
    // A computed value has no column: a name that begins with "!" is no name for an element of the index file.
    if (binding.Column[0] == '!') return 0;
    return WriteColumnValue(index, handle, itemId, binding.Column, static_cast<const char*>(value));
}

uint64_t Scan(STOREINDEXTYPE* owner, SORTEDSTOREINDEXTYPE& table, const char* folderPath, uint32_t mode, uint32_t verifyItemFiles)
{
    return ScanFoldersOrdered(owner, table, std::string(TextOrEmpty(folderPath)), mode, verifyItemFiles);
}

uint64_t SaveItem(STOREINDEXTYPE*, STOREITEMTYPE&) { return 1; }

bool Rebuild(STOREINDEXTYPE*, SORTEDSTOREINDEXTYPE& table, const char* folderPath)
{
    return RebuildFromMessages(table, TextOrEmpty(folderPath));
}

// A size in front of all flags spares the store a look at the file: whoever wrote it knows.
void TakeSize(MessageHeader& header, const MessageFile& file)
{
    constexpr std::string_view kSizeMark = "SIZE=";
    if (!header.TempFlags.starts_with(kSizeMark)) {
        header.Size = static_cast<int32_t>(std::min<uint64_t>(file.Size(), INT32_MAX));
        return;
    }
    // A message can bring the text, and who sends one must not take from the sizes of a mailbox.
    header.Size = std::max(ParseLong(std::string_view(header.TempFlags).substr(kSizeMark.size())), 0);
    // Kept: with the size go the flags behind it.
    header.TempFlags.clear();
}

bool TakesName(std::string_view id) { return IsItemFileName(id) && id.size() < sizeof MessageHeader::ItemId; }

bool ReadNewMessage(STOREINDEXTYPE& index, const NewItemFile& file, MessageHeader& header)
{
    const std::string path = ItemFilePath(index.InsertItem, file.id);
    if (path.empty()) return false;
    MessageFile message(path);
    HeaderParseOptions options;
    options.clearTempFlags = file.clearTempFlags;
    if (ReadMessageHeaders(message, header, options) != MessageRead::Whole) return false;
    TakeSize(header, message);
    return true;
}

// The message gets the next UID of the folder, whatever its file says.
bool InsertFile(STOREINDEXTYPE& index, const NewItemFile& file, InsertionHeader& given)
{
    MessageHeader header;
    header.TempFlags = given.TempFlags;
    header.Read = given.Read;
    // A name that is cut would be an item of no file, and the message would never be found again.
    if (!CopyBounded(header.ItemId, file.id)) return false;
    const bool whole = file.readHeaders == 1;
    if (whole && !ReadNewMessage(index, file, header)) return false;

    auto item = std::make_unique<IndexItemPropertyContainer>();
    MessageHeader_SetItemProperties(*item, header, !whole);
    given.TempFlags = std::move(header.TempFlags);
    given.Read = header.Read;
    given.Size = header.Size;
    EnterNewItem(index, std::move(item));
    return true;
}

}  // namespace

constinit const ItemBackend kMailBackend = {
    .extension = "MAI",
    .getProperty = GetProperty,
    .setProperty = SetProperty,
    .scan = Scan,
    .saveItem = SaveItem,
    .deleteItemFile = DeleteItemFile,
    .stampsFromFile = false,
    .scannedByOpen = true,
    .indexGet = IndexGet::Open,
    .rebuild = Rebuild,
    .insertFile = InsertFile,
    .takesName = TakesName,
};

}  // namespace velmora
