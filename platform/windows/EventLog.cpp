// The event log: the system's, or the file that VELMORA_EVENTLOG names.
#define VELMORA_PLATFORM_BELOW_THE_SEAM
#include <cstdlib>

#include "platform/shared/EventLine.h"
#include "platform/win32.h"

namespace {

// One line by one call, at the end of the file. Writers keep apart by a lock on a byte that no file reaches: where the
// system finds the end first and then writes, as Wine does, two would write at one place. Closing the file unlocks it.
BOOL AppendToFile(const char* path, const std::string& line)
{
    const HANDLE file = CreateFileA(path, FILE_APPEND_DATA | FILE_READ_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return FALSE;
    OVERLAPPED place{};
    place.OffsetHigh = 0x7FFFFFFF;
    DWORD done = 0;
    const BOOL written = LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &place) &&
                         WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &done, nullptr);
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
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
