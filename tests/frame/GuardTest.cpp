#include "frame/Guard.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/support/Captured.h"
#include "tests/support/TestStore.h"

namespace velmora {
namespace {

const std::string kComHead = "StoreIndex_Open handled a COM error.\nCode = 0x80004005\nCode meaning = Unspecified error\n";
const std::string kExceptionReport =
    "StoreIndex_Open handled an exception; session will be dropped.\nThe exception was: Out of memory (Array)\n";
const std::string kUnknownReport = "StoreIndex_Open raised an exception\n";

class GuardTest : public testing::Test {
protected:
    test::TempDirectory directory_;
    test::CapturedLog log_;
};

TEST_F(GuardTest, ComErrorIsTracedAndNoEvent)
{
    GuardedSwallow("StoreIndex_Open", [] { throw ComError{0x80004005u, "Unspecified error", "msxml3.dll", "No such element"}; });
    EXPECT_EQ(log_.Traces(), std::vector<std::string>{kComHead + "Source = msxml3.dll\nEror Description = No such element\n"});
    EXPECT_TRUE(log_.Events().empty());
}

TEST_F(GuardTest, ComErrorNamesSourceAndDescriptionOnlyIfThereIsOne)
{
    GuardedSwallow("StoreIndex_Open", [] { throw ComError{0x80004005u, "Unspecified error", "", ""}; });
    GuardedSwallow("StoreIndex_Open", [] { throw ComError{0x80004005u, "Unspecified error", "", "No such element"}; });
    GuardedSwallow("StoreIndex_Open", [] { throw ComError{0x80004005u, "Unspecified error", "msxml3.dll", ""}; });
    EXPECT_EQ(log_.Traces(),
              (std::vector<std::string>{kComHead, kComHead + "Eror Description = No such element\n", kComHead + "Source = msxml3.dll\n"}));
}

TEST_F(GuardTest, ComErrorCodeHasEightDigits)
{
    GuardedSwallow("N", [] { throw ComError{0xBu, "", "", ""}; });
    EXPECT_EQ(log_.Traces(), std::vector<std::string>{"N handled a COM error.\nCode = 0x0000000b\nCode meaning = \n"});
}

TEST_F(GuardTest, StandardExceptionIsTracedAndAnEvent)
{
    GuardedSwallow("StoreIndex_Open", [] { throw Exception("Out of memory", "Array"); });
    EXPECT_EQ(log_.Traces(), std::vector<std::string>{kExceptionReport});
    EXPECT_EQ(log_.Events(), std::vector<std::string>{kExceptionReport});
}

TEST_F(GuardTest, AnythingElseIsTracedAndNoEvent)
{
    GuardedSwallow("StoreIndex_Open", [] { throw 7; });
    EXPECT_EQ(log_.Traces(), std::vector<std::string>{kUnknownReport});
    EXPECT_TRUE(log_.Events().empty());
}

TEST_F(GuardTest, RethrowReportsAndPassesTheExceptionOn)
{
    EXPECT_THROW(GuardedRethrow("StoreIndex_Open", [] { throw Exception("Out of memory", "Array"); }), Exception);
    EXPECT_THROW(GuardedRethrow("StoreIndex_Open", [] { throw 7; }), int);
    EXPECT_THROW(GuardedRethrow("StoreIndex_Open", [] { throw ComError{0x80004005u, "Unspecified error", "", ""}; }), ComError);
    EXPECT_EQ(log_.Traces(), (std::vector<std::string>{kExceptionReport, kUnknownReport, kComHead}));
    EXPECT_EQ(log_.Events(), std::vector<std::string>{kExceptionReport});
}

TEST_F(GuardTest, NothingIsReportedWhenNothingIsThrown)
{
    bool ran = false;
    GuardedSwallow("N", [&] { ran = true; });
    GuardedRethrow("N", [&] { ran = ran && true; });
    EXPECT_TRUE(ran);
    EXPECT_TRUE(log_.Traces().empty());
}

TEST_F(GuardTest, EntryAnswersTheResultOrTheFailure)
{
    EXPECT_EQ(GuardedEntry("N", uint64_t{0}, [] { return uint64_t{2}; }), 2u);
    EXPECT_EQ(GuardedEntry("N", uint64_t{9}, []() -> uint64_t { throw std::runtime_error("x"); }), 9u);
    EXPECT_TRUE(log_.HasTrace("N handled an exception; session will be dropped.\nThe exception was: x\n"));
}

}  // namespace
}  // namespace velmora
