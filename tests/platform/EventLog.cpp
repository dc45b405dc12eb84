// The event log in the file that VELMORA_EVENTLOG names: one line an event.
#include <thread>

#include "tests/platform/PlatformTest.h"
#include "tests/support/ChildProcess.h"

namespace velmora::test {

namespace {

class EventLog : public PlatformTest {
protected:
    EventLog() { SetVariable("VELMORA_EVENTLOG", Slashed(At("events")).c_str()); }
    ~EventLog() override { SetVariable("VELMORA_EVENTLOG", nullptr); }
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

TEST_F(EventLog, AnEventIsOneLineWithItsPartsBetweenTabs)
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

TEST_F(EventLog, LineEndsAndTabsInsideAStringAreEscaped)
{
    EXPECT_TRUE(Report(EVENTLOG_INFORMATION_TYPE, {"a\r\nb\tc\\d", nullptr}));
    const std::string events = Contents(At("events"));
    EXPECT_EQ(events.substr(20), "\tINFORMATION\t0x40000001\ta\\r\\nb\\tc\\\\d\t\n");
}

TEST_F(EventLog, ThreadsDoNotMixTheirLines)
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

TEST_F(EventLog, AFileThatCannotBeWrittenIsAFailure)
{
    SetVariable("VELMORA_EVENTLOG", Slashed(At("no\\events")).c_str());
    EXPECT_FALSE(Report(EVENTLOG_INFORMATION_TYPE, {"text"}));
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
}

}  // namespace

}  // namespace velmora::test
