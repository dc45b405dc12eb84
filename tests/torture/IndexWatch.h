// Watches the library at work in a worker: every write of an index happens with its block held by the thread that writes,
// leaves a whole file behind and never a lower LASTUID. What is written, and from when to when, goes into the journal, so
// that the oracle knows which death was one in the middle of a write, and which writes ran into each other.
#ifndef VELMORA_TESTS_TORTURE_INDEXWATCH_H
#define VELMORA_TESTS_TORTURE_INDEXWATCH_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/FileSeam.h"
#include "tests/torture/Journal.h"

namespace velmora::torture {

class IndexWatch : public platform::FileSeam {
public:
    explicit IndexWatch(Journal& journal) : journal_(journal), before_(platform::ReplaceFileSeam(this)) {}
    ~IndexWatch() override { platform::ReplaceFileSeam(before_); }
    IndexWatch(const IndexWatch&) = delete;
    IndexWatch& operator=(const IndexWatch&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t bytes) override;

    // What the calling thread is about, for all that it does from now on.
    void BeginDeed(uint32_t thread, uint32_t folder, const std::filesystem::path& directory);
    void BeginSave();
    // Whether the calling thread has written the index since the save began.
    bool EndSave();
    // Where the calling thread works.
    static const std::filesystem::path& Directory();

private:
    void BeforeOpen(std::string_view leaf);
    void BeforeDelete(std::string_view leaf);
    void BeforeMove(std::string_view leaf);
    void TakeBlock();
    void LetGo();
    void LookAtIndex();
    void TakeWrite();
    void TakeMark();
    void Fault(const std::string& text);

    Journal& journal_;
    platform::FileSeam* const before_;
};

// The LASTUID of an index file as it stands; none when its first bytes are not a header.
std::optional<uint32_t> HeaderUid(std::string_view bytes);

}  // namespace velmora::torture

#endif
