// The text form of settings, as regedit exports and imports it:
//
//   Windows Registry Editor Version 5.00
//
//   ; a comment
//   [HKEY_LOCAL_MACHINE\SOFTWARE\Some\Key]
//   @="the value without a name"
//   "Text"="with \\ and \" escaped"
//   "Number"=dword:0000000a
//   "Bytes"=hex:01,02,03
//   "Text elsewhere"=hex(2):41,00,00,00
//   "Gone"=-
//   [-HKEY_LOCAL_MACHINE\SOFTWARE\Gone]
//
// A list of bytes goes on in the next line behind a "\" at the end of its own. Lines end with LF or CR LF. The file is bytes, or UTF-16LE with its byte order mark, as regedit writes it; a UTF-8 mark
// is passed over. Characters of UTF-16 below 256 become the byte of that number, those that Windows-1252 has between 0x80
// and 0x9F become that byte, all others their UTF-8 bytes; the same holds for the texts of hex(1), hex(2) and hex(7).
//
// The parser is pure: bytes in, keys and the first fault out. What stands before a fault counts.
#ifndef VELMORA_PLATFORM_SHARED_REGISTRYFILE_H
#define VELMORA_PLATFORM_SHARED_REGISTRYFILE_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/win32.h"

namespace velmora::platform {

// ASCII order without regard to case.
struct LessNoCase {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
};

struct RegistryValue {
    DWORD type = REG_NONE;
    std::string data;  // as RegQueryValueExA gives it: texts end with a zero byte, a number is four bytes, lowest first
};

using RegistryValues = std::map<std::string, RegistryValue, LessNoCase>;  // the name is empty for "@"

// Keys by their whole path ("HKEY_LOCAL_MACHINE\SOFTWARE\..."), without "\" at the end.
using RegistryKeys = std::map<std::string, RegistryValues, LessNoCase>;

struct RegistryFault {
    size_t line = 0;  // from 1
    std::string reason;
};

struct RegistryContents {
    RegistryKeys keys;
    std::optional<RegistryFault> fault;
};

RegistryContents ParseRegistryFile(std::string_view bytes);

// What a file holds that cannot be read, or is longer than kLargestRegistryFile bytes: nothing, and a fault that says so.
inline constexpr size_t kLargestRegistryFile = 16 * 1024 * 1024;
RegistryContents UnreadableRegistryFile();

// Whether the key is there: named itself, or a key below it is.
bool HasRegistryKey(const RegistryKeys& keys, std::string_view path);

// Adds the parts of a sub-key's path, each behind a "\"; empty parts are dropped.
void AppendRegistryPath(std::string& path, std::string_view subKey);

// Answers RegQueryValueExA for the key at `path`: the arguments and results are that function's.
LSTATUS GiveRegistryValue(const RegistryKeys& keys, std::string_view path, std::string_view name, LPDWORD type, LPBYTE data, LPDWORD size);

// One line on standard error: file, line and reason.
void ReportRegistryFault(const std::string& file, const RegistryFault& fault);

}  // namespace velmora::platform

#endif
