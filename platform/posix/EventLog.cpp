// The event log: the system's log daemon, under the identity "Velmora", or the file that VELMORA_EVENTLOG names.
//
// Datagrams go to the daemon directly, not through syslog(): that function has one identity a process, and it is the
// host's. In a file, one event is one line (platform/shared/EventLine.h), written by one call.
#include "platform/posix/EventLog.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/posix/OpenFiles.h"
#include "platform/shared/EventLine.h"

namespace velmora::platform {

namespace {

struct EventSourceObject : HandleObject {
    static constexpr HandleKind kKind = HandleKind::EventSource;
    explicit EventSourceObject(const char* of) : HandleObject(kKind), source(of ? of : "") {}
    std::string source;
};

// As the log daemon counts.
int SeverityOf(WORD type)
{
    if (type == EVENTLOG_ERROR_TYPE) return 3;
    return type == EVENTLOG_WARNING_TYPE ? 4 : 6;
}

std::string LocalTime()
{
    const time_t now = time(nullptr);
    struct tm parts {};
    localtime_r(&now, &parts);
    char text[40];
    return {text, strftime(text, sizeof(text), "%b %e %H:%M:%S", &parts)};
}

DWORD AppendToFile(const char* path, const std::string& line)
{
    const Descriptor file(OpenFile(path, O_WRONLY | O_CREAT | O_APPEND, 0666));
    // A file that may be made is only missing when its directory is.
    if (!file.IsOpen()) return errno == ENOENT ? ERROR_PATH_NOT_FOUND : PresentError();
    return write(file.Get(), line.data(), line.size()) == static_cast<ssize_t>(line.size()) ? 0 : PresentError();
}

}  // namespace

DWORD SendToLogDaemon(const char* socketPath, int severity, const std::string& text)
{
    constexpr int kUserFacility = 1 << 3;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof(address.sun_path), "%s", socketPath);
    const Descriptor log(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!log.IsOpen()) return PresentError();
    constexpr size_t kLongestText = 8000;  // daemons cut or refuse longer ones
    const std::string message = "<" + std::to_string(kUserFacility | severity) + ">" + LocalTime() + " Velmora[" +
                                std::to_string(getpid()) + "]: " + text.substr(0, kLongestText);
    const ssize_t sent = sendto(log.Get(), message.data(), message.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
                                static_cast<socklen_t>(sizeof(address)));
    return sent >= 0 ? 0 : PresentError();
}

}  // namespace velmora::platform

using namespace velmora::platform;

HANDLE RegisterEventSourceA(LPCSTR, LPCSTR source) { return MakeHandle(std::make_unique<EventSourceObject>(source)); }

BOOL ReportEventA(HANDLE log, WORD type, WORD, DWORD eventId, PSID, WORD stringCount, DWORD, LPCSTR* strings, LPVOID)
{
    if (!HandleAs<EventSourceObject>(log)) return FALSE;
    const std::string text = EventText(strings, stringCount);
    DWORD error;
    const char* file = getenv("VELMORA_EVENTLOG");
    if (file && *file) {
        error = AppendToFile(file, EventLine(type, eventId, text));
    } else {
        error = SendToLogDaemon("/dev/log", SeverityOf(type), text);
    }
    return error == 0 ? TRUE : Fail(error);
}

BOOL DeregisterEventSource(HANDLE log) { return TakeHandle(log, HandleKind::EventSource) != nullptr; }

void OutputDebugStringA(LPCSTR text)
{
    if (text && getenv("VELMORA_DEBUGSTRING")) std::fputs(text, stderr);
}
