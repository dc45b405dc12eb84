// What an action costs at the platform's seam: operations by kind, bytes, and listings of a directory.
#ifndef VELMORA_TESTS_COUNTS_COUNTEDFILES_H
#define VELMORA_TESTS_COUNTS_COUNTEDFILES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "platform/FileSeam.h"

namespace velmora::test {

struct FileCost {
    static constexpr size_t kKinds = static_cast<size_t>(platform::FileOperation::Count_);

    std::array<uint64_t, kKinds> operations{};
    uint64_t bytesRead = 0;  // as asked for
    uint64_t bytesWritten = 0;
    uint64_t listings = 0;  // searches with a wildcard below the folder: each may read the whole directory

    uint64_t Of(platform::FileOperation operation) const { return operations[static_cast<size_t>(operation)]; }
    uint64_t Operations() const
    {
        uint64_t all = 0;
        for (const uint64_t count : operations) all += count;
        return all;
    }
};

inline std::ostream& operator<<(std::ostream& out, const FileCost& cost)
{
    static constexpr std::array<const char*, FileCost::kKinds> kNames = {"open", "read", "write",          "resize", "delete",
                                                                         "move", "copy", "make directory", "search", "seek"};
    for (size_t kind = 0; kind < FileCost::kKinds; ++kind)
        if (cost.operations[kind] != 0) out << cost.operations[kind] << " " << kNames[kind] << ", ";
    return out << cost.listings << " listings, " << cost.bytesRead << " bytes read, " << cost.bytesWritten << " bytes written";
}

// Counts while it lives. `folder` is the name of the directory whose listings are counted.
class CountedFiles : public platform::FileSeam {
public:
    explicit CountedFiles(std::string_view folder) : folder_(folder), before_(platform::ReplaceFileSeam(this)) {}
    ~CountedFiles() override { platform::ReplaceFileSeam(before_); }
    CountedFiles(const CountedFiles&) = delete;
    CountedFiles& operator=(const CountedFiles&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t bytes) override
    {
        using platform::FileOperation;
        ++cost_.operations[static_cast<size_t>(operation)];
        if (operation == FileOperation::Read) cost_.bytesRead += bytes;
        if (operation == FileOperation::Write) cost_.bytesWritten += bytes;
        const std::string_view name(path ? path : "");
        const bool wildcard = name.find_first_of("*?") != std::string_view::npos;
        if (operation == FileOperation::Search && wildcard && name.find(folder_) != std::string_view::npos) ++cost_.listings;
        return {};
    }

    const FileCost& Cost() const { return cost_; }

private:
    std::string_view folder_;
    platform::FileSeam* before_;
    FileCost cost_;
};

}  // namespace velmora::test

#endif
