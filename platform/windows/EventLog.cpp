// The event log: the system's, or the file that VELMORA_EVENTLOG names.
#define VELMORA_PLATFORM_BELOW_THE_SEAM
#include <cstdlib>

#include "platform/shared/EventLine.h"
#include "platform/win32.h"

namespace {

// One line by one call, at the end of the file.
BOOL AppendToFile(const char* path, const std::string& line)
{
    const HANDLE file = CreateFileA(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return FALSE;
    DWORD done = 0;
    const BOOL written = WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &done, nullptr);
    CloseHandle(file);
    return written;
}

}  // namespace

BOOL SeamedReportEventA(HANDLE log, WORD type, WORD category, DWORD eventId, PSID user, WORD stringCount, DWORD dataSize, LPCSTR* strings,
                        LPVOID data)
{
    const char* file = getenv("VELMORA_EVENTLOG");
    if (!file || !*file) return ReportEventA(log, type, category, eventId, user, stringCount, dataSize, strings, data);
    return AppendToFile(file, velmora::platform::EventLine(type, eventId, velmora::platform::EventText(strings, stringCount)));
}
