#include "items/MessageBranding.h"

#include <gtest/gtest.h>

#include "frame/Settings.h"
#include "tests/items/HookedSeam.h"
#include "tests/items/Messages.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestStore.h"

namespace velmora::test {
namespace {

constexpr char kNoInput[] = "Could not open message file for input\r\n";
constexpr char kNotMoved[] = "Could not move message file into place\r\n";
constexpr char kNoOutput[] = "Could not open message file for writing\r\n";

class Branding : public testing::Test {
protected:
    Branding()
    {
        store_.SetNumber("UID Branding Enabled", 1);
        folder_ = store_.MakeFolder("Inbox");
    }

    void Write(std::string_view bytes) { WriteFileBytes(folder_ / "a.MAI", bytes); }
    std::string Read() const { return ReadFileBytes(folder_ / "a.MAI"); }
    std::vector<std::string> Names() const { return FileNames(folder_); }

    // What is in the file after `text` was branded or stripped.
    std::string Branded(std::string_view text, uint32_t folderUid = 99, uint32_t uid = 12)
    {
        Write(text);
        EXPECT_EQ(BrandMessageFile(folder_.string(), "a.MAI", folderUid, uid), 1u);
        EXPECT_EQ(Names(), std::vector<std::string>{"a.MAI"});
        return Read();
    }
    std::string Stripped(std::string_view text)
    {
        Write(text);
        EXPECT_EQ(StripMessageBranding(folder_.string(), "a.MAI", 99, 12), 1u);
        EXPECT_EQ(Names(), std::vector<std::string>{"a.MAI"});
        return Read();
    }

