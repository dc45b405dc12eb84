#include "tests/persistence/AnyItem.h"

#include <algorithm>

namespace velmora::test {

namespace {

constexpr std::string_view kTexts[] = {"&",
                                       "<",
                                       ">",
                                       "\"",
                                       "&#",
                                       "&#x",
                                       ";",
                                       "&lt;",
                                       "&amp;lt;",
                                       "&#38;#60;",
                                       "\r\n",
                                       "\r",
                                       "\n",
                                       "-",
                                       "--",
                                       " ",
                                       "</ELEMENT>",
                                       "<ELEMENT ID=\"a\" UID=\"1\">",
                                       "</BASEELEMENT>\r\n",
                                       "<BASEELEMENT LASTUID=\"x00000001\">",
                                       "</SUBJECT>",
                                       "\\SEEN \\FLAGGED",
                                       "plain text",
                                       std::string_view("\0", 1),
                                       "\x7f\x80\xff"};

// Around the ends of the reader's buffers of 1,024 and 8,192 bytes.
constexpr uint32_t kLengths[] = {1021, 1023, 1024, 2046, 8180, 8191, 8192, 8193};

std::string Long(Choices& choices)
{
    const auto length = choices.Pick(kLengths) + choices.Below(8);
    // Mostly of a byte that stands for itself: the plain reader goes over a text again for each one that does not.
    return std::string(length, choices.OneIn(8) ? static_cast<char>(choices.Below(256)) : 'v');
}

// What would end a list entry or a C string, or stand for all items.
bool IsMarkOfLists(char c) { return c == '"' || c == '>' || c == ',' || c == '*' || c == '\0'; }

}  // namespace

std::string AnyValue(Choices& choices)
{
    std::string value;
    for (uint32_t pieces = choices.Below(4); pieces > 0; --pieces) {
        if (choices.OneIn(12))
            value += Long(choices);
        else if (choices.OneIn(2))
            value += choices.Pick(kTexts);
        else
            value += choices.Bytes(40);
    }
    return value;
}

std::string AnyValueOf(std::string_view column, Choices& choices)
{
    return column == "READ" ? std::to_string(choices.Below(2)) : AnyValue(choices);
}

const std::vector<std::string>& WrittenColumns()
{
    static const std::vector<std::string> columns = {"SUBJECT",     "TO",
                                                     "FLAGSTATUS",  "SIZE",
                                                     "READ",        "VL_STATUS",
                                                     "X-Column",    "a lower-case column",
                                                     "a<b",         "a=\"b\"",
                                                     "&amp;",       "\xC3\x84nderung",
                                                     "line\r\nend", std::string("z\0ro", 4),
                                                     " ",           "ID ",
                                                     "BASE",        std::string(kLongestColumn, 'n')};
    return columns;
}

const std::vector<std::string>& UnwrittenColumns()
{
    static const std::vector<std::string> columns = {"",
                                                     "/SUBJECT",
                                                     "self-closed/",
                                                     "!x",
                                                     "?x",
                                                     "a>b",
                                                     "ELEMENT",
                                                     "ELEMENTS",
                                                     "BASEELEMENT",
                                                     "BASEELEMENT X",
                                                     ">",
                                                     std::string(kLongestColumn + 1, 'n')};
    return columns;
}

std::string AnyId(Choices& choices)
{
    if (choices.OneIn(10)) return std::string(kLongestId - 1 + choices.Below(3), 'i');
    if (choices.OneIn(10)) return std::string(choices.Below(5), '-');
    return choices.Bytes(choices.OneIn(4) ? 60 : 6);
}

bool IsIdOfAFile(std::string_view id)
{
    const bool dashes = std::all_of(id.begin(), id.end(), [](char c) { return c == '-'; });
    return !dashes && id.size() <= kLongestId && id.find('"') == std::string_view::npos && id.find('>') == std::string_view::npos;
}

std::string NumberedId(uint32_t number, Choices& choices)
{
    std::string id = std::to_string(number) + "-";
    if (choices.OneIn(4)) id += choices.Bytes(20);
    if (choices.OneIn(16)) id.resize(kLongestId, 'i');
    std::erase_if(id, IsMarkOfLists);
    return id;
}

}  // namespace velmora::test
