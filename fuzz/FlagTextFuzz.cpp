// Flag texts of any bytes: lists that flags are added to, the line of a message that brings flags, what an index item keeps
// of them and what a folder's counts make of them. The rules stand here a second time, in the plainest form.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzedChoices.h"
#include "items/MessageHeader.h"
#include "persistence/StreamIndexReader.h"
#include "tests/index/TestTable.h"

using namespace velmora;
using namespace velmora::test;

namespace {

constexpr size_t kLongestLine = 2047;  // a longer line arrives in pieces
constexpr std::string_view kLineName = "X-VLTempFlags: ";

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool Holds(std::string_view text, std::string_view what)
{
    for (size_t at = 0; at + what.size() <= text.size(); ++at) {
        size_t same = 0;
        while (same < what.size() && Lower(text[at + same]) == Lower(what[same])) ++same;
        if (same == what.size()) return true;
    }
    return false;
}

bool PlainAdd(std::string& list, const std::string& flag)
{
    const std::string spelled = flag.find('\\') == std::string::npos ? "\\" + flag : flag;
    if (Holds(list, spelled)) return false;
    list += (list.empty() ? "" : " ") + spelled;
    return true;
}

void Lists(Choices& choices)
{
    const char* const known[] = {"SEEN", "\\SEEN", "recent", "FLAGGED", "ANSWERED", "", "\\", " ", "SEE"};
    std::string list = choices.Bytes(40);
    std::string plain = list;
    for (uint32_t count = choices.Below(8); count > 0; --count) {
        const std::string flag = choices.OneIn(2) ? choices.Pick(known) : choices.Bytes(12);
        const bool added = AddFlagStatus(list, flag);
        if (added != PlainAdd(plain, flag) || list != plain) Require("a list became (" + list + ") and not (" + plain + ")");
    }
}

// The flags of one message, by way of its header.
std::string FlagsOfMessage(const std::string& text, bool read)
{
    const std::string message = (read ? "X-Read: 1\r\n" : "") + std::string(kLineName) + text + "\r\n\r\n";
    MemorySource source(message);
    MessageHeader header;
    ParseMessageHeaders(source, header, {false, false});
    IndexItemPropertyContainer item;
    MessageHeader_SetItemProperties(item, header, false);
    std::string flags;
    item.GetText(kFlagStatus, flags);
    return flags;
}

// X-Read stands before the flags here, so what it adds to the list is replaced; that the message was read stays.
std::string PlainFlagsOfMessage(const std::string& text, bool read)
{
    std::string line = (std::string(kLineName) + text + "\r\n").substr(0, kLongestLine);
    line = line.substr(0, line.find('\n') + 1);
    // A zero byte ends the line before its line end, which then is not there to be left out.
    line = line.substr(0, line.find('\0'));
    if (line.ends_with("\r\n")) line.resize(line.size() - 2);
    std::string list = line.substr(kLineName.size());
    if (list.empty()) return "\\RECENT";
    PlainAdd(list, read ? "SEEN" : "RECENT");
    return list;
}

void Messages(Choices& choices)
{
    const bool read = choices.OneIn(2);
    std::string text = choices.Bytes(60);
    // One line of flags: what stands behind a line end is a header of its own, and a long line is several.
    text = text.substr(0, text.find('\n'));
    while (text.ends_with('\r')) text.pop_back();
    const std::string flags = FlagsOfMessage(text, read);
    const std::string plain = PlainFlagsOfMessage(text, read);
    if (flags != plain) Require("a message has (" + flags + ") and not (" + plain + ")");
}

// What a host writes into the flags of items, and the folder's counts of it.
void Counts(Choices& choices)
{
    TestTable table;
    uint32_t expected[13] = {};
    for (uint32_t count = choices.Below(6); count > 0; --count) {
        IndexItemPropertyContainer* const item = Add(table, "item " + std::to_string(count));
        std::string flags = choices.Bytes(30);
        const char* const known[] = {"\\seen", "\\FLAGGED", "\\Answered", "\\RECENT"};
        while (choices.OneIn(3)) flags.append(" ").append(choices.Pick(known));
        SetItemProperty(*item, kFlagStatus, flags);
        const bool seen = Holds(flags, "\\SEEN");
        if (TextOf(*item, kRead) != (seen ? "1" : "0")) Require("READ does not follow (" + flags + ")");
        expected[3] += Holds(flags, "\\ANSWERED");
        expected[4] += Holds(flags, "\\FLAGGED");
        ++expected[6];
        if (seen && expected[5] == 0) expected[5] = expected[6];
        expected[7] += seen;
        expected[8] += Holds(flags, "\\RECENT");
    }
    expected[11] = table.LastUID;
    uint32_t details[13] = {};
    if (GetFolderDetails(table, details) != 1) Require("no counts");
    for (size_t word = 0; word < 13; ++word)
        if (details[word] != expected[word]) Require("count " + std::to_string(word) + " is " + std::to_string(details[word]));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedChoices choices(data, size);
    Lists(choices);
    Messages(choices);
    Counts(choices);
    return 0;
}
