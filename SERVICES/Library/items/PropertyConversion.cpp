#include "items/PropertyConversion.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "common/Text.h"
#include "items/CalendarDates.h"
#include "items/CalendarDecoding.h"
#include "items/DateForms.h"

namespace velmora {

namespace {

constexpr int32_t kFirstType = PropText;
constexpr int32_t kLastType = PropWideString;
constexpr size_t kTypeCount = kLastType + 1;

// By type code; 0 stands for a code that is not one.
constexpr std::array<int32_t, kTypeCount> kValueSizes = {0, 1024, 1024, 8, 1024, 1024, 1024, 4, -1, 8, 4, 0, 4, 0, -1, -1, -1};

constexpr size_t kTextField = 1024;
constexpr size_t kShortTextField = 64;
constexpr size_t kIsoText = 256;

constexpr std::string_view kBirthday = "PR_BIRTHDAY";
constexpr int64_t kNoBirthday = 0x7FFFFFFF;                      // Unix seconds
constexpr uint64_t kNoBirthdayFileTime = 0x01E9FD1ED4A5E980ull;  // the same moment

struct Source {
    const void* value;
    std::string_view text;  // of the value, see PropertyValueText
    size_t size;            // of a number
    std::string_view propertyName;
    uint64_t* resultSize;

    bool IsBirthday() const { return EqualsNoCase(propertyName, kBirthday); }
};

// A number that goes by the rules of another type goes there as its bytes, the lowest first.
static_assert(std::endian::native == std::endian::little);

template <typename Value>
Value Read(const Source& source)
{
    // A number of fewer bytes leaves the upper ones 0.
    Value value{};
    std::memcpy(&value, source.value, source.size < sizeof value ? source.size : sizeof value);
    return value;
}

template <typename Value>
void* NewValue(Value value)
{
    void* const copy = std::malloc(sizeof value);
    if (!copy) throw std::bad_alloc();
    std::memcpy(copy, &value, sizeof value);
    return copy;
}

// ---- Numbers of text, in the "C" form whatever the host's locale is ----

std::string FormatAmount(double value)
{
    constexpr size_t kWidth = 10;
    char digits[400];  // the largest double has 309 digits before the point
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 2);
    std::string text(digits, end.ptr);
    if (text.size() < kWidth) text.insert(0, kWidth - text.size(), ' ');
    return text;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsHexDigit(char c) { return IsDigit(c) || (LowerAscii(c) >= 'a' && LowerAscii(c) <= 'f'); }

// How a number is written.
struct NumberForm {
    std::chars_format format;
    bool (*isDigit)(char c);
    char exponentMark;
    int64_t placeWeight;  // what a place counts in the unit of the exponent
};
constexpr NumberForm kDecimal = {std::chars_format::general, IsDigit, 'e', 1};
constexpr NumberForm kHexadecimal = {std::chars_format::hex, IsHexDigit, 'p', 4};

// Whether `number`, all of it a number that no double holds, is too large for one, rather than too small.
bool IsTooLarge(std::string_view number, const NumberForm& form)
{
    int64_t places = 0;  // from the point to the first digit that counts
    size_t at = 0;
    while (at < number.size() && number[at] == '0') ++at;
    for (; at < number.size() && form.isDigit(number[at]); ++at) ++places;
    if (at < number.size() && number[at] == '.') {
        ++at;
        if (places == 0)
            for (; at < number.size() && number[at] == '0'; ++at) --places;
        while (at < number.size() && form.isDigit(number[at])) ++at;
    }
    int64_t exponent = 0;
    if (at < number.size() && LowerAscii(number[at]) == form.exponentMark) exponent = ParseLong(number.substr(at + 1));
    return places * form.placeWeight + exponent > 0;
}

// "0x" counts only with a digit behind it, which may stand behind a point; otherwise the number is the "0".
const NumberForm& TakeForm(std::string_view& text)
{
    if (text.size() < 3 || text[0] != '0' || LowerAscii(text[1]) != 'x') return kDecimal;
    const std::string_view digits = text.substr(text[2] == '.' ? 3 : 2);
    if (digits.empty() || !IsHexDigit(digits.front())) return kDecimal;
    text.remove_prefix(2);
    return kHexadecimal;
}

// As atof reads a number: leading blanks, a sign, the number in either form, the rest ignored; 0 where there is none.
double ParseAmount(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || (text.front() >= '\t' && text.front() <= '\r'))) text.remove_prefix(1);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    if (text.starts_with('-')) return 0;
    const NumberForm& form = TakeForm(text);
    double value = 0;
    const std::from_chars_result read = std::from_chars(text.data(), text.data() + text.size(), value, form.format);
    if (read.ec == std::errc::invalid_argument) return 0;
    if (read.ec == std::errc::result_out_of_range) {
        const std::string_view number(text.data(), static_cast<size_t>(read.ptr - text.data()));
        value = IsTooLarge(number, form) ? std::numeric_limits<double>::infinity() : 0;
    }
    return negative ? -value : value;
}

