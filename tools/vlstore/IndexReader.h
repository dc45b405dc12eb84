// The tool's own reader of index files, _index.xml and _groups.xml, which knows nothing of the library's: bytes in, the items
// with their places out, and the first fault.
//
// Three forms of one tree. A root BASEELEMENT with the attribute LASTUID has an ELEMENT for each item, with the attributes ID and
// UID and a child for each other property. An ELEMENT with an attribute of "-" alone, or an empty one, is a removed item.
//   stream   LASTUID is "x" and eight hexadecimal digits and stands at byte 23; no byte between the elements; CR LF at the end.
//            Values of attributes are bytes as they stand
//   dom-new  LASTUID begins with "x", and the bytes are not those of the stream form
//   dom-old  LASTUID is a decimal number, or hexadecimal when it begins with "0"; without it there is as many as elements
#ifndef VLSTORE_INDEXREADER_H
#define VLSTORE_INDEXREADER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "XmlScanner.h"

namespace vlstore {

enum class IndexForm { Stream, DomNew, DomOld };
const char* NameOf(IndexForm form);

struct IndexProperty {
    std::string_view name;
    std::string_view raw;  // as it stands in the file
    bool cdata = false;    // some of it is, or it stands in several pieces: `text` counts
    std::string text;
};

struct IndexElement {
    size_t offset = 0, length = 0;  // from the "<" of its start tag through the ">" of its end tag
    bool tombstone = false;
    std::string id;                         // as the readers of its form tell it
    uint32_t uid = 0;                       // 0 for a tombstone
    std::vector<IndexProperty> properties;  // in the file's order, of any element
};

// What an index file holds. Texts point into its bytes.
struct IndexFile {
    IndexForm form = IndexForm::DomOld;
    std::optional<std::string_view> lastUidText;
    uint32_t lastUid = 0;
    size_t rootOffset = 0, rootLength = 0;  // the root's start tag
    size_t endOffset = 0, endLength = 0;    // its end tag; 0 for one that closes itself
    std::vector<IndexElement> elements;     // whole ones in front of the fault
    std::optional<XmlFault> fault;          // no reader takes what stands from here on, or it makes no sense as an index
    std::optional<XmlFault> streamFault;    // the first place that the stream reader alone refuses

    size_t Tombstones() const;
    // The first of both faults in the file.
    std::optional<XmlFault> FirstFault() const;
};

IndexFile ReadIndex(std::string_view bytes);

// The properties of an element with their values as the readers of its form tell them; of a name that stands twice the last.
std::map<std::string, std::string> PropertiesOf(const IndexFile& index, const IndexElement& element);

}  // namespace vlstore

#endif
