// The event log without a file: a datagram to the log daemon; and what a debugger would read.
#include "platform/posix/EventLog.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/platform/PlatformTest.h"
#include "tests/support/ChildProcess.h"

namespace velmora::test {

namespace {

class PosixEventLog : public PlatformTest {};

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
    const std::string path = Slashed(At("log"));
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
    SetVariable("VELMORA_DEBUGSTRING", nullptr);
    OutputDebugStringA("quiet\n");
    SetVariable("VELMORA_DEBUGSTRING", "1");
    OutputDebugStringA("loud\n");
    OutputDebugStringA(nullptr);
    SetVariable("VELMORA_DEBUGSTRING", nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "loud\n");
}

}  // namespace

}  // namespace velmora::test
