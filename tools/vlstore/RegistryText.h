// A settings file in the form that regedit exports: parsed, looked up, and edited one value at a time.
//
//     Windows Registry Editor Version 5.00
//
//     [HKEY_LOCAL_MACHINE\SOFTWARE\Example]
//     "A text"="with \\ and \" escaped" ; a comment
//     "A number"=dword:0000000a
//     "Bytes"=hex:01,02,03
//     "Gone"=-
//     [-HKEY_LOCAL_MACHINE\SOFTWARE\Gone]
//
// What is read is what the store reads (RegistryReader.h): keys and names are compared without regard to case; of two equal
// values the later one counts, and what is removed further down does not. The file is kept line by line, and an edit touches
// its value alone: comments, blanks and line ends come out as they came in. UTF-16, which regedit writes, stays UTF-16.
#ifndef VLSTORE_REGISTRYTEXT_H
#define VLSTORE_REGISTRYTEXT_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "RegistryReader.h"
#include "RegistryValue.h"

namespace vlstore {

struct RegistryEntry {
    std::string key;
    std::string name;  // empty for the key's default value
    RegistryValue value;
};

class RegistryText {
public:
    // Never fails; what cannot be read is told by FirstFault.
    static RegistryText Parse(std::string_view bytes);
    std::string Serialise() const;

    // Line (from 1) of the first fault, 0 if there is none. The store takes no value from there on.
    size_t FirstFault() const { return firstFault_; }

    // Every value that counts, in the order of the file.
    std::vector<RegistryEntry> Entries() const;
    // The value that counts; null when there is none. Valid until the next Set.
    const RegistryValue* Find(std::string_view key, std::string_view name) const;
    // Makes it the value that counts. Only for a text without a fault. `key` is not empty, does not begin with "-" or end with
    // "\"; no argument holds a line feed.
    void Set(std::string_view key, std::string_view name, const RegistryValue& value);

private:
    struct Line {
        RegistryStatement::Kind kind = RegistryStatement::Kind::Filler;
        std::string bytes;  // as they stand in the file
        RegistryEntry entry;
        size_t valueBegin = 0, valueEnd = 0;  // in `bytes`
    };
    // What stands so far: keys and names in capitals, with the lines of the key's last heading and of its values.
    struct Section {
        size_t line = 0;
        std::map<std::string, size_t, std::less<>> values;
    };

    void Read(std::string_view text, std::string_view bytes);
    void AddLine(const RegistryStatement& statement, std::string_view bytes);
    void RemoveSections(const std::string& key);
    std::string Encoded(std::string_view text) const;
    void Insert(size_t at, std::string_view text);
    void EndLastLine();

    std::string mark_;  // the byte order mark, or nothing
    std::vector<Line> lines_;
    std::string rest_;  // what stands behind the last line that is understood
    std::map<std::string, Section, std::less<>> sections_;
    std::string lineEnd_ = "\r\n";
    bool utf16_ = false;
    size_t firstFault_ = 0;
};

}  // namespace vlstore

#endif
