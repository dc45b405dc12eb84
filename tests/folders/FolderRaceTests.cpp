// Threads that add, rename, remove and list the folders of one mailbox at the same time.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "common/Exception.h"
#include "tests/folders/FolderFiles.h"

namespace velmora::test {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 40;

class FolderRaces : public FolderFiles {
protected:
    // Adds, renames and removes folders that no other thread names; the flag of the one parent is everybody's.
    void Change(int thread)
    {
        for (int round = 0; round < kRounds; ++round) {
            const std::string name = "folder " + std::to_string(thread) + "-" + std::to_string(round % 5);
            StoreFolderRecord record = Record("/", name);
            StoreFolderRecord renamed = Record("/", name + "x");
            StoreFolderAdd(&record);
            if (round % 2 == 0) StoreFolderEdit(&record, &renamed);
            if (round % 3 == 0) StoreFolderRemove(&renamed);
        }
    }
};

TEST_F(FolderRaces, WhenAllRestTheListIsThatOfTheDirectories)
{
    std::atomic<bool> done = false;
    std::vector<std::thread> threads;
    BeginStdoutCapture();  // half a list is told of, line by line
    for (int thread = 0; thread < kThreads; ++thread) threads.emplace_back([this, thread] { Change(thread); });
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 2; ++reader)
        readers.emplace_back([&] {
            while (!done) {
                LocalFolderList list;
                FolderEntryList* entries = nullptr;
                GetFolderEntryList(entries, Dir(), true, list);
            }
        });
    for (std::thread& thread : threads) thread.join();
    done = true;
    for (std::thread& reader : readers) reader.join();
    EndStdoutCapture();

    // The last reader may have met half a list of another's: then the next request makes it again.
    Names listed = ListedAnew();
    if (listed == Names{"no list"}) listed = ListedAnew();
    EXPECT_EQ(listed, Directories());
}

}  // namespace
}  // namespace velmora::test
