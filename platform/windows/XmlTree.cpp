// XML documents on the system's MSXML, through COM. What it would refuse or change goes past it carried (XmlCarried.h).
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "platform/Xml.h"
#include "platform/shared/XmlCheck.h"
#include "platform/shared/XmlEncoding.h"
#include "platform/shared/XmlFault.h"
#include "platform/shared/XmlText.h"
#include "platform/shared/XmlWriter.h"
#include "platform/win32.h"
#include "platform/windows/XmlCarried.h"

// These use names that win32.h gives back to us.
#define interface struct
#include <ole2.h>
// In this order: the second stands on the first.
#include <msxml2.h>
#undef interface

namespace velmora::platform {

namespace {

constexpr CLSID kDocumentClass = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr IID kDocument2 = {0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr DWORD kClassContext = 23;

// One reference to an object.
template <typename Interface>
class ComPointer {
public:
    ComPointer() = default;
    explicit ComPointer(Interface* held) : held_(held) {}
    ComPointer(ComPointer&& other) noexcept : held_(std::exchange(other.held_, nullptr)) {}
    ComPointer& operator=(ComPointer&& other) noexcept
    {
        std::swap(held_, other.held_);
        return *this;
    }
    ~ComPointer()
    {
        if (held_) held_->Release();
    }
    Interface* operator->() const { return held_; }
    Interface* Get() const { return held_; }
    Interface* Take() { return std::exchange(held_, nullptr); }
    explicit operator bool() const { return held_ != nullptr; }
    // For functions that give an object out; what was held goes.
    Interface** Out()
    {
        ComPointer gone(std::exchange(held_, nullptr));
        return &held_;
    }
    void** OutVoid() { return reinterpret_cast<void**>(Out()); }

private:
    Interface* held_ = nullptr;
};

// A string of COM's.
class ComText {
public:
    ComText() = default;
    explicit ComText(std::wstring_view text) : held_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())))
    {
        if (!held_) throw std::bad_alloc();
    }
    ComText(const ComText&) = delete;
    ComText& operator=(const ComText&) = delete;
    ~ComText() { SysFreeString(held_); }
    BSTR Get() const { return held_; }
    BSTR* Out() { return &held_; }
    std::wstring_view View() const { return {held_ ? held_ : L"", SysStringLen(held_)}; }

private:
    BSTR held_ = nullptr;
};

// A value of COM's.
class ComValue {
public:
    ComValue() { VariantInit(&held_); }
    explicit ComValue(std::wstring_view text) : ComValue()
    {
        held_.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        if (!held_.bstrVal) throw std::bad_alloc();
        held_.vt = VT_BSTR;
    }
    ComValue(const ComValue&) = delete;
    ComValue& operator=(const ComValue&) = delete;
    ~ComValue() { VariantClear(&held_); }
    const VARIANT& Get() const { return held_; }
    VARIANT* Out() { return &held_; }
    std::wstring_view View() const
    {
        return held_.vt == VT_BSTR && held_.bstrVal ? std::wstring_view(held_.bstrVal, SysStringLen(held_.bstrVal)) : std::wstring_view();
    }

private:
    VARIANT held_;
};

std::string MeaningOf(HRESULT result)
{
    char text[256];
    DWORD size = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, static_cast<DWORD>(result), 0, text,
                                sizeof text, nullptr);
    while (size > 0 && (text[size - 1] == '\n' || text[size - 1] == '\r')) --size;
    return {text, size};
}

[[noreturn]] void Raise(HRESULT result)
{
    if (result == E_OUTOFMEMORY) throw std::bad_alloc();
    ComError error = MakeComError(static_cast<uint32_t>(result), {});
    if (std::string meaning = MeaningOf(result); !meaning.empty()) error.meaning = std::move(meaning);
    ComPointer<IErrorInfo> info;
    if (GetErrorInfo(0, info.Out()) == S_OK && info) {
        ComText source;
        ComText description;
        if (SUCCEEDED(info->GetSource(source.Out())) && !source.View().empty()) error.source = XmlToBytes(FromCarriedText(source.View()));
        if (SUCCEEDED(info->GetDescription(description.Out()))) error.description = XmlToBytes(FromCarriedText(description.View()));
    }
    throw error;
}

// What went well; S_FALSE, which says that there is nothing, is good as well.
void Good(HRESULT result)
{
    if (FAILED(result)) Raise(result);
}

