#include "tests/persistence/MutatedFiles.h"

#include <algorithm>
#include <iterator>

#include "tests/persistence/IndexBytes.h"

namespace velmora::test {

namespace {

const char* const kNames[] = {"SUBJECT", "TO", "READ", "UID", "ID", "SEQ", "IDX", "FLAGS", "X", "READ ", "/X", "", "ELEMENT", "Y=\"-\""};
const char* const kValues[] = {"",
                               "1",
                               "text",
                               "a &lt; b",
                               "&amp;lt;",
                               "&#xe9;&#1;",
                               "&#",
                               "&#38;#60;",
                               "\r\n",
                               " ",
                               "--",
                               "-7 x",
                               "\"",
                               "4294967295",
                               "99999999999999999999999",
                               "&#99999999999;"};
const char* const kPieces[] = {"<",
                               ">",
                               "/",
                               "\"",
                               "=",
                               " ",
                               "-",
                               "<ELEMENT",
                               "</ELEMENT>",
                               "ID=\"",
                               " UID=\"",
                               " ID=\"a\"",
                               "<X>",
                               "</X>",
                               "<TO>",
                               "</TO>",
                               "</BASEELEMENT>\r\n",
                               "&#",
                               "&#x",
                               ";",
                               "&lt;",
                               "LASTUID=\"",
                               "x",
                               "0",
                               "<BASEELEMENT LASTUID=\"x00000007\">",
                               "<>",
                               "</>",
                               "<TO/>",
                               "\n",
                               " UID=\"-\"",
                               " UID=\"3\"",
                               " Id=\"b\"",
                               "<BASEELEMENT LASTUID=\"9\"/>",
                               "</",
                               "\"\"",
                               "'",
                               "BASE",
                               "<ELEMENT ID=\"---\" UID=\"-\"></ELEMENT>",
                               "<ELEMENT ID=\"z\" UID=\"150\"/>",
                               "<ELEMENT/>",
                               "<BASEELEMENT/>",
                               "<TO></TO>",
                               "&amp;",
                               "&#x26;",
                               "&#38;#60;",
                               "&#0;",
                               "&#xffffffff1;",
                               "\r\n",
                               "\r",
                               "4294967296",
                               "99999999999999999999999",
                               "xffffffff",
                               "-2147483649"};

template <size_t N>
std::string OneOf(const char* const (&texts)[N], Dice& dice)
{
    return texts[dice.Below(N)];
}

// Lengths around the ends of the buffers, counted from 1,024 and 8,192.
size_t BufferLength(Dice& dice)
{
    const size_t centres[] = {1023, 1024, 2046, 2047, 3069, 8191, 8192, 16384};
    return centres[dice.Below(std::size(centres))] - 4 + dice.Below(9);
}

std::string RandomId(Dice& dice) { return std::string(1, kIdLetters[dice.Below(8)]); }

std::string RandomProperty(Dice& dice)
{
    const std::string name = dice.OneIn(12) ? OneOf(kNames, dice) : kNames[dice.Below(3)];
    std::string value = OneOf(kValues, dice);
    if (dice.OneIn(25)) value.append(BufferLength(dice), 'v');
    return "<" + name + ">" + value + "</" + name + ">";
}

std::string RandomElement(Dice& dice, uint32_t& uid)
{
    uid += dice.Below(5);
    std::string id = RandomId(dice);
    std::string number = std::to_string(uid);
    if (dice.OneIn(5)) {
        id.assign(id.size(), '-');
        number.assign(number.size(), '-');
    }
    std::string bytes = "<ELEMENT";
    const std::string uidAttribute = dice.OneIn(10) ? "" : " UID=\"" + number + "\"";
    const bool uidFirst = dice.OneIn(10);
    if (uidFirst) bytes += uidAttribute;
    if (dice.OneIn(20)) bytes += " " + std::string(dice.OneIn(2) ? "id" : "SUBJECT") + "=\"" + RandomId(dice) + "\"";
    bytes += " ID=\"" + id + "\"";
    if (!uidFirst) bytes += uidAttribute;
    if (dice.OneIn(30)) bytes += " X=\"" + std::string(BufferLength(dice) % 1100, 'x') + "\"";
    bytes += ">";
    for (uint32_t count = dice.Below(4); count > 0; --count) bytes += RandomProperty(dice);
    return bytes + "</ELEMENT>";
}

std::string RandomHeader(Dice& dice)
{
    if (!dice.OneIn(6)) return Header(dice.OneIn(20) ? UINT32_MAX : dice.Below(200));
    const char* const headers[] = {"<BASEELEMENT LASTUID=\"17\">",
                                   "<BASEELEMENT LASTUID=\"0fF\">",
                                   "<BASEELEMENT>",
                                   "<BASEELEMENT LASTUID=\"x00000003\"/>",
                                   "<BASEELEMENT LASTUID=\"\" X=\"\">",
                                   "<BASEELEMENT LASTUID=\"x3\">",
                                   "<BASEELEMENTS A=\"/\" LASTUID=\"x00000003\">"};
    return OneOf(headers, dice);
}

// A copy of a block put elsewhere, or two blocks that lie one behind the other in each other's place.
void MoveBlocks(std::string& bytes, Dice& dice)
{
    // Ends of elements are where blocks begin more often than not.
    const auto cut = [&] {
        const size_t at = dice.Below(bytes.size() + 1);
        const size_t end = dice.OneIn(4) ? std::string::npos : bytes.find("</ELEMENT>", at);
        return end == std::string::npos ? at : end + 10;
    };
    size_t cuts[] = {cut(), cut(), cut()};
    std::sort(std::begin(cuts), std::end(cuts));
    if (dice.OneIn(2))
        bytes.insert(dice.OneIn(2) ? cuts[2] : 0, bytes.substr(cuts[0], cuts[1] - cuts[0]));
    else
        std::rotate(bytes.begin() + static_cast<std::ptrdiff_t>(cuts[0]), bytes.begin() + static_cast<std::ptrdiff_t>(cuts[1]),
                    bytes.begin() + static_cast<std::ptrdiff_t>(cuts[2]));
}

// Every line end becomes another, as it does on the way through a text editor; or a line end stands behind every tag.
void ChangeLineEnds(std::string& bytes, Dice& dice)
{
    const std::string_view from = dice.OneIn(3) ? ">" : dice.OneIn(2) ? "\r\n" : "\n";
    const std::string_view by = from == ">" ? ">\n" : from == "\n" ? "\r\n" : "\n";
    for (size_t at = bytes.find(from); at != std::string::npos; at = bytes.find(from, at + by.size())) bytes.replace(at, from.size(), by);
}

void Nest(std::string& bytes, size_t at, Dice& dice)
{
    const char* const tags[] = {"<X>", "</X>", "<ELEMENT ID=\"n\" UID=\"199\">", "</ELEMENT>", "<BASEELEMENT LASTUID=\"x00000001\">", "<"};
    const std::string tag = OneOf(tags, dice);
    std::string tower;
    for (uint32_t depth = 1 + dice.Below(dice.OneIn(4) ? 3000 : 20); depth > 0; --depth) tower += tag;
    bytes.insert(at, tower);
}

}  // namespace

std::string RandomFile(Dice& dice)
{
    std::string bytes = RandomHeader(dice);
    if (dice.OneIn(20)) bytes += "\n";
    uint32_t uid = 1;
    for (uint32_t count = dice.Below(12); count > 0; --count) {
        bytes += RandomElement(dice, uid);
        if (dice.OneIn(15)) bytes += "\r\n";
    }
    return bytes + (dice.OneIn(10) ? "</BASEELEMENT>" : kRootEnd);
}

void Damage(std::string& bytes, Dice& dice)
{
    for (uint32_t changes = 1 + dice.Below(4); changes > 0; --changes) {
        const size_t at = dice.Below(bytes.size() + 1);
        const size_t length = std::min<size_t>(bytes.size() - at, dice.Below(dice.OneIn(4) ? bytes.size() + 1 : 12));
        switch (dice.Below(13)) {
            case 0:
                if (at < bytes.size()) bytes[at] = dice.OneIn(4) ? dice.Byte() : "<>/\"= -&#;x0"[dice.Below(12)];
                break;
            case 1:
            case 2:
            case 3:
                bytes.insert(at, OneOf(kPieces, dice));
                break;
            case 4:
                bytes.erase(at, length);
                break;
            case 5:
                bytes.insert(dice.Below(bytes.size() + 1), bytes.substr(at, length));
                break;
            case 6:
                bytes.insert(at, std::string(BufferLength(dice), "x<> \"-"[dice.Below(6)]));
                break;
            case 7:
                bytes.resize(at);
                break;
            case 8:
                if (at < bytes.size()) bytes[at] = static_cast<char>(bytes[at] ^ (1 << dice.Below(8)));
                break;
            case 9:
                MoveBlocks(bytes, dice);
                break;
            case 10:
                ChangeLineEnds(bytes, dice);
                break;
            case 11:
                Nest(bytes, at, dice);
                break;
            default:
                bytes.replace(at, length, OneOf(kPieces, dice));
                break;
        }
    }
}

}  // namespace velmora::test
