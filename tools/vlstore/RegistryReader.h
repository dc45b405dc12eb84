// Reads the text of a settings file statement by statement, exactly as the store does: a file that the store takes for
// faulty is so here, from the same line on.
//
// A statement is one line, or several for bytes that go on behind a "\". Blanks at both ends of a line do not count. The
// first line that is not blank is the heading. A comment has its own line, or stands behind a text or a number.
#ifndef VLSTORE_REGISTRYREADER_H
#define VLSTORE_REGISTRYREADER_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "RegistryValue.h"

namespace vlstore {

inline constexpr std::string_view kRegistryHeading = "Windows Registry Editor Version 5.00";

struct RegistryStatement {
    enum class Kind {
        Filler,  // a blank line or a comment
        Heading,
        Key,           // [key]
        RemovedKey,    // [-key]: it and all below it, as far as it stands above
        Value,         // "name"=value
        RemovedValue,  // "name"=-
    };
    Kind kind = Kind::Filler;
    std::string_view text;      // all of it, its line end included
    std::string key;            // without "\" at its end; of a value, the key that it stands under
    bool underRemoved = false;  // a value under [-key], which goes nowhere
    std::string name;           // empty for "@"
    RegistryValue value;
    size_t valueBegin = 0, valueEnd = 0;  // where the value stands in `text`
};

class RegistryReader {
public:
    // Of bytes, without a mark; they must outlive what is read from them.
    explicit RegistryReader(std::string_view text) : rest_(text) {}

    // False at the end and from the first fault on.
    bool Next(RegistryStatement& statement);
    // The line (from 1) of the fault that Next stopped at, 0 if there was none.
    size_t Fault() const { return fault_; }

private:
    bool TakeLine(std::string_view& line);
    bool Read(std::string_view line, RegistryStatement& statement);
    bool ReadKey(std::string_view line, RegistryStatement& statement);
    bool ReadValue(std::string_view line, RegistryStatement& statement);
    bool ReadData(std::string_view& rest, RegistryValue& value);
    bool ReadBytes(std::string_view& rest, RegistryValue& value);

    std::string_view rest_;
    size_t line_ = 0;
    size_t fault_ = 0;
    bool headed_ = false;
    std::string key_;  // empty before the first one
    bool underRemoved_ = false;
};

}  // namespace vlstore

#endif
