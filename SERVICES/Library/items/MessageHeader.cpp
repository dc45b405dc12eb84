#include "items/MessageHeader.h"

#include <algorithm>
#include <iterator>

#include "common/FileManagement.h"
#include "common/Text.h"
#include "items/MessageFile.h"

namespace velmora {

namespace {

// Where each column of a mail item lies, looked up once a process.
struct MailColumns {
    IndexPropertyRef id = IndexPropertyTable::LookUp(kId);
    IndexPropertyRef uid = IndexPropertyTable::LookUp(kUid);
    IndexPropertyRef messageDate = IndexPropertyTable::LookUp("MESSAGEDATE");
    IndexPropertyRef modifiedDate = IndexPropertyTable::LookUp(kModifiedDate);
    IndexPropertyRef importance = IndexPropertyTable::LookUp("IMPORTANCE");
    IndexPropertyRef flagStatus = IndexPropertyTable::LookUp(kFlagStatus);
    IndexPropertyRef attachments = IndexPropertyTable::LookUp("ATTACHMENTS");
    IndexPropertyRef from = IndexPropertyTable::LookUp("FROM");
    IndexPropertyRef to = IndexPropertyTable::LookUp("TO");
    IndexPropertyRef cc = IndexPropertyTable::LookUp("CC");
    IndexPropertyRef subject = IndexPropertyTable::LookUp("SUBJECT");
    IndexPropertyRef received = IndexPropertyTable::LookUp("RECEIVED");
    IndexPropertyRef read = IndexPropertyTable::LookUp(kRead);
    IndexPropertyRef state = IndexPropertyTable::LookUp("STATE");
    IndexPropertyRef itemClass = IndexPropertyTable::LookUp("CLASS");
    IndexPropertyRef size = IndexPropertyTable::LookUp(kSize);
};

const MailColumns& Columns()
{
    static const MailColumns columns;
    return columns;
}

// The list that FLAGSTATUS holds: what came with the message and whether it was read, or just "\RECENT".
// Kept: with an empty list a message that was read is "\RECENT" all the same; READ alone tells.
std::string_view BuildFlagStatus(MessageHeader& header)
{
    if (header.TempFlags.empty()) return "\\RECENT";
    AddFlagStatus(header.TempFlags, header.Read == 1 ? "SEEN" : "RECENT");
    return header.TempFlags;
}

// Memory for every column in one piece.
void ReserveForAll(IndexItemPropertyContainer& item, const MessageHeader& header)
{
    constexpr size_t kColumns = 16;
    constexpr size_t kNumbers = 6 * 12;  // MODIFIEDDATE, IMPORTANCE, ATTACHMENTS, SIZE, and SEQ behind them; STATE
    constexpr size_t kFlag = 8;          // "RECENT" or "SEEN", which may still be added
    const auto length = [](const char* text) { return std::string_view(text).size(); };
    item.ReserveTexts(kColumns, kNumbers + kFlag + header.TempFlags.size() + header.To.size() + header.Cc.size() + length(header.ItemId) +
                                    length(header.MessageDate) + length(header.From) + length(header.Subject) + length(header.Received) +
                                    length(header.Class));
}

}  // namespace

void MessageHeader_Reset(MessageHeader& header)
{
    header.HeaderText.clear();
    header.To.clear();
    header.Cc.clear();
    header.TempFlags.clear();
    for (char* field : {header.From, header.FromName, header.ReplyTo, header.MessageId, header.ItemId, header.Received, header.MessageDate,
                        header.Subject, header.Class}) {
        field[0] = '\0';
    }
    header.Read = 0;
    header.Size = 0;
    header.Importance = kDefaultImportance;
}

MessageRead ReadMessageHeaders(const std::string& path, MessageHeader& header, const HeaderParseOptions& options)
{
    MessageFile file(path);
    return ReadMessageHeaders(file, header, options);
}

MessageRead ReadMessageHeaders(MessageFile& file, MessageHeader& header, const HeaderParseOptions& options)
{
    if (!file.IsOpen()) {
        const uint32_t error = file.OpenError();
        return error == 0 || NamesNothing(error) ? MessageRead::NoMessage : MessageRead::Interrupted;
    }
    header.ModifiedDate = file.DosLastWrite();
    ParseMessageHeaders(static_cast<ByteSource&>(file), header, options);
    return file.Failed() ? MessageRead::Interrupted : MessageRead::Whole;
}

bool AddFlagStatus(std::string& list, std::string_view flag)
{
    std::string spelled;
    if (flag.find('\\') == std::string_view::npos) spelled = '\\';
    spelled += flag;
    // Kept: the text is looked for anywhere, so that a longer flag that begins with it hides it.
    if (ContainsNoCase(list, spelled)) return false;
    if (!list.empty()) list += ' ';
    list += spelled;
    return true;
}

void MessageHeader_SetItemProperties(IndexItemPropertyContainer& item, MessageHeader& header, bool identityOnly)
{
    const MailColumns& columns = Columns();
    if (!identityOnly) ReserveForAll(item, header);
    item.SetText(columns.id, header.ItemId);
    item.SetNumber(columns.uid, header.Uid);
    if (!identityOnly) {
        item.SetText(columns.messageDate, header.MessageDate);
        item.SetText(columns.modifiedDate, FormatSigned(header.ModifiedDate));
        item.SetNumber(columns.importance, header.Importance);
        item.SetText(columns.flagStatus, BuildFlagStatus(header));
        item.SetNumber(columns.attachments, header.Attachments);
        item.SetText(columns.from, header.From);
        item.SetText(columns.to, header.To);
        item.SetText(columns.cc, header.Cc);
        item.SetText(columns.subject, header.Subject);
        item.SetText(columns.received, header.Received);
        item.SetNumber(columns.read, header.Read);
        item.SetText(columns.state, "0");
        item.SetText(columns.itemClass, header.Class);
        item.SetNumber(columns.size, header.Size);
    }
    MarkItemChanged(item);
}

void MessageHeader_RefreshItemProperties(IndexItemPropertyContainer& item, const MessageHeader& header)
{
    const MailColumns& columns = Columns();
    item.SetText(columns.messageDate, header.MessageDate);
    item.SetText(columns.subject, header.Subject);
    item.SetText(columns.received, header.Received);
    item.SetText(columns.modifiedDate, FormatSigned(header.ModifiedDate));
    item.SetNumber(columns.attachments, header.Attachments);
    // Kept: READ is what the file says, while the flags of the index stay, also where they say otherwise.
    item.SetNumber(columns.read, header.Read);
    item.SetNumber(columns.size, header.Size);
    MarkItemChanged(item);
}

bool MessageHeader_IsMissingFrom(const IndexItemPropertyContainer& item)
{
    const MailColumns& columns = Columns();
    const IndexPropertyRef texts[] = {columns.messageDate, columns.modifiedDate, columns.flagStatus, columns.from,  columns.to,
                                      columns.cc,          columns.subject,      columns.received,   columns.state, columns.itemClass};
    return std::none_of(std::begin(texts), std::end(texts), [&](IndexPropertyRef column) { return item.Has(column); });
}

void MessageHeader_CompleteItemProperties(IndexItemPropertyContainer& item, MessageHeader& header)
{
    const MailColumns& columns = Columns();
    MessageHeader_RefreshItemProperties(item, header);
    item.SetNumber(columns.importance, header.Importance);
    item.SetText(columns.flagStatus, BuildFlagStatus(header));
    item.SetText(columns.from, header.From);
    item.SetText(columns.to, header.To);
    item.SetText(columns.cc, header.Cc);
    item.SetText(columns.state, "0");
    item.SetText(columns.itemClass, header.Class);
}

}  // namespace velmora
