// The built library as a host has it: loaded, used on the host's own threads, and left at the end of the process.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Captured.h"
#include "tests/support/TestStore.h"
#include "velmora/vlaisp.h"

namespace velmora {
namespace {

constexpr uint32_t kMail = 0;

// What a host calls, found in the library by name.
struct Library {
    explicit Library(void* handle) : module(handle) {}
    template <typename Function>
    Function* Find(Function*& function, const char* name)
    {
        function = reinterpret_cast<Function*>(dlsym(module, name));
        return function;
    }
    bool FindAll()
    {
        return module && Find(open, "StoreFolder_Open") && Find(setProperty, "StoreItem_SetProperty") &&
               Find(findFirst, "StoreFolder_FindFirstItem") && Find(close, "StoreFolder_Close") && Find(saveAll, "Store_Save") &&
               Find(setAffinity, "StoreLibrary_SetAffinity");
    }
    uint64_t OpenInbox() const { return open("po", "box", "Inbox", kMail, 0); }

    void* module;
    decltype(&StoreFolder_Open) open = nullptr;
    decltype(&StoreItem_SetProperty) setProperty = nullptr;
    decltype(&StoreFolder_FindFirstItem) findFirst = nullptr;
    decltype(&StoreFolder_Close) close = nullptr;
    decltype(&Store_Save) saveAll = nullptr;
    decltype(&StoreLibrary_SetAffinity) setAffinity = nullptr;
};

class LoadedLibrary : public testing::Test {
protected:
    void SetUp() override
    {
        inbox_ = store_.MakeFolder("Inbox");
        for (const char* name : {"1.MAI", "2.MAI"})
            test::WriteFileBytes(inbox_ / name, "From: a@example.org\r\nSubject: as delivered\r\n\r\nbody\r\n");
    }
    // Loads the library into this process. The line about a companion that is missing stays out of the test's output.
    static Library Load()
    {
        void* handle = nullptr;
        test::CaptureStdout([&] { handle = dlopen(VELMORA_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL); });
        Library library(handle);
        EXPECT_TRUE(library.FindAll()) << dlerror();
        return library;
    }
    // A host's thread changes a message, saves nothing and ends; the index once every open folder has been saved.
    std::string IndexAfterAThreadThatDidNotSave(const Library& library)
    {
        std::thread([&] {
            EXPECT_EQ(library.OpenInbox(), 1u);
            EXPECT_EQ(library.setProperty("1.MAI", "PR_SUBJECT", "never saved"), 1u);
        }).join();
        EXPECT_EQ(library.saveAll(0), 1u);
        return test::ReadFileBytes(inbox_ / "_index.xml");
    }
    test::TestStore store_;
    std::filesystem::path inbox_;
};

TEST_F(LoadedLibrary, AThreadThatEndsGivesItsFolderBack)
{
    const Library library = Load();
    EXPECT_EQ(IndexAfterAThreadThatDidNotSave(library).find("never saved"), std::string::npos);
}

TEST_F(LoadedLibrary, WithoutAffinityAThreadThatEndsLeavesItsFolderToTheOthers)
{
    const Library library = Load();
    library.setAffinity(0);
    EXPECT_NE(IndexAfterAThreadThatDidNotSave(library).find("never saved"), std::string::npos);
}

// The process of a host that ends by exit while its threads are inside the library.
[[noreturn]] void EndWithThreadsAtWork(const Library& library)
{
    std::atomic<int> rounds{0};
    const auto work = [&] {
        for (;; ++rounds) {
            if (library.OpenInbox() == 0) _exit(2);
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

TEST_F(LoadedLibrary, AProcessEndsWhileItsThreadsAreAtWork)
{
    constexpr int kProcesses = 10;
    for (const uint32_t affinity : {1u, 0u}) {
        for (int i = 0; i < kProcesses; ++i) {
            // What the process before had in its hands: the next one would wait a minute for it.
            std::filesystem::remove(inbox_ / "_index.blk");
            const pid_t child = fork();
            if (child == 0) {
                const Library library = Load();
                library.setAffinity(affinity);
                test::BeginStdoutCapture();
                EndWithThreadsAtWork(library);
            }
            int status = -1;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "affinity " << affinity << ", status " << status;
        }
    }
}

}  // namespace
}  // namespace velmora
