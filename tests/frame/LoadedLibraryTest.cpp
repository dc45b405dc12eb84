// The built library as a host has it: loaded, used on the host's own threads, and left at the end of the process.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tests/frame/module/HostedLibrary.h"
#include "tests/support/Captured.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestStore.h"

namespace velmora {
namespace {

using Library = test::HostedLibrary;

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
        HMODULE handle = nullptr;
        test::CaptureStdout([&] { handle = LoadLibraryA(VELMORA_LIBRARY_MODULE); });
        Library library(handle);
        EXPECT_TRUE(library.FindAll()) << "error " << GetLastError();
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

TEST_F(LoadedLibrary, AProcessEndsWhileItsThreadsAreAtWork)
{
    constexpr int kProcesses = 10;
    for (const uint32_t affinity : {1u, 0u}) {
        for (int i = 0; i < kProcesses; ++i) {
            // What the process before had in its hands: the next one would wait a minute for it.
            std::filesystem::remove(inbox_ / "_index.blk");
            test::ChildProcess host(VELMORA_HOST_PROGRAM, {VELMORA_LIBRARY_MODULE, std::to_string(affinity)},
                                    {.stdoutPath = store_.Directory() / "host.txt"});
            EXPECT_EQ(host.Wait(), 0) << "affinity " << affinity;
        }
    }
}

}  // namespace
}  // namespace velmora
