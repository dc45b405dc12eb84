// The header block of a mail message, and what an index keeps of it.
//
// A message is RFC 822 text as a delivery agent wrote it, with LF or CR LF, possibly with private lines: X-UID, X-VL-Class,
// X-VLTempFlags, X-Read. The parser takes bytes and gives values, and refuses nothing; one function below opens a file for
// it. It takes headers from the first 201 lines at most, in pieces of 2,047 bytes, and ends a line at its first zero byte,
// as text in C does. What lies behind is read only for a multipart/mixed message, in search of an attachment.
#ifndef VELMORA_ITEMS_MESSAGEHEADER_H
#define VELMORA_ITEMS_MESSAGEHEADER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "index/IndexItem.h"
#include "persistence/StreamIndexReader.h"

namespace velmora {

class LineReader;
class MessageFile;

inline constexpr int32_t kDefaultImportance = 3;

// The result of one parse. Fixed fields are zero-terminated and cut at their size; header texts stand as they were
// written, encoded words not decoded.
struct MessageHeader {
    std::string HeaderText;  // the raw block, with no size limit
    std::string To;
    std::string Cc;
    char From[512] = {};
    char FromName[512] = {};  // "Unknown" when a From: header was empty
    char ReplyTo[512] = {};
    char MessageId[512] = {};
    char ItemId[64] = {};       // the file name
    int32_t Attachments = 0;    // 1 or 0
    char Received[64] = {};     // ISO text
    char MessageDate[64] = {};  // ISO text
    char Subject[1024] = {};
    int32_t Read = 0;  // 1 after a line "X-Read: 1"
    int32_t Size = 0;  // bytes
    char Class[128] = {};
    std::string TempFlags;
    uint32_t FolderUid = 0;  // set by the caller before a parse: whose X-UID lines are to be believed
    int32_t Importance = kDefaultImportance;
    int32_t Uid = 0;            // from the file; 0 none
    uint32_t ModifiedDate = 0;  // last write of the file in DOS form; set by the parse of a file
};

// Empties all texts, Read, Size and Importance; the other numbers are the callers'.
void MessageHeader_Reset(MessageHeader& header);

struct HeaderParseOptions {
    bool clearTempFlags = false;  // TempFlags starts empty instead of with what the caller put there
    bool honourUid = false;       // X-UID lines count
};

// Parses from the start of a message. Fields whose header is missing keep what they had, except Uid and Attachments,
// which start at 0.
void ParseMessageHeaders(ByteSource& message, MessageHeader& header, const HeaderParseOptions& options);

enum class MessageRead {
    Whole,
    NoMessage,    // it is not there, or no plain file
    Interrupted,  // it cannot be opened now, or a read of it failed: another time may do better
};
// The same on a file, with its last write in ModifiedDate. What `header` holds is of no use unless the answer is Whole; a
// file that is not opened changes nothing in it.
[[nodiscard]] MessageRead ReadMessageHeaders(const std::string& path, MessageHeader& header, const HeaderParseOptions& options);
[[nodiscard]] MessageRead ReadMessageHeaders(MessageFile& file, MessageHeader& header, const HeaderParseOptions& options);

// Whether a line of the rest begins "Content-Disposition: attachment", in any case.
bool BodyHasAttachment(LineReader& rest);

// Adds a flag to a blank-separated list, with a backslash in front unless it holds one. False when the list holds that
// text already, anywhere and in any case.
bool AddFlagStatus(std::string& list, std::string_view flag);

// Writes a mail item's columns, ID and UID alone with `identityOnly`. FLAGSTATUS is built in TempFlags of `header`.
void MessageHeader_SetItemProperties(IndexItemPropertyContainer& item, MessageHeader& header, bool identityOnly);

// Writes the columns that follow the file of an item that is known already: MESSAGEDATE, SUBJECT, RECEIVED,
// MODIFIEDDATE, ATTACHMENTS, READ, SIZE. Flags, addresses and the UID stay.
void MessageHeader_RefreshItemProperties(IndexItemPropertyContainer& item, const MessageHeader& header);

// Whether an item has none of the texts that a message gives it.
bool MessageHeader_IsMissingFrom(const IndexItemPropertyContainer& item);
// Writes every column of such an item. ID and UID stay.
void MessageHeader_CompleteItemProperties(IndexItemPropertyContainer& item, MessageHeader& header);

}  // namespace velmora

#endif
