// XML documents on pugixml. The library takes texts that are not well-formed, so the strict check comes first; its tree is
// UTF-8, and a node of ours is a pointer into it.
#include <cstddef>
#include <memory>
#include <new>
#include <pugixml.hpp>
#include <string>
#include <utility>

#include "platform/Xml.h"
#include "platform/shared/XmlCheck.h"
#include "platform/shared/XmlEncoding.h"
#include "platform/shared/XmlFault.h"
#include "platform/shared/XmlText.h"
#include "platform/shared/XmlWriter.h"

namespace velmora::platform {

struct XmlNodeAccess {
    static XmlNode Make(pugi::xml_node node) { return XmlNode(node.internal_object()); }
    static pugi::xml_node Of(const XmlNode& node) { return pugi::xml_node(static_cast<pugi::xml_node_struct*>(node.node_)); }
};

namespace {

constexpr unsigned kParseOptions = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_wconv_attribute | pugi::parse_ws_pcdata |
                                   pugi::parse_comments | pugi::parse_pi | pugi::parse_declaration;

pugi::xml_node Needed(const XmlNode& node)
{
    const pugi::xml_node found = XmlNodeAccess::Of(node);
    if (!found) RaiseNoNode();
    return found;
}

bool IsText(const pugi::xml_node& node) { return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata; }
bool IsElement(const pugi::xml_node& node) { return node.type() == pugi::node_element; }

// A node that was made, or no memory.
template <typename Made>
Made Got(Made made)
{
    if (!made) throw std::bad_alloc();
    return made;
}
void Got(bool made)
{
    if (!made) throw std::bad_alloc();
}

// The node behind this one in the file's order, without those below it; none at the end of `top`.
pugi::xml_node NextOutside(pugi::xml_node node, const pugi::xml_node& top)
{
    while (node != top && !node.next_sibling()) node = node.parent();
    return node == top ? pugi::xml_node() : node.next_sibling();
}

void WriteStart(XmlWriter& writer, const pugi::xml_node& node)
{
    switch (node.type()) {
        case pugi::node_element:
            writer.BeginElement(node.name());
            for (const pugi::xml_attribute& attribute : node.attributes()) writer.Attribute(attribute.name(), attribute.value());
            writer.EndStartTag(!node.first_child().empty());
            break;
        case pugi::node_cdata:
            writer.Section(node.value());
            break;
        case pugi::node_pcdata: {
            const bool alone = !node.previous_sibling() && !node.next_sibling();
            if (!alone && IsXmlBlank(std::string_view(node.value()))) {
                writer.Layout(node.value());
            } else {
                writer.Text(node.value());
            }
            break;
        }
        case pugi::node_comment:
            writer.Comment(node.value());
            break;
        case pugi::node_pi:
            writer.Instruction(node.name(), node.value());
            break;
        case pugi::node_declaration:
            writer.Declaration(node.attribute("standalone").value());
            break;
        default:
            break;
    }
}

class PugiDocument : public XmlDocument {
public:
    bool LoadBytes(std::string_view bytes) override
    {
        Clear();
        XmlFault fault = DecodeXml(bytes, text_);
        if (!fault) fault = CheckXml(text_);
        if (fault) {
            parseError_ = ParseErrorOf(fault, text_);
            text_.clear();
            return false;
        }
        // The tree lies in the text, which stays with the document.
        const pugi::xml_parse_result result = tree_.load_buffer_inplace(text_.data(), text_.size(), kParseOptions, pugi::encoding_utf8);
        if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
        if (result) return true;
        parseError_ = ParseErrorOf({XmlFaultCode::NotAtTheTop, static_cast<size_t>(result.offset), result.description()}, text_);
        tree_.reset();
        text_.clear();
        return false;
    }

    XmlNode DocumentElement() const override { return XmlNodeAccess::Make(tree_.document_element()); }

    XmlNode CreateRoot(const char* name) override
    {
        if (tree_.document_element()) RaiseComError(kComFail, "The document has a root element");
        const std::string utf8 = CheckedXmlName(name);
        pugi::xml_node root = Got(tree_.append_child(pugi::node_element));
        Got(root.set_name(utf8.c_str()));
        return XmlNodeAccess::Make(root);
    }

