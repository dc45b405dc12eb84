// Mutexes and processes.
#include "tests/platform/PlatformTest.h"
#include "tests/platform/PosixProcess.h"

namespace velmora::test {

namespace {

TEST(PosixMutexes, OneNameIsAnotherMutexInAnotherProcess)
{
    const std::string name = "velmora-test-mutex-" + std::to_string(GetCurrentProcessId());
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    // Begun before the mutex is made, as another service is.
    const pid_t child = StartProcess([&] {
        char byte = 0;
        if (read(ready[0], &byte, 1) != 1) return 1;
        if (OpenMutexA(SYNCHRONIZE, FALSE, name.c_str()) || GetLastError() != ERROR_FILE_NOT_FOUND) return 2;
        SetLastError(ERROR_SUCCESS);
        const HANDLE mine = CreateMutexA(nullptr, FALSE, name.c_str());
        if (!mine || GetLastError() == ERROR_ALREADY_EXISTS) return 3;
        if (WaitForSingleObject(mine, 0) != WAIT_OBJECT_0) return 4;
        return 42;
    });
    Opened mutex(CreateMutexA(nullptr, TRUE, name.c_str()));
    EXPECT_TRUE(mutex.IsOpen());
    EXPECT_EQ(write(ready[1], "r", 1), 1);
    EXPECT_EQ(ExitStatus(child), 42) << "the other process takes the name while it is held here";
    EXPECT_TRUE(ReleaseMutex(mutex.Get()));
    for (const int fd : ready) close(fd);
}

}  // namespace

}  // namespace velmora::test
