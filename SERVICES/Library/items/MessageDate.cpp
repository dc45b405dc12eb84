#include "items/MessageDate.h"

#include <cstdint>
#include <ctime>

#include "common/Text.h"
#include "items/DateForms.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr size_t kTokenLength = 31;
constexpr int32_t kFirstTmYear = 1900;
constexpr int64_t kSummerTimeSeconds = 3600;

struct MessageDateTokens : DateTokens {
    std::string_view zone;
};

// Takes the text up to `delimiter` and steps over it; false when the delimiter is not there.
bool TakeToken(std::string_view& rest, char delimiter, std::string_view& token)
{
    const size_t end = rest.find(delimiter);
    if (end == std::string_view::npos) return false;
    token = rest.substr(0, end < kTokenLength ? end : kTokenLength);
    rest.remove_prefix(end + 1);
    return true;
}

// The day stands between the first two blanks behind the comma, or, where these touch, before the next one. Without a
// comma it is the text up to the first blank that is not the text's first byte.
bool TakeDay(std::string_view& rest, std::string_view& day)
{
    const size_t comma = rest.find(',');
    if (comma != std::string_view::npos) {
        rest.remove_prefix(comma + 1);
        std::string_view gap;
        if (!TakeToken(rest, ' ', gap) || !TakeToken(rest, ' ', day)) return false;
        return !day.empty() || TakeToken(rest, ' ', day);
    }
    const size_t blank = rest.find(' ', 1);
    if (blank == std::string_view::npos) return false;
    day = rest.substr(0, blank < kTokenLength ? blank : kTokenLength);
    rest.remove_prefix(blank + 1);
    return true;
}

bool SplitDate(std::string_view text, MessageDateTokens& tokens)
{
    std::string_view rest = text;
    if (!TakeDay(rest, tokens.day) || !TakeToken(rest, ' ', tokens.month) || !TakeToken(rest, ' ', tokens.year) ||
        !TakeToken(rest, ':', tokens.hour) || !TakeToken(rest, ':', tokens.minute) || !TakeToken(rest, ' ', tokens.second)) {
        return false;
    }
    tokens.zone = rest.substr(0, rest.find(' ')).substr(0, kTokenLength);
    return true;
}

void WriteFields(const std::tm& fields, int32_t month, char* result, size_t size)
{
    WriteIsoText({fields.tm_year + kFirstTmYear, month, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec}, result, size);
}

// "+0130" is 5400 seconds.
// Kept: a zone of letters, "EST" for one, is no number and counts as UTC.
int64_t ZoneSeconds(std::string_view zone)
{
    const int64_t value = EqualsNoCase(zone, "GMT") ? 0 : ParseLong(zone);
    const int64_t hours = value / 100;
    return hours * 3600 + (value - hours * 100) * 60;
}

}  // namespace

bool ParseMessageDate(std::string_view text, char* result, size_t size)
{
    MessageDateTokens tokens;
    if (!SplitDate(text, tokens)) return false;

    const std::tm written = FieldsOf(tokens);
    std::tm fields = written;
    int64_t seconds = _mktime64(&fields);
    if (seconds == -1) {
        // Kept: without a normalised date the month is the number of its name, which is one too low from February on.
        WriteFields(written, written.tm_mon == 0 ? 1 : written.tm_mon, result, size);
        return true;
    }
    if (fields.tm_isdst > 0) seconds -= kSummerTimeSeconds;

    if (tokens.zone.empty()) {
        // Kept: in summer time the normalised fields are an hour ahead of the text.
        WriteFields(fields, fields.tm_mon + 1, result, size);
        return true;
    }
    seconds -= ZoneSeconds(tokens.zone);
    std::tm moment = {};
    if (seconds <= 0 || _localtime64_s(&moment, &seconds) != 0) return false;
    WriteFields(moment, moment.tm_mon + 1, result, size);
    return true;
}

}  // namespace velmora