ComPointer<IXMLDOMDocument> MakeDocument()
{
    ComPointer<IUnknown> made;
    HRESULT result = CoCreateInstance(kDocumentClass, nullptr, kClassContext, IID_IUnknown, made.OutVoid());
    if (result == CO_E_NOTINITIALIZED) {
        // A thread that nobody prepared. It stays started: nobody but the thread's end could tell when it is not needed any more.
        Good(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        result = CoCreateInstance(kDocumentClass, nullptr, kClassContext, IID_IUnknown, made.OutVoid());
    }
    Good(result);
    Good(OleRun(made.Get()));
    ComPointer<IXMLDOMDocument> document;
    Good(made->QueryInterface(IID_IXMLDOMDocument, document.OutVoid()));
    Good(document->put_async(VARIANT_FALSE));
    Good(document->put_preserveWhiteSpace(VARIANT_TRUE));
    Good(document->put_resolveExternals(VARIANT_FALSE));
    Good(document->put_validateOnParse(VARIANT_FALSE));
    ComPointer<IXMLDOMDocument2> more;
    if (SUCCEEDED(document->QueryInterface(kDocument2, more.OutVoid()))) {
        const ComText property(L"SelectionLanguage");
        const ComValue language(L"XPath");
        more->setProperty(property.Get(), language.Get());
    }
    return document;
}

DOMNodeType TypeOf(IXMLDOMNode* node)
{
    DOMNodeType type = NODE_INVALID;
    Good(node->get_nodeType(&type));
    return type;
}

std::string NameOf(IXMLDOMNode* node)
{
    ComText name;
    Good(node->get_nodeName(name.Out()));
    return FromCarriedName(name.View());
}

std::string ValueOf(IXMLDOMNode* node)
{
    ComValue value;
    Good(node->get_nodeValue(value.Out()));
    return FromCarriedText(value.View());
}

bool IsText(DOMNodeType type) { return type == NODE_TEXT || type == NODE_CDATA_SECTION; }

ComPointer<IXMLDOMNode> FirstChild(IXMLDOMNode* node)
{
    ComPointer<IXMLDOMNode> child;
    Good(node->get_firstChild(child.Out()));
    return child;
}

ComPointer<IXMLDOMNode> NextSibling(IXMLDOMNode* node)
{
    ComPointer<IXMLDOMNode> next;
    Good(node->get_nextSibling(next.Out()));
    return next;
}

// Calls `visit` with the name and the node of each attribute.
template <typename Visit>
void ForEachAttribute(IXMLDOMNode* node, Visit visit)
{
    ComPointer<IXMLDOMNamedNodeMap> attributes;
    Good(node->get_attributes(attributes.Out()));
    if (!attributes) return;
    for (;;) {
        ComPointer<IXMLDOMNode> attribute;
        Good(attributes->nextNode(attribute.Out()));
        if (!attribute) return;
        visit(attribute.Get());
    }
}

// Walks all below `top` in the file's order: `begin` with each node, and `end` with each element that has something in it.
template <typename Begin, typename End>
void Walk(IXMLDOMNode* top, Begin begin, End end)
{
    std::vector<ComPointer<IXMLDOMNode>> open;
    ComPointer<IXMLDOMNode> node = FirstChild(top);
    while (node || !open.empty()) {
        if (!node) {
            node = std::move(open.back());
            open.pop_back();
            end(node.Get());
            node = NextSibling(node.Get());
            continue;
        }
        begin(node.Get());
        if (ComPointer<IXMLDOMNode> child = FirstChild(node.Get()); child) {
            open.push_back(std::move(node));
            node = std::move(child);
        } else {
            node = NextSibling(node.Get());
        }
    }
}

void WriteText(XmlWriter& writer, IXMLDOMNode* node)
{
    const std::string text = ValueOf(node);
    ComPointer<IXMLDOMNode> neighbour = NextSibling(node);
    if (!neighbour) Good(node->get_previousSibling(neighbour.Out()));
    if (neighbour && IsXmlBlank(text)) {
        writer.Layout(text);
    } else {
        writer.Text(text);
    }
}

void WriteStart(XmlWriter& writer, IXMLDOMNode* node)
{
    switch (TypeOf(node)) {
        case NODE_ELEMENT:
            writer.BeginElement(NameOf(node));
            ForEachAttribute(node, [&](IXMLDOMNode* attribute) { writer.Attribute(NameOf(attribute), ValueOf(attribute)); });
            writer.EndStartTag(static_cast<bool>(FirstChild(node)));
            break;
        case NODE_TEXT:
            WriteText(writer, node);
            break;
        case NODE_CDATA_SECTION:
            writer.Section(ValueOf(node));
            break;
        case NODE_COMMENT:
            writer.Comment(ValueOf(node));
            break;
        case NODE_PROCESSING_INSTRUCTION:
            writer.Instruction(NameOf(node), ValueOf(node));
            break;
        default:
            break;
    }
}

}  // namespace

struct XmlNodeAccess {
    // Takes the reference over.
    static XmlNode Make(ComPointer<IXMLDOMNode> node) { return XmlNode(node.Take()); }
    static IXMLDOMNode* Of(const XmlNode& node) { return static_cast<IXMLDOMNode*>(node.node_); }
};

