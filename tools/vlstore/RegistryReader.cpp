#include "RegistryReader.h"

#include <algorithm>
#include <charconv>

#include "Text.h"
#include "Utf16.h"

namespace vlstore {

namespace {

constexpr std::string_view kOldHeading = "REGEDIT4";

std::string_view TrimLeft(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text;
}

std::string_view Trim(std::string_view text)
{
    text = TrimLeft(text);
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

// The text of a quoted word at the front of `rest`, which is left behind its closing quote. "\" takes the next byte as it is.
std::optional<std::string> TakeQuoted(std::string_view& rest)
{
    if (!rest.starts_with('"')) return std::nullopt;
    std::string text;
    for (size_t i = 1; i < rest.size(); ++i) {
        if (rest[i] == '"') {
            rest.remove_prefix(i + 1);
            return text;
        }
        if (rest[i] == '\\' && ++i == rest.size()) break;
        text += rest[i];
    }
    return std::nullopt;
}

// One to `most` hexadecimal digits and nothing else.
std::optional<uint32_t> HexNumber(std::string_view digits, size_t most)
{
    if (digits.size() > most) return std::nullopt;
    uint32_t number = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

// "01,2, ff" and nothing else; one comma may end it.
bool AppendBytes(std::string_view list, std::string& data)
{
    while (!Trim(list).empty()) {
        size_t comma = std::min(list.find(','), list.size());
        std::optional<uint32_t> byte = HexNumber(Trim(list.substr(0, comma)), 2);
        if (!byte) return false;
        data += static_cast<char>(static_cast<unsigned char>(*byte));
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return true;
}

bool IsUtf16Text(uint32_t code)
{
    return code == RegistryValue::kText || code == RegistryValue::kExpandText || code == RegistryValue::kTexts;
}

}  // namespace

bool RegistryReader::TakeLine(std::string_view& line)
{
    if (rest_.empty()) return false;
    size_t end = rest_.find('\n');
    line = rest_.substr(0, end);
    rest_.remove_prefix(std::min(line.size() + 1, rest_.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    ++line_;
    return true;
}

bool RegistryReader::Next(RegistryStatement& statement)
{
    statement = {};
    std::string_view all = rest_, line;
    if (fault_ != 0 || !TakeLine(line)) return false;
    if (!Read(Trim(line), statement)) {
        fault_ = line_;
        return false;
    }
    statement.text = all.substr(0, all.size() - rest_.size());
    if (statement.kind != RegistryStatement::Kind::Value) return true;
    statement.valueBegin += static_cast<size_t>(Trim(line).data() - all.data());
    statement.valueEnd = statement.valueBegin + statement.value.written.size();
    return true;
}

bool RegistryReader::Read(std::string_view line, RegistryStatement& statement)
{
    if (line.empty()) return true;
    if (!headed_) {
        headed_ = true;
        statement.kind = RegistryStatement::Kind::Heading;
        return line == kRegistryHeading || line == kOldHeading;
    }
    if (line.front() == ';') return true;
    return line.front() == '[' ? ReadKey(line, statement) : ReadValue(line, statement);
}

bool RegistryReader::ReadKey(std::string_view line, RegistryStatement& statement)
{
    if (!line.ends_with(']')) return false;
    std::string_view key = line.substr(1, line.size() - 2);
    underRemoved_ = key.starts_with('-');
    if (underRemoved_) key.remove_prefix(1);
    key = key.substr(0, key.find_last_not_of('\\') + 1);
    if (key.empty()) return false;
    statement.kind = underRemoved_ ? RegistryStatement::Kind::RemovedKey : RegistryStatement::Kind::Key;
    statement.key = key_ = key;
    return true;
}

bool RegistryReader::ReadValue(std::string_view line, RegistryStatement& statement)
{
    if (key_.empty()) return false;
    std::string_view rest = line;
    if (rest.front() == '@') {
        rest.remove_prefix(1);
    } else {
        std::optional<std::string> name = TakeQuoted(rest);
        if (!name) return false;
        statement.name = *name;
    }
    rest = TrimLeft(rest);
    if (!rest.starts_with('=')) return false;
    rest = TrimLeft(rest.substr(1));
    statement.key = key_;
    statement.underRemoved = underRemoved_;
    statement.kind = rest == "-" ? RegistryStatement::Kind::RemovedValue : RegistryStatement::Kind::Value;
    if (rest == "-") return true;
    statement.valueBegin = static_cast<size_t>(rest.data() - line.data());
    return ReadData(rest, statement.value);
}

bool RegistryReader::ReadData(std::string_view& rest, RegistryValue& value)
{
    const char* begin = rest.data();
    if (rest.starts_with('"')) {
        std::optional<std::string> text = TakeQuoted(rest);
        if (!text) return false;
        value.code = RegistryValue::kText;
        value.data = *text + '\0';
        value.written.assign(begin, rest.data());
        rest = TrimLeft(rest);
        return rest.empty() || rest.front() == ';';
    }
    if (StartsWithNoCase(rest, "dword:")) {
        std::string_view number = Trim(rest.substr(0, rest.find(';')));
        std::optional<uint32_t> digits = HexNumber(Trim(number.substr(6)), 8);
        if (!digits) return false;
        value = RegistryValue::OfNumber(*digits);
        value.written = number;
        return true;
    }
    return StartsWithNoCase(rest, "hex") && ReadBytes(rest, value);
}

// "hex:" or "hex(type):" and a list, which goes on in the next line behind a "\".
bool RegistryReader::ReadBytes(std::string_view& rest, RegistryValue& value)
{
    const char* begin = rest.data();
    rest.remove_prefix(3);
    value.code = RegistryValue::kBytes;
    if (rest.starts_with('(')) {
        size_t close = rest.find(')');
        if (close == std::string_view::npos) return false;
        std::optional<uint32_t> code = HexNumber(rest.substr(1, close - 1), 8);
        if (!code) return false;
        value.code = *code;
        rest.remove_prefix(close + 1);
    }
    if (!rest.starts_with(':')) return false;
    rest = Trim(rest.substr(1));
    while (rest.ends_with('\\')) {
        rest.remove_suffix(1);
        if (!AppendBytes(rest, value.data) || !TakeLine(rest)) return false;
        rest = Trim(rest);
    }
    if (!AppendBytes(rest, value.data)) return false;
    value.written.assign(begin, rest.data() + rest.size());
    if (IsUtf16Text(value.code)) value.data = BytesFromUtf16(value.data);
    return true;
}

}  // namespace vlstore
