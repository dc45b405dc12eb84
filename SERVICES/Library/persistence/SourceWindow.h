// A moving window of contiguous bytes over a ByteSource.
#ifndef VELMORA_PERSISTENCE_SOURCEWINDOW_H
#define VELMORA_PERSISTENCE_SOURCEWINDOW_H

#include <cstddef>
#include <memory>

#include "persistence/StreamIndexReader.h"

namespace velmora {

// The unread bytes lie between Begin() and End(). More() keeps them together and adds bytes behind them, so whatever has
// to be looked at in one piece can be; the window grows to hold it.
class SourceWindow {
public:
    explicit SourceWindow(ByteSource& source);

    const char* Begin() const { return begin_; }
    const char* End() const { return end_; }
    size_t Unread() const { return static_cast<size_t>(end_ - begin_); }
    void Consume(size_t bytes) { begin_ += bytes; }

    // Adds bytes; pointers into the window are void afterwards. False when the source has no more.
    bool More();

private:
    static constexpr size_t kFirstCapacity = 128 * 1024;

    ByteSource& source_;
    std::unique_ptr<char[]> buffer_;
    size_t capacity_;
    char* begin_;
    char* end_;
    bool ended_ = false;
};

}  // namespace velmora

#endif
