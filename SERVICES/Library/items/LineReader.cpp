#include "items/LineReader.h"

#include <algorithm>
#include <cstring>

namespace velmora {

// Moves what is unread to the front and reads behind it; the end of the source is noted.
void LineReader::Refill()
{
    if (begin_ > 0) {
        std::memmove(buffer_, buffer_ + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    const size_t read = source_.Read(buffer_ + end_, kBufferBytes - end_);
    ended_ = read == 0;
    end_ += read;
}

bool LineReader::Next(size_t limit, std::string_view& piece)
{
    size_t searched = 0;
    for (;;) {
        const size_t available = std::min(end_ - begin_, limit);
        const char* const line = buffer_ + begin_;
        const void* const lineFeed = available > searched ? std::memchr(line + searched, '\n', available - searched) : nullptr;
        const size_t length = lineFeed ? static_cast<size_t>(static_cast<const char*>(lineFeed) - line) + 1 : available;
        if (lineFeed || available == limit || ended_) {
            piece = {line, length};
            begin_ += length;
            return length > 0;
        }
        searched = available;
        Refill();
    }
}

bool LineReader::NextBlock(size_t limit, std::string_view& block)
{
    if (begin_ == end_ && !ended_) Refill();
    const size_t length = std::min(end_ - begin_, limit);
    block = {buffer_ + begin_, length};
    begin_ += length;
    return length > 0;
}

}  // namespace velmora
