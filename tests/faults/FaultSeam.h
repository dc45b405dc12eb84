// The n-th file operation of a scenario goes wrong: it fails, is cut short, or is the last thing that its process does.
#ifndef VELMORA_TESTS_FAULTS_FAULTSEAM_H
#define VELMORA_TESTS_FAULTS_FAULTSEAM_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/FileSeam.h"
#include "tests/support/FaultSpan.h"

namespace velmora::test {

enum class FaultKind {
    NoSpace,
    IoError,
    AccessDenied,
    SharingViolation,
    ShortWrite,  // a part of the bytes gets to the file; counts writes alone
    Death,       // the process ends in front of the operation; counts what changes the disk
    TornDeath,   // the process ends behind a part of a write
    IndexHeld,   // SharingViolation on the index file alone, as when another program has it open for a while
};

const char* NameOf(FaultKind kind);

// Whether the path ends in this name, whatever its case.
bool IsPathOf(std::string_view path, std::string_view nameEnd);

// How a process ends that a fault stopped.
inline constexpr int kStoppedByFault = 77;

// Installed while it lives. One thread.
class FaultSeam : public platform::FileSeam {
public:
    // `nth` counts from 1 the operations that the kind applies to. `sixteenths`: how much of a write is done.
    FaultSeam(FaultKind kind, uint32_t nth, FaultSpan span, uint32_t sixteenths = 8);
    ~FaultSeam() override;
    FaultSeam(const FaultSeam&) = delete;
    FaultSeam& operator=(const FaultSeam&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t bytes) override;

    // The deaths write the path of the operation that they happen at into this file.
    void NoteDeathIn(const std::filesystem::path& note) { note_ = note; }

    // The operations that went wrong.
    uint32_t Hits() const { return hits_; }
    // Whether any of them was one of these, and on a name with that end, whatever its case. What is done to a handle counts for
    // the file that was opened last.
    bool HitAny(platform::FileOperation operation, std::string_view nameEnd = {}) const;
    // For messages: what went wrong first.
    std::string Describe() const;

private:
    void NoteDeath() const;
    bool AppliesTo(platform::FileOperation operation, std::string_view path, uint64_t bytes) const;

    const FaultKind kind_;
    const uint32_t nth_;
    const FaultSpan span_;
    const uint32_t sixteenths_;
    uint32_t seen_ = 0;
    uint32_t hits_ = 0;
    bool dying_ = false;
    platform::FileOperation firstOperation_ = platform::FileOperation::Count_;
    std::string firstPath_;
    std::filesystem::path note_;
    std::string opened_;  // the path of the last open
    std::vector<std::pair<platform::FileOperation, std::string>> all_;
    platform::FileSeam* before_;
};

}  // namespace velmora::test

#endif
