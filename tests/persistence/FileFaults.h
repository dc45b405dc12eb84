// What can be wrong with a file while it is used: operations that fail, and another who has it open.
#ifndef VELMORA_TESTS_PERSISTENCE_FILEFAULTS_H
#define VELMORA_TESTS_PERSISTENCE_FILEFAULTS_H

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/FileSeam.h"
#include "platform/win32.h"

namespace velmora::test {

// Asks a rule of the test for the verdict on each file operation while it lives.
class FileFaults : public platform::FileSeam {
public:
    // `nth` counts the operations of the same kind, from 1; `path` is empty for those on an open file.
    using Rule = std::function<platform::FileVerdict(platform::FileOperation operation, int nth, std::string_view path, uint64_t bytes)>;

    explicit FileFaults(Rule rule) : rule_(std::move(rule)), before_(platform::ReplaceFileSeam(this)) {}
    ~FileFaults() override { platform::ReplaceFileSeam(before_); }
    FileFaults(const FileFaults&) = delete;
    FileFaults& operator=(const FileFaults&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t bytes) override
    {
        const platform::FileVerdict verdict = rule_(operation, ++counts_[operation], path, bytes);
        if (verdict.fail != 0) ++failed_;
        return verdict;
    }
    int Count(platform::FileOperation operation) { return counts_[operation]; }
    int Failed() const { return failed_; }

    // The n-th operation of a kind fails, and no other.
    static Rule Nth(platform::FileOperation operation, int nth, uint32_t error)
    {
        return [=](platform::FileOperation asked, int number, std::string_view, uint64_t) {
            platform::FileVerdict verdict;
            if (asked == operation && number == nth) verdict.fail = error;
            return verdict;
        };
    }
    // These operations fail on paths that end in `nameEnd`.
    static Rule On(std::initializer_list<platform::FileOperation> operations, std::string_view nameEnd, uint32_t error)
    {
        return [kinds = std::vector(operations), end = std::string(nameEnd), error](platform::FileOperation asked, int,
                                                                                    std::string_view path, uint64_t) {
            platform::FileVerdict verdict;
            if (std::find(kinds.begin(), kinds.end(), asked) != kinds.end() && path.ends_with(end)) verdict.fail = error;
            return verdict;
        };
    }
    // No byte fits on the disk any more.
    static Rule FullDisk()
    {
        return [](platform::FileOperation operation, int, std::string_view, uint64_t) {
            platform::FileVerdict verdict;
            if (operation == platform::FileOperation::Write) verdict.writeLimit = 0;
            return verdict;
        };
    }

private:
    Rule rule_;
    platform::FileSeam* before_;
    std::map<platform::FileOperation, int> counts_;
    int failed_ = 0;
};

// Has a file open and shares it with nobody.
struct HeldFile {
    explicit HeldFile(const std::filesystem::path& path)
        : handle(CreateFileA(path.string().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
    }
    ~HeldFile() { Release(); }
    void Release()
    {
        if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
        handle = INVALID_HANDLE_VALUE;
    }
    HANDLE handle;
};

}  // namespace velmora::test

#endif