namespace {

IXMLDOMNode* Needed(const XmlNode& node)
{
    IXMLDOMNode* const found = XmlNodeAccess::Of(node);
    if (!found) RaiseNoNode();
    return found;
}

ComPointer<IXMLDOMNode> Append(IXMLDOMNode* parent, IXMLDOMNode* child)
{
    ComPointer<IXMLDOMNode> appended;
    Good(parent->appendChild(child, appended.Out()));
    return appended;
}

ComPointer<IXMLDOMDocument> DocumentOf(IXMLDOMNode* node)
{
    ComPointer<IXMLDOMDocument> document;
    Good(node->get_ownerDocument(document.Out()));
    if (!document) RaiseNoNode();
    return document;
}

ComPointer<IXMLDOMNode> AppendNew(IXMLDOMDocument* document, IXMLDOMNode* parent, const char* name)
{
    const ComText carried(CarriedName(CheckedXmlName(name)));
    ComPointer<IXMLDOMElement> element;
    Good(document->createElement(carried.Get(), element.Out()));
    return Append(parent, element.Get());
}

XmlNode ElementFrom(ComPointer<IXMLDOMNode> node)
{
    while (node && TypeOf(node.Get()) != NODE_ELEMENT) node = NextSibling(node.Get());
    return XmlNodeAccess::Make(std::move(node));
}

// Elements alone: an expression may find others.
std::vector<XmlNode> Select(IXMLDOMNode* node, const std::string& expression)
{
    const ComText carried(CarriedExpression(expression));
    ComPointer<IXMLDOMNodeList> list;
    Good(node->selectNodes(carried.Get(), list.Out()));
    std::vector<XmlNode> found;
    while (list) {
        ComPointer<IXMLDOMNode> next;
        Good(list->nextNode(next.Out()));
        if (!next) break;
        if (TypeOf(next.Get()) == NODE_ELEMENT) found.push_back(XmlNodeAccess::Make(std::move(next)));
    }
    return found;
}

class ComDocument : public XmlDocument {
public:
    ComDocument() : document_(MakeDocument()) {}

    bool LoadBytes(std::string_view bytes) override
    {
        Clear();
        used_ = true;
        std::string text;
        XmlFault fault = DecodeXml(bytes, text);
        if (!fault) fault = CheckXml(text);
        if (fault) {
            parseError_ = ParseErrorOf(fault, text);
            return false;
        }
        const ComText carried(CarriedDocument(text, standalone_));
        hasDeclaration_ = text.size() > 5 && text.compare(0, 5, "<?xml") == 0 && IsXmlBlank(text[5]);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        Good(document_->loadXML(carried.Get(), &loaded));
        if (loaded != VARIANT_FALSE) return true;
        XmlParseError refused = RefusedWith();
        Clear();
        if (refused.code == static_cast<uint32_t>(E_OUTOFMEMORY)) throw std::bad_alloc();
        parseError_ = std::move(refused);
        return false;
    }

    XmlNode DocumentElement() const override
    {
        ComPointer<IXMLDOMElement> root;
        Good(document_->get_documentElement(root.Out()));
        return XmlNodeAccess::Make(ComPointer<IXMLDOMNode>(root.Take()));
    }

    XmlNode CreateRoot(const char* name) override
    {
        if (DocumentElement()) RaiseComError(kComFail, "The document has a root element");
        used_ = true;
        return XmlNodeAccess::Make(AppendNew(document_.Get(), document_.Get(), name));
    }

    std::string ToBytes() const override
    {
        XmlWriter writer;
        if (hasDeclaration_) writer.Declaration(standalone_);
        Walk(
            document_.Get(),
            [&](IXMLDOMNode* node) {
                // White space beside the root is no part of the document.
                ComPointer<IXMLDOMNode> parent;
                if (TypeOf(node) == NODE_TEXT && SUCCEEDED(node->get_parentNode(parent.Out())) && parent &&
                    TypeOf(parent.Get()) == NODE_DOCUMENT) {
                    return;
                }
                WriteStart(writer, node);
            },
            [&](IXMLDOMNode* node) { writer.EndElement(NameOf(node)); });
        return writer.Take();
    }

protected:
    void Clear() override
    {
        parseError_ = {};
        standalone_.clear();
        hasDeclaration_ = false;
        if (used_) document_ = MakeDocument();
        used_ = false;
    }

private:
    // Why MSXML refused what the check had let pass.
    XmlParseError RefusedWith() const
    {
        XmlParseError error;
        ComPointer<IXMLDOMParseError> told;
        Good(document_->get_parseError(told.Out()));
        if (told) {
            LONG code = 0;
            LONG line = 0;
            LONG column = 0;
            ComText reason;
            Good(told->get_errorCode(&code));
            Good(told->get_line(&line));
            Good(told->get_linepos(&column));
            Good(told->get_reason(reason.Out()));
            error = {static_cast<uint32_t>(code), line, column, XmlToBytes(FromCarriedText(reason.View()))};
        }
        if (error.code == 0) error.code = kComFail;
        return error;
    }

