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
    const int32_t minutes = -(zone.Bias + (season == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : zone.StandardBias));
    return minutes / 60 * 100 + minutes % 60;
}

std::string FormatRfc822Now()
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    char time[kTextSize] = "";
    char date[kTextSize] = "";
    GetTimeFormatA(kEnglish, 0, &now, "HH:mm:ss", time, kTextSize);
    GetDateFormatA(kEnglish, 0, &now, "ddd, d MMM yyyy", date, kTextSize);
    const int32_t zone = CurrentZoneMinutes();
    return zone < 0 ? FormatText("%s %s %4.4d", date, time, zone) : FormatText("%s %s %c%4.4d", date, time, '+', zone);
}

uint64_t MinutesSince(uint64_t fileTime) { return AgeInMinutes(fileTime, platform::NowFileTime()); }

}  // namespace velmora