bool IsTrue(std::string_view text) { return EqualsNoCase(text, "TRUE") || text == "1"; }

// ---- The rules; null: this value has no conversion ----

void* CopyText(const Source& source) { return NewText(source.text); }
void* TextToInt32(const Source& source) { return NewValue(ParseLong(source.text)); }
void* TextToDouble(const Source& source) { return NewValue(ParseAmount(source.text)); }
void* TextToBool(const Source& source) { return NewValue(int32_t{IsTrue(source.text)}); }
void* TextToSensitivity(const Source& source) { return NewValue(ParseSensitivity(source.text)); }

void* TextToDecoded(const Source& source)
{
    const std::string decoded = DecodeCalendarText(source.text);
    void* const result = NewText(decoded);
    if (source.resultSize) *source.resultSize = decoded.size();
    return result;
}

char16_t* NewWideText(size_t units)
{
    auto* const text = static_cast<char16_t*>(std::calloc(units + 1, sizeof(char16_t)));
    if (!text) throw std::bad_alloc();
    return text;
}

// A byte is the code point of its number.
void* WidenText(const Source& source)
{
    char16_t* const wide = NewWideText(source.text.size());
    for (size_t i = 0; i < source.text.size(); ++i) wide[i] = static_cast<unsigned char>(source.text[i]);
    return wide;
}

void* CopyWideText(const Source& source)
{
    const auto* const bytes = static_cast<const char*>(source.value);
    size_t units = 0;
    while (bytes[2 * units] != '\0' || bytes[2 * units + 1] != '\0') ++units;
    char16_t* const copy = NewWideText(units);
    if (units > 0) std::memcpy(copy, bytes, 2 * units);
    return copy;
}

void* CopyInt32(const Source& source) { return NewValue(Read<int32_t>(source)); }
void* CopyEightBytes(const Source& source) { return NewValue(Read<uint64_t>(source)); }
void* Int32ToField(const Source& source) { return NewTextField(FormatSigned(Read<int32_t>(source)), kTextField); }
void* Int32ToText(const Source& source) { return NewTextField(FormatSigned(Read<int32_t>(source)), kShortTextField); }
void* BoolToField(const Source& source) { return NewTextField(Read<int32_t>(source) != 0 ? "1" : "0", kTextField); }
void* DoubleToField(const Source& source) { return NewTextField(FormatAmount(Read<double>(source)), kTextField); }

void* FileTimeToDateText(const Source& source)
{
    const uint64_t moment = Read<uint64_t>(source);
    char text[kIsoText] = "";
    if (source.IsBirthday() && UnixTimeFromFileTime(moment) == kNoBirthday) return NewTextField("", kTextField);
    if (!FormatFileTimeText(moment, text, sizeof text)) return nullptr;
    return NewTextField(text, kTextField);
}

void* FileTimeToUnixText(const Source& source)
{
    // Seconds in text have 32 bits, so those beyond wrap.
    return NewTextField(FormatSigned(static_cast<int32_t>(UnixTimeFromFileTime(Read<uint64_t>(source)))), kTextField);
}

void* DateTextToFileTime(const Source& source)
{
    if (source.text.empty() && source.IsBirthday()) return NewValue(kNoBirthdayFileTime);
    uint64_t moment = 0;
    return ParseIsoDateTime(source.text, moment) ? NewValue(moment) : nullptr;
}

void* UnixTextToFileTime(const Source& source) { return NewValue(UnixTimeToFileTime(ParseLong(source.text))); }

void* CalendarTextToFileTime(const Source& source)
{
    uint64_t moment = 0;
    return ParseCalendarDateTime(source.text, moment) ? NewValue(moment) : nullptr;
}

using Rule = void* (*)(const Source& source);

// Never called: the value passes through as it is.
void* PassThrough(const Source&) { return nullptr; }

struct ConversionRule {
    int32_t from;
    int32_t to;
    Rule convert;
};

