#include "items/HeaderTimes.h"

#include <ctime>

#include "common/Text.h"
#include "items/DateForms.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr int32_t kFirstTmYear = 1900;

// Takes the text up to `delimiter` and steps over it; false when the delimiter is not there.
bool TakeToken(std::string_view& rest, std::string_view delimiter, std::string_view& token)
{
    const size_t end = rest.find(delimiter);
    if (end == std::string_view::npos) return false;
    token = rest.substr(0, end);
    rest.remove_prefix(end + delimiter.size());
    return true;
}

bool SplitHeaderTime(std::string_view text, DateTokens& tokens)
{
    std::string_view rest = text;
    if (!TakeToken(rest, ":", tokens.hour) || !TakeToken(rest, " ", tokens.minute) || !TakeToken(rest, " ", tokens.day) ||
        !TakeToken(rest, ", ", tokens.month) || rest.empty()) {
        return false;
    }
    tokens.year = rest;
    // A second ":" tells that seconds follow.
    const size_t colon = tokens.minute.find(':');
    if (colon != std::string_view::npos) {
        tokens.second = tokens.minute.substr(colon + 1);
        tokens.minute = tokens.minute.substr(0, colon);
    }
    return true;
}

// The seconds of fields of the years 1970 to 3000 as UTC, where a day beyond its month and an hour of 24 count on.
int64_t SecondsAsUtc(const std::tm& fields)
{
    SYSTEMTIME month = {};
    month.wYear = static_cast<WORD>(fields.tm_year + kFirstTmYear);
    month.wMonth = static_cast<WORD>(fields.tm_mon + 1);
    month.wDay = 1;
    FILETIME begin = {};
    if (!SystemTimeToFileTime(&month, &begin)) return 0;
    const int64_t hours = int64_t{fields.tm_mday - 1} * 24 + fields.tm_hour;
    return UnixTimeFromFileTime(FileTimeValue(begin)) + (hours * 60 + fields.tm_min) * 60 + fields.tm_sec;
}

}  // namespace

bool ParseHeaderTimeToIso(std::string_view text, char* result, size_t size)
{
    DateTokens tokens;
    if (!SplitHeaderTime(text, tokens)) return false;
    const std::tm fields = FieldsOf(tokens);
    const int32_t month = fields.tm_mon == 0 ? 1 : fields.tm_mon;
    WriteIsoText({fields.tm_year + kFirstTmYear, month, fields.tm_mday, fields.tm_hour, fields.tm_min, 0}, result, size);
    return true;
}

int32_t ParseHeaderTimeToUnix(std::string_view text)
{
    DateTokens tokens;
    if (!SplitHeaderTime(text, tokens)) return 0;
    TIME_ZONE_INFORMATION zone;
    const DWORD season = GetTimeZoneInformation(&zone);
    if (season == TIME_ZONE_ID_INVALID) return 0;
    const std::tm fields = FieldsOf(tokens);
    std::tm local = fields;
    local.tm_isdst = season == TIME_ZONE_ID_DAYLIGHT ? 1 : 0;
    if (_mktime64(&local) != -1) {
        // The way to the local moment and back by the present offset gives the fields as UTC. It is not walked: where the
        // zone had another offset at that date, it would not lead back.
        return static_cast<int32_t>(static_cast<uint32_t>(SecondsAsUtc(fields)));
    }
    const int64_t bias = int64_t{zone.Bias} + (season == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : 0);
    return static_cast<int32_t>(static_cast<uint32_t>(-1 - bias * 60));
}

bool FormatHeaderTime(int64_t seconds, char* result, size_t size)
{
    const __time64_t moment = seconds;
    std::tm fields = {};
    if (_gmtime64_s(&fields, &moment) != 0) return false;
    char month[4];
    MonthName(fields.tm_mon, month, sizeof month);
    std::string text = FormatText("%02d:%02d", ClampHour(fields.tm_hour), ClampMinuteOrSecond(fields.tm_min));
    if (fields.tm_sec != 0) text += FormatText(":%02d", ClampMinuteOrSecond(fields.tm_sec));
    text += FormatText(" %02d %s, %4d", ClampDay(fields.tm_mday), month, fields.tm_year + kFirstTmYear);
    CopyBounded(result, size, text);
    return true;
}

}  // namespace velmora
