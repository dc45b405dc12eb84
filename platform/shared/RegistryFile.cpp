#include "platform/shared/RegistryFile.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "platform/shared/Ascii.h"

namespace velmora::platform {

namespace {

constexpr std::string_view kHeaders[] = {"Windows Registry Editor Version 5.00", "REGEDIT4"};

// What Windows-1252 has at 0x80 to 0x9F; 0 where it has nothing.
constexpr std::array<char16_t, 32> kWindows1252 = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0, 0x017D, 0,
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0, 0x017E, 0x0178,
};

void AppendUtf8(std::string& text, char32_t point)
{
    const auto tail = [&](int shift) { text += static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x800) {
        text += static_cast<char>(0xC0 | (point >> 6));
    } else if (point < 0x10000) {
        text += static_cast<char>(0xE0 | (point >> 12));
        tail(6);
    } else {
        text += static_cast<char>(0xF0 | (point >> 18));
        tail(12);
        tail(6);
    }
    tail(0);
}

void AppendPoint(std::string& text, char32_t point)
{
    const auto* windows = std::find(kWindows1252.begin(), kWindows1252.end(), point);
    if (point < 0x100) {
        text += static_cast<char>(static_cast<unsigned char>(point));
    } else if (windows != kWindows1252.end()) {
        text += static_cast<char>(static_cast<unsigned char>(0x80 + (windows - kWindows1252.begin())));
    } else {
        AppendUtf8(text, point);
    }
}

// UTF-16LE to bytes. Half a pair becomes the three bytes of its number, an odd byte at the end is dropped.
std::string FromUtf16(std::string_view bytes)
{
    const auto unitAt = [&](size_t at) {
        return static_cast<char32_t>(static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1]) << 8);
    };
    std::string text;
    text.reserve(bytes.size() / 2);
    for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
        char32_t point = unitAt(at);
        if (point >= 0xD800 && point < 0xDC00 && at + 3 < bytes.size()) {
            const char32_t low = unitAt(at + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                point = 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00);
                at += 2;
            }
        }
        AppendPoint(text, point);
    }
    return text;
}

