// The bytes of a document that is saved, the same whichever facility holds its tree.
//
// In text and attribute values "&", "<", ">" and the quote are entities, and every other character that is no printable ASCII
// is a hexadecimal reference: so no reader changes white space, line ends or bytes. What knows no references (names, sections,
// comments, instructions) is UTF-8.
#ifndef VELMORA_PLATFORM_SHARED_XMLWRITER_H
#define VELMORA_PLATFORM_SHARED_XMLWRITER_H

#include <string>
#include <string_view>
#include <utility>

namespace velmora::platform {

// Takes the parts in their order. Texts are UTF-8 without line ends of other systems.
class XmlWriter {
public:
    // The declaration of a document that had one: the encoding is left out, as it need not be that of the bytes any more.
    void Declaration(std::string_view standalone);
    void BeginElement(std::string_view name);
    void Attribute(std::string_view name, std::string_view value);
    // Behind the last attribute of an element: with no content it ends here, self-closed.
    void EndStartTag(bool hasContent);
    void EndElement(std::string_view name);
    void Text(std::string_view text);
    // White space between elements, which stays as it is.
    void Layout(std::string_view blanks);
    // A CDATA section.
    void Section(std::string_view text);
    void Comment(std::string_view text);
    void Instruction(std::string_view target, std::string_view data);

    std::string Take() { return std::move(out_); }

private:
    void Escaped(std::string_view text, bool inAttribute);

    std::string out_;
};

}  // namespace velmora::platform

#endif
