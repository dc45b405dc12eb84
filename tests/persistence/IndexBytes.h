// The bytes of index files, put together by hand.
#ifndef VELMORA_TESTS_PERSISTENCE_INDEXBYTES_H
#define VELMORA_TESTS_PERSISTENCE_INDEXBYTES_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::test {

inline constexpr char kRootEnd[] = "</BASEELEMENT>\r\n";

using PropertyList = std::vector<std::pair<std::string, std::string>>;

inline std::string Header(uint32_t lastUid)
{
    char text[40];
    std::snprintf(text, sizeof text, "<BASEELEMENT LASTUID=\"x%08x\">", lastUid);
    return text;
}

// Properties stand as given: raw, in the order of the list.
inline std::string Element(std::string_view id, std::string_view uid, const PropertyList& properties = {})
{
    std::string bytes = "<ELEMENT ID=\"";
    bytes.append(id).append("\" UID=\"").append(uid).append("\">");
    for (const auto& [name, value] : properties)
        bytes.append("<").append(name).append(">").append(value).append("</").append(name).append(">");
    return bytes.append("</ELEMENT>");
}

inline std::string Element(std::string_view id, uint32_t uid, const PropertyList& properties = {})
{
    return Element(id, std::to_string(uid), properties);
}

inline std::string IndexFile(uint32_t lastUid, std::string_view elements) { return Header(lastUid).append(elements).append(kRootEnd); }

}  // namespace velmora::test

#endif
