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

// Indexes as documents, as on a machine with no settings for it, and as streams. Without a number the seed chooses.
constexpr char kDocuments[] = "--strategy=1";
constexpr char kStreams[] = "--strategy=2";

// The waits of the library are the real ones; what a fight of them comes to is printed.
TEST(Torture, ProcessesThatFightAndDieLoseNothing)
{
    for (const char* const strategy : {kDocuments, kStreams}) {
        const Outcome run = RunTorture({"--seconds=10", strategy});
        EXPECT_EQ(run.exitCode, 0) << run.output;
        std::printf("%s", run.output.c_str());
    }
}

TEST(Torture, ProcessesThatFightForTheFoldersThemselvesLoseNoneThatStays)
{
    for (const std::vector<std::string>& how :
         {std::vector<std::string>{"--kills=0", kDocuments}, std::vector<std::string>{"--kills=100"}}) {
        std::vector<std::string> arguments = {"--trees", "--seconds=5", "--haste=40"};
        arguments.insert(arguments.end(), how.begin(), how.end());
        const Outcome run = RunTorture(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.output;
        std::printf("%s", run.output.c_str());
    }
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

// The same with nobody killed: whatever is lost then has no death to blame.
TEST(Torture, ProcessesThatLiveLoseNothing)
{
    const Outcome run = RunTorture({"--seconds=5", "--haste=20", "--folders=4", "--kills=0"});
    EXPECT_EQ(run.exitCode, 0) << run.output;
    std::printf("%s", run.output.c_str());
}

// Direct updates hold the block by its name alone, so nobody may take a block for an orphan before the wait for it has ended.
TEST(Torture, DeliveryAgentsThatUpdateDirectlyLoseNothing)
{
    for (const char* const kills : {"--kills=0", "--kills=60"}) {
        const Outcome run = RunTorture({"--seconds=5", "--haste=40", "--folders=4", "--unblock=0", kills});
        EXPECT_EQ(run.exitCode, 0) << run.output;
        std::printf("%s", run.output.c_str());
    }
}

struct Sabotage {
    const char* name;
    const char* rule;
    const char* sooner = rule;    // the rule by which a worker may come across it before the check does
    bool inTheThickOfIt = false;  // with several processes, and some of them killed
    const char* folders = inTheThickOfIt ? "8" : "2";
    bool trees = false;  // in a fight for the tree of folders
};

void PrintTo(const Sabotage& sabotage, std::ostream* out) { *out << sabotage.name; }

class Oracle : public testing::TestWithParam<Sabotage> {};

TEST_P(Oracle, NoticesWhatIsDoneOnPurpose)
{
    std::vector<std::string> arguments = {"--seed=7", "--haste=100", std::string("--sabotage=") + GetParam().name};
    if (GetParam().inTheThickOfIt)
        arguments.insert(arguments.end(), {"--kills=60", "--processes=3", "--threads=2"});
    else
        arguments.insert(arguments.end(), {"--kills=0", "--processes=1", "--threads=1"});
    arguments.push_back(std::string("--folders=") + GetParam().folders);
    arguments.emplace_back(kStreams);
    if (GetParam().trees) arguments.emplace_back("--trees");
    // On a busy machine three seconds hold few deeds, and the next one may make good what was done.
    Outcome run;
    for (const char* const seconds : {"--seconds=3", "--seconds=12", "--seconds=30"}) {
        std::vector<std::string> withTime = arguments;
        withTime.emplace_back(seconds);
        run = RunTorture(withTime);
        if (run.exitCode != 0) break;
    }
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

INSTANTIATE_TEST_SUITE_P(
    Sabotage, Oracle,
    testing::Values(Sabotage{"lose-file", "no message file is lost"}, Sabotage{"duplicate-uid", "no UID is given twice"},
                    Sabotage{"tear-element", "no element is written over in part", "what a worker sees is whole"},
                    Sabotage{"forget-flag", "a flag that a save was told of is there"},
                    Sabotage{"save-without-block", "who writes the index holds its block"},
                    Sabotage{"leave-block", "no block is left that nobody holds"},
                    // A scan would take it for its own work, so in folders that are not scanned at once.
                    Sabotage{"reset-read", "a message that was read stays read", "a message that was read stays read", false, "20"},
                    Sabotage{"lower-last-uid", "LASTUID never falls"}, Sabotage{"make-up-flag", "no flag is made up"},
                    // A rebuild drops such an item.
                    Sabotage{"list-ghost", "no item is listed that has no file", "no item is listed that has no file", false, "20"},
                    Sabotage{"cut-index", "an index is damaged by nothing but a death"},
                    Sabotage{"write-when-refused", "who writes the index holds its block"},
                    Sabotage{"hold-twice", "a block has one holder"}, Sabotage{"refuse-open", "what nobody stands in the way of is done"},
                    Sabotage{"refuse-blocks", "a block that nobody has can be had"},
                    Sabotage{"spoil-counts", "a rebuild leaves cached counts"},
                    // Here, too, a scan would make it good.
                    Sabotage{"forget-delivery", "an open by the rules lists every file", "an open by the rules lists every file", false,
                             "20"},
                    Sabotage{"forget-update", "a flag that a save was told of is there"},
                    Sabotage{"forget-removal", "no item is listed that has no file", "no item is listed that has no file", false, "20"},
                    Sabotage{"hide-folder", "every list equals the directories", "every list equals the directories", false, "1", true},
                    Sabotage{"lose-kept", "a folder that nobody removed keeps its messages", "what is told to have been done is done",
                             false, "1", true},
                    Sabotage{"lie-of-size", "a size is the sum of the messages", "a size is the sum of the messages", false, "1", true}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    SabotageAmongTheDying, Oracle,
    testing::Values(Sabotage{"save-without-block", "who writes the index holds its block", "who writes the index holds its block", true},
                    Sabotage{"make-up-flag", "no flag is made up", "no flag is made up", true},
                    Sabotage{"lower-last-uid", "LASTUID never falls", "LASTUID never falls", true},
                    Sabotage{"write-when-refused", "who writes the index holds its block", "who writes the index holds its block", true},
                    Sabotage{"refuse-blocks", "enough of everything succeeds", "enough of everything succeeds", true},
                    Sabotage{"leave-block", "no block is left that nobody holds", "no block is left that nobody holds", true, "20"},
                    Sabotage{"forget-flag", "a flag that a save was told of is there", "a flag that a save was told of is there", true},
                    Sabotage{"forget-delivery", "an open by the rules lists every file", "an open by the rules lists every file", true},
                    Sabotage{"duplicate-uid", "no UID is given twice", "a message keeps its UID", true},
                    Sabotage{"cut-index", "an index is damaged by nothing but a death", "an index is damaged by nothing but a death",
                             true}),
    NameOf);

}  // namespace
}  // namespace velmora::torture
