// Escaping of property values in index files.
#ifndef VELMORA_PERSISTENCE_ENTITIES_H
#define VELMORA_PERSISTENCE_ENTITIES_H

#include <cstddef>
#include <string>
#include <string_view>

namespace velmora {

// "&", "<", ">" as names; every byte but 9, 10, 13 and 32 to 127 as "&#x" lower-case hex ";".
void EncodeEntities(std::string& text);
// Appends the encoded form of `text` to `out`.
void AppendEncoded(std::string& out, std::string_view text);

// The reverse. First every "&#...;" becomes the byte of its low eight bits (hexadecimal behind "x"), the scan starting
// again from the start of the text each time, so that "&#38;#60;" is "<". Then "&lt;", then "&gt;", then "&amp;", each
// scan going on right behind the byte that it put in place. "&#" with no ";" behind it ends the decoding of references;
// the text stays.
void DecodeEntities(std::string& text);
// The same for an attribute of a document, whose writer has "&quot;" and "&apos;" too.
void DecodeAttribute(std::string& text);
// The decoding of entities in a buffer; returns the new length, which is never above `size`.
size_t DecodeEntitiesInPlace(char* text, size_t size);

}  // namespace velmora

#endif
