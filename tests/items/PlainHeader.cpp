#include "tests/items/PlainHeader.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "items/MessageDate.h"
#include "items/MessageHeader.h"
#include "tests/persistence/FastReader.h"

namespace velmora::test {

namespace {

using Fields = std::map<std::string, std::string>;

constexpr size_t kLongestPiece = 2047;
constexpr size_t kLongestBodyPiece = 2046;
constexpr size_t kMostLines = 201;
constexpr size_t kLongestAddress = 511;
constexpr size_t kLongestSubject = 1023;
constexpr size_t kLongestClass = 127;
constexpr size_t kDateField = 64;
constexpr size_t kPriorityBytes = 64;
constexpr char kItemId[] = "2011A.MAI";
constexpr uint32_t kModified = 1044402176;

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool Begins(std::string_view text, std::string_view name)
{
    return text.size() >= name.size() &&
           std::equal(name.begin(), name.end(), text.begin(), [](char a, char b) { return Lower(a) == Lower(b); });
}

bool Holds(std::string_view text, std::string_view what)
{
    for (size_t at = 0; at < text.size(); ++at)
        if (Begins(text.substr(at), what)) return true;
    return false;
}

bool IsFold(std::string_view line) { return line.starts_with(' ') || line.starts_with('\t'); }

void AddFlag(std::string& list, const std::string& flag)
{
    if (!Holds(list, flag)) list += (list.empty() ? "" : " ") + flag;
}

// A number as a C library of 32 bits reads it.
int32_t Signed(const std::string& text)
{
    return static_cast<int32_t>(std::clamp<long long>(std::strtoll(text.c_str(), nullptr, 10), INT32_MIN, INT32_MAX));
}
uint32_t Unsigned(const std::string& text)
{
    const long long number = std::strtoll(text.c_str(), nullptr, 10);
    return number > UINT32_MAX || number < -static_cast<long long>(UINT32_MAX) ? UINT32_MAX : static_cast<uint32_t>(number);
}

// The next line with its end, or a piece of one.
std::string_view TakePiece(std::string_view& rest, size_t most)
{
    std::string_view piece = rest.substr(0, most);
    if (const size_t end = piece.find('\n'); end != std::string_view::npos) piece = piece.substr(0, end + 1);
    rest.remove_prefix(piece.size());
    return piece;
}

class Reading {
public:
    Reading(std::string_view message, const HeaderCircumstances& circumstances) : circumstances_(circumstances), body_(message)
    {
        SplitLines();
    }

    Fields Run()
    {
        Fields fields;
        fields["HeaderText"] = headerText_;
        fields["To"] = LastOf("To:");
        fields["Cc"] = LastOf("CC:");
        fields["ReplyTo"] = LastOf("reply-to:").substr(0, kLongestAddress);
        fields["Subject"] = LastOf("Subject:").substr(0, kLongestSubject);
        fields["MessageId"] = TextBehind("Message-ID: ").substr(0, kLongestAddress);
        fields["Class"] = TextBehind("X-VL-Class: ").substr(0, kLongestClass);
        Sender(fields);
        Flags(fields);
        Numbers(fields);
        Dates(fields);
        fields["Attachments"] = Attachments() ? "1" : "0";
        return fields;
    }

private:
    // The header's lines without their ends, up to the line that begins with one; `body_` is left behind it.
    void SplitLines()
    {
        for (size_t count = 1; !body_.empty(); ++count) {
            std::string_view piece = TakePiece(body_, kLongestPiece);
            // The line that shows that there are too many is lost.
            if (count > kMostLines) return;
            piece = piece.substr(0, piece.find('\0'));
            headerText_ += piece;
            if (piece.starts_with('\r') || piece.starts_with('\n')) {
                if (headerText_.ends_with("\r\n\r\n")) headerText_.resize(headerText_.size() - 4);
                return;
            }
            if (piece.ends_with("\r\n"))
                piece.remove_suffix(2);
            else if (piece.ends_with('\n'))
                piece.remove_suffix(1);
            lines_.emplace_back(piece);
        }
    }

    static std::string ValueOf(const std::string& line)
    {
        std::string value = line.substr(line.find(':') + 1);
        while (IsFold(value)) value.erase(0, 1);
        return value;
    }

    // The value of line `at` and of the lines that continue it; `at` moves onto the line that ends them, which cannot begin
    // a header of the same name.
    std::string Unfolded(size_t& at) const
    {
        std::string value = ValueOf(lines_[at]);
        while (++at < lines_.size() && IsFold(lines_[at])) value += lines_[at].substr(1);
        return value;
    }