constexpr ConversionRule kRules[] = {
    {PropText, PropText, PassThrough},
    {PropText, PropInt32, TextToInt32},
    {PropText, PropDouble, TextToDouble},
    {PropText, PropBool, TextToBool},
    {PropText, PropSensitivity, TextToSensitivity},
    {PropText, PropCalendarDecoded, TextToDecoded},
    {PropOpaque2, PropOpaque2, PassThrough},
    {PropFileTime, PropFileTime, PassThrough},
    {PropFileTime, PropDateText, FileTimeToDateText},
    {PropFileTime, PropUnixTimeText, FileTimeToUnixText},
    {PropDateText, PropFileTime, DateTextToFileTime},
    {PropDateText, PropDateText, PassThrough},
    {PropOpaque5, PropOpaque5, PassThrough},
    {PropUnixTimeText, PropFileTime, UnixTextToFileTime},
    {PropUnixTimeText, PropUnixTimeText, PassThrough},
    {PropInt32, PropText, Int32ToField},
    {PropInt32, PropInt32, CopyInt32},
    {PropInt32, PropString, Int32ToText},
    {PropString, PropString, CopyText},
    {PropString, PropStringCopy, CopyText},
    {PropString, PropWideString, WidenText},
    {PropDouble, PropText, DoubleToField},
    {PropDouble, PropDouble, CopyEightBytes},
    {PropBool, PropText, BoolToField},
    {PropBool, PropBool, CopyInt32},
    {PropCalendarText, PropFileTime, CalendarTextToFileTime},
    {PropWideString, PropWideString, CopyWideText},
};

// Where a source type finds the rules that it does not have itself; 0: nowhere.
constexpr int32_t RulesBehind(int32_t type)
{
    switch (type) {
        case PropBool:
            return PropInt32;
        case PropInt32:
            return PropDouble;
        case PropDouble:
            return PropString;
        case PropString:
        case PropWideString:
            return PropText;
        default:
            return 0;
    }
}

constexpr Rule FindRule(int32_t fromType, int32_t toType)
{
    if (kValueSizes[static_cast<size_t>(toType)] == 0) return nullptr;
    for (int32_t from = fromType; from != 0; from = RulesBehind(from))
        for (const ConversionRule& rule : kRules)
            if (rule.from == from && rule.to == toType) return rule.convert;
    return nullptr;
}

// Every pair, so that a conversion is one look-up.
constexpr auto kRuleOfPair = [] {
    std::array<std::array<Rule, kTypeCount>, kTypeCount> pairs{};
    for (int32_t from = kFirstType; from <= kLastType; ++from)
        for (int32_t to = kFirstType; to <= kLastType; ++to) pairs[static_cast<size_t>(from)][static_cast<size_t>(to)] = FindRule(from, to);
    return pairs;
}();

bool IsType(int32_t type) { return type >= kFirstType && type <= kLastType; }

// Bytes of a number; 0 for every other type.
size_t NumberSize(int32_t type)
{
    switch (type) {
        case PropFileTime:
        case PropDouble:
            return 8;
        case PropInt32:
        case PropBool:
        case PropSensitivity:
            return 4;
        default:
            return 0;
    }
}

}  // namespace

int32_t PropertyValueSize(int32_t type) { return IsType(type) ? kValueSizes[static_cast<size_t>(type)] : 0; }

std::string_view PropertyValueText(int32_t type, const void* value)
{
    if (!value) return {};
    const auto* const bytes = static_cast<const char*>(value);
    const size_t number = NumberSize(type);
    if (number == 0) return bytes;
    const void* const end = std::memchr(bytes, '\0', number);
    return {bytes, end ? static_cast<size_t>(static_cast<const char*>(end) - bytes) : number};
}

Conversion ConvertPropertyValue(int32_t fromType, int32_t toType, const void* value, void** result, std::string_view propertyName,
                                uint64_t* resultSize)
{
    *result = nullptr;
    if (!IsType(fromType) || !IsType(toType)) return Conversion::None;
    const Rule rule = kRuleOfPair[static_cast<size_t>(fromType)][static_cast<size_t>(toType)];
    if (!rule) return Conversion::None;
    if (!value && fromType != PropText && fromType != PropString) return Conversion::None;
    if (rule == PassThrough) {
        *result = const_cast<void*>(value);
        return Conversion::SameValue;
    }
    *result = rule({value, PropertyValueText(fromType, value), NumberSize(fromType), propertyName, resultSize});
    return *result ? Conversion::NewValue : Conversion::None;
}

int32_t ParseSensitivity(std::string_view text)
{
    if (text == "PRIVATE") return 2;
    if (text == "CONFIDENTIAL") return 3;
    return 0;
}

int32_t ParseBooleanText(std::string_view text) { return EqualsNoCase(text, "TRUE") ? 1 : ParseLong(text); }

char* NewText(std::string_view text)
{
    char* const copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (!copy) throw std::bad_alloc();
    if (!text.empty()) std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

char* NewTextField(std::string_view text, size_t size)
{
    char* const field = static_cast<char*>(std::calloc(size, 1));
    if (!field) throw std::bad_alloc();
    CopyBounded(field, size, text);
    return field;
}

}  // namespace velmora
