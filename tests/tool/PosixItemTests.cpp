// item, on a terminal and with arguments of any bytes.

#include "tests/tool/ItemFixture.h"
#include "tests/tool/PosixTerminal.h"

namespace velmora::test {

namespace fs = std::filesystem;

TEST_F(Item, ATableOnATerminalIsCutButNeverItsIds)
{
    std::string id = "a-name-that-a-delivery-agent-gave.MAI";
    WriteFileBytes(FolderPath() / id, "Subject: " + std::string(300, 's') + "\n\n");
    WriteFileBytes(FolderPath() / "_CHANGE.DTY", "x");
    Terminal terminal;
    EXPECT_EQ(InStoreWith({.stdoutPath = terminal.Path()}, {"item", "list", kInbox}).exitCode, 0);
    std::vector<std::string> lines = Lines(terminal.Read());
    ASSERT_EQ(lines.size(), 2u);
    for (const std::string& line : lines) EXPECT_LE(line.size(), 80u + 1u) << "with the carriage return of a terminal";
    EXPECT_TRUE(lines[1].starts_with(id + "  s")) << lines[1];
}

TEST_F(Item, ASetTextMayBeAnyBytes)
{
    ImportSubjects({"one"});
    InStore({"item", "set", kInbox, "00000001.MAI", "PR_SUBJECT", "gr\xFC\xDF \xC3\xBC"});
    EXPECT_EQ(Get("00000001.MAI", "PR_SUBJECT"), "gr\xFC\xDF \xC3\xBC");
}

}  // namespace velmora::test
