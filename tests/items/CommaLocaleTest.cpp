// Amounts do not follow the host's language: an index is read by other hosts.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "items/PropertyConversion.h"
#include "tests/items/CommaLocale.h"

namespace velmora::test {
namespace {

struct Freed {
    void operator()(void* value) const { std::free(value); }
};
using Owned = std::unique_ptr<void, Freed>;

class CommaLocale : public testing::Test {
protected:
    void SetUp() override
    {
        if (!UseCommaLocale()) GTEST_SKIP() << "this machine has no language with a decimal comma";
        ASSERT_EQ(std::strtod("0,5", nullptr), 0.5) << "the C library follows the language";
    }
    ~CommaLocale() override { std::setlocale(LC_ALL, "C"); }
};

TEST_F(CommaLocale, AmountsAreWrittenWithAPoint)
{
    const double amount = -1234.5;
    void* result = nullptr;
    ASSERT_EQ(ConvertPropertyValue(PropDouble, PropText, &amount, &result), Conversion::NewValue);
    const Owned owner(result);
    EXPECT_STREQ(static_cast<const char*>(result), "  -1234.50");
}

TEST_F(CommaLocale, AmountsAreReadWithAPoint)
{
    struct Case {
        const char* text;
        double amount;
    };
    for (const Case& row : {Case{"  -1234.50", -1234.5}, {"0,5", 0.0}, {"1,5", 1.0}, {"0x1.8p1", 3.0}, {"0x1,8p1", 1.0}}) {
        void* result = nullptr;
        ASSERT_EQ(ConvertPropertyValue(PropText, PropDouble, row.text, &result), Conversion::NewValue) << row.text;
        const Owned owner(result);
        double amount = 0;
        std::memcpy(&amount, result, sizeof amount);
        EXPECT_EQ(amount, row.amount) << row.text;
    }
}

}  // namespace
}  // namespace velmora::test
