// XML documents in memory: MSXML through COM on Windows, pugixml elsewhere, with the same answers on both.
//
// Text is bytes. A code point from 0 to 255 is the byte of that number, the 27 code points that Windows-1252 puts into 0x80
// to 0x9F come back as those bytes, and any other code point becomes its UTF-8 bytes. White space counts: no value is
// trimmed, and line ends are those of the file as XML reads them (CR LF and CR come as LF unless they stand as references).
//
// What raises: a facility that is not there, an expression that does not parse, a node that is not a child. It raises
// ComError. A file that does not load is a result and no exception. A document and its nodes belong to one thread at a time.
#ifndef VELMORA_PLATFORM_XML_H
#define VELMORA_PLATFORM_XML_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ComError.h"

namespace velmora::platform {

// A document's text, which is UTF-8 in its file, as the bytes that it comes back as.
std::string XmlToBytes(std::string_view utf8);

// Why a document did not load. All zero and empty after a load that went well.
struct XmlParseError {
    uint32_t code = 0;
    int32_t line = 0;    // from 1; 0 when the file could not be read
    int32_t column = 0;  // from 1, in characters
    std::string reason;
};

struct XmlAttribute {
    std::string name;
    std::string text;
};

// One node of a document, or none. A copy is the same node. Valid as long as its document stands and the node is in it.
class XmlNode {
public:
    XmlNode() = default;
    ~XmlNode();
    XmlNode(const XmlNode& other);
    XmlNode(XmlNode&& other) noexcept : node_(other.node_) { other.node_ = nullptr; }
    XmlNode& operator=(XmlNode other) noexcept
    {
        void* const node = node_;
        node_ = other.node_;
        other.node_ = node;
        return *this;
    }

    explicit operator bool() const { return node_ != nullptr; }

    std::string Name() const;
    // The text of the node and of all that is below it, in the file's order; comments and instructions have none.
    std::string Text() const;
    // In the file's order.
    std::vector<XmlAttribute> Attributes() const;
    // Nothing when there is no such attribute.
    std::optional<std::string> Attribute(const char* name) const;

    // The child elements, in the file's order. Text, comments and instructions between them are passed over.
    XmlNode FirstElement() const;
    XmlNode NextElement() const;
    // All child nodes but white space: comments and instructions count.
    size_t ChildNodeCount() const;

    // XPath from this node on. Raises for an expression that does not parse.
    XmlNode SelectSingleNode(const std::string& expression) const;
    std::vector<XmlNode> SelectNodes(const std::string& expression) const;

    // Appends a child element with `text` in it; an empty text gives an element that is still not written self-closed.
    XmlNode AppendElement(const char* name, std::string_view text);
    // Appends a child element that is written self-closed as long as nothing is in it.
    XmlNode AppendElement(const char* name);
    void SetAttribute(const char* name, std::string_view text);
    // Takes `child` and all below it out. Raises when it is not a child of this node.
    void RemoveChild(const XmlNode& child);

private:
    friend class XmlDocument;
    friend struct XmlNodeAccess;
    explicit XmlNode(void* node) : node_(node) {}
    void* node_ = nullptr;
};

class XmlDocument {
public:
    // An empty document. Raises when the facility is not there.
    static std::unique_ptr<XmlDocument> Create();
    // Whether an element or an attribute can have that name.
    static bool TakesName(std::string_view name);
    virtual ~XmlDocument() = default;

    // Replaces the content. False, with an empty document and a parse error, when the file cannot be read or is not
    // well-formed. Looks at nothing outside the file: no external entity, no network. At most 1,000 levels deep.
    bool Load(const std::string& path);
    virtual bool LoadBytes(std::string_view bytes) = 0;
    const XmlParseError& ParseError() const { return parseError_; }

    // The root element, or none.
    virtual XmlNode DocumentElement() const = 0;
    // Makes the root element of an empty document.
    virtual XmlNode CreateRoot(const char* name) = 0;

    // The document as it is saved: the same bytes on every platform. In text and attribute values what is no printable ASCII
    // leaves as a hexadecimal reference; white space between elements, CDATA sections, comments and instructions stay as they
    // are. No declaration and no line ends are added, and a declaration that was there loses its encoding.
    virtual std::string ToBytes() const = 0;
    // Writes the document to `path`, whole or not at all where the file system allows it. Raises when it cannot.
    void Save(const std::string& path) const;
    // The same when `mayReplace` allows it, which is asked last, with the new bytes ready and the file still the old one. False, with
    // nothing changed, when it does not.
    [[nodiscard]] bool SaveIf(const std::string& path, const std::function<bool()>& mayReplace) const;

protected:
    XmlDocument() = default;
    // Takes everything out.
    virtual void Clear() = 0;

    XmlParseError parseError_;
};

}  // namespace velmora::platform

#endif
