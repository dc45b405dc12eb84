// The header lines of a message: one table of rows and one loop over it.
#include <array>
#include <cstring>

#include "common/Text.h"
#include "items/LineReader.h"
#include "items/MessageDate.h"
#include "items/MessageHeader.h"

namespace velmora {

namespace {

constexpr size_t kHeaderPieceBytes = 2047;
constexpr size_t kBodyPieceBytes = 2046;
constexpr uint32_t kMaxHeaderLines = 201;
constexpr size_t kUsualHeaderBytes = 2048;
constexpr size_t kPriorityBytes = 64;
constexpr std::string_view kDispositionName = "Content-Disposition: ";
constexpr std::string_view kAttachmentValue = "attachment";

struct ParseState {
    MessageHeader& header;
    const HeaderParseOptions& options;
    bool dispositionSettled = false;
    bool dateRead = false;  // the last Date line gave MessageDate its value
};

// A header line: where it begins, what it does, and what its continuation lines do (null: they are not followed).
struct HeaderRow {
    std::string_view name;
    // `value` is the text after the first colon with leading blanks skipped, `rest` the text behind the name. True when
    // continuation lines are to be followed.
    bool (*take)(ParseState& state, std::string_view value, std::string_view rest);
    void (*fold)(MessageHeader& header, std::string_view text);
};

bool TakeTo(ParseState& state, std::string_view value, std::string_view)
{
    state.header.To = value;
    return true;
}
void FoldTo(MessageHeader& header, std::string_view text) { header.To += text; }

bool TakeCc(ParseState& state, std::string_view value, std::string_view)
{
    state.header.Cc = value;
    return true;
}
void FoldCc(MessageHeader& header, std::string_view text) { header.Cc += text; }

bool TakeReplyTo(ParseState& state, std::string_view value, std::string_view)
{
    CopyBounded(state.header.ReplyTo, value);
    return true;
}
void FoldReplyTo(MessageHeader& header, std::string_view text) { AppendBounded(header.ReplyTo, text); }

bool TakeSender(ParseState& state, std::string_view value, std::string_view)
{
    if (state.header.From[0] != '\0') return false;
    CopyBounded(state.header.From, value);
    return true;
}
void FoldSender(MessageHeader& header, std::string_view text) { AppendBounded(header.From, text); }

bool TakeSubject(ParseState& state, std::string_view value, std::string_view)
{
    CopyBounded(state.header.Subject, value);
    return true;
}
void FoldSubject(MessageHeader& header, std::string_view text) { AppendBounded(header.Subject, text); }

// Kept: alone among the addresses it is not followed onto continuation lines.
bool TakeFrom(ParseState& state, std::string_view value, std::string_view)
{
    CopyBounded(state.header.From, value);
    if (value.empty()) CopyBounded(state.header.FromName, "Unknown");
    return false;
}

bool TakeRead(ParseState& state, std::string_view, std::string_view)
{
    state.header.Read = 1;
    AddFlagStatus(state.header.TempFlags, "SEEN");
    return false;
}

// "X-UID: <folder's unique id>.<uid>". Kept: a line without a dot is ignored by design.
bool TakeUid(ParseState& state, std::string_view, std::string_view rest)
{
    const size_t dot = rest.find('.');
    if (!state.options.honourUid || dot == std::string_view::npos) return false;
    if (ParseUnsigned(rest.substr(0, dot), 10) == state.header.FolderUid) state.header.Uid = ParseLong(rest.substr(dot + 1));
    return false;
}

bool TakeClass(ParseState& state, std::string_view, std::string_view rest)
{
    CopyBounded(state.header.Class, rest);
    return false;
}

// Kept: replaces the list, so a flag that X-Read added before is lost.
bool TakeTempFlags(ParseState& state, std::string_view, std::string_view rest)
{
    state.header.TempFlags = rest;
    return false;
}

bool TakePriority(ParseState& state, std::string_view, std::string_view rest)
{
    const int32_t priority = ParseLong(rest.substr(0, kPriorityBytes));
    state.header.Importance = priority < 1 ? kDefaultImportance : priority;
    return false;
}

// A date that cannot be read leaves its field as it is.
bool TakeDate(ParseState& state, std::string_view, std::string_view rest)
{
    state.dateRead = ParseMessageDate(rest, state.header.MessageDate, sizeof state.header.MessageDate);
    return false;
}

bool TakeMessageId(ParseState& state, std::string_view, std::string_view rest)
{
    CopyBounded(state.header.MessageId, rest);
    return false;
}

// Kept: every such line decides anew, also against an attachment that a disposition before it has settled.
bool TakeContentType(ParseState& state, std::string_view, std::string_view rest)
{
    state.header.Attachments = BeginsNoCase(rest, "multipart/mixed") ? 1 : 0;
    return false;
}

bool TakeDisposition(ParseState& state, std::string_view, std::string_view rest)
{
    if (!BeginsNoCase(rest, kAttachmentValue)) return false;
    state.header.Attachments = 1;
    state.dispositionSettled = true;
    return false;
}

// Kept: a line whose date is folded to the next one gives none; the next Received line has its turn.
bool TakeReceived(ParseState& state, std::string_view, std::string_view rest)
{
    MessageHeader& header = state.header;
    const size_t mark = rest.find("; ");
    if (header.Received[0] == '\0' && mark != std::string_view::npos)
        (void)!ParseMessageDate(rest.substr(mark + 2), header.Received, sizeof header.Received);
    return false;
}

// Tried right behind the other Date row, on the same line.
bool TakeDateAsReceived(ParseState& state, std::string_view, std::string_view)
{
    MessageHeader& header = state.header;
    if (header.Received[0] == '\0' && state.dateRead) CopyBounded(header.Received, header.MessageDate);
    return false;
}

// In the order in which a line is tried. Names compare without case, to the last byte given here.
constexpr std::array<HeaderRow, 17> kRows = {{
    {"To:", TakeTo, FoldTo},
    {"CC:", TakeCc, FoldCc},
    {"reply-to:", TakeReplyTo, FoldReplyTo},
    {"sender:", TakeSender, FoldSender},
    {"Subject:", TakeSubject, FoldSubject},
    {"From:", TakeFrom, nullptr},
    {"X-Read: 1", TakeRead, nullptr},
    {"X-UID: ", TakeUid, nullptr},
    {"X-VL-Class: ", TakeClass, nullptr},
    {"X-VLTempFlags: ", TakeTempFlags, nullptr},
    {"X-Priority: ", TakePriority, nullptr},
    {"Date: ", TakeDate, nullptr},
    {"Message-ID: ", TakeMessageId, nullptr},
    {"Content-Type: ", TakeContentType, nullptr},
    {kDispositionName, TakeDisposition, nullptr},
    {"Received: ", TakeReceived, nullptr},
    {"Date: ", TakeDateAsReceived, nullptr},
}};

bool IsFold(std::string_view line) { return !line.empty() && (line[0] == ' ' || line[0] == '\t'); }

bool BeginsWithLineEnd(std::string_view line) { return !line.empty() && (line[0] == '\r' || line[0] == '\n'); }

// One CR LF pair, or one LF.
std::string_view WithoutLineEnd(std::string_view line)
{
    if (!line.ends_with('\n')) return line;
    line.remove_suffix(1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

std::string_view ValueOf(std::string_view line)
{
    std::string_view value = line.substr(line.find(':') + 1);
    while (IsFold(value)) value.remove_prefix(1);
    return value;
}

class HeaderLines {
public:
    HeaderLines(MessageHeader& header, const HeaderParseOptions& options) : state_{header, options} {}

    // Takes one line without its end.
    void Take(std::string_view line);

    // The message calls itself multipart/mixed and no header told whether it has attachments.
    bool NeedBodyTest() const { return state_.header.Attachments == 1 && !state_.dispositionSettled; }

private:
    ParseState state_;
    const HeaderRow* open_ = nullptr;  // the header whose continuation lines may follow
};

void HeaderLines::Take(std::string_view line)
{
    // Kept: the line that ends a continuation is not tried as a header of that same name.
    const HeaderRow* const ended = open_;
    if (open_ && IsFold(line)) {
        open_->fold(state_.header, line.substr(1));
        return;
    }
    open_ = nullptr;
    if (line.empty()) return;
    const char first = LowerAscii(line[0]);
    for (const HeaderRow& row : kRows) {
        if (LowerAscii(row.name[0]) != first || &row == ended || !BeginsNoCase(line, row.name)) continue;
        if (row.take(state_, ValueOf(line), line.substr(row.name.size())) && row.fold) open_ = &row;
    }
}

}  // namespace

void ParseMessageHeaders(ByteSource& message, MessageHeader& header, const HeaderParseOptions& options)
{
    header.Uid = 0;
    header.Attachments = 0;
    if (options.clearTempFlags) header.TempFlags.clear();
    if (header.HeaderText.capacity() < kUsualHeaderBytes) header.HeaderText.reserve(kUsualHeaderBytes);

    LineReader reader(message);
    HeaderLines lines(header, options);
    std::string_view piece;
    for (uint32_t count = 1; reader.Next(kHeaderPieceBytes, piece) && count <= kMaxHeaderLines; ++count) {
        const std::string_view line = piece.substr(0, piece.find('\0'));
        header.HeaderText += line;
        if (BeginsWithLineEnd(line)) {
            // Only the blank line itself can complete an empty line, so the first one is at the end.
            if (header.HeaderText.ends_with("\r\n\r\n")) header.HeaderText.resize(header.HeaderText.size() - 4);
            break;
        }
        lines.Take(WithoutLineEnd(line));
    }
    if (lines.NeedBodyTest()) header.Attachments = BodyHasAttachment(reader) ? 1 : 0;
}

bool BodyHasAttachment(LineReader& rest)
{
    std::string_view piece;
    while (rest.Next(kBodyPieceBytes, piece)) {
        if (BeginsNoCase(piece, kDispositionName) && BeginsNoCase(piece.substr(kDispositionName.size()), kAttachmentValue)) return true;
    }
    return false;
}

}  // namespace velmora
