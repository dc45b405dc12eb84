#include "Progress.h"

#include <cinttypes>
#include <cstdio>

#include "System.h"

namespace vlstore {

namespace {

constexpr std::chrono::milliseconds kBetweenLines{100};
constexpr const char* kEraseLine = "\r\x1b[K";

}  // namespace

Progress::Progress(uint64_t total) : shown_(IsTerminal(stderr)), behind_(" of " + std::to_string(total)) {}

Progress::Progress(const char* counted) : shown_(IsTerminal(stderr)), before_(std::string(counted) + " ") {}

Progress::~Progress() { Erase(); }

void Progress::Erase() const
{
    if (shown_) std::fputs(kEraseLine, stderr);
}

void Progress::Step(uint64_t count)
{
    done_ += count;
    if (!shown_) return;
    auto now = std::chrono::steady_clock::now();
    if (now - last_ < kBetweenLines) return;
    last_ = now;
    std::fprintf(stderr, "%s%s%" PRIu64 "%s", kEraseLine, before_.c_str(), done_, behind_.c_str());
}

}  // namespace vlstore
