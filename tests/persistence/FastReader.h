// The reader of the library in the hands of a test: bytes in pieces of any size, and the outcome as one text.
#ifndef VELMORA_TESTS_PERSISTENCE_FASTREADER_H
#define VELMORA_TESTS_PERSISTENCE_FASTREADER_H

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "persistence/StreamIndexReader.h"
#include "tests/index/TestTable.h"

namespace velmora::test {

// Gives at most `step` bytes at a time.
class DripSource : public ByteSource {
public:
    DripSource(std::string_view bytes, size_t step) : bytes_(bytes), step_(step) {}
    size_t Read(char* buffer, size_t size) override
    {
        const size_t count = std::min({size, step_, bytes_.size()});
        bytes_.copy(buffer, count);
        bytes_.remove_prefix(count);
        return count;
    }

private:
    std::string_view bytes_;
    size_t step_;
};

class NamedFiles : public ItemFileCheck {
public:
    explicit NamedFiles(std::set<std::string, std::less<>> names) : names_(std::move(names)) {}
    bool FileExists(std::string_view id) override
    {
        ++questions;
        return names_.contains(id);
    }
    int questions = 0;

private:
    std::set<std::string, std::less<>> names_;
};

// A pass over `bytes` into a table of its own.
struct Parsed {
    explicit Parsed(std::string_view bytes, const ParseOptions& options = {})
    {
        MemorySource source(bytes);
        table.LoadLevel = 0;
        outcome = ParseIndexStream(table, source, options);
    }

    IndexItemPropertyContainer* Item(std::string_view id) { return FindLoadedItem(table, id); }

    TestTable table;
    ParseOutcome outcome;
};

inline ParseOptions AtLevel(int32_t level, std::string_view selection = {})
{
    ParseOptions options;
    options.level = level;
    options.selection = MakeSelectionSet(selection);
    return options;
}

}  // namespace velmora::test

#endif
