// Text of XML documents: bytes on our side, code points on the document's. Inside the adapters text is UTF-8.
#ifndef VELMORA_PLATFORM_SHARED_XMLTEXT_H
#define VELMORA_PLATFORM_SHARED_XMLTEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Xml.h"

namespace velmora::platform {

void AppendUtf8(std::string& out, uint32_t codePoint);

// The code point at `position`, which moves behind it. What is no UTF-8 is taken byte by byte.
uint32_t NextCodePoint(std::string_view utf8, size_t& position);

// The code point that Windows-1252 has for a byte; the five that it leaves out stand for themselves.
uint32_t CodePointOfWindows1252(unsigned char byte);

// Bytes as a document's text: each the code point of its number. Ends at a zero byte, which no document can hold.
std::string XmlFromBytes(std::string_view bytes);

// Bytes as others may have written them into a document, for looking texts up: the code points of Windows-1252 for 0x80 to
// 0x9F, and those of UTF-8 where it stands for code points above 255. Other bytes are the code points of their numbers.
std::string XmlFromForeignBytes(std::string_view bytes);

// A character that may stand in a document, literally or as a reference. Of the control characters only tab, LF and CR.
inline bool IsXmlCharacter(uint32_t codePoint)
{
    if (codePoint < 0x20) return codePoint == 9 || codePoint == 10 || codePoint == 13;
    return codePoint < 0xD800 || (codePoint > 0xDFFF && codePoint < 0xFFFE) || (codePoint > 0xFFFF && codePoint < 0x110000);
}

bool IsXmlNameStart(uint32_t codePoint);
bool IsXmlNamePart(uint32_t codePoint);
// A whole name, in UTF-8.
bool IsXmlName(std::string_view utf8);

inline bool IsXmlBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
// Nothing but white space, or nothing at all.
bool IsXmlBlank(std::string_view text);

}  // namespace velmora::platform

#endif
