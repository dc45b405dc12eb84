#include "RegistryText.h"

#include <algorithm>

#include "Text.h"
#include "Utf16.h"

namespace vlstore {

namespace {

using Kind = RegistryStatement::Kind;

constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

std::string_view MarkOf(std::string_view bytes)
{
    for (std::string_view mark : {kUtf16Mark, kUtf8Mark}) {
        if (bytes.starts_with(mark)) return mark;
    }
    return {};
}

std::string FirstLineEnd(std::string_view text)
{
    size_t end = text.find('\n');
    bool unixEnd = end != std::string_view::npos && (end == 0 || text[end - 1] != '\r');
    return unixEnd ? "\n" : "\r\n";
}

}  // namespace

RegistryText RegistryText::Parse(std::string_view bytes)
{
    RegistryText registry;
    registry.mark_ = MarkOf(bytes);
    bytes.remove_prefix(registry.mark_.size());
    registry.utf16_ = registry.mark_ == kUtf16Mark;
    if (registry.utf16_) {
        registry.Read(BytesFromUtf16(bytes), bytes);
    } else {
        registry.Read(bytes, bytes);
    }
    return registry;
}

void RegistryText::Read(std::string_view text, std::string_view bytes)
{
    lineEnd_ = FirstLineEnd(text);
    RegistryReader reader(text);
    for (RegistryStatement statement; reader.Next(statement);) {
        size_t length = utf16_ ? Utf16Of(bytes, statement.text.size()).size() : statement.text.size();
        AddLine(statement, bytes.substr(0, length));
        bytes.remove_prefix(length);
    }
    firstFault_ = reader.Fault();
    rest_ = bytes;
}

void RegistryText::AddLine(const RegistryStatement& statement, std::string_view bytes)
{
    size_t at = lines_.size();
    auto place = [&](size_t inText) { return utf16_ ? Utf16Of(bytes, inText).size() : inText; };
    lines_.push_back({statement.kind,
                      std::string(bytes),
                      {statement.key, statement.name, statement.value},
                      place(statement.valueBegin),
                      place(statement.valueEnd)});
    std::string key = UpperAscii(statement.key);
    std::string name = UpperAscii(statement.name);
    if (statement.kind == Kind::Key) sections_[key].line = at;
    if (statement.kind == Kind::RemovedKey) RemoveSections(key);
    if (statement.underRemoved) return;
    if (statement.kind == Kind::Value) sections_[key].values[name] = at;
    if (statement.kind == Kind::RemovedValue) sections_[key].values.erase(name);
}

// The key and all below it, which stand together.
void RegistryText::RemoveSections(const std::string& key)
{
    sections_.erase(key);
    const std::string below = key + '\\';
    auto first = sections_.lower_bound(below);
    auto last = first;
    while (last != sections_.end() && last->first.starts_with(below)) ++last;
    sections_.erase(first, last);
}

std::string RegistryText::Serialise() const
{
    std::string bytes = mark_;
    for (const Line& line : lines_) bytes += line.bytes;
    return bytes + rest_;
}

std::vector<RegistryEntry> RegistryText::Entries() const
{
    std::vector<size_t> counting;
    for (const auto& [key, section] : sections_) {
        for (const auto& [name, line] : section.values) counting.push_back(line);
    }
    std::sort(counting.begin(), counting.end());
    std::vector<RegistryEntry> entries;
    entries.reserve(counting.size());
    for (size_t line : counting) entries.push_back(lines_[line].entry);
    return entries;
}

const RegistryValue* RegistryText::Find(std::string_view key, std::string_view name) const
{
    auto section = sections_.find(UpperAscii(key));
    if (section == sections_.end()) return nullptr;
    auto value = section->second.values.find(UpperAscii(name));
    return value == section->second.values.end() ? nullptr : &lines_[value->second].entry.value;
}

std::string RegistryText::Encoded(std::string_view text) const { return utf16_ ? Utf16FromBytes(text) : std::string(text); }

void RegistryText::Insert(size_t at, std::string_view text)
{
    if (at == lines_.size()) EndLastLine();
    Line line;
    line.bytes = Encoded(std::string(text) + lineEnd_);
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), std::move(line));
}

void RegistryText::EndLastLine()
{
    if (lines_.empty()) return;
    std::string& last = lines_.back().bytes;
    if (last.ends_with(Encoded("\n"))) return;
    // Half a line end is completed: a second CR would belong to the line.
    last += Encoded(last.ends_with(Encoded("\r")) ? "\n" : lineEnd_);
}

void RegistryText::Set(std::string_view key, std::string_view name, const RegistryValue& value)
{
    auto section = sections_.find(UpperAscii(key));
    bool thereIsAKey = section != sections_.end();
    auto present = thereIsAKey ? section->second.values.find(UpperAscii(name)) : decltype(Section::values)::iterator();
    std::string line = (name.empty() ? "@" : Quoted(name)) + "=" + value.written;
    if (thereIsAKey && present != section->second.values.end()) {
        Line& old = lines_[present->second];
        old.bytes.replace(old.valueBegin, old.valueEnd - old.valueBegin, Encoded(value.written));
    } else if (thereIsAKey) {
        // Behind the last value under the heading, before the blank lines and comments that belong to what follows.
        size_t behind = section->second.line + 1;
        for (size_t i = behind; i < lines_.size() && lines_[i].kind != Kind::Key && lines_[i].kind != Kind::RemovedKey; ++i) {
            if (lines_[i].kind != Kind::Filler) behind = i + 1;
        }
        Insert(behind, line);
    } else {
        auto isHeading = [](const Line& each) { return each.kind == Kind::Heading; };
        if (std::none_of(lines_.begin(), lines_.end(), isHeading)) Insert(lines_.size(), kRegistryHeading);
        Insert(lines_.size(), "");
        Insert(lines_.size(), "[" + std::string(key) + "]");
        Insert(lines_.size(), line);
    }
    *this = Parse(Serialise());
}

}  // namespace vlstore