    TestStore store_;
    std::filesystem::path folder_;
};

TEST_F(Branding, AddsTheLineInFrontOfTheBlankLine)
{
    EXPECT_EQ(Branded("Subject: x\r\n\r\nbody\r\n"), "Subject: x\r\nX-UID: 99.12\r\n\r\nbody\r\n");
    EXPECT_EQ(Branded("Subject: x\n\nbody\n"), "Subject: x\nX-UID: 99.12\r\n\nbody\n");
}

TEST_F(Branding, ReplacesEveryLineOfThatNameWhereItStands)
{
    EXPECT_EQ(Branded("X-UID: 99.7\r\nSubject: x\r\nx-uid: 1\r\n\r\nX-UID: body\r\n"),
              "X-UID: 99.12\r\nSubject: x\r\nX-UID: 99.12\r\n\r\nX-UID: body\r\n");
}

TEST_F(Branding, InAFolderWithoutAnIdHasTheBareForm)
{
    EXPECT_EQ(Branded("Subject: x\r\n\r\n", 0, 12), "Subject: x\r\nX-UID: 12\r\n\r\n");
    EXPECT_EQ(Branded("Subject: x\r\n\r\n", 4294967295u, 4294967294u), "Subject: x\r\nX-UID: 4294967295.4294967294\r\n\r\n");
}

TEST_F(Branding, AddsNothingWhereTheHeaderNeverEnds)
{
    EXPECT_EQ(Branded("Subject: x\r\nTo: y"), "Subject: x\r\nTo: y");
    EXPECT_EQ(Branded(""), "");
}

TEST_F(Branding, CopiesZeroBytesLongLinesAndLongBodies)
{
    using std::string_literals::operator""s;
    const std::string head = "Subject: a\0b\r\nX: "s + std::string(5000, 'x') + "\r\n";
    const std::string body = "\r\n" + Repeat("0123456789\0\r\n"s, 20000);
    EXPECT_EQ(Branded(head + body), head + "X-UID: 99.12\r\n" + body);
}

TEST_F(Branding, StripDropsPrivateLinesOfTheHeaderAlone)
{
    EXPECT_EQ(Stripped("X-UID: 99.7\r\nSubject: x\r\nX-VLTempFlags: \\FLAGGED\r\n\r\nX-UID: body\r\n"),
              "Subject: x\r\n\r\nX-UID: body\r\n");
    EXPECT_EQ(Stripped("x-vltempflags: a\nSubject: x\n\nbody"), "Subject: x\n\nbody");
    EXPECT_EQ(Stripped("X-UID: 1\r\nSubject: no end"), "Subject: no end");
}

TEST_F(Branding, StripLeavesAFileWithNeitherLineAlone)
{
    const auto before = std::filesystem::file_time_type::clock::now() - std::chrono::hours(5);
    Write("Subject: x\r\nX-Read: 1\r\n\r\nbody\r\n");
    std::filesystem::last_write_time(folder_ / "a.MAI", before);
    const auto stamp = std::filesystem::last_write_time(folder_ / "a.MAI");
    EXPECT_EQ(StripMessageBranding(folder_.string(), "a.MAI", 99, 12), 1u);
    EXPECT_EQ(Read(), "Subject: x\r\nX-Read: 1\r\n\r\nbody\r\n");
    EXPECT_EQ(std::filesystem::last_write_time(folder_ / "a.MAI"), stamp);
    EXPECT_EQ(Names(), std::vector<std::string>{"a.MAI"});
}

TEST_F(Branding, StripTakesAwayWhatBrandWrote)
{
    const std::string branded = Branded("Subject: x\r\n\r\nbody\r\n");
    EXPECT_EQ(Stripped(branded), "Subject: x\r\n\r\nbody\r\n");
}

TEST_F(Branding, DoesNothingWhileItIsOff)
{
    store_.SetNumber("UID Branding Enabled", 0);
    ForgetCachedSettings();
    EXPECT_EQ(Branded("X-UID: 1.1\r\n\r\n"), "X-UID: 1.1\r\n\r\n");
    EXPECT_EQ(Stripped("X-UID: 1.1\r\n\r\n"), "X-UID: 1.1\r\n\r\n");
    store_.SetNumber("UID Branding Enabled", 2);
    ForgetCachedSettings();
    EXPECT_EQ(Stripped("X-UID: 1.1\r\n\r\n"), "X-UID: 1.1\r\n\r\n");
}

TEST_F(Branding, AMissingMessageIsReported)
{
    const auto run = [&](auto operation) {
        uint64_t answer = 0;
        const std::string said = CaptureStdout([&] { answer = operation(folder_.string(), "none.MAI", 1u, 1u); });
        EXPECT_EQ(answer, 1u);
        return said;
    };
    EXPECT_EQ(run(BrandMessageFile), kNoInput);
    EXPECT_EQ(run(StripMessageBranding), kNoInput);
    EXPECT_TRUE(Names().empty());
}

// A directory of the temporary file's name, with something in it, keeps that file from being made.
TEST_F(Branding, StripWithoutATemporaryFileKeepsTheMessage)
{
    std::filesystem::create_directories(folder_ / "_a.MAI" / "x");
    Write("X-UID: 1.1\r\n\r\nbody");
    const std::string said = CaptureStdout([&] { StripMessageBranding(folder_.string(), "a.MAI", 99, 12); });
    EXPECT_EQ(said, kNoOutput);
    EXPECT_EQ(Read(), "X-UID: 1.1\r\n\r\nbody");
}

TEST_F(Branding, BrandWithoutATemporaryFileLosesTheMessage)
{
    Write("Subject: x\r\n\r\nbody");
    const FakeClock clock;
    std::string said;
    {
        const HookedSeam seam(FailOn(platform::FileOperation::Open, "_a.MAI", 5));
        said = CaptureStdout([&] { BrandMessageFile(folder_.string(), "a.MAI", 99, 12); });
    }
    EXPECT_EQ(said, kNoOutput);
    EXPECT_TRUE(Names().empty());
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(Branding, AMessageThatCannotBeDeletedStaysAndItsCopyGoes)
{
    for (const auto rewrite : {BrandMessageFile, StripMessageBranding}) {
        Write("X-UID: 99.7\r\n\r\nbody");
        const FakeClock clock;
        {
            const HookedSeam seam(FailOn(platform::FileOperation::Delete, "\\a.MAI", 32));
            EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(rewrite(folder_.string(), "a.MAI", 99, 12), 1u); }), "");
        }
        EXPECT_EQ(Read(), "X-UID: 99.7\r\n\r\nbody");
        EXPECT_EQ(Names(), std::vector<std::string>{"a.MAI"});
        EXPECT_TRUE(clock.Sleeps().empty());
    }
}

