#include "tests/tool/PosixTerminal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace velmora::test {

Terminal::Terminal() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)), slave_(-1)
{
    if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0) throw std::runtime_error("no terminal to be had");
    slave_ = ::open(Path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    winsize size{};
    size.ws_col = 80;
    if (slave_ < 0 || ::ioctl(slave_, TIOCSWINSZ, &size) != 0) throw std::runtime_error("no terminal to be had");
}

Terminal::~Terminal()
{
    ::close(slave_);
    ::close(master_);
}

std::string Terminal::Path() const { return ::ptsname(master_); }

std::string Terminal::Read()
{
    std::string text;
    pollfd ready{master_, POLLIN, 0};
    while (::poll(&ready, 1, 100) == 1) {
        char piece[4096];
        ssize_t count = ::read(master_, piece, sizeof piece);
        if (count <= 0) break;
        text.append(piece, static_cast<size_t>(count));
    }
    return text;
}

void Terminal::Type(const std::string& text) const
{
    if (::write(master_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("the terminal takes nothing");
}

}  // namespace velmora::test
