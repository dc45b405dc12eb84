// A counting line on standard error, where that is a terminal; nothing otherwise.
#ifndef VLSTORE_PROGRESS_H
#define VLSTORE_PROGRESS_H

#include <chrono>
#include <cstdint>

namespace vlstore {

class Progress {
public:
    explicit Progress(uint64_t total);
    ~Progress();  // takes the line away
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Step();
    // Makes room for another line.
    void Erase() const;

private:
    bool shown_;
    uint64_t total_;
    uint64_t done_ = 0;
    std::chrono::steady_clock::time_point last_{};
};

}  // namespace vlstore

#endif
