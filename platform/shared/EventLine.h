// An event as one line of the file that VELMORA_EVENTLOG names: time in UTC, type, event number and strings, with tabs
// between; "\", tab and line ends inside a string are escaped.
#ifndef VELMORA_PLATFORM_SHARED_EVENTLINE_H
#define VELMORA_PLATFORM_SHARED_EVENTLINE_H

#include <string>

#include "platform/win32.h"

namespace velmora::platform {

// The strings with tabs between them, escaped. Null ones are empty.
std::string EventText(const LPCSTR* strings, WORD count);

// The whole line, LF at its end; `text` comes from EventText. An unknown type is told as information.
std::string EventLine(WORD type, DWORD eventId, const std::string& text);

}  // namespace velmora::platform

#endif
