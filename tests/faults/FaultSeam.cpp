#include "tests/faults/FaultSeam.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "common/Text.h"
#include "tests/support/TestStore.h"

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

constexpr std::array<KindRow, 8> kKinds = {{
    {FaultKind::NoSpace, "NoSpace", 112, kTakesSpace},
    {FaultKind::IoError, "IoError", 1117, kAll},
    {FaultKind::AccessDenied, "AccessDenied", 5, kOnPaths},
    {FaultKind::SharingViolation, "SharingViolation", 32, kOnPaths},
    {FaultKind::ShortWrite, "ShortWrite", 0, Bit(FileOperation::Write)},
    {FaultKind::Death, "Death", 0, kChangesTheDisk},
    {FaultKind::TornDeath, "TornDeath", 0, Bit(FileOperation::Write)},
    {FaultKind::IndexHeld, "IndexHeld", 32, kOnPaths & ~Bit(FileOperation::Search)},
}};

const KindRow& RowOf(FaultKind kind) { return kKinds[static_cast<size_t>(kind)]; }

constexpr const char* kOperations[] = {"open", "read",           "write",  "resize", "delete", "move",
                                       "copy", "make directory", "search", "seek",   "none"};

}  // namespace

const char* NameOf(FaultKind kind) { return RowOf(kind).name; }

bool IsPathOf(std::string_view path, std::string_view nameEnd)
{
    return path.size() >= nameEnd.size() && EqualsNoCase(path.substr(path.size() - nameEnd.size()), nameEnd);
}

FaultSeam::FaultSeam(FaultKind kind, uint32_t nth, FaultSpan span, uint32_t sixteenths)
    : kind_(kind), nth_(nth), span_(span), sixteenths_(sixteenths), before_(platform::ReplaceFileSeam(this))
{
}

FaultSeam::~FaultSeam()
{
    platform::ReplaceFileSeam(before_);
    if (dying_) std::_Exit(kStoppedByFault);
}

bool FaultSeam::AppliesTo(FileOperation operation, std::string_view path, uint64_t bytes) const
{
    if (kind_ == FaultKind::IndexHeld && !IsPathOf(path, "_index.xml")) return false;
    // One byte is written or not; there is no half of it.
    const bool halves = kind_ == FaultKind::ShortWrite || kind_ == FaultKind::TornDeath;
    return (RowOf(kind_).operations & Bit(operation)) != 0 && (!halves || bytes > 1);
}

void FaultSeam::NoteDeath() const
{
    if (!note_.empty()) WriteFileBytes(note_, firstPath_);
}

FileVerdict FaultSeam::Before(FileOperation operation, const char* path, uint64_t bytes)
{
    // The half of the last write is on the disk.
    if (dying_) std::_Exit(kStoppedByFault);
    FileVerdict verdict;
    if (operation == FileOperation::Open) opened_ = path ? path : "";
    const std::string file = path && *path ? path : opened_;
    if (!AppliesTo(operation, file, bytes)) return verdict;
    ++seen_;
    if (!IsInSpan(span_, nth_, seen_)) return verdict;
    if (++hits_ == 1) {
        firstOperation_ = operation;
        firstPath_ = file;
    }
    all_.emplace_back(operation, file);
    dying_ = kind_ == FaultKind::TornDeath;
    if (dying_ || kind_ == FaultKind::Death) NoteDeath();
    if (kind_ == FaultKind::Death) std::_Exit(kStoppedByFault);
    verdict.fail = RowOf(kind_).error;
    if (verdict.fail == 0) verdict.writeLimit = bytes * sixteenths_ / 16;
    return verdict;
}

bool FaultSeam::HitAny(FileOperation operation, std::string_view nameEnd) const
{
    return std::any_of(all_.begin(), all_.end(), [&](const auto& hit) { return hit.first == operation && IsPathOf(hit.second, nameEnd); });
}

std::string FaultSeam::Describe() const
{
    return std::string(NameOf(kind_)) + " at operation " + std::to_string(nth_) + " (" + NameOf(span_) + "), first a " +
           kOperations[static_cast<size_t>(firstOperation_)] + " of \"" + firstPath_ + "\", " + std::to_string(sixteenths_) + "/16";
}

}  // namespace velmora::test
