// A file seam that asks one function of a test about every operation while it lives.
#ifndef VELMORA_TESTS_ITEMS_HOOKEDSEAM_H
#define VELMORA_TESTS_ITEMS_HOOKEDSEAM_H

#include <functional>
#include <string_view>
#include <utility>

#include "platform/FileSeam.h"

namespace velmora::test {

class HookedSeam : public platform::FileSeam {
public:
    using Hook = std::function<platform::FileVerdict(platform::FileOperation, std::string_view path, uint64_t bytes)>;

    explicit HookedSeam(Hook hook) : hook_(std::move(hook)), before_(platform::ReplaceFileSeam(this)) {}
    ~HookedSeam() override { platform::ReplaceFileSeam(before_); }
    HookedSeam(const HookedSeam&) = delete;
    HookedSeam& operator=(const HookedSeam&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t bytes) override
    {
        return hook_(operation, path ? path : "", bytes);
    }

private:
    Hook hook_;
    platform::FileSeam* before_;
};

// Makes one kind of operation fail with `error` on paths that end in `name`.
inline HookedSeam::Hook FailOn(platform::FileOperation failing, std::string_view name, uint32_t error)
{
    return [=](platform::FileOperation operation, std::string_view path, uint64_t) {
        platform::FileVerdict verdict;
        if (operation == failing && path.ends_with(name)) verdict.fail = error;
        return verdict;
    };
}

// Makes every read fail with error 23 behind an open of a path that ends in `name`, up to the next open.
inline HookedSeam::Hook FailReadsOf(std::string_view name)
{
    return [name, inside = false](platform::FileOperation operation, std::string_view path, uint64_t) mutable {
        if (operation == platform::FileOperation::Open) inside = path.ends_with(name);
        platform::FileVerdict verdict;
        if (operation == platform::FileOperation::Read && inside) verdict.fail = 23;
        return verdict;
    };
}

}  // namespace velmora::test

#endif
