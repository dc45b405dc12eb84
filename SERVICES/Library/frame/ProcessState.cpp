#include "frame/ProcessState.h"

#include <atomic>
#include <cstring>
#include <mutex>

#include "common/Text.h"

namespace velmora {

namespace {

// The first byte tells readers that the rest is there, and so is written last.
std::atomic_ref<char> FirstByteOfMailRoot() { return std::atomic_ref<char>(Process().MailRoot[0]); }

}  // namespace

ProcessState& Process()
{
    static ProcessState state;
    return state;
}

std::string_view MailRootText()
{
    if (FirstByteOfMailRoot().load(std::memory_order_acquire) == 0) return {};
    const char* const root = Process().MailRoot;
    const auto* const end = static_cast<const char*>(std::memchr(root, 0, kStoreNameSize));
    return {root, end ? static_cast<size_t>(end - root) : kStoreNameSize};
}

void FillEmptyMailRoot(std::string_view root)
{
    static std::mutex filling;
    const std::lock_guard<std::mutex> lock(filling);
    if (root.empty() || !MailRootText().empty()) return;
    char text[kStoreNameSize] = {};
    CopyBounded(text, root);
    std::memcpy(Process().MailRoot + 1, text + 1, sizeof text - 1);
    FirstByteOfMailRoot().store(text[0], std::memory_order_release);
}

}  // namespace velmora
