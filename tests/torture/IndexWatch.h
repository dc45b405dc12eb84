// Watches the library at work in a worker: every write of an index happens with its block held by the thread that writes,
// leaves a whole file behind and never a lower LASTUID. What is written, and from when to when, goes into the journal, so
// that the oracle knows which death was one in the middle of a write, and which writes ran into each other; and so do the
// times at which the thread had the block, and those at which it was refused.
//
// Whether an attempt at the block was refused is in the thread's last error, which is looked at when its next operation
// begins.
#ifndef VELMORA_TESTS_TORTURE_INDEXWATCH_H
#define VELMORA_TESTS_TORTURE_INDEXWATCH_H

#include <atomic>
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
    // It has nothing to do with the folder any more.
    void EndDeed();
    // A call that takes the block begins. `byName`: it holds the block by its name alone, where others may take it away.
    void BeginCall(bool byName = false);
    // Whether the block was refused to the calling thread since then, and whether it has it now.
    bool WasRefused();
    bool HasBlock();
    void BeginSave();
    // Whether the calling thread has written the index since the save began.
    bool EndSave();
    // Looks at once what came of the calling thread's last operation, while the system still tells.
    void Resolve();
    // From now on no thread of the process gets any block.
    void RefuseBlocks() { refusesBlocks_ = true; }
    // Where the calling thread works.
    static const std::filesystem::path& Directory();

private:
    void BeforeOpen(std::string_view leaf);
    void BeforeDelete(std::string_view leaf);
    void BeforeMove(std::string_view leaf);
    void ResolveAttempt();
    void TakeRefusal();
    void ResolveDelete();
    void TakeBlock();
    void DeleteBlock();
    void LetGo();
    void LookAtIndex();
    void TakeWrite();
    void LookAtBlock();
    void TakeMark();
    void Fault(const std::string& text);

    Journal& journal_;
    platform::FileSeam* const before_;
    std::atomic<bool> refusesBlocks_ = false;
};

// The LASTUID of an index file as it stands; none when its first bytes are not a header.
std::optional<uint32_t> HeaderUid(std::string_view bytes);

}  // namespace velmora::torture

#endif
