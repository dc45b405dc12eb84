// Sees whether a folder's messages are listed, which is what a scan begins with.
#ifndef VELMORA_TESTS_FAULTS_SCANWATCH_H
#define VELMORA_TESTS_FAULTS_SCANWATCH_H

#include <cstdint>

#include "platform/FileSeam.h"

namespace velmora::test {

// While it lives; in front of the seam that was installed before, which is still asked.
class ScanWatch : public platform::FileSeam {
public:
    ScanWatch();
    ~ScanWatch() override;
    ScanWatch(const ScanWatch&) = delete;
    ScanWatch& operator=(const ScanWatch&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t bytes) override;
    uint32_t Scans() const { return scans_; }

private:
    platform::FileSeam* const before_;
    uint32_t scans_ = 0;
};

}  // namespace velmora::test

#endif
