// The command line with arguments of any bytes, and output to where nothing can be written.

#include "tests/tool/CommandLineFixture.h"

namespace velmora::test {

TEST_F(CommandLine, AFaultLineHasNoControlBytes)
{
    Outcome run = Tool({"import", "/no\nwhere\x1B[2J\xC2\x9B\x9B gr\xC3\xBC\xC3\x9F\x7F", "--to", kInbox, "--store", "/nope\x1B[2J"});
    EXPECT_EQ(run.err, "vlstore: no such store: /nope\\x1B[2J\n");
    MakeStore();
    ExpectRefusal({"import", "/no\nwhere\x1B[2J\xC2\x9B\x9B gr\xC3\xBC\xC3\x9F\x7F", "--to", kInbox}, 66,
                  "no such file or directory: /no where\\x1B[2J\\x9B\\x9B gr\xC3\xBC\xC3\x9F\\x7F");
}

TEST_F(CommandLine, OutputThatCannotBeWrittenIsAnError)
{
    MakeStore();
    Outcome run = RunProgram(ToolPath(), {"--store", Root().string(), "settings", "list"}, Directory(), {.stdoutPath = "/dev/full"});
    EXPECT_EQ(run.exitCode, 74);
    EXPECT_EQ(run.err, "vlstore: cannot write to standard output\n");
}

}  // namespace velmora::test
