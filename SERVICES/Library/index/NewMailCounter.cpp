// The counts that a delivery agent leaves beside a mailbox's folders.
#include <string>
#include <string_view>
#include <utility>

#include "common/FileIterator.h"
#include "common/Text.h"
#include "index/StoreIndexLife.h"
#include "platform/win32.h"

namespace velmora {
namespace {

constexpr char kCounterPattern[] = "_*.NEW";

// The number between the "_" and the first "." of a counter's name.
int32_t CounterOf(std::string_view name)
{
    name.remove_prefix(1);
    return ParseLong(name.substr(0, name.find('.')));
}

}  // namespace

uint32_t TakeNewMailCounter(const char* mailboxDirectory)
{
    const std::string directory = std::string(TextOrEmpty(mailboxDirectory)) + "\\";
    FileIterator counters(directory + kCounterPattern);

    // The best is kept on disk to the end, so that an agent's count survives a process that dies in here. Files go under
    // the name that they were found by: "_007.NEW" is not "_7.NEW".
    int32_t best = 0;
    std::string bestName;
    for (std::string beaten = counters.First(); counters.HasMore(); beaten = counters.Next()) {
        if (counters.Attributes() & kDirectoryAttribute) continue;
        const int32_t count = CounterOf(beaten);
        if (count > best) {
            best = count;
            std::swap(beaten, bestName);
        }
        if (!beaten.empty()) DeleteFileA((directory + beaten).c_str());
    }
    if (!bestName.empty()) DeleteFileA((directory + bestName).c_str());
    return static_cast<uint32_t>(best);
}

}  // namespace velmora
