// The tool's own reader of XML, piece by piece, with the byte offset of each: strict, without recursion, and with nothing
// but the bytes themselves in memory.
//
// Strict means that what is not well-formed is a fault: two roots, a bare "&", an attribute twice, text behind the root,
// "]]>" in a text, bytes that are no UTF-8. Names are ASCII. References to control bytes are taken, since the store writes
// such. A document type is a fault, and so are more levels or attributes than the limits below.
#ifndef VLSTORE_XMLSCANNER_H
#define VLSTORE_XMLSCANNER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vlstore {

inline constexpr size_t kXmlDeepest = 256;
inline constexpr size_t kXmlMostAttributes = 64;

struct XmlFault {
    size_t offset = 0;
    std::string what;
};

// The line of an offset, from 1.
size_t LineOf(std::string_view bytes, size_t offset);

// What the bytes of a text or of an attribute stand for, with a code point up to 255 as the byte of its number.
// Document: as an XML reader tells it, a line end as LF. Stream: bytes stay, line ends too, and references alone are replaced.
enum class XmlReading { Document, Stream };
std::string DecodeXmlText(std::string_view raw, XmlReading reading);

class XmlScanner {
public:
    enum class Piece {
        Start,  // a start tag; one that closes itself is followed by an End of no bytes
        End,
        Text,   // between two pieces, blanks included; never empty
        CData,  // its text alone is Raw
        Other,  // a declaration, a comment or an instruction
    };
    struct Attribute {
        std::string_view name, raw;
        size_t offset = 0;   // of the name
        bool plain = false;  // one blank, then name="..."
    };
    // Literal: the values of attributes are bytes as they stand, whatever they are.
    enum class Attributes { Strict, Literal };

    // `bytes` must outlive what is read from them.
    explicit XmlScanner(std::string_view bytes, Attributes attributes = Attributes::Strict);

    // The next piece; false at the end and from the first fault on.
    bool Next();
    const std::optional<XmlFault>& Fault() const { return fault_; }

    Piece Kind() const { return kind_; }
    size_t Begin() const { return begin_; }
    size_t End() const { return at_; }
    std::string_view Name() const { return name_; }  // of a tag
    bool ClosesItself() const { return closesItself_; }
    const std::vector<Attribute>& AttributesOf() const { return attributes_; }
    std::string_view Raw() const { return raw_; }  // of a text
    // Elements that are open: a Start counts itself, an End does not.
    size_t Depth() const { return open_.size(); }

private:
    bool Fail(size_t offset, std::string what);
    bool Finish();
    bool ReadText();
    bool ReadCData();
    bool ReadComment();
    bool ReadInstruction();
    bool ReadStartTag();
    bool ReadEndTag();
    bool ReadName(std::string_view& name);
    bool ReadAttributes();
    bool ReadAttribute(bool oneBlank);
    bool CheckDeclaration();
    bool CheckCharacters(std::string_view raw, size_t offset);
    bool CheckReferences(std::string_view raw, size_t offset);
    size_t SkipBlanks();
    bool StartsWith(std::string_view text) const { return bytes_.substr(at_).starts_with(text); }

    const std::string_view bytes_;
    const Attributes mode_;
    size_t at_ = 0;
    size_t begin_ = 0;
    size_t documentBegin_ = 0;  // behind a byte order mark
    Piece kind_ = Piece::Other;
    std::string_view name_, raw_;
    bool closesItself_ = false;
    bool rootSeen_ = false;
    std::vector<Attribute> attributes_;
    std::vector<std::string_view> open_;
    std::optional<XmlFault> fault_;
};

}  // namespace vlstore

#endif
