// A settings file in the form that regedit exports: parsed, looked up, and edited one value at a time.
//
//     Windows Registry Editor Version 5.00
//
//     [HKEY_LOCAL_MACHINE\SOFTWARE\Example]
//     "A text"="with \\ and \" escaped"
//     "A number"=dword:0000000a
//     "Bytes"=hex:01,02,03
//
// A line that ends in a backslash goes on in the next one. The text is kept line by line, and an edit touches the lines of its value alone: comments, values of other types and
// what is not understood come out as they came in. Keys and names are compared without regard to case; of two equal
// values the later one counts. UTF-16, which regedit writes, is read and written back as such; inside all is bytes.
#ifndef VLSTORE_REGISTRYTEXT_H
#define VLSTORE_REGISTRYTEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vlstore {

struct RegistryValue {
    enum class Type { Text, Number, Other };  // Other: `text` is what stands behind the "="
    Type type = Type::Text;
    std::string text;
    uint32_t number = 0;
};

struct RegistryEntry {
    std::string key;
    std::string name;  // empty for the key's default value
    RegistryValue value;
};

class RegistryText {
public:
    // Never fails; what cannot be read is counted by FirstFault.
    static RegistryText Parse(std::string_view bytes);
    std::string Serialise() const;

    // Line (from 1) of the first thing that is not understood, 0 if there is none. The library takes no value from there on.
    size_t FirstFault() const { return firstFault_; }

    // Every value before the first fault, in order.
    std::vector<RegistryEntry> Entries() const;
    // The value that counts; null when there is none. Valid until the next Set.
    const RegistryValue* Find(std::string_view key, std::string_view name) const;
    // Only for Text and Number.
    void Set(std::string_view key, std::string_view name, const RegistryValue& value);

private:
    struct Line {
        enum class Kind { Filler, Key, Value, Fault };
        Kind kind = Kind::Filler;
        std::string raw;  // as it stands, its line end included; several physical lines for a value that goes on
        std::string key, name;
        RegistryValue value;
    };

    void AddLine(Line line, size_t number);
    size_t LastOf(Line::Kind kind, std::string_view key, std::string_view name) const;
    void EndLastLine();

    std::vector<Line> lines_;
    std::string lineEnd_ = "\r\n";
    bool utf16_ = false;
    size_t firstFault_ = 0;
};

}  // namespace vlstore

#endif
