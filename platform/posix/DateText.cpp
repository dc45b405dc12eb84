// The present local time, and dates and times by a picture: letters that stand for parts of the date, in runs whose length
// says how each is written, and everything else as it is. Text between single quotes is taken literally; two in a row are one.
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "platform/Clock.h"
#include "platform/posix/Errors.h"
#include "platform/posix/FileTimes.h"

namespace velmora::platform {

namespace {

constexpr LCID kEnglish = 1033;
constexpr const char* kDays[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
constexpr const char* kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                                   "July",    "August",   "September", "October", "November", "December"};
constexpr size_t kShortName = 3;

// With two digits for a run of two letters or more.
std::string Digits(int value, size_t run)
{
    char text[16];
    std::snprintf(text, sizeof text, run == 1 ? "%d" : "%02d", value);
    return text;
}

std::string NameOrDigits(const char* name, int value, size_t run)
{
    if (run < kShortName) return Digits(value, run);
    return run == kShortName ? std::string(name, kShortName) : std::string(name);
}

// A single letter has two digits as well, leading zero and all.
std::string YearText(int year, size_t run)
{
    if (run <= 2) return Digits(year % 100, 2);
    char text[16];
    std::snprintf(text, sizeof text, "%04d", year);
    return text;
}

std::string DatePart(const SYSTEMTIME& parts, char letter, size_t run)
{
    switch (letter) {
        case 'd':
            return NameOrDigits(kDays[parts.wDayOfWeek], parts.wDay, run);
        case 'M':
            return NameOrDigits(kMonths[parts.wMonth - 1], parts.wMonth, run);
        case 'y':
            return YearText(parts.wYear, run);
        default:
            return {};
    }
}

std::string TimePart(const SYSTEMTIME& parts, char letter, size_t run)
{
    switch (letter) {
        case 'H':
            return Digits(parts.wHour, run);
        case 'h':
            return Digits((parts.wHour + 11) % 12 + 1, run);
        case 'm':
            return Digits(parts.wMinute, run);
        case 's':
            return Digits(parts.wSecond, run);
        case 't':
            return std::string(parts.wHour < 12 ? "AM" : "PM", run == 1 ? 1 : 2);
        default:
            return {};
    }
}

// The text between the quotes; `picture` is led behind them.
std::string Quoted(const char*& picture)
{
    std::string text;
    for (++picture; *picture; ++picture) {
        if (*picture == '\'') {
            if (picture[1] != '\'') {
                ++picture;
                break;
            }
            ++picture;
        }
        text += *picture;
    }
    return text;
}

using Part = std::string (*)(const SYSTEMTIME& parts, char letter, size_t run);

std::string ByPicture(const SYSTEMTIME& parts, const char* picture, const char* letters, Part part)
{
    std::string text;
    while (*picture) {
        if (*picture == '\'') {
            text += Quoted(picture);
        } else if (std::strchr(letters, *picture)) {
            const char run[] = {*picture, '\0'};
            const size_t length = std::strspn(picture, run);
            text += part(parts, *picture, length);
            picture += length;
        } else {
            text += *picture++;
        }
    }
    return text;
}

int Give(const std::string& from, char* text, int size)
{
    const int needed = static_cast<int>(from.size()) + 1;
    if (size == 0) return needed;
    if (size < needed) return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(text, from.c_str(), static_cast<size_t>(needed));
    return needed;
}

// Whether the arguments are among those that are known here; the last error is set when they are not.
bool IsKnown(LCID locale, DWORD flags, const char* picture, const char* text, int size)
{
    if (flags != 0) return Fail(ERROR_INVALID_FLAGS);
    if (locale != kEnglish || !picture || size < 0 || (size > 0 && !text)) return Fail(ERROR_INVALID_PARAMETER);
    return true;
}

SYSTEMTIME Given(const SYSTEMTIME* parts)
{
    SYSTEMTIME time{};
    if (!parts) {
        GetLocalTime(&time);
        return time;
    }
    return *parts;
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

void GetLocalTime(SYSTEMTIME* now)
{
    tzset();
    const timespec stamp = StampOf(NowFileTime());
    struct tm local {};
    localtime_r(&stamp.tv_sec, &local);
    *now = {};
    now->wYear = static_cast<WORD>(local.tm_year + 1900);
    now->wMonth = static_cast<WORD>(local.tm_mon + 1);
    now->wDayOfWeek = static_cast<WORD>(local.tm_wday);
    now->wDay = static_cast<WORD>(local.tm_mday);
    now->wHour = static_cast<WORD>(local.tm_hour);
    now->wMinute = static_cast<WORD>(local.tm_min);
    now->wSecond = static_cast<WORD>(local.tm_sec);
    now->wMilliseconds = static_cast<WORD>(stamp.tv_nsec / 1'000'000);
}

int GetDateFormatA(LCID locale, DWORD flags, const SYSTEMTIME* parts, LPCSTR picture, LPSTR text, int size)
{
    if (!IsKnown(locale, flags, picture, text, size)) return 0;
    // By way of the file time: what is no date is refused, and the weekday is the date's own.
    SYSTEMTIME date = Given(parts);
    date.wHour = date.wMinute = date.wSecond = date.wMilliseconds = 0;
    FILETIME time;
    if (!SystemTimeToFileTime(&date, &time) || !FileTimeToSystemTime(&time, &date)) return 0;
    return Give(ByPicture(date, picture, "dMyg", DatePart), text, size);
}

int GetTimeFormatA(LCID locale, DWORD flags, const SYSTEMTIME* parts, LPCSTR picture, LPSTR text, int size)
{
    if (!IsKnown(locale, flags, picture, text, size)) return 0;
    const SYSTEMTIME time = Given(parts);
    if (time.wHour > 23 || time.wMinute > 59 || time.wSecond > 59 || time.wMilliseconds > 999) return Fail(ERROR_INVALID_PARAMETER);
    return Give(ByPicture(time, picture, "Hhmst", TimePart), text, size);
}
