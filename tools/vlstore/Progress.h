// A counting line on standard error, where that is a terminal; nothing otherwise.
#ifndef VLSTORE_PROGRESS_H
#define VLSTORE_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace vlstore {

class Progress {
public:
    explicit Progress(uint64_t total);       // "3 of 12"
    explicit Progress(const char* counted);  // "folder 3", where nobody knows of how many
    ~Progress();                             // takes the line away
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Step(uint64_t count = 1);
    // Makes room for another line of standard error. What goes to standard output waits for the end: both may be one terminal.
    void Erase() const;

private:
    bool shown_;
    std::string before_, behind_;  // what stands around the number
    uint64_t done_ = 0;
    std::chrono::steady_clock::time_point last_{};
};

}  // namespace vlstore

#endif
