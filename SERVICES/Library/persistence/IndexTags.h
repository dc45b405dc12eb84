// The text of tags in an index file.
#ifndef VELMORA_PERSISTENCE_INDEXTAGS_H
#define VELMORA_PERSISTENCE_INDEXTAGS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velmora {

inline constexpr std::string_view kRootTag = "BASEELEMENT";
inline constexpr std::string_view kElementTag = "ELEMENT";
inline constexpr std::string_view kRootEnd = "</BASEELEMENT>\r\n";
inline constexpr std::string_view kElementEnd = "</ELEMENT>";

// <BASEELEMENT LASTUID="x12345678">
inline constexpr std::string_view kHeaderBegin = "<BASEELEMENT LASTUID=\"x";
inline constexpr std::string_view kHeaderEnd = "\">";
inline constexpr size_t kHeaderDigits = 8;
inline constexpr size_t kHeaderSize = 33;

// A tag, and each attribute in it, is at most this long.
inline constexpr size_t kLongestTag = 1023;

// Whether the 33 bytes at the head of a file are the header that the writer makes.
bool IsWrittenHeader(std::string_view bytes);

// The LASTUID that a file hands on to the one that takes its place, told by the bytes at its head; 0 when they tell none. The
// highest number is not handed on: the folder would have no UID left to give, and damage looks like that more often.
//
// Of a file that may be damaged nothing is believed but the headers that the writers make, or a restored file gets, behind a
// declaration and comments too.
uint32_t LastUidToldBy(std::string_view head);
// Of a sound file, any root tag that begins it, behind a declaration and comments too.
uint32_t LastUidOfRoot(std::string_view head);
// Whether such a root tag has a LASTUID with a number in it.
bool TellsLastUid(std::string_view head);
// Where the root tag of a file stands: behind the mark of a coding, white space, a declaration, comments.
size_t RootTagAt(std::string_view bytes);
// The number that the text of a LASTUID tells: of base 16 behind an "x" and when it begins with "0", otherwise decimal. Held at
// the end of 32 bits. 0 for a number below zero, which nobody gave.
uint32_t LastUidOfText(std::string_view text);

// Whether an attribute value marks its element as removed: nothing but "-", or nothing.
inline bool IsTombstone(std::string_view value) { return value.find_first_not_of('-') == std::string_view::npos; }

// Whether an element's start tag is of the form ELEMENT ID="..." UID="...", with nothing else in it.
bool IsWrittenForm(std::string_view tag);

struct TagAttribute {
    std::string_view name;
    std::string_view value;
};

// The attributes of a tag, one after another. Kept: a value runs to the next double quote that is not its first byte, so an
// empty value takes in what follows, up to the quote after that.
class AttributeWalk {
public:
    enum class Step { Attribute, End, NoQuote };

    explicit AttributeWalk(std::string_view tag) : tag_(tag) {}
    Step Next(TagAttribute& attribute);

private:
    std::string_view tag_;
    size_t at_ = 0;
};

}  // namespace velmora

#endif