TEST_F(Branding, AMoveThatFailsIsTriedAgain)
{
    Write("X-UID: 99.7\r\n\r\nbody");
    const FakeClock clock;
    uint32_t moves = 0;
    {
        const HookedSeam seam([&moves](platform::FileOperation operation, std::string_view, uint64_t) {
            platform::FileVerdict verdict;
            if (operation == platform::FileOperation::Move && ++moves <= 3) verdict.fail = 32;
            return verdict;
        });
        EXPECT_EQ(CaptureStdout([&] { StripMessageBranding(folder_.string(), "a.MAI", 99, 12); }), "");
    }
    EXPECT_EQ(moves, 4u);
    EXPECT_EQ(clock.Sleeps(), std::vector<uint32_t>(3, 1000));
    EXPECT_EQ(Read(), "\r\nbody");
    EXPECT_EQ(Names(), std::vector<std::string>{"a.MAI"});
}

TEST_F(Branding, AMoveThatKeepsFailingBecomesACopy)
{
    Write("X-UID: 99.7\r\n\r\nbody");
    const FakeClock clock;
    {
        const HookedSeam seam(FailOn(platform::FileOperation::Move, "_a.MAI", 32));
        EXPECT_EQ(CaptureStdout([&] { StripMessageBranding(folder_.string(), "a.MAI", 99, 12); }), kNotMoved);
    }
    EXPECT_EQ(clock.Sleeps(), std::vector<uint32_t>(3, 1000));
    EXPECT_EQ(Read(), "\r\nbody");
    EXPECT_EQ(Names(), std::vector<std::string>{"a.MAI"});
}

TEST_F(Branding, ACopyThatCannotBePutInPlaceIsNotThrownAway)
{
    Write("X-UID: 99.7\r\n\r\nbody");
    const FakeClock clock;
    {
        const HookedSeam seam([](platform::FileOperation operation, std::string_view, uint64_t) {
            const bool fails = operation == platform::FileOperation::Move || operation == platform::FileOperation::Copy;
            return platform::FileVerdict{fails ? 32u : 0u, UINT64_MAX};
        });
        EXPECT_EQ(CaptureStdout([&] { StripMessageBranding(folder_.string(), "a.MAI", 99, 12); }), kNotMoved);
    }
    EXPECT_EQ(Names(), std::vector<std::string>{"_a.MAI"});
    EXPECT_EQ(ReadFileBytes(folder_ / "_a.MAI"), "\r\nbody");
}

TEST_F(Branding, AFullDiskEndsTheCopyBeforeTheEndOfTheMessage)
{
    Write("X-UID: 99.7\r\n\r\n" + std::string(4u << 20, 'x'));
    for (const auto rewrite : {BrandMessageFile, StripMessageBranding}) {
        uint64_t asked = 0;
        {
            const HookedSeam seam([&asked](platform::FileOperation operation, std::string_view, uint64_t bytes) {
                if (operation == platform::FileOperation::Read) asked += bytes;
                return platform::FileVerdict{operation == platform::FileOperation::Write ? 112u : 0u, UINT64_MAX};
            });
            EXPECT_EQ(CaptureStdout([&] { rewrite(folder_.string(), "a.MAI", 99, 12); }), kNoOutput);
        }
        EXPECT_LT(asked, 1u << 20);
        EXPECT_EQ(Names(), std::vector<std::string>{"a.MAI"});
    }
}

TEST_F(Branding, ACopyThatIsNotWholeNeverReplacesTheMessage)
{
    const std::string text = "X-UID: 99.7\r\nSubject: precious\r\n\r\nbody\r\n";
    for (const auto rewrite : {BrandMessageFile, StripMessageBranding}) {
        Write(text);
        std::string said;
        {
            const HookedSeam seam([](platform::FileOperation operation, std::string_view, uint64_t) {
                return platform::FileVerdict{0, operation == platform::FileOperation::Write ? 10 : UINT64_MAX};
            });
            said = CaptureStdout([&] { rewrite(folder_.string(), "a.MAI", 99, 12); });
        }
        EXPECT_EQ(said, kNoOutput);
        EXPECT_EQ(Read(), text);
        EXPECT_EQ(Names(), std::vector<std::string>{"a.MAI"});
    }
}

}  // namespace
}  // namespace velmora::test
