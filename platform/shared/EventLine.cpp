#include "platform/shared/EventLine.h"

#include <cstdio>

namespace velmora::platform {

namespace {

const char* TypeName(WORD type)
{
    switch (type) {
        case EVENTLOG_ERROR_TYPE:
            return "ERROR";
        case EVENTLOG_WARNING_TYPE:
            return "WARNING";
        case EVENTLOG_SUCCESS:
            return "SUCCESS";
        default:
            return "INFORMATION";
    }
}

void AppendEscaped(std::string& line, const char* text)
{
    for (; *text; ++text) {
        switch (*text) {
            case '\\':
                line += "\\\\";
                break;
            case '\t':
                line += "\\t";
                break;
            case '\r':
                line += "\\r";
                break;
            case '\n':
                line += "\\n";
                break;
            default:
                line += *text;
        }
    }
}

}  // namespace

std::string EventText(const LPCSTR* strings, WORD count)
{
    std::string text;
    for (WORD i = 0; i < count; ++i) {
        if (i > 0) text += '\t';
        if (strings[i]) AppendEscaped(text, strings[i]);
    }
    return text;
}

std::string EventLine(WORD type, DWORD eventId, const std::string& text)
{
    FILETIME now;
    SYSTEMTIME parts;
    GetSystemTimeAsFileTime(&now);
    FileTimeToSystemTime(&now, &parts);
    char begin[64];
    std::snprintf(begin, sizeof(begin), "%04u-%02u-%02uT%02u:%02u:%02uZ\t%s\t0x%08X\t", unsigned{parts.wYear}, unsigned{parts.wMonth},
                  unsigned{parts.wDay}, unsigned{parts.wHour}, unsigned{parts.wMinute}, unsigned{parts.wSecond}, TypeName(type),
                  static_cast<unsigned>(eventId));
    return begin + text + '\n';
}

}  // namespace velmora::platform
