// Lines of an item file in pieces of bounded length, as the store has always read them.
#ifndef VELMORA_ITEMS_LINEREADER_H
#define VELMORA_ITEMS_LINEREADER_H

#include <cstddef>
#include <string_view>

#include "persistence/StreamIndexReader.h"

namespace velmora {

// Item files are read in lines of at most a caller's number of bytes, line end included. A longer line arrives in
// pieces, and each piece counts as a line of its own: whoever wrote the store's files relies on where these cuts fall.
// Reads 8 KiB at a time and only when asked for a line that is not in memory yet, so that a message whose header fits
// costs one read.
class LineReader {
public:
    explicit LineReader(ByteSource& source) : source_(source) {}
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    // The next piece, ending behind its line feed or after `limit` bytes (at most kBufferBytes) or at the end of the
    // source. False at the end. Valid until the next call.
    bool Next(size_t limit, std::string_view& piece);

    // What is left, in blocks of at most `limit` bytes with no regard to lines.
    bool NextBlock(size_t limit, std::string_view& block);

    static constexpr size_t kBufferBytes = 8192;

private:
    void Refill();

    ByteSource& source_;
    size_t begin_ = 0;
    size_t end_ = 0;
    bool ended_ = false;
    char buffer_[kBufferBytes];
};

}  // namespace velmora

#endif
