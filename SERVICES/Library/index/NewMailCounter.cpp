// The counts that a delivery agent leaves beside a mailbox's folders.
#include <string>
#include <string_view>
#include <utility>

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

// Closed on every way out: without memory as well.
class Search {
public:
    explicit Search(const std::string& pattern) : handle_(FindFirstFileA(pattern.c_str(), &found_)) {}
    ~Search() { Close(); }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    const WIN32_FIND_DATAA& Found() const { return found_; }
    bool GoOn() { return FindNextFileA(handle_, &found_) != 0; }
    void Close()
    {
        if (IsOpen()) FindClose(handle_);
        handle_ = INVALID_HANDLE_VALUE;
    }

private:
    WIN32_FIND_DATAA found_;
    HANDLE handle_;
};

}  // namespace

uint32_t TakeNewMailCounter(const char* mailboxDirectory)
{
    const std::string directory = std::string(TextOrEmpty(mailboxDirectory)) + "\\";
    Search search(directory + kCounterPattern);
    if (!search.IsOpen()) return 0;
    const WIN32_FIND_DATAA& found = search.Found();

    // The best is kept on disk to the end, so that an agent's count survives a process that dies in here. Files go under
    // the name that they were found by: "_007.NEW" is not "_7.NEW".
    int32_t best = 0;
    std::string bestName;
    do {
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
        const int32_t count = CounterOf(found.cFileName);
        std::string beaten = found.cFileName;
        if (count > best) {
            best = count;
            std::swap(beaten, bestName);
        }
        if (!beaten.empty()) DeleteFileA((directory + beaten).c_str());
    } while (search.GoOn());
    search.Close();
    if (!bestName.empty()) DeleteFileA((directory + bestName).c_str());
    return static_cast<uint32_t>(best);
}

}  // namespace velmora
