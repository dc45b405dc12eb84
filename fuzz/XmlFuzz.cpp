// Documents of any bytes. A strict parser of another make must say the same of them, but for what is known to differ; what
// loads is saved, and loads again to the same tree.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Xml.h"
#include "platform/shared/XmlCheck.h"
#include "platform/shared/XmlEncoding.h"

using namespace velmora;
using namespace velmora::platform;

namespace {

// All that can be seen of a tree; the depth is bounded by the load.
void Describe(const XmlNode& node, std::string& seen)
{
    seen += '<' + node.Name();
    for (const XmlAttribute& attribute : node.Attributes()) seen += ' ' + attribute.name + '=' + attribute.text;
    seen += '>' + node.Text() + std::to_string(node.ChildNodeCount());
    for (XmlNode child = node.FirstElement(); child; child = child.NextElement()) Describe(child, seen);
    seen += '\0';
}

std::string Described(const XmlDocument& document)
{
    std::string seen;
    Describe(document.DocumentElement(), seen);
    return seen;
}

struct OtherOpinion {
    bool takes = false;
    int error = 0;
};

OtherOpinion Ask(const std::string& text)
{
    constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE;
    xmlResetLastError();
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), "", "UTF-8", kOptions), xmlFreeDoc);
    const xmlError* const error = xmlGetLastError();
    return {document != nullptr, error ? error->code : 0};
}

// A reference to a control byte, which is ours alone to take.
bool HasControlReference(const std::string& text)
{
    for (size_t at = text.find("&#"); at != std::string::npos; at = text.find("&#", at + 2)) {
        const bool hexadecimal = text[at + 2] == 'x';
        if (std::strtoul(text.c_str() + at + (hexadecimal ? 3 : 2), nullptr, hexadecimal ? 16 : 10) < 0x20) return true;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto document = XmlDocument::Create();
    const bool loaded = document->LoadBytes(bytes);
    if (loaded == (document->ParseError().code != 0)) std::abort();
    if (loaded != static_cast<bool>(document->DocumentElement())) std::abort();

    // As text, so that what each knows of encodings is left out.
    std::string text;
    if (!DecodeXml(bytes, text)) {
        const XmlFault fault = CheckXml(text);
        // The parser behind the check must have nothing to say.
        if (static_cast<bool>(fault) == loaded) std::abort();
        const bool judged = fault.code != XmlFaultCode::DocumentType && fault.code != XmlFaultCode::TooDeep &&
                            fault.code != XmlFaultCode::DeclarationSyntax && text.find('\0') == std::string::npos &&
                            !(loaded && HasControlReference(text)) && !text.empty() && text.compare(0, 3, "\xEF\xBB\xBF") != 0;
        if (judged && Ask(text).takes != loaded) std::abort();
    }
    if (!loaded) {
        if (document->ParseError().line < 1 || document->ParseError().column < 1 || document->ParseError().reason.empty()) std::abort();
        return 0;
    }

    const std::string saved = document->ToBytes();
    const auto again = XmlDocument::Create();
    if (!again->LoadBytes(saved)) std::abort();
    if (Described(*again) != Described(*document)) std::abort();
    if (again->ToBytes() != saved) std::abort();

    // Anything may be looked for.
    try {
        (void)document->DocumentElement().SelectNodes(std::string(bytes.substr(0, 64)));
    } catch (const ComError&) {
    }
    return 0;
}
