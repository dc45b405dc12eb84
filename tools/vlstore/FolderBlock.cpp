#include "FolderBlock.h"

#include <chrono>
#include <thread>

#include "ExitCode.h"
#include "System.h"

namespace vlstore {

namespace {

constexpr std::chrono::milliseconds kMoment{1000};
constexpr std::chrono::milliseconds kLongWait{60000};
constexpr std::chrono::milliseconds kBetweenAttempts{5};
constexpr uint32_t kKeepHandle = 1, kByName = 0;

}  // namespace

FolderBlock::FolderBlock(const Library& library, const std::filesystem::path& file, const std::string& label, LockWait wait)
    : library_(library), file_(file.string())
{
    RequireReadAndWrite(file.parent_path());
    const auto end = std::chrono::steady_clock::now() + (wait == LockWait::Wait ? kLongWait : kMoment);
    while (!Take()) {
        if (std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(kBetweenAttempts);
            continue;
        }
        const BlockState state = ProbeBlockFile(file);
        if (state == BlockState::Free) throw Failure(ExitCode::IoError, "cannot make the block file " + file_);
        if (state == BlockState::Held) throw Failure(ExitCode::Temporary, "folder is busy (lock held): " + label);
        if (wait == LockWait::Refuse) throw Failure(ExitCode::Temporary, "a block file was left behind; --wait takes it away: " + file_);
        // Whoever holds it again keeps it from going.
        library_.releaseBlock(file_.c_str(), kByName, nullptr);
        if (Take()) return;
        throw Failure(ExitCode::Temporary, "folder is busy (lock held): " + label);
    }
}

FolderBlock::~FolderBlock() { library_.releaseBlock(file_.c_str(), kKeepHandle, &handle_); }

bool FolderBlock::Take() { return library_.takeBlock(file_.c_str(), kKeepHandle, &handle_) == 1; }

}  // namespace vlstore