std::string_view Trim(std::string_view text)
{
    const auto blank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return text;
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = LowerByte(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Up to `digits` hexadecimal digits and nothing else.
std::optional<uint32_t> ReadHex(std::string_view text, size_t digits)
{
    if (text.empty() || text.size() > digits) return std::nullopt;
    uint32_t number = 0;
    for (char c : text) {
        const int digit = HexDigit(c);
        if (digit < 0) return std::nullopt;
        number = number << 4 | static_cast<uint32_t>(digit);
    }
    return number;
}

bool IsText(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

class Parser {
public:
    explicit Parser(std::string_view bytes) : rest_(bytes) {}

    RegistryContents Run()
    {
        ReadHeader();
        std::string_view line;
        while (!contents_.fault && NextLine(line)) ReadLine(Trim(line));
        return std::move(contents_);
    }

private:
    bool NextLine(std::string_view& line)
    {
        if (rest_.empty()) return false;
        const size_t end = rest_.find('\n');
        line = rest_.substr(0, end);
        rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        ++line_;
        return true;
    }

    void Fault(const char* reason)
    {
        if (!contents_.fault) contents_.fault = RegistryFault{line_, reason};
    }

    // An empty file has no values and no fault.
    void ReadHeader()
    {
        std::string_view line;
        while (NextLine(line)) {
            line = Trim(line);
            if (line.empty()) continue;
            if (std::find(std::begin(kHeaders), std::end(kHeaders), line) == std::end(kHeaders)) {
                Fault("the first line is not \"Windows Registry Editor Version 5.00\"");
            }
            return;
        }
    }

    void ReadLine(std::string_view line)
    {
        if (line.empty() || line.front() == ';') return;
        if (line.front() == '[') {
            ReadKey(line);
        } else {
            ReadValue(line);
        }
    }

    void ReadKey(std::string_view line)
    {
        if (line.back() != ']' || line.size() < 3) return Fault("a key has no \"]\"");
        std::string_view path = line.substr(1, line.size() - 2);
        const bool removes = path.front() == '-';
        if (removes) path.remove_prefix(1);
        while (!path.empty() && path.back() == '\\') path.remove_suffix(1);
        if (path.empty()) return Fault("a key has no name");
        values_ = nullptr;
        if (removes) {
            RemoveKey(path);
        } else {
            values_ = &contents_.keys[std::string(path)];
        }
        inKey_ = true;
    }

    // The key and all below it, which stand together.
    void RemoveKey(std::string_view path)
    {
        RegistryKeys& keys = contents_.keys;
        if (const auto key = keys.find(path); key != keys.end()) keys.erase(key);
        const std::string below = std::string(path) + '\\';
        const auto first = keys.lower_bound(std::string_view(below));
        auto last = first;
        while (last != keys.end() && EqualBytesNoCase(std::string_view(last->first).substr(0, below.size()), below)) ++last;
        keys.erase(first, last);
    }

    void ReadValue(std::string_view line)
    {
        if (!inKey_) return Fault("a value stands before the first key");
        std::string name;
        if (line.front() == '@') {
            line.remove_prefix(1);
        } else if (!ReadQuoted(line, name)) {
            return Fault("a value's name is not in quotes");
        }
        line = Trim(line);
        if (line.empty() || line.front() != '=') return Fault("a value has no \"=\"");
        line = Trim(line.substr(1));
        if (line == "-") {
            if (values_) values_->erase(name);
            return;
        }
        RegistryValue value;
        if (!ReadData(line, value)) return;
        if (values_) (*values_)[name] = std::move(value);
    }

    // Text in quotes at the front of the line, taken off it. "\" takes the next byte as it is.
    static bool ReadQuoted(std::string_view& line, std::string& text)
    {
        if (line.empty() || line.front() != '"') return false;
        for (size_t at = 1; at < line.size(); ++at) {
            if (line[at] == '"') {
                line.remove_prefix(at + 1);
                return true;
            }
            if (line[at] == '\\' && ++at == line.size()) return false;
            text += line[at];
        }
        return false;
    }

    bool ReadData(std::string_view line, RegistryValue& value)
    {
        constexpr std::string_view kNumber = "dword:";
        if (line.substr(0, 1) == "\"") return ReadText(line, value);
        if (EqualBytesNoCase(line.substr(0, kNumber.size()), kNumber)) return ReadNumber(line.substr(kNumber.size()), value);
        if (EqualBytesNoCase(line.substr(0, 3), "hex")) return ReadBytes(line.substr(3), value);
        Fault("a value is neither text nor dword nor hex");
        return false;
    }

    bool ReadText(std::string_view line, RegistryValue& value)
    {
        value.type = REG_SZ;
        if (ReadQuoted(line, value.data) && IsEndOrComment(line)) {
            value.data += '\0';
            return true;
        }
        Fault("a text has no closing quote at the end of its line");
        return false;
    }

    static bool IsEndOrComment(std::string_view line)
    {
        line = Trim(line);
        return line.empty() || line.front() == ';';
    }

    bool ReadNumber(std::string_view text, RegistryValue& value)
    {
        const std::optional<uint32_t> number = ReadHex(Trim(text.substr(0, text.find(';'))), 8);
        if (!number) {
            Fault("a dword is not one to eight hexadecimal digits");
            return false;
        }
        value.type = REG_DWORD;
        for (int shift = 0; shift < 32; shift += 8) value.data += static_cast<char>(static_cast<unsigned char>(*number >> shift));
        return true;
    }

    // ":01,02" or "(type):01,02", going on in the next line behind a "\" at the end.
    bool ReadBytes(std::string_view text, RegistryValue& value)
    {
        value.type = REG_BINARY;
        if (!text.empty() && text.front() == '(') {
            const size_t close = text.find(')');
            const std::optional<uint32_t> type = close == std::string_view::npos ? std::nullopt : ReadHex(text.substr(1, close - 1), 8);
            if (!type) return FaultInBytes();
            value.type = *type;
            text.remove_prefix(close + 1);
        }
        if (text.empty() || text.front() != ':') return FaultInBytes();
        text.remove_prefix(1);
        for (bool more = true; more;) {
            text = Trim(text);
            more = !text.empty() && text.back() == '\\';
            if (more) text.remove_suffix(1);
            if (!AppendBytes(text, value.data)) return FaultInBytes();
            if (more && !NextLine(text)) return FaultInBytes();
        }
        // Texts are written in UTF-16.
        if (IsText(value.type)) value.data = FromUtf16(value.data);
        return true;
    }

    bool FaultInBytes()
    {
        Fault("a hex value is not a list of bytes");
        return false;
    }

    static bool AppendBytes(std::string_view list, std::string& bytes)
    {
        while (!Trim(list).empty()) {
            const size_t comma = list.find(',');
            const std::optional<uint32_t> byte = ReadHex(Trim(list.substr(0, comma)), 2);
            if (!byte) return false;
            bytes += static_cast<char>(static_cast<unsigned char>(*byte));
            list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
        }
        return true;
    }

    std::string_view rest_;
    size_t line_ = 0;
    RegistryContents contents_;
    RegistryValues* values_ = nullptr;  // of the key being read; null behind a removed one
    bool inKey_ = false;
};

}  // namespace

bool LessNoCase::operator()(std::string_view a, std::string_view b) const
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return static_cast<unsigned char>(LowerByte(x)) < static_cast<unsigned char>(LowerByte(y));
    });
}

