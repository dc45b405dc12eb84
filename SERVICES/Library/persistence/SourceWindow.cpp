#include "persistence/SourceWindow.h"

#include <cstring>

namespace velmora {

SourceWindow::SourceWindow(ByteSource& source)
    : source_(source), buffer_(new char[kFirstCapacity]), capacity_(kFirstCapacity), begin_(buffer_.get()), end_(buffer_.get())
{
}

bool SourceWindow::More()
{
    if (ended_) return false;
    const size_t unread = Unread();
    if (unread > capacity_ / 2) {
        std::unique_ptr<char[]> larger(new char[capacity_ * 2]);
        std::memcpy(larger.get(), begin_, unread);
        buffer_.swap(larger);
        capacity_ *= 2;
    } else {
        std::memmove(buffer_.get(), begin_, unread);
    }
    begin_ = buffer_.get();
    end_ = begin_ + unread;
    const size_t got = source_.Read(end_, capacity_ - unread);
    end_ += got;
    ended_ = got == 0;
    return got != 0;
}

}  // namespace velmora
