#include "platform/shared/XmlFault.h"

#include <cstdio>
#include <utility>

#include "platform/shared/XmlText.h"

namespace velmora::platform {

namespace {

constexpr char kSource[] = "Velmora XML";

struct MeaningRow {
    uint32_t code;
    const char* text;
};

constexpr MeaningRow kMeanings[] = {
    {kComPointer, "Invalid pointer"},
    {kComFail, "Unspecified error"},
    {kComArgument, "One or more arguments are invalid"},
    {ComCodeOf(2), "The file is not there"},
    {ComCodeOf(3), "The directory is not there"},
    {ComCodeOf(5), "Access is denied"},
    {ComCodeOf(32), "The file is in use by another"},
    {ComCodeOf(112), "There is not enough space on the disk"},
};

}  // namespace

XmlParseError ParseErrorOf(const XmlFault& fault, std::string_view text)
{
    XmlParseError error;
    if (!fault) return error;
    error.code = static_cast<uint32_t>(fault.code);
    error.reason = fault.reason;
    error.line = error.column = 1;
    for (size_t i = 0; i < fault.offset && i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte == '\n') {
            ++error.line;
            error.column = 1;
        } else if ((byte & 0xC0) != 0x80) {
            ++error.column;
        }
    }
    return error;
}

ComError MakeComError(uint32_t code, std::string description)
{
    ComError error;
    error.code = code;
    error.source = kSource;
    error.description = std::move(description);
    for (const MeaningRow& row : kMeanings) {
        if (row.code == code) error.meaning = row.text;
    }
    if (error.meaning.empty()) {
        char text[32];
        std::snprintf(text, sizeof text, "Unknown error 0x%08X", static_cast<unsigned>(code));
        error.meaning = text;
    }
    return error;
}

void RaiseComError(uint32_t code, std::string description) { throw MakeComError(code, std::move(description)); }

void RaiseNoNode() { RaiseComError(kComPointer, "There is no node"); }

std::string CheckedXmlName(const char* name)
{
    if (!name) RaiseComError(kComPointer, "A name is missing");
    if (!XmlDocument::TakesName(name)) RaiseComError(kComFail, "No document can hold the name \"" + std::string(name) + "\"");
    return XmlFromBytes(name);
}

bool XmlDocument::TakesName(std::string_view name) { return name.find('\0') == std::string_view::npos && IsXmlName(XmlFromBytes(name)); }

}  // namespace velmora::platform
