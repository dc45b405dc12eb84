// Share modes between opened files of one process, and blocks: what cannot be deleted is held.
#include <thread>

#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

class Sharing : public PlatformTest {};

TEST_F(Sharing, ShareModeNoneKeepsEverybodyOut)
{
    const std::string path = MakeFile("f", "text");
    Opened holder(OpenToRead(path, 0));
    ASSERT_TRUE(holder.IsOpen());
    for (DWORD share : {DWORD{0}, kShareAll, kShareWithDelete}) {
        EXPECT_EQ(ErrorOfHandle(OpenToRead(path, share)), ERROR_SHARING_VIOLATION);
        EXPECT_EQ(ErrorOfHandle(OpenToUpdate(path, share)), ERROR_SHARING_VIOLATION);
    }
    EXPECT_EQ(ErrorOf(DeleteFileA(path.c_str())), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOf(MoveFileA(path.c_str(), At("g").c_str())), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOf(CopyFileA(path.c_str(), At("g").c_str(), TRUE)), ERROR_SHARING_VIOLATION);
    holder.Close();
    EXPECT_EQ(ErrorOfHandle(OpenToUpdate(path, 0)), kDidNotFail);
}

TEST_F(Sharing, SharingWithoutDeleteLetsOthersInButNotAway)
{
    const std::string path = MakeFile("f", "text");
    Opened holder(OpenToUpdate(path));
    EXPECT_EQ(ErrorOfHandle(OpenToUpdate(path)), kDidNotFail);
    EXPECT_EQ(ErrorOfHandle(OpenToRead(path, 0)), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOf(DeleteFileA(path.c_str())), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOf(MoveFileA(path.c_str(), At("g").c_str())), ERROR_SHARING_VIOLATION);
    EXPECT_TRUE(IsThere(path));
    holder.Close();
    EXPECT_TRUE(DeleteFileA(path.c_str()));
    EXPECT_FALSE(IsThere(path));
}

TEST_F(Sharing, SharingWithDeleteLetsTheFileBeMoved)
{
    const std::string path = MakeFile("f", "text");
    Opened holder(OpenToRead(path, kShareWithDelete));
    EXPECT_TRUE(MoveFileA(path.c_str(), At("g").c_str()));
    EXPECT_TRUE(IsThere(At("g")));
}

TEST_F(Sharing, SharingWithDeleteLetsTheFileBeDeletedAndReadToItsEnd)
{
    const std::string path = MakeFile("f", "text");
    Opened holder(OpenToRead(path, kShareWithDelete));
    EXPECT_TRUE(DeleteFileA(path.c_str())) << GetLastError();
    char text[8] = {};
    DWORD done = 0;
    EXPECT_TRUE(ReadFile(holder.Get(), text, sizeof(text), &done, nullptr));
    EXPECT_EQ(std::string(text, done), "text");
    holder.Close();
    EXPECT_FALSE(IsThere(path));
    EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), kDidNotFail) << "the name is free";
}

TEST_F(Sharing, TwoThreadsMeetAsTwoProcessesDo)
{
    const std::string path = MakeFile("f");
    Opened holder(OpenToUpdate(path, 0));
    DWORD error = 0;
    std::thread([&] { error = ErrorOfHandle(OpenToRead(path)); }).join();
    EXPECT_EQ(error, ERROR_SHARING_VIOLATION);
}

TEST_F(Sharing, ABlockCannotBeDeletedWhileItIsHeld)
{
    const std::string path = At("_index.blk");
    Opened holder(CreateBlock(path));
    ASSERT_TRUE(holder.IsOpen());
    EXPECT_EQ(ErrorOf(DeleteFileA(path.c_str())), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), ERROR_FILE_EXISTS);
    EXPECT_EQ(ErrorOfHandle(OpenToRead(path)), ERROR_SHARING_VIOLATION);
    holder.Close();
    EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), ERROR_FILE_EXISTS) << "a block that is left behind still stands";
    EXPECT_TRUE(DeleteFileA(path.c_str()));
    EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), kDidNotFail);
}

TEST_F(Sharing, OfManyThreadsOneGetsTheBlock)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 50;
    for (int round = 0; round < kRounds; ++round) {
        const std::string path = At("_block" + std::to_string(round));
        std::vector<HANDLE> handles(kThreads, INVALID_HANDLE_VALUE);
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&, i] { handles[static_cast<size_t>(i)] = CreateBlock(path); });
        }
        for (std::thread& thread : threads) thread.join();
        int holders = 0;
        for (HANDLE handle : handles) {
            if (handle != INVALID_HANDLE_VALUE) ++holders;
        }
        EXPECT_EQ(holders, 1);
        for (HANDLE handle : handles) {
            if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
        }
    }
}

TEST_F(Sharing, ABlockWrittenByItsHolderIsReadWhenItIsGone)
{
    const std::string path = At("_index.blk");
    Opened holder(CreateBlock(path));
    EXPECT_TRUE(WriteText(holder.Get(), "holder"));
    holder.Close();
    EXPECT_EQ(Contents(path), "holder");
}

}  // namespace

}  // namespace velmora::test