    ComPointer<IXMLDOMDocument> document_;
    bool used_ = false;
    bool hasDeclaration_ = false;
    std::string standalone_;
};

}  // namespace

std::unique_ptr<XmlDocument> XmlDocument::Create() { return std::make_unique<ComDocument>(); }

XmlNode::XmlNode(const XmlNode& other) : node_(other.node_)
{
    if (node_) XmlNodeAccess::Of(*this)->AddRef();
}

XmlNode::~XmlNode()
{
    if (node_) XmlNodeAccess::Of(*this)->Release();
}

std::string XmlNode::Name() const { return node_ ? XmlToBytes(NameOf(XmlNodeAccess::Of(*this))) : std::string(); }

std::string XmlNode::Text() const
{
    if (!node_) return {};
    std::string text;
    Walk(
        XmlNodeAccess::Of(*this),
        [&](IXMLDOMNode* node) {
            if (IsText(TypeOf(node))) text += ValueOf(node);
        },
        [](IXMLDOMNode*) {});
    return XmlToBytes(text);
}

std::vector<XmlAttribute> XmlNode::Attributes() const
{
    std::vector<XmlAttribute> found;
    if (!node_) return found;
    ForEachAttribute(XmlNodeAccess::Of(*this), [&](IXMLDOMNode* attribute) {
        found.push_back({XmlToBytes(NameOf(attribute)), XmlToBytes(ValueOf(attribute))});
    });
    return found;
}

std::optional<std::string> XmlNode::Attribute(const char* name) const
{
    std::optional<std::string> found;
    if (!node_) return found;
    ComPointer<IXMLDOMNamedNodeMap> attributes;
    Good(XmlNodeAccess::Of(*this)->get_attributes(attributes.Out()));
    const ComText carried(CarriedName(XmlFromBytes(name)));
    ComPointer<IXMLDOMNode> attribute;
    if (attributes) Good(attributes->getNamedItem(carried.Get(), attribute.Out()));
    if (attribute) found = XmlToBytes(ValueOf(attribute.Get()));
    return found;
}

XmlNode XmlNode::FirstElement() const { return node_ ? ElementFrom(FirstChild(XmlNodeAccess::Of(*this))) : XmlNode(); }

XmlNode XmlNode::NextElement() const { return node_ ? ElementFrom(NextSibling(XmlNodeAccess::Of(*this))) : XmlNode(); }

size_t XmlNode::ChildNodeCount() const
{
    size_t count = 0;
    if (!node_) return count;
    for (ComPointer<IXMLDOMNode> node = FirstChild(XmlNodeAccess::Of(*this)); node; node = NextSibling(node.Get())) {
        if (!IsText(TypeOf(node.Get())) || !IsXmlBlank(ValueOf(node.Get()))) ++count;
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
    const std::string own = XmlFromBytes(expression);
    std::vector<XmlNode> found = Select(Needed(*this), own);
    if (found.empty()) {
        const std::string foreign = XmlFromForeignBytes(expression);
        if (foreign != own) found = Select(Needed(*this), foreign);
    }
    return found;
}

XmlNode XmlNode::AppendElement(const char* name, std::string_view text)
{
    XmlNode element = AppendElement(name);
    IXMLDOMNode* const node = XmlNodeAccess::Of(element);
    const ComText carried(CarriedText(XmlFromBytes(text)));
    ComPointer<IXMLDOMText> content;
    Good(DocumentOf(node)->createTextNode(carried.Get(), content.Out()));
    Append(node, content.Get());
    return element;
}

XmlNode XmlNode::AppendElement(const char* name)
{
    IXMLDOMNode* const parent = Needed(*this);
    return XmlNodeAccess::Make(AppendNew(DocumentOf(parent).Get(), parent, name));
}

void XmlNode::SetAttribute(const char* name, std::string_view text)
{
    ComPointer<IXMLDOMElement> element;
    Good(Needed(*this)->QueryInterface(IID_IXMLDOMElement, element.OutVoid()));
    const ComText carriedName(CarriedName(CheckedXmlName(name)));
    const ComValue carried(CarriedText(XmlFromBytes(text)));
    Good(element->setAttribute(carriedName.Get(), carried.Get()));
}

void XmlNode::RemoveChild(const XmlNode& child)
{
    if (!child) RaiseNoNode();
    IXMLDOMNode* const parent = Needed(*this);
    ComPointer<IXMLDOMNode> removed;
    if (FAILED(parent->removeChild(XmlNodeAccess::Of(child), removed.Out()))) {
        RaiseComError(kComArgument, "The node is not a child of this one");
    }
}

}  // namespace velmora::platform
