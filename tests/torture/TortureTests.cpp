// The program as CI runs it, and proof that it notices what it is there to notice.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/TestStore.h"

namespace velmora::torture {
namespace {

struct Outcome {
    int exitCode = 0;
    std::string output;
};

Outcome RunTorture(const std::vector<std::string>& arguments)
{
    const test::TempDirectory directory;
    const std::filesystem::path output = directory / "output.txt";
    test::ChildProcess program(TORTURE_PROGRAM, arguments, {.closedInput = true, .stdoutPath = output});
    Outcome outcome;
    outcome.exitCode = program.Wait();
    outcome.output = test::ReadFileBytes(output);
    return outcome;
}

// The waits of the library are the real ones; what a fight of them comes to is printed.
TEST(Torture, ProcessesThatFightAndDieLoseNothing)
{
    const Outcome run = RunTorture({"--seconds=20"});
    EXPECT_EQ(run.exitCode, 0) << run.output;
    std::printf("%s", run.output.c_str());
}

// With short waits ten times as much comes together; without backups a damaged index has to be mended from the files.
TEST(Torture, ProcessesThatHurryLoseNothing)
{
    const Outcome run = RunTorture({"--seconds=8", "--haste=100", "--folders=3", "--kills=200", "--backup=0"});
    EXPECT_EQ(run.exitCode, 0) << run.output;
    std::printf("%s", run.output.c_str());
}

TEST(Torture, ArgumentsThatMakeNoSenseAreRefused)
{
    EXPECT_EQ(RunTorture({"--seconds=none"}).exitCode, 2);
    EXPECT_EQ(RunTorture({"--second=1"}).exitCode, 2);
    EXPECT_EQ(RunTorture({"--threads=0"}).exitCode, 2);
    EXPECT_EQ(RunTorture({"--sabotage=weather"}).exitCode, 2);
}

struct Sabotage {
    const char* name;
    const char* rule;
    const char* sooner = rule;  // the rule by which a worker may come across it before the check does
};

void PrintTo(const Sabotage& sabotage, std::ostream* out) { *out << sabotage.name; }

class Oracle : public testing::TestWithParam<Sabotage> {};

TEST_P(Oracle, NoticesWhatIsDoneOnPurpose)
{
    const Outcome run = RunTorture({"--seed=7", "--seconds=3", "--haste=100", "--kills=0", "--processes=1", "--threads=1", "--folders=2",
                                    std::string("--sabotage=") + GetParam().name});
    EXPECT_EQ(run.exitCode, 1);
    const auto broken = [&](const char* rule) { return run.output.find(std::string(": ") + rule + ": ") != std::string::npos; };
    EXPECT_TRUE(broken(GetParam().rule) || broken(GetParam().sooner)) << run.output;
    EXPECT_NE(run.output.find("FAULT (seed 7)"), std::string::npos);
    // The evidence is kept where the output says.
    const size_t found = run.output.find(" are in ");
    ASSERT_NE(found, std::string::npos) << run.output;
    std::string kept = run.output.substr(found + 8);
    kept.erase(kept.find_last_not_of("\r\n") + 1);
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(kept) / "journals" / "1.txt")) << kept;
    std::filesystem::remove_all(kept);
}

std::string NameOf(const testing::TestParamInfo<Sabotage>& info)
{
    std::string name;
    for (const char c : std::string(info.param.name))
        if (c != '-') name += c;
    return name;
}

INSTANTIATE_TEST_SUITE_P(Sabotage, Oracle,
                         testing::Values(Sabotage{"lose-file", "no message file is lost"},
                                         Sabotage{"duplicate-uid", "no UID is given twice"},
                                         Sabotage{"tear-element", "no element is written over in part", "what a worker sees is whole"},
                                         Sabotage{"forget-flag", "a flag that a save was told of is there"}),
                         NameOf);

}  // namespace
}  // namespace velmora::torture
