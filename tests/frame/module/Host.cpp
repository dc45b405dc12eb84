// host LIBRARY AFFINITY: a host that ends by exit while its threads are inside the library.
#include <atomic>
#include <cstdlib>
#include <thread>

#include "tests/frame/module/HostedLibrary.h"

using velmora::test::HostedLibrary;

namespace {

constexpr int kNoLibrary = 3;
constexpr int kNotOpened = 2;

[[noreturn]] void EndWithThreadsAtWork(const HostedLibrary& library)
{
    std::atomic<int> rounds{0};
    const auto work = [&] {
        for (;; ++rounds) {
            if (library.OpenInbox() == 0) std::_Exit(kNotOpened);
            library.findFirst();
            library.setProperty(nullptr, "READ", "1");
            library.close();
        }
    };
    for (int i = 0; i < 4; ++i) std::thread(work).detach();
    library.OpenInbox();
    library.findFirst();
    while (rounds < 50) std::this_thread::yield();
    std::exit(0);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) return kNoLibrary;
    HostedLibrary library(LoadLibraryA(argv[1]));
    if (!library.FindAll()) return kNoLibrary;
    library.setAffinity(static_cast<uint32_t>(std::atoi(argv[2])));
    EndWithThreadsAtWork(library);
}
