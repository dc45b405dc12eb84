// Text on its way through a parser that would refuse or change parts of it.
//
// References to control bytes are refused there and a CR is lost: both go past it as code points of private use, U+E000 and
// the byte. What the file itself has in that range stands behind U+E020. There are no namespaces here, names are plain: a ":"
// in a name goes past as U+11F9, and in front of one that begins with "xmlns" stands U+11F8, two letters that no name of ours
// has.
#ifndef VELMORA_PLATFORM_WINDOWS_XMLCARRIED_H
#define VELMORA_PLATFORM_WINDOWS_XMLCARRIED_H

#include <string>
#include <string_view>

namespace velmora::platform {

// Texts of a document, names of elements and attributes, and expressions: from UTF-8, and texts and names back.
std::wstring CarriedText(std::string_view utf8);
std::wstring CarriedName(std::string_view utf8);
std::wstring CarriedExpression(std::string_view utf8);
std::string FromCarriedText(std::wstring_view carried);
std::string FromCarriedName(std::wstring_view carried);

// A whole document that is known to be well-formed, without its declaration; `standalone` takes what that said of it.
std::wstring CarriedDocument(std::string_view utf8, std::string& standalone);

}  // namespace velmora::platform

#endif