RegistryContents ParseRegistryFile(std::string_view bytes)
{
    if (bytes.substr(0, 2) == "\xFF\xFE") {
        const std::string text = FromUtf16(bytes.substr(2));
        return Parser(text).Run();
    }
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
    return Parser(bytes).Run();
}

RegistryContents UnreadableRegistryFile() { return {{}, RegistryFault{1, "the file cannot be read, or is larger than 16 MB"}}; }

bool HasRegistryKey(const RegistryKeys& keys, std::string_view path)
{
    const auto begins = [](std::string_view text, std::string_view front) {
        return text.size() >= front.size() && EqualBytesNoCase(text.substr(0, front.size()), front);
    };
    if (keys.find(path) != keys.end()) return true;
    const std::string below = std::string(path) + '\\';
    const auto next = keys.lower_bound(std::string_view(below));
    return next != keys.end() && begins(next->first, below);
}

void AppendRegistryPath(std::string& path, std::string_view subKey)
{
    while (!subKey.empty()) {
        const size_t end = subKey.find('\\');
        if (end != 0) path.append("\\").append(subKey.substr(0, end));
        subKey.remove_prefix(end == std::string_view::npos ? subKey.size() : end + 1);
    }
}

LSTATUS GiveRegistryValue(const RegistryKeys& keys, std::string_view path, std::string_view name, LPDWORD type, LPBYTE data, LPDWORD size)
{
    const auto status = [](DWORD error) { return static_cast<LSTATUS>(error); };
    const auto values = keys.find(path);
    if (values == keys.end()) return status(ERROR_FILE_NOT_FOUND);
    const auto found = values->second.find(name);
    if (found == values->second.end()) return status(ERROR_FILE_NOT_FOUND);
    const RegistryValue& value = found->second;

    if (type) *type = value.type;
    if (!size) return status(ERROR_SUCCESS);
    const DWORD room = *size;
    *size = static_cast<DWORD>(value.data.size());
    if (!data) return status(ERROR_SUCCESS);
    if (room < value.data.size()) return status(ERROR_MORE_DATA);
    std::memcpy(data, value.data.data(), value.data.size());
    return status(ERROR_SUCCESS);
}

void ReportRegistryFault(const std::string& file, const RegistryFault& fault)
{
    std::fprintf(stderr, "%s:%zu: %s; the settings before this line count\n", file.c_str(), fault.line, fault.reason.c_str());
}

}  // namespace velmora::platform
