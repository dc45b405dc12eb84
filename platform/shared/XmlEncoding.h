// The bytes of an XML file as UTF-8, by its byte order mark and its declaration.
#ifndef VELMORA_PLATFORM_SHARED_XMLENCODING_H
#define VELMORA_PLATFORM_SHARED_XMLENCODING_H

#include <string>
#include <string_view>

#include "platform/shared/XmlFault.h"

namespace velmora::platform {

// UTF-8 with or without a mark, UTF-16 with one, and the declared encodings UTF-8, ISO-8859-1, windows-1252 and us-ascii; any
// other is a fault, and so are bytes that the encoding does not have. The mark is left out, and CR LF and CR become LF. With a
// fault `utf8` ends at it.
XmlFault DecodeXml(std::string_view bytes, std::string& utf8);

}  // namespace velmora::platform

#endif