    std::string ToBytes() const override
    {
        XmlWriter writer;
        for (pugi::xml_node node = tree_.first_child(); node;) {
            WriteStart(writer, node);
            if (node.first_child()) {
                node = node.first_child();
                continue;
            }
            while (node != tree_ && !node.next_sibling()) {
                node = node.parent();
                if (IsElement(node)) writer.EndElement(node.name());
            }
            node = node.next_sibling();
        }
        return writer.Take();
    }

protected:
    void Clear() override
    {
        tree_.reset();
        text_.clear();
        parseError_ = {};
    }

private:
    std::string text_;
    pugi::xml_document tree_;
};

// Elements alone: an expression may find others.
pugi::xpath_node_set Select(const pugi::xml_node& node, const std::string& expression)
try {
    pugi::xpath_node_set found = node.select_nodes(XmlFromBytes(expression).c_str());
    if (found.empty()) {
        const std::string foreign = XmlFromForeignBytes(expression);
        if (foreign != XmlFromBytes(expression)) found = node.select_nodes(foreign.c_str());
    }
    found.sort();
    return found;
} catch (const pugi::xpath_exception& error) {
    RaiseComError(kComFail, error.what());
}

}  // namespace

std::unique_ptr<XmlDocument> XmlDocument::Create() { return std::make_unique<PugiDocument>(); }

// A node of the library's is not counted.
XmlNode::XmlNode(const XmlNode& other) : node_(other.node_) {}
XmlNode::~XmlNode() {}

std::string XmlNode::Name() const { return XmlToBytes(XmlNodeAccess::Of(*this).name()); }

std::string XmlNode::Text() const
{
    const pugi::xml_node top = XmlNodeAccess::Of(*this);
    const pugi::xml_node first = top.first_child();
    if (first && !first.next_sibling() && IsText(first)) return XmlToBytes(first.value());
    std::string text;
    for (pugi::xml_node node = first; node;) {
        if (IsText(node)) text += node.value();
        node = node.first_child() ? node.first_child() : NextOutside(node, top);
    }
    return XmlToBytes(text);
}

std::vector<XmlAttribute> XmlNode::Attributes() const
{
    std::vector<XmlAttribute> found;
    for (const pugi::xml_attribute& attribute : XmlNodeAccess::Of(*this).attributes()) {
        found.push_back({XmlToBytes(attribute.name()), XmlToBytes(attribute.value())});
    }
    return found;
}

std::optional<std::string> XmlNode::Attribute(const char* name) const
{
    const pugi::xml_attribute attribute = XmlNodeAccess::Of(*this).attribute(XmlFromBytes(name).c_str());
    if (!attribute) return std::nullopt;
    return XmlToBytes(attribute.value());
}

XmlNode XmlNode::FirstElement() const
{
    pugi::xml_node node = XmlNodeAccess::Of(*this).first_child();
    while (node && !IsElement(node)) node = node.next_sibling();
    return XmlNodeAccess::Make(node);
}

XmlNode XmlNode::NextElement() const
{
    pugi::xml_node node = XmlNodeAccess::Of(*this).next_sibling();
    while (node && !IsElement(node)) node = node.next_sibling();
    return XmlNodeAccess::Make(node);
}

size_t XmlNode::ChildNodeCount() const
{
    size_t count = 0;
    for (const pugi::xml_node& node : XmlNodeAccess::Of(*this).children()) {
        if (!IsText(node) || !IsXmlBlank(std::string_view(node.value()))) ++count;
    }
    return count;
}

XmlNode XmlNode::SelectSingleNode(const std::string& expression) const
{
    const std::vector<XmlNode> found = SelectNodes(expression);
    return found.empty() ? XmlNode() : found.front();
}

std::vector<XmlNode> XmlNode::SelectNodes(const std::string& expression) const
{
    std::vector<XmlNode> found;
    for (const pugi::xpath_node& node : Select(Needed(*this), expression)) {
        if (IsElement(node.node())) found.push_back(XmlNodeAccess::Make(node.node()));
    }
    return found;
}

XmlNode XmlNode::AppendElement(const char* name, std::string_view text)
{
    pugi::xml_node element = XmlNodeAccess::Of(AppendElement(name));
    pugi::xml_node content = Got(element.append_child(pugi::node_pcdata));
    Got(content.set_value(XmlFromBytes(text).c_str()));
    return XmlNodeAccess::Make(element);
}

XmlNode XmlNode::AppendElement(const char* name)
{
    pugi::xml_node parent = Needed(*this);
    const std::string utf8 = CheckedXmlName(name);
    pugi::xml_node element = Got(parent.append_child(pugi::node_element));
    Got(element.set_name(utf8.c_str()));
    return XmlNodeAccess::Make(element);
}

void XmlNode::SetAttribute(const char* name, std::string_view text)
{
    pugi::xml_node element = Needed(*this);
    const std::string utf8 = CheckedXmlName(name);
    pugi::xml_attribute attribute = element.attribute(utf8.c_str());
    if (!attribute) attribute = Got(element.append_attribute(utf8.c_str()));
    Got(attribute.set_value(XmlFromBytes(text).c_str()));
}

void XmlNode::RemoveChild(const XmlNode& child)
{
    if (!child) RaiseNoNode();
    if (!Needed(*this).remove_child(XmlNodeAccess::Of(child))) RaiseComError(kComArgument, "The node is not a child of this one");
}

}  // namespace velmora::platform
