#include "frame/Logging.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/win32.h"
#include "tests/support/Captured.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestStore.h"

namespace velmora {
namespace {

class LoggingTest : public testing::Test {
protected:
    std::string EventLog()
    {
        return test::FileExists(directory_ / "events.log") ? test::ReadFileBytes(directory_ / "events.log") : std::string();
    }
    test::TempDirectory directory_;
};

TEST_F(LoggingTest, StoreLogAnswersOneWithAndWithoutAHook)
{
    EXPECT_EQ(StoreLog(8, "dropped"), 1u);
    const test::CapturedLog log;
    EXPECT_EQ(StoreLog(9, "kept"), 1u);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0].first, 9u);
    EXPECT_EQ(log.Lines()[0].second, "kept");
}

TEST_F(LoggingTest, DebugTraceGoesToItsHookAlone)
{
    DebugTrace("dropped");
    const test::CapturedLog log;
    DebugTrace("kept");
    EXPECT_EQ(log.Traces(), std::vector<std::string>{"kept"});
    EXPECT_EQ(EventLog(), "");
}

TEST_F(LoggingTest, HooksComeBackWhenACaptureEnds)
{
    {
        const test::CapturedLog log;
        EXPECT_NE(Hooks().storeLog, nullptr);
    }
    EXPECT_EQ(Hooks().storeLog, nullptr);
}

TEST_F(LoggingTest, StoreEventHasTheProviderWithTheLastErrorAndTheText)
{
    SetLastError(32);
    ReportStoreEvent("what happened");
    const std::string log = EventLog();
    // One line: the time, then the entry.
    const size_t behindTime = log.find('\t');
    ASSERT_NE(behindTime, std::string::npos) << log;
    EXPECT_EQ(log.substr(behindTime), "\tINFORMATION\t0x40000001\tVelmora Store Provider error: 32\twhat happened\n");
}

TEST_F(LoggingTest, StoreEventPrintsTheLastErrorSigned)
{
    SetLastError(0xFFFFFFFFu);
    ReportStoreEvent("what happened");
    EXPECT_NE(EventLog().find("Velmora Store Provider error: -1"), std::string::npos);
}

TEST_F(LoggingTest, IndexEventBeginsWithTheFileNameOfTheProgram)
{
    const test::CapturedLog log;
    const std::string event = "[" + test::OwnProgramPath().filename().string() + "] Malformed index detected";
    SetLastError(5);
    LogIndexEvent("Malformed index detected");
    EXPECT_EQ(log.Events(), std::vector<std::string>{event});
    EXPECT_NE(EventLog().find("Velmora Store Provider error: 5"), std::string::npos);
    EXPECT_NE(EventLog().find(event), std::string::npos);
}

TEST_F(LoggingTest, LinesForTheOperatorGoToStandardOutput)
{
    EXPECT_EQ(test::CaptureStdout([] { PrintLine("StoreFolder_Open::Piggybacking Index\n"); }), "StoreFolder_Open::Piggybacking Index\n");
    EXPECT_EQ(test::CaptureStdout([] { PrintLine("100%s"); }), "100%s");
}

TEST_F(LoggingTest, NullIndexWarningNamesTheFunction)
{
    EXPECT_EQ(test::CaptureStdout([] { WarnNullIndex("StoreIndex_Get"); }), "WARNING!: StoreIndex is NULL when passed to StoreIndex_Get\n");
}

}  // namespace
}  // namespace velmora
