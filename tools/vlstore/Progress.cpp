#include "Progress.h"

#include <cinttypes>
#include <cstdio>

#include "System.h"

namespace vlstore {

namespace {

constexpr std::chrono::milliseconds kBetweenLines{100};
constexpr const char* kEraseLine = "\r\x1b[K";

}  // namespace

Progress::Progress(uint64_t total) : shown_(IsTerminal(stderr)), total_(total) {}

Progress::~Progress() { Erase(); }

void Progress::Erase() const
{
    if (shown_) std::fputs(kEraseLine, stderr);
}

void Progress::Step()
{
    ++done_;
    if (!shown_) return;
    auto now = std::chrono::steady_clock::now();
    if (now - last_ < kBetweenLines) return;
    last_ = now;
    std::fprintf(stderr, "%s%" PRIu64 " of %" PRIu64, kEraseLine, done_, total_);
}

}  // namespace vlstore
