// The event log: a line a file, or a datagram to the log daemon.
#include "platform/posix/EventLog.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>

#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

class PosixEventLog : public PlatformTest {
protected:
    PosixEventLog() { setenv("VELMORA_EVENTLOG", Native("events").c_str(), 1); }
    ~PosixEventLog() override { unsetenv("VELMORA_EVENTLOG"); }
    std::string Native(const char* name) const
    {
        std::string path = At(name);
        for (char& c : path) c = c == '\\' ? '/' : c;
        return path;
    }
};

BOOL Report(WORD type, std::vector<const char*> strings)
{
    const HANDLE log = RegisterEventSourceA(nullptr, "Velmora");
    EXPECT_NE(log, nullptr);
    const BOOL reported = ReportEventA(log, type, 0, 0x40000001, nullptr, static_cast<WORD>(strings.size()), 0, strings.data(), nullptr);
    const DWORD error = GetLastError();
    EXPECT_TRUE(DeregisterEventSource(log));
    SetLastError(error);
    return reported;
}

TEST_F(PosixEventLog, AnEventIsOneLineWithItsPartsBetweenTabs)
{
    EXPECT_TRUE(Report(EVENTLOG_INFORMATION_TYPE, {"Provider error: 5", "text"}));
    EXPECT_TRUE(Report(EVENTLOG_ERROR_TYPE, {"second"}));
    const std::string events = Contents(At("events"));
    const size_t end = events.find('\n');
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(events.substr(20, end - 20), "\tINFORMATION\t0x40000001\tProvider error: 5\ttext");
    EXPECT_EQ(events[10], 'T');
    EXPECT_EQ(events[19], 'Z') << "UTC";
    EXPECT_EQ(events.substr(end + 1 + 20), "\tERROR\t0x40000001\tsecond\n");
}

TEST_F(PosixEventLog, LineEndsAndTabsInsideAStringAreEscaped)
{
    EXPECT_TRUE(Report(EVENTLOG_INFORMATION_TYPE, {"a\r\nb\tc\\d", nullptr}));
    const std::string events = Contents(At("events"));
    EXPECT_EQ(events.substr(20), "\tINFORMATION\t0x40000001\ta\\r\\nb\\tc\\\\d\t\n");
}

TEST_F(PosixEventLog, ThreadsDoNotMixTheirLines)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 50; ++i) EXPECT_TRUE(Report(EVENTLOG_INFORMATION_TYPE, {"the same text in every line"}));
        });
    }
    for (std::thread& thread : threads) thread.join();
    const std::string events = Contents(At("events"));
    size_t lines = 0;
    for (size_t at = 0; at < events.size(); ++lines) {
        const size_t end = events.find('\n', at);
        ASSERT_NE(end, std::string::npos);
        EXPECT_EQ(events.substr(at + 20, end - at - 20), "\tINFORMATION\t0x40000001\tthe same text in every line");
        at = end + 1;
    }
    EXPECT_EQ(lines, 200u);
}

TEST_F(PosixEventLog, AFileThatCannotBeWrittenIsAFailure)
{
    setenv("VELMORA_EVENTLOG", Native("no/events").c_str(), 1);
    EXPECT_FALSE(Report(EVENTLOG_INFORMATION_TYPE, {"text"}));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST_F(PosixEventLog, AClosedSourceIs6)
{
    const HANDLE log = RegisterEventSourceA(nullptr, "Velmora");
    EXPECT_TRUE(DeregisterEventSource(log));
    EXPECT_EQ(ErrorOf(ReportEventA(log, EVENTLOG_INFORMATION_TYPE, 0, 0, nullptr, 0, 0, nullptr, nullptr)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf(DeregisterEventSource(log)), ERROR_INVALID_HANDLE);
}

TEST_F(PosixEventLog, TheDaemonGetsADatagramWithTheIdentity)
{
    const int daemon = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = Native("log");
    ASSERT_LT(path.size(), sizeof(address.sun_path));
    path.copy(address.sun_path, path.size());
    ASSERT_EQ(bind(daemon, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(platform::SendToLogDaemon(path.c_str(), 6, "the text"), 0u);
    char message[256];
    const ssize_t length = recv(daemon, message, sizeof(message), MSG_DONTWAIT);
    ASSERT_GT(length, 0);
    close(daemon);
    const std::string text(message, static_cast<size_t>(length));
    EXPECT_EQ(text.substr(0, 4), "<14>") << "user facility, information";
    EXPECT_EQ(text.substr(4 + 15), " Velmora[" + std::to_string(getpid()) + "]: the text");
    EXPECT_NE(platform::SendToLogDaemon(path.c_str(), 6, "nobody listens"), 0u);
}

TEST(PosixDebugString, GoesToStandardErrorOnlyWhenAskedFor)
{
    testing::internal::CaptureStderr();
    unsetenv("VELMORA_DEBUGSTRING");
    OutputDebugStringA("quiet\n");
    setenv("VELMORA_DEBUGSTRING", "1", 1);
    OutputDebugStringA("loud\n");
    OutputDebugStringA(nullptr);
    unsetenv("VELMORA_DEBUGSTRING");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "loud\n");
}

}  // namespace

}  // namespace velmora::test
