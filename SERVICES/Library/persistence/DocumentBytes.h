// What the flat form of an index file holds and an XML parser would not give back.
//
// The stream writer leaves carriage returns in values as they are, where XML reads a line feed, and puts IDs between quotes
// as they are, where XML makes blanks of white space, knows "&" and "<" as something else and takes several bytes above 127 for
// one letter. It makes tags of columns whose names are none for XML, as a contact's IM_TYPE=ICQ. Files that bear such things are
// read as documents through bytes in which these stand as references, and the names with what is odd in them as "_x3D_".
//
// So is every file with the header of the stream writer, whether XML would take it or not. Our document writer makes that header
// too, and no reference under it but in values.
//
// A zero byte, which the stream writer has as a reference, ends a value for XML: what is behind it is left out.
#ifndef VELMORA_PERSISTENCE_DOCUMENTBYTES_H
#define VELMORA_PERSISTENCE_DOCUMENTBYTES_H

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// With every carriage return in a value as a reference and, in a file with that header, every byte of an element's attributes
// that needs one, the names of columns, and values up to a zero byte; nothing when there is nothing of the sort.
std::optional<std::string> WithBytesKept(std::string_view bytes);

// The same with the names that hold a "=" too, which could as well be tags with attributes: for a file with that header that is
// not well-formed. Nothing for any other.
std::optional<std::string> WithNamesKept(std::string_view bytes);
// Whether a byte cannot stand in an attribute of a document as it is.
bool NeedsReference(char byte);
// The name of a column that stands so in a document made of such bytes.
std::string ColumnOfName(std::string_view name);
// Whether all bytes of a name are ASCII.
bool IsAscii(std::string_view name);

}  // namespace velmora

#endif
