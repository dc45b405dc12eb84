// Small helpers for the tests of message parsing.
#ifndef VELMORA_TESTS_ITEMS_MESSAGES_H
#define VELMORA_TESTS_ITEMS_MESSAGES_H

#include <algorithm>
#include <string>
#include <string_view>

#include "items/MessageHeader.h"
#include "persistence/StreamIndexReader.h"

namespace velmora::test {

inline MessageHeader ParseText(std::string_view text, const HeaderParseOptions& options = {}, uint32_t folderUid = 0)
{
    MessageHeader header;
    header.FolderUid = folderUid;
    MemorySource source(text);
    ParseMessageHeaders(source, header, options);
    return header;
}

inline HeaderParseOptions HonouringUid()
{
    HeaderParseOptions options;
    options.honourUid = true;
    return options;
}

// A source that gives its bytes a few at a time, as a slow file would.
class TrickleSource : public ByteSource {
public:
    TrickleSource(std::string_view bytes, size_t step) : bytes_(bytes), step_(step) {}
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

inline std::string Repeat(std::string_view text, size_t times)
{
    std::string result;
    for (size_t i = 0; i < times; ++i) result += text;
    return result;
}

}  // namespace velmora::test

#endif
