// The processes that tests start, and the line to them.
#include <gtest/gtest.h>

#include <iostream>

#include "tests/process/Peers.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

void EchoPeer(Peer::Line& line, const std::vector<std::string>& arguments)
{
    while (const char order = line.NextOrder()) {
        for (const std::string& argument : arguments) std::cerr << "[" << argument << "]" << std::endl;
        std::cout << "yyyy" << std::endl;
        line.Answer(order == 'y');
    }
}

namespace {

std::vector<std::string> EchoArguments(std::vector<std::string> more = {})
{
    more.insert(more.begin(), "--peer=echo");
    return more;
}

class Child : public testing::Test {
protected:
    TestStore store;
    std::filesystem::path errors = store.Directory() / "errors.txt";
    std::string Errors() const
    {
        std::string text = ReadFileBytes(errors);
        std::erase(text, '\r');
        return text;
    }
};

TEST_F(Child, GetsEveryArgumentAsItIs)
{
    const std::vector<std::string> odd{"",       "a b",   "\"",     "\\",      "a\\",
                                       "a b\\",  "\\\"",  "a\\\\b", "\\\\ \"", "x\ty",
                                       "%PATH%", "$HOME", "*",      "'q'",     "--flag=\"quoted \\\" text\\\""};
    ChildProcess child(OwnProgramPath(), EchoArguments(odd), {.stderrPath = errors});
    ASSERT_TRUE(child.Write("y"));
    EXPECT_EQ(child.ReadByte(), 'y');
    child.CloseInput();
    EXPECT_EQ(child.Wait(), 0);
    std::string expected;
    for (const std::string& argument : odd) expected += "[" + argument + "]\n";
    EXPECT_TRUE(Errors().ends_with(expected + "yyyy\n")) << "and what it prints is not an answer: " << Errors();
    EXPECT_EQ(child.ReadByte(), std::nullopt);
}

TEST_F(Child, HasAnExitCode)
{
    ChildProcess child(OwnProgramPath(), {"--peer=nobody"});
    EXPECT_EQ(child.Wait(), 2);
    EXPECT_EQ(child.Ended(), 2);
    EXPECT_EQ(child.ReadLine(), std::nullopt);
    child.KillNow();
    EXPECT_EQ(child.Wait(), 2) << "a process that has ended cannot be killed";
}

TEST_F(Child, IsKilledWhereItStands)
{
    ChildProcess child(OwnProgramPath(), EchoArguments(), {.stderrPath = errors});
    ASSERT_TRUE(child.Write("y"));
    ASSERT_EQ(child.ReadByte(), 'y');
    EXPECT_EQ(child.Ended(), std::nullopt);
    EXPECT_GT(child.Id(), 0u);
    child.KillNow();
    EXPECT_EQ(child.Wait(), ChildProcess::kKilled);
    EXPECT_FALSE(child.Write("y"));
}

TEST_F(Child, ReadsWithATimeOut)
{
    ChildProcess child(OwnProgramPath(), EchoArguments(), {.stderrPath = errors});
    EXPECT_EQ(child.ReadByte(10), std::nullopt);
    EXPECT_EQ(child.ReadLine(10), std::nullopt);
    ASSERT_TRUE(child.Write("n"));
    EXPECT_EQ(child.ReadByte(60000), 'n') << "nothing is lost by a read that came too early";
}

TEST_F(Child, WritesIntoAFileAndSeesVariables)
{
    const std::filesystem::path output = store.Directory() / "output.txt";
    ChildProcess child(OwnProgramPath(), {"--gtest_list_tests"},
                       {.environment = {{"GTEST_FILTER", "Child.HasAnExitCode"}}, .closedInput = true, .stdoutPath = output});
    EXPECT_EQ(child.Wait(), 0);
    const std::string listed = ReadFileBytes(output);
    EXPECT_NE(listed.find("HasAnExitCode"), std::string::npos);
    EXPECT_EQ(listed.find("IsKilledWhereItStands"), std::string::npos);
}

TEST_F(Child, TwoDoNotKeepEachOthersInputOpen)
{
    ChildProcess first(OwnProgramPath(), EchoArguments(), {.stderrPath = errors});
    ChildProcess second(OwnProgramPath(), EchoArguments(), {.stderrPath = store.Directory() / "second.txt"});
    first.CloseInput();
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Ended(), std::nullopt);
}

}  // namespace
}  // namespace velmora::test