    std::string LastOf(std::string_view name) const
    {
        std::string value;
        for (size_t at = 0; at < lines_.size(); ++at)
            if (Begins(lines_[at], name)) value = Unfolded(at);
        return value;
    }

    std::string TextBehind(std::string_view name) const
    {
        std::string text;
        for (const std::string& line : lines_)
            if (Begins(line, name)) text = line.substr(name.size());
        return text;
    }

    // From: is not followed onto other lines and stands above Sender:, wherever it is, unless it is empty.
    void Sender(Fields& fields) const
    {
        std::string from;
        std::string name;
        bool afterSender = false;  // this line ended a Sender:
        for (size_t at = 0; at < lines_.size(); ++at) {
            const std::string& line = lines_[at];
            if (Begins(line, "From:")) {
                from = ValueOf(line);
                if (from.empty()) name = "Unknown";
            }
            if (Begins(line, "sender:") && from.empty() && !afterSender) {
                from = Unfolded(at);
                --at;
                afterSender = true;
            } else {
                afterSender = false;
            }
        }
        fields["From"] = from.substr(0, kLongestAddress);
        fields["FromName"] = name;
    }

    void Flags(Fields& fields) const
    {
        std::string list = circumstances_.clearTempFlags ? std::string() : circumstances_.tempFlags;
        constexpr std::string_view kFlagLine = "X-VLTempFlags: ";
        fields["Read"] = "0";
        for (const std::string& line : lines_) {
            if (Begins(line, "X-Read: 1")) {
                fields["Read"] = "1";
                AddFlag(list, "\\SEEN");
            }
            if (Begins(line, kFlagLine)) list = line.substr(kFlagLine.size());
        }
        fields["TempFlags"] = list;
    }

    void Numbers(Fields& fields) const
    {
        fields["Uid"] = "0";
        fields["Importance"] = "3";
        for (const std::string& line : lines_) {
            constexpr std::string_view kPriorityLine = "X-Priority: ";
            constexpr std::string_view kUidLine = "X-UID: ";
            if (Begins(line, kPriorityLine)) {
                const int32_t priority = Signed(line.substr(kPriorityLine.size(), kPriorityBytes));
                fields["Importance"] = std::to_string(priority < 1 ? 3 : priority);
            }
            const size_t dot = line.find('.', kUidLine.size());
            if (!circumstances_.honourUid || !Begins(line, kUidLine) || dot == std::string::npos) continue;
            if (Unsigned(line.substr(kUidLine.size(), dot - kUidLine.size())) == circumstances_.folderUid)
                fields["Uid"] = std::to_string(Signed(line.substr(dot + 1)));
        }
    }

    // How a date reads is no matter of the header: the library's own word is taken.
    static bool ReadDate(const std::string& text, std::string& date)
    {
        char field[kDateField];
        if (!ParseMessageDate(text, field, sizeof field)) return false;
        date = field;
        return true;
    }

    // The first Received: line with a date says when; before the first of them a Date: line does.
    void Dates(Fields& fields) const
    {
        constexpr std::string_view kDateLine = "Date: ";
        std::string& date = fields["MessageDate"];
        std::string& received = fields["Received"];
        for (const std::string& line : lines_) {
            if (Begins(line, kDateLine) && ReadDate(line.substr(kDateLine.size()), date) && received.empty()) received = date;
            const size_t mark = line.find("; ", std::string_view("Received: ").size());
            if (Begins(line, "Received: ") && mark != std::string::npos && received.empty()) ReadDate(line.substr(mark + 2), received);
        }
    }

    bool Attachments() const
    {
        bool attachments = false;
        bool told = false;
        for (const std::string& line : lines_) {
            if (Begins(line, "Content-Type: ")) attachments = Begins(line, "Content-Type: multipart/mixed");
            if (Begins(line, "Content-Disposition: attachment")) attachments = told = true;
        }
        if (!attachments || told) return attachments;
        for (std::string_view rest = body_; !rest.empty();)
            if (Begins(TakePiece(rest, kLongestBodyPiece), "Content-Disposition: attachment")) return true;
        return false;
    }

