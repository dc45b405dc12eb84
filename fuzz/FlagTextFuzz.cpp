// Flag texts of any bytes: lists that flags are added to, changes of lists, the line of a message that brings flags, what an
// index item keeps of them and what a full count makes of them. The rules stand here a second time, in the plainest form.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzedChoices.h"
#include "index/FlagChanges.h"
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

std::vector<std::string> Split(const std::string& text, char end)
{
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == end)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

bool Same(std::string_view a, std::string_view b) { return a.size() == b.size() && Holds(a, b); }

void PlainTake(std::string& list, const std::string& flag)
{
    std::string kept;
    size_t flags = 0;
    for (std::string present : Split(list, ' ')) {
        if (present.empty() || flags == 1000) continue;
        ++flags;
        if (present.size() > 255) present.resize(255);
        if (!Same(present, flag)) kept += (kept.empty() ? "" : " ") + present;
    }
    list = kept;
}

bool PlainChange(std::string& list, const std::string& change)
{
    const size_t blank = change.find(' ');
    std::vector<std::string> tokens{change.substr(0, blank)};
    if (blank != std::string::npos)
        for (const std::string& token : Split(change.substr(blank + 1), ',')) tokens.push_back(token);
    const char first = tokens[0].empty() ? ' ' : tokens[0][0];
    if (first != '+' && first != '-') list.clear();
    bool changed = false;
    for (const std::string& token : tokens) {
        const char sign = token.empty() ? ' ' : token[0];
        const std::string flag = sign == '+' || sign == '-' ? token.substr(1) : token;
        const std::string spelled = !flag.empty() && flag[0] == '\\' ? flag : "\\" + flag;
        if (sign == '-') {
            PlainTake(list, spelled);
            changed = true;
        } else if (!Holds(list, flag)) {
            list += (list.empty() ? "" : " ") + spelled;
            changed = true;
        }
    }
    return changed;
}

void Changes(Choices& choices)
{
    const char* const known[] = {"SEEN", "\\SEEN", "+SEEN", "-seen", "+\\FLAGGED", "-", "+", " ", ",", "  ", "ANSWERED", "-\\Recent"};
    std::string list = choices.Bytes(40);
    if (choices.OneIn(8)) list += std::string(choices.Below(600), 'f');
    if (choices.OneIn(16))
        for (uint32_t flags = choices.Below(1100); flags > 0; --flags) list += " x";
    std::string plain = list;
    for (uint32_t count = choices.Below(4); count > 0; --count) {
        std::string change;
        for (uint32_t parts = choices.Below(6); parts > 0; --parts) change += choices.OneIn(2) ? choices.Pick(known) : choices.Bytes(12);
        const bool changed = ApplyFlagChanges(list, change);
        if (changed != PlainChange(plain, change) || list != plain)
            Require("with (" + change + ") the flags became (" + list + ") and not (" + plain + ")");
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
    Changes(choices);
    return 0;
}
