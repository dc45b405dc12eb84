#include "items/PresentTime.h"

#include "common/Text.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "platform/Clock.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr LCID kEnglish = 1033;
constexpr int kTextSize = 64;

}  // namespace

int32_t CurrentZoneMinutes()
{
    TIME_ZONE_INFORMATION zone;
    const DWORD season = GetTimeZoneInformation(&zone);
    if (season == TIME_ZONE_ID_INVALID) return 0;
    const int32_t more = season == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : season == TIME_ZONE_ID_STANDARD ? zone.StandardBias : 0;
    const int32_t minutes = -(zone.Bias + more);
    return minutes / 60 * 100 + minutes % 60;
}

std::string FormatRfc822(const SYSTEMTIME& local, int32_t zone)
{
    char time[kTextSize] = "";
    char date[kTextSize] = "";
    GetTimeFormatA(kEnglish, 0, &local, "HH:mm:ss", time, kTextSize);
    GetDateFormatA(kEnglish, 0, &local, "ddd, d MMM yyyy", date, kTextSize);
    return zone < 0 ? FormatText("%s %s %4.4d", date, time, zone) : FormatText("%s %s %c%4.4d", date, time, '+', zone);
}

std::string FormatRfc822Now()
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    return FormatRfc822(now, CurrentZoneMinutes());
}

uint64_t MinutesSince(uint64_t fileTime) { return AgeInMinutes(fileTime, platform::NowFileTime()); }

}  // namespace velmora