    const HeaderCircumstances& circumstances_;
    std::string_view body_;
    std::string headerText_;
    std::vector<std::string> lines_;
};

// The columns that follow the file of a known item.
Fields NewsOf(const Fields& fields)
{
    return {{"MESSAGEDATE", fields.at("MessageDate")},
            {"SUBJECT", fields.at("Subject")},
            {"RECEIVED", fields.at("Received")},
            {"MODIFIEDDATE", std::to_string(kModified)},
            {"ATTACHMENTS", fields.at("Attachments")},
            {"READ", fields.at("Read")},
            {"SIZE", fields.at("Size")}};
}

Fields ColumnsOf(const Fields& fields)
{
    std::string flags = fields.at("TempFlags");
    if (flags.empty())
        flags = "\\RECENT";
    else
        AddFlag(flags, fields.at("Read") == "1" ? "\\SEEN" : "\\RECENT");
    Fields columns = NewsOf(fields);
    columns.insert({{"ID", kItemId},
                    {"UID", fields.at("Uid")},
                    {"IMPORTANCE", fields.at("Importance")},
                    {"FLAGSTATUS", flags},
                    {"FROM", fields.at("From")},
                    {"TO", fields.at("To")},
                    {"CC", fields.at("Cc")},
                    {"STATE", "0"},
                    {"CLASS", fields.at("Class")}});
    return columns;
}

MessageHeader Parse(std::string_view message, const HeaderCircumstances& circumstances)
{
    MessageHeader header;
    MessageHeader_Reset(header);
    header.FolderUid = circumstances.folderUid;
    header.TempFlags = circumstances.tempFlags;
    DripSource source(message, circumstances.step);
    ParseMessageHeaders(source, header, {circumstances.clearTempFlags, circumstances.honourUid});
    std::string_view(kItemId).copy(header.ItemId, sizeof header.ItemId - 1);
    header.ModifiedDate = kModified;
    header.Size = static_cast<int32_t>(message.size());
    return header;
}

Fields FieldsOf(const MessageHeader& header)
{
    return {{"HeaderText", header.HeaderText},
            {"To", header.To},
            {"Cc", header.Cc},
            {"From", header.From},
            {"FromName", header.FromName},
            {"ReplyTo", header.ReplyTo},
            {"MessageId", header.MessageId},
            {"Attachments", std::to_string(header.Attachments)},
            {"Received", header.Received},
            {"MessageDate", header.MessageDate},
            {"Subject", header.Subject},
            {"Read", std::to_string(header.Read)},
            {"Size", std::to_string(header.Size)},
            {"Class", header.Class},
            {"TempFlags", header.TempFlags},
            {"Importance", std::to_string(header.Importance)},
            {"Uid", std::to_string(header.Uid)}};
}

Fields PropertiesOf(const IndexItemPropertyContainer& item)
{
    Fields properties;
    item.CopyTo(properties);
    return properties;
}

std::string Difference(const std::string& what, const Fields& expected, const Fields& actual)
{
    for (const auto& [name, value] : expected) {
        const auto found = actual.find(name);
        if (found == actual.end()) return what + ": no " + name;
        if (found->second != value) return what + ": " + name + " is (" + found->second + ") and not (" + value + ")";
    }
    for (const auto& [name, value] : actual)
        if (!expected.contains(name)) return what + ": " + name + " is (" + value + ") and should not be there";
    return {};
}

}  // namespace

HeaderReading ReadHeaderPlainly(std::string_view message, const HeaderCircumstances& circumstances)
{
    HeaderReading reading;
    reading.fields = Reading(message, circumstances).Run();
    reading.fields["Size"] = std::to_string(message.size());
    reading.columns = ColumnsOf(reading.fields);
    return reading;
}

std::string HeaderDisagreement(std::string_view message, const HeaderCircumstances& circumstances)
{
    const HeaderReading plain = ReadHeaderPlainly(message, circumstances);
    MessageHeader header = Parse(message, circumstances);
    if (const std::string wrong = Difference("header", plain.fields, FieldsOf(header)); !wrong.empty()) return wrong;

    IndexItemPropertyContainer known;
    MessageHeader_SetItemProperties(known, header, true);
    const Fields identity = {{"ID", kItemId}, {"UID", plain.fields.at("Uid")}};
    if (const std::string wrong = Difference("identity", identity, PropertiesOf(known)); !wrong.empty()) return wrong;
    MessageHeader_RefreshItemProperties(known, header);
    Fields news = NewsOf(plain.fields);
    news.insert(identity.begin(), identity.end());
    if (const std::string wrong = Difference("known item", news, PropertiesOf(known)); !wrong.empty()) return wrong;

    IndexItemPropertyContainer item;
    MessageHeader_SetItemProperties(item, header, false);
    return Difference("item", plain.columns, PropertiesOf(item));
}

}  // namespace velmora::test
