#include "items/PropertyConversion.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <new>

#include "common/Text.h"

namespace velmora {

namespace {

constexpr int32_t kFirstType = PropText;
constexpr int32_t kLastType = PropWideString;

// By type code; 0 stands for a code that is not one.
constexpr std::array<int32_t, kLastType + 1> kValueSizes = {0, 1024, 1024, 8, 1024, 1024, 1024, 4, -1, 8, 4, 0, 4, 0, -1, -1, -1};

// Where a source type finds the rules that it does not have itself; 0: nowhere.
constexpr std::array<int32_t, kLastType + 1> kRulesBehind = {0, 0, 0, 0, 0, 0, 0, 0, PropText};

template <typename Value>
void* NewValue(Value value)
{
    void* const copy = std::malloc(sizeof value);
    if (!copy) throw std::bad_alloc();
    std::memcpy(copy, &value, sizeof value);
    return copy;
}

bool BooleanOf(std::string_view text) { return EqualsNoCase(text, "TRUE") || text == "1"; }

void* CopyText(std::string_view text) { return NewText(text); }
void* ToInt32(std::string_view text) { return NewValue(ParseLong(text)); }
void* ToBool(std::string_view text) { return NewValue(int32_t{BooleanOf(text)}); }
void* ToSensitivity(std::string_view text) { return NewValue(ParseSensitivity(text)); }

struct ConversionRule {
    int32_t from;
    int32_t to;
    void* (*convert)(std::string_view text);  // null: the value passes through
};

constexpr std::array<ConversionRule, 6> kRules = {{
    {PropString, PropString, CopyText},
    {PropString, PropStringCopy, CopyText},
    {PropText, PropText, nullptr},
    {PropText, PropInt32, ToInt32},
    {PropText, PropBool, ToBool},
    {PropText, PropSensitivity, ToSensitivity},
}};

const ConversionRule* FindRule(int32_t fromType, int32_t toType)
{
    for (int32_t from = fromType; from != 0; from = kRulesBehind[static_cast<size_t>(from)])
        for (const ConversionRule& rule : kRules)
            if (rule.from == from && rule.to == toType) return &rule;
    return nullptr;
}

}  // namespace

int32_t PropertyValueSize(int32_t type) { return type < kFirstType || type > kLastType ? 0 : kValueSizes[static_cast<size_t>(type)]; }

Conversion ConvertPropertyValue(int32_t fromType, int32_t toType, const void* value, void** result)
{
    *result = nullptr;
    if (PropertyValueSize(toType) == 0 || fromType < kFirstType || fromType > kLastType) return Conversion::None;
    const ConversionRule* const rule = FindRule(fromType, toType);
    if (!rule) return Conversion::None;
    if (!rule->convert) {
        *result = const_cast<void*>(value);
        return Conversion::SameValue;
    }
    *result = rule->convert(value ? static_cast<const char*>(value) : "");
    return Conversion::NewValue;
}

int32_t ParseSensitivity(std::string_view text)
{
    if (text == "PRIVATE") return 2;
    if (text == "CONFIDENTIAL") return 3;
    return 0;
}

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
