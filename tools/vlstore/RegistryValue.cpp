#include "RegistryValue.h"

#include <cstdio>

namespace vlstore {

RegistryValue RegistryValue::OfText(std::string_view text) { return {kText, std::string(text) + '\0', Quoted(text)}; }

RegistryValue RegistryValue::OfNumber(uint32_t number)
{
    RegistryValue value{kNumber, {}, {}};
    for (int shift = 0; shift < 32; shift += 8) value.data += static_cast<char>(static_cast<unsigned char>(number >> shift & 0xFF));
    char digits[16];
    std::snprintf(digits, sizeof digits, "dword:%08lx", static_cast<unsigned long>(number));
    value.written = digits;
    return value;
}

RegistryValue::Type RegistryValue::GetType() const
{
    if (code == kText) return Type::Text;
    return code == kNumber && Number() ? Type::Number : Type::Other;
}

std::string RegistryValue::Text() const { return data.substr(0, data.find('\0')); }

std::optional<uint32_t> RegistryValue::Number() const
{
    if (data.size() > sizeof(uint32_t)) return std::nullopt;
    uint32_t number = 0;
    for (size_t i = data.size(); i > 0; --i) number = number << 8 | static_cast<unsigned char>(data[i - 1]);
    return number;
}

std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '\\' || c == '"') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

}  // namespace vlstore
