// The quoted-printable form of text in vCards and calendar objects (RFC 2045, section 6.7, as those formats use it).
#ifndef VELMORA_ITEMS_QUOTEDPRINTABLE_H
#define VELMORA_ITEMS_QUOTEDPRINTABLE_H

#include <string>
#include <string_view>

namespace velmora {

// "=" and two hexadecimal digits of either case are one byte. Any other "=" goes, and what stands behind it stays; but of
// the last two bytes nothing is changed that does not belong to such a byte.
std::string QuotedPrintableDecode(std::string_view text);

}  // namespace velmora

#endif
