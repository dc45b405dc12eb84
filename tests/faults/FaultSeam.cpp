#include "tests/faults/FaultSeam.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace velmora::test {

namespace {

using platform::FileOperation;
using platform::FileVerdict;

struct KindRow {
    FaultKind kind;
    const char* name;
    uint32_t error;       // 0: the operation does not simply fail
    uint32_t operations;  // that it can happen to
};

constexpr uint32_t Bit(FileOperation operation) { return 1u << static_cast<uint32_t>(operation); }

constexpr uint32_t kOnPaths = Bit(FileOperation::Open) | Bit(FileOperation::Delete) | Bit(FileOperation::Move) | Bit(FileOperation::Copy) |
                              Bit(FileOperation::MakeDirectory) | Bit(FileOperation::Search);
constexpr uint32_t kTakesSpace = Bit(FileOperation::Open) | Bit(FileOperation::Write) | Bit(FileOperation::Resize) |
                                 Bit(FileOperation::Move) | Bit(FileOperation::Copy) | Bit(FileOperation::MakeDirectory);
constexpr uint32_t kChangesTheDisk = Bit(FileOperation::Write) | Bit(FileOperation::Resize) | Bit(FileOperation::Delete) |
                                     Bit(FileOperation::Move) | Bit(FileOperation::Copy) | Bit(FileOperation::MakeDirectory);
constexpr uint32_t kAll = ~0u;

constexpr std::array<KindRow, 7> kKinds = {{
    {FaultKind::NoSpace, "NoSpace", 112, kTakesSpace},
    {FaultKind::IoError, "IoError", 1117, kAll},
    {FaultKind::AccessDenied, "AccessDenied", 5, kOnPaths},
    {FaultKind::SharingViolation, "SharingViolation", 32, kOnPaths},
    {FaultKind::ShortWrite, "ShortWrite", 0, Bit(FileOperation::Write)},
    {FaultKind::Death, "Death", 0, kChangesTheDisk},
    {FaultKind::TornDeath, "TornDeath", 0, Bit(FileOperation::Write)},
}};

const KindRow& RowOf(FaultKind kind) { return kKinds[static_cast<size_t>(kind)]; }

constexpr const char* kOperations[] = {"open", "read", "write", "resize", "delete", "move", "copy", "make directory", "search", "none"};

}  // namespace

const char* NameOf(FaultKind kind) { return RowOf(kind).name; }
const char* NameOf(FaultSpan span) { return span == FaultSpan::Once ? "Once" : "Onwards"; }

FaultSeam::FaultSeam(FaultKind kind, uint32_t nth, FaultSpan span, uint32_t sixteenths)
    : kind_(kind), nth_(nth), span_(span), sixteenths_(sixteenths), before_(platform::ReplaceFileSeam(this))
{
}

FaultSeam::~FaultSeam()
{
    platform::ReplaceFileSeam(before_);
    if (dying_) std::_Exit(kStoppedByFault);
}

bool FaultSeam::AppliesTo(FileOperation operation, uint64_t bytes) const
{
    // One byte is written or not; there is no half of it.
    const bool halves = kind_ == FaultKind::ShortWrite || kind_ == FaultKind::TornDeath;
    return (RowOf(kind_).operations & Bit(operation)) != 0 && (!halves || bytes > 1);
}

FileVerdict FaultSeam::Before(FileOperation operation, const char* path, uint64_t bytes)
{
    // The half of the last write is on the disk.
    if (dying_) std::_Exit(kStoppedByFault);
    FileVerdict verdict;
    if (!AppliesTo(operation, bytes)) return verdict;
    ++seen_;
    if (seen_ < nth_ || (span_ == FaultSpan::Once && seen_ > nth_)) return verdict;
    if (++hits_ == 1) {
        firstOperation_ = operation;
        firstPath_ = path ? path : "";
    }
    all_.emplace_back(operation, path ? path : "");
    if (kind_ == FaultKind::Death) std::_Exit(kStoppedByFault);
    dying_ = kind_ == FaultKind::TornDeath;
    verdict.fail = RowOf(kind_).error;
    if (verdict.fail == 0) verdict.writeLimit = bytes * sixteenths_ / 16;
    return verdict;
}

bool FaultSeam::HitAny(FileOperation operation, std::string_view nameEnd) const
{
    return std::any_of(all_.begin(), all_.end(), [&](const auto& hit) { return hit.first == operation && hit.second.ends_with(nameEnd); });
}

std::string FaultSeam::Describe() const
{
    return std::string(NameOf(kind_)) + " at operation " + std::to_string(nth_) + " (" + NameOf(span_) + "), first a " +
           kOperations[static_cast<size_t>(firstOperation_)] + " of \"" + firstPath_ + "\", " + std::to_string(sixteenths_) + "/16";
}

}  // namespace velmora::test
