#include "ValueForm.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "Text.h"

namespace vlstore {

namespace {

// Type codes of the API; all others are some kind of text.
constexpr uint64_t kFileTimeCode = 3;
constexpr uint64_t kInt32Code = 7;
constexpr uint64_t kDoubleCode = 9;
constexpr uint64_t kBoolCode = 10;

constexpr uint64_t kTicksPerSecond = 10'000'000;
constexpr int kTickDigits = 7;
constexpr std::chrono::sys_seconds kFirstMoment = std::chrono::sys_days(std::chrono::year(1601) / 1 / 1);
constexpr double kHalfOfLastPlace = 0.005;

template <typename Number>
std::optional<Number> ParseAll(std::string_view text)
{
    Number number{};
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

template <typename Number>
std::optional<Number> NumberAt(const void* bytes, uint64_t size)
{
    Number number{};
    if (!bytes || size < sizeof number) return std::nullopt;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

template <typename Number>
std::string Image(Number number)
{
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

std::string TimeText(uint64_t ticks)
{
    using namespace std::chrono;
    const sys_seconds moment = kFirstMoment + seconds(static_cast<int64_t>(ticks / kTicksPerSecond));
    const sys_days day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    std::string shown = text;
    if (const uint64_t rest = ticks % kTicksPerSecond) {
        std::snprintf(text, sizeof text, ".%0*u", kTickDigits, static_cast<unsigned>(rest));
        shown += text;
        shown.erase(shown.find_last_not_of('0') + 1);
    }
    return shown + "Z";
}

// Two digits or four, at their place in the text.
std::optional<int> DigitsAt(std::string_view text, size_t at, size_t count)
{
    for (size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
    }
    return ParseAll<int>(text.substr(at, count));
}

std::optional<uint64_t> TicksOf(std::string_view text)
{
    using namespace std::chrono;
    constexpr std::string_view kShape = "0000-00-00T00:00:00Z";
    if (text.size() != kShape.size()) return std::nullopt;
    for (size_t i = 0; i < text.size(); ++i) {
        if (kShape[i] != '0' && kShape[i] != text[i]) return std::nullopt;
    }
    const auto year = DigitsAt(text, 0, 4), month = DigitsAt(text, 5, 2), day = DigitsAt(text, 8, 2);
    const auto hour = DigitsAt(text, 11, 2), minute = DigitsAt(text, 14, 2), second = DigitsAt(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
    const year_month_day date{std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                              std::chrono::day(static_cast<unsigned>(*day))};
    if (!date.ok() || *hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
    const sys_seconds moment = sys_days(date) + hours(*hour) + minutes(*minute) + seconds(*second);
    if (moment < kFirstMoment) return std::nullopt;
    return static_cast<uint64_t>((moment - kFirstMoment).count()) * kTicksPerSecond;
}

std::optional<Cell> ParseBool(std::string_view text)
{
    for (std::string_view yes : {"yes", "true", "1"}) {
        if (EqualNoCase(text, yes)) return Cell(true);
    }
    for (std::string_view no : {"no", "false", "0"}) {
        if (EqualNoCase(text, no)) return Cell(false);
    }
    return std::nullopt;
}

}  // namespace

ValueForm FormOfCode(uint64_t code)
{
    switch (code) {
        case kFileTimeCode:
            return ValueForm::FileTime;
        case kInt32Code:
            return ValueForm::Int32;
        case kDoubleCode:
            return ValueForm::Double;
        case kBoolCode:
            return ValueForm::Bool;
        default:
            return ValueForm::Text;
    }
}

const char* NameOf(ValueForm form)
{
    switch (form) {
        case ValueForm::Int32:
            return "int32";
        case ValueForm::Double:
            return "double";
        case ValueForm::Bool:
            return "bool";
        case ValueForm::FileTime:
            return "filetime";
        case ValueForm::Text:
            break;
    }
    return "text";
}

Cell ReadValue(ValueForm form, const void* bytes, uint64_t size)
{
    switch (form) {
        case ValueForm::Int32:
            if (auto number = NumberAt<int32_t>(bytes, size)) return static_cast<int64_t>(*number);
            return {};
        case ValueForm::Double:
            if (auto number = NumberAt<double>(bytes, size)) return *number;
            return {};
        case ValueForm::Bool:
            if (auto number = NumberAt<uint32_t>(bytes, size)) return *number != 0;
            return {};
        case ValueForm::FileTime:
            if (auto ticks = NumberAt<uint64_t>(bytes, size)) return TimeText(*ticks);
            return {};
        case ValueForm::Text:
            break;
    }
    if (!bytes) return {};
    const char* text = static_cast<const char*>(bytes);
    const void* end = std::memchr(text, '\0', size);
    return std::string(text, end ? static_cast<size_t>(static_cast<const char*>(end) - text) : size);
}

std::optional<Cell> ParseValue(ValueForm form, const std::string& text)
{
    switch (form) {
        case ValueForm::Int32:
            if (auto number = ParseAll<int32_t>(text)) return Cell(static_cast<int64_t>(*number));
            return std::nullopt;
        case ValueForm::Double:
            if (auto number = ParseAll<double>(text); number && std::isfinite(*number)) return Cell(*number);
            return std::nullopt;
        case ValueForm::Bool:
            return ParseBool(text);
        case ValueForm::FileTime:
            if (!TicksOf(text)) return std::nullopt;
            return Cell(text);
        case ValueForm::Text:
            break;
    }
    return Cell(text);
}

const char* WantedFor(ValueForm form)
{
    switch (form) {
        case ValueForm::Int32:
            return "a number of 32 bits";
        case ValueForm::Double:
            return "a number";
        case ValueForm::Bool:
            return "yes or no";
        case ValueForm::FileTime:
            return "a time in UTC as 2024-03-04T07:15:30Z";
        case ValueForm::Text:
            break;
    }
    return "a text";
}

std::string BytesOf(ValueForm form, const Cell& value)
{
    switch (form) {
        case ValueForm::Int32:
            return Image(static_cast<int32_t>(std::get<int64_t>(value)));
        case ValueForm::Double:
            return Image(std::get<double>(value));
        case ValueForm::Bool:
            return Image(uint32_t{std::get<bool>(value)});
        case ValueForm::FileTime:
            return Image(TicksOf(std::get<std::string>(value)).value_or(0));
        case ValueForm::Text:
            break;
    }
    return std::get<std::string>(value);
}

bool IsSameValue(const Cell& given, const Cell& stored)
{
    const double* a = std::get_if<double>(&given);
    const double* b = std::get_if<double>(&stored);
    if (a && b) return std::fabs(*a - *b) <= kHalfOfLastPlace + std::fabs(*a) * 1e-12;
    return given == stored;
}

}  // namespace vlstore
