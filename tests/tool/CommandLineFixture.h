// The program as a user calls it, right or wrong.
#ifndef VELMORA_TESTS_TOOL_COMMANDLINEFIXTURE_H
#define VELMORA_TESTS_TOOL_COMMANDLINEFIXTURE_H

#include "tests/tool/ToolRun.h"

namespace velmora::test {

class CommandLine : public ToolTest {
protected:
    // The program without its library, below the directory of the test.
    std::filesystem::path CopyProgram() const
    {
        std::filesystem::path program = Directory().Path() / "alone" / "bin" / ToolPath().filename();
        std::filesystem::create_directories(program.parent_path());
        std::filesystem::copy_file(ToolPath(), program);
        return program;
    }
};

// One line on standard error, nothing on standard output.
inline void ExpectOneLine(const Outcome& run, int exitCode)
{
    EXPECT_EQ(run.exitCode, exitCode);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("vlstore: ")) << run.err;
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
}

}  // namespace velmora::test

#endif
