#include "RegistryText.h"

#include <cstdio>
#include <optional>

#include "Text.h"
#include "Utf16.h"

namespace vlstore {

namespace {

constexpr std::string_view kHeading = "Windows Registry Editor Version 5.00";
constexpr std::string_view kOldHeading = "REGEDIT4";
constexpr size_t kNone = static_cast<size_t>(-1);

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The text of a quoted word at the start of `rest`, which is left behind its closing quote.
std::optional<std::string> TakeQuoted(std::string_view& rest)
{
    std::string text;
    for (size_t i = 1; i < rest.size(); ++i) {
        char c = rest[i];
        if (c == '"') {
            rest.remove_prefix(i + 1);
            return text;
        }
        if (c == '\\' && i + 1 < rest.size() && (rest[i + 1] == '\\' || rest[i + 1] == '"')) c = rest[++i];
        text += c;
    }
    return std::nullopt;
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

std::optional<RegistryValue> ParseValue(std::string_view text)
{
    RegistryValue value;
    if (text.starts_with('"')) {
        std::optional<std::string> quoted = TakeQuoted(text);
        if (!quoted || !Trim(text).empty()) return std::nullopt;
        value.text = *quoted;
    } else if (StartsWithNoCase(text, "dword:")) {
        std::optional<uint32_t> number = ParseNumber("0x" + std::string(text.substr(6)));
        if (!number) return std::nullopt;
        value.type = RegistryValue::Type::Number;
        value.number = *number;
    } else if (StartsWithNoCase(text, "hex") || text == "-") {
        value.type = RegistryValue::Type::Other;
        value.text = text;
    } else {
        return std::nullopt;
    }
    return value;
}

std::string FormatValue(std::string_view name, const RegistryValue& value)
{
    char number[16];
    std::snprintf(number, sizeof number, "dword:%08x", value.number);
    return (name.empty() ? "@" : Quoted(name)) + "=" + (value.type == RegistryValue::Type::Number ? number : Quoted(value.text));
}

}  // namespace

RegistryText RegistryText::Parse(std::string_view bytes)
{
    RegistryText registry;
    std::string decoded;
    if (IsUtf16(bytes)) {
        registry.utf16_ = true;
        decoded = Utf16ToUtf8(bytes);
        bytes = decoded;
    }
    size_t firstEnd = bytes.find('\n');
    bool unixEnds = firstEnd != std::string_view::npos && (firstEnd == 0 || bytes[firstEnd - 1] != '\r');
    if (unixEnds) registry.lineEnd_ = "\n";

    for (size_t number = 1; !bytes.empty();) {
        Line line;
        size_t physical = 0;
        do {  // a line whose last byte is "\" goes on in the next one
            size_t end = bytes.find('\n');
            size_t length = end == std::string_view::npos ? bytes.size() : end + 1;
            line.raw.append(bytes.substr(0, length));
            bytes.remove_prefix(length);
            ++physical;
        } while (!bytes.empty() && !Trim(line.raw).starts_with(';') && Trim(line.raw).ends_with('\\'));
        registry.AddLine(std::move(line), number);
        number += physical;
    }
    return registry;
}

void RegistryText::AddLine(Line line, size_t number)
{
    std::string_view text = Trim(line.raw);
    if (!lines_.empty()) line.key = lines_.back().key;
    bool heading = number == 1 && (text == kHeading || text == kOldHeading);
    if (text.starts_with('[') && text.ends_with(']')) {
        line.kind = Line::Kind::Key;
        line.key = text.substr(1, text.size() - 2);
    } else if ((text.starts_with('"') || text.starts_with('@')) && !line.key.empty()) {
        std::optional<std::string> name = text.starts_with('@') ? std::string() : TakeQuoted(text);
        if (name && text.starts_with('@')) text.remove_prefix(1);
        std::string_view behind = Trim(text);
        std::optional<RegistryValue> value;
        if (name && behind.starts_with('=')) value = ParseValue(Trim(behind.substr(1)));
        line.kind = value ? Line::Kind::Value : Line::Kind::Fault;
        if (value) {
            line.name = *name;
            line.value = *value;
        }
    } else if (!text.empty() && !text.starts_with(';') && !heading) {
        line.kind = Line::Kind::Fault;
    }
    if (line.kind == Line::Kind::Fault && firstFault_ == 0) firstFault_ = number;
    lines_.push_back(std::move(line));
}

std::string RegistryText::Serialise() const
{
    std::string text;
    for (const Line& line : lines_) text += line.raw;
    return utf16_ ? Utf8ToUtf16(text) : text;
}

std::vector<RegistryEntry> RegistryText::Entries() const
{
    std::vector<RegistryEntry> entries;
    for (const Line& line : lines_) {
        if (line.kind == Line::Kind::Fault) break;
        if (line.kind == Line::Kind::Value) entries.push_back({line.key, line.name, line.value});
    }
    return entries;
}

size_t RegistryText::LastOf(Line::Kind kind, std::string_view key, std::string_view name) const
{
    size_t found = kNone;
    for (size_t i = 0; i < lines_.size() && lines_[i].kind != Line::Kind::Fault; ++i) {
        const Line& line = lines_[i];
        bool sameName = kind != Line::Kind::Value || EqualNoCase(line.name, name);
        if (line.kind == kind && sameName && EqualNoCase(line.key, key)) found = i;
    }
    return found;
}

const RegistryValue* RegistryText::Find(std::string_view key, std::string_view name) const
{
    size_t at = LastOf(Line::Kind::Value, key, name);
    return at == kNone ? nullptr : &lines_[at].value;
}

void RegistryText::EndLastLine()
{
    if (lines_.empty()) lines_.push_back({Line::Kind::Filler, std::string(kHeading) + lineEnd_, {}, {}, {}});
    if (!lines_.back().raw.ends_with('\n')) lines_.back().raw += lineEnd_;
}

void RegistryText::Set(std::string_view key, std::string_view name, const RegistryValue& value)
{
    Line line{Line::Kind::Value, FormatValue(name, value) + lineEnd_, std::string(key), std::string(name), value};
    EndLastLine();
    size_t at = LastOf(Line::Kind::Value, key, name);
    if (at != kNone) {
        lines_[at] = std::move(line);
        return;
    }
    size_t keyLine = LastOf(Line::Kind::Key, key, {});
    if (keyLine == kNone) {
        lines_.push_back({Line::Kind::Filler, lineEnd_, lines_.back().key, {}, {}});
        lines_.push_back({Line::Kind::Key, "[" + line.key + "]" + lineEnd_, line.key, {}, {}});
        lines_.push_back(std::move(line));
        return;
    }
    // Behind the last value of the section, before the blank lines and comments that belong to what follows.
    size_t behind = keyLine;
    for (size_t i = keyLine + 1; i < lines_.size() && lines_[i].kind != Line::Kind::Key; ++i) {
        if (lines_[i].kind == Line::Kind::Value) behind = i;
    }
    line.key = lines_[keyLine].key;
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(behind + 1), std::move(line));
}

}  // namespace vlstore
