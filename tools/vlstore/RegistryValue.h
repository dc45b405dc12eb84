// One value of a settings file, as the store gets it when it asks for it.
#ifndef VLSTORE_REGISTRYVALUE_H
#define VLSTORE_REGISTRYVALUE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vlstore {

struct RegistryValue {
    // The registry's numbers of types; a file may name any other.
    static constexpr uint32_t kText = 1, kExpandText = 2, kBytes = 3, kNumber = 4, kTexts = 7;
    // What the tool makes of them.
    enum class Type { Text, Number, Other };

    static RegistryValue OfText(std::string_view text);
    static RegistryValue OfNumber(uint32_t number);

    Type GetType() const;
    // As the store reads a value where it wants a text: whatever the type, up to the first zero byte.
    std::string Text() const;
    // As the store reads a value where it wants a number: whatever the type, up to four bytes, lowest first; nothing for more.
    std::optional<uint32_t> Number() const;

    uint32_t code = 0;
    std::string data;     // a text ends with a zero byte; a number is four bytes, lowest first
    std::string written;  // as it stands behind the "=" in a file
};

// In quotes, as names and texts are written. The text has no line end.
std::string Quoted(std::string_view text);

}  // namespace vlstore

#endif
