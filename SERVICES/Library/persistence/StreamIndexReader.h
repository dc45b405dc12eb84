// The stream reader: bytes of an index file in, items and a first fault out. It opens no file.
//
// The format, of _index.xml and of _groups.xml alike:
//
//     offset 0    <BASEELEMENT LASTUID="x        23 bytes
//     offset 23   LastUID                        8 lower-case hexadecimal digits
//     offset 31   ">
//     offset 33   the elements, with nothing between them, in ascending order of UID
//     the end     </BASEELEMENT>CR LF            16 bytes
//
//     <ELEMENT ID="2011A.MAI" UID="17"><FLAGS>SEEN</FLAGS><SIZE>2048</SIZE></ELEMENT>
//
// It looks like XML and an XML parser can read it, but the reader knows three kinds of tag only, remembers where each
// element stands, and can stop behind the header, leave out all values, or make only chosen items. The "x" in front of
// the digits marks the form whose offsets may be relied on; without it the file is of the old form, which is read and
// then rewritten in full by the next save. An attribute value of nothing but "-" marks an element as removed.
//
// Tags are at most 1,023 bytes long; what goes beyond is read as text. Text between tags has no bound.
#ifndef VELMORA_PERSISTENCE_STREAMINDEXREADER_H
#define VELMORA_PERSISTENCE_STREAMINDEXREADER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "index/SelectionSet.h"
#include "velmora/index_records.h"

namespace velmora {

// Where the bytes come from. Read gives up to `size` bytes and 0 at the end.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual size_t Read(char* buffer, size_t size) = 0;
};

class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::string_view bytes) : bytes_(bytes) {}
    size_t Read(char* buffer, size_t size) override;

private:
    std::string_view bytes_;
};

// Asked for each item when files are to be verified: is there a plain file of exactly that name?
class ItemFileCheck {
public:
    virtual ~ItemFileCheck() = default;
    virtual bool FileExists(std::string_view id) = 0;
};

enum class ParseResult { Malformed = 0, Good = 1, RepeatInFull = 2 };

// One pass over an index file at `level` 1, 2 or 3 into an empty table.
//
// RepeatInFull: tombstones have reached the threshold in a partial pass; the table is empty again and the caller reads
// once more at level 3 with no selection. Malformed: `fault` holds the first message; the table holds what was inserted.
struct ParseOptions {
    int32_t level = 3;
    SelectionSet selection;           // empty: all
    ItemFileCheck* files = nullptr;   // null: files are not verified
    uint32_t garbageThreshold = 500;  // tombstones at which a rewrite is asked for
};
struct ParseOutcome {
    ParseResult result = ParseResult::Malformed;
    std::string fault;
};
[[nodiscard]] ParseOutcome ParseIndexStream(SORTEDSTOREINDEXTYPE& table, ByteSource& source, const ParseOptions& options);

enum class RootForm { New, Old };
// Reads LASTUID out of a root tag. Old means anything but the form with "x"; a tag without the attribute leaves
// `lastUid` as it stands.
RootForm ParseLastUID(std::string_view tagText, uint32_t& lastUid);

}  // namespace velmora

#endif
