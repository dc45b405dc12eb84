// What the death of a process leaves on the disk, without a second process.
#ifndef VELMORA_TESTS_PERSISTENCE_CUTOFF_H
#define VELMORA_TESTS_PERSISTENCE_CUTOFF_H

#include <cstdint>

#include "platform/FileSeam.h"

namespace velmora::test {

// From the n-th operation on that changes the disk, counted from 1, no operation does anything. Of the n-th, when it is a
// write, so many sixteenths get there.
class CutOff : public platform::FileSeam {
public:
    CutOff(int nth, uint32_t sixteenths) : nth_(nth), sixteenths_(sixteenths), before_(platform::ReplaceFileSeam(this)) {}
    ~CutOff() override { platform::ReplaceFileSeam(before_); }
    CutOff(const CutOff&) = delete;
    CutOff& operator=(const CutOff&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char*, uint64_t bytes) override
    {
        using platform::FileOperation;
        constexpr uint32_t kError = 1117;
        platform::FileVerdict verdict;
        if (dead_) {
            verdict.fail = kError;
            return verdict;
        }
        const bool changes = operation == FileOperation::Write || operation == FileOperation::Resize ||
                             operation == FileOperation::Delete || operation == FileOperation::Move || operation == FileOperation::Copy;
        if (!changes || ++seen_ < nth_) return verdict;
        dead_ = true;
        if (operation == FileOperation::Write && sixteenths_ != 0)
            verdict.writeLimit = bytes * sixteenths_ / 16;
        else
            verdict.fail = kError;
        return verdict;
    }
    bool Happened() const { return dead_; }

private:
    const int nth_;
    const uint32_t sixteenths_;
    int seen_ = 0;
    bool dead_ = false;
    platform::FileSeam* before_;
};

}  // namespace velmora::test

#endif
