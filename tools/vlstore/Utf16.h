// UTF-16 with the little end first, as regedit writes its exports, and the bytes that the store makes of it: a character
// below 256 is the byte of that number, one that Windows-1252 has between 0x80 and 0x9F is that byte, all others are their
// UTF-8 bytes. So bytes are what counts, and one byte may have been written in two ways.
#ifndef VLSTORE_UTF16_H
#define VLSTORE_UTF16_H

#include <string>
#include <string_view>

namespace vlstore {

// Half a pair becomes the three bytes of its number, an odd byte at the end is dropped.
std::string BytesFromUtf16(std::string_view utf16);
// UTF-16 that comes back as these bytes: characters where they do, else a character for each byte.
std::string Utf16FromBytes(std::string_view bytes);
// The front of `utf16` that `length` bytes were made from; `length` ends between two characters.
std::string_view Utf16Of(std::string_view utf16, size_t length);

}  // namespace vlstore

#endif
