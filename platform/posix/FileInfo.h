// What the system knows of a file, in the records of the Windows names.
#ifndef VELMORA_PLATFORM_POSIX_FILEINFO_H
#define VELMORA_PLATFORM_POSIX_FILEINFO_H

#include <string_view>

#include "platform/win32.h"

namespace velmora::platform {

// One system call: type, size and times (creation is the file system's birth time, or the last write where it has none)
// of a name relative to a directory descriptor; a link that leads nowhere is described itself. A directory costs a second
// call, which tells whether a link leads to it (FILE_ATTRIBUTE_REPARSE_POINT). 0, or -1 with errno. The name is not filled
// in.
int DescribeAt(int directory, const char* name, WIN32_FIND_DATAA& found);

void SetFoundName(WIN32_FIND_DATAA& found, std::string_view name);

}  // namespace velmora::platform

#endif
