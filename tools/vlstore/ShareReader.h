// The files of shares: bytes in, names out.
#ifndef VLSTORE_SHAREREADER_H
#define VLSTORE_SHAREREADER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "XmlScanner.h"

namespace vlstore {

// The folders of a list of shares (_Shares.xml), as its SHARE elements name them: "/Inbox/Projects". A fault ends it.
std::vector<std::string> SharedFolders(std::string_view bytes, std::optional<XmlFault>& fault);
// The users of an access list (_Access.XML), as its ITEM elements name them. The same.
std::vector<std::string> UsersOf(std::string_view bytes, std::optional<XmlFault>& fault);

}  // namespace vlstore

#endif
