#include "tests/platform/SecondProcess.h"

namespace velmora::test {

namespace {

constexpr char kArgument[] = "--second-process";
constexpr DWORD kNoAnswer = 0xFFFFFFFEu;

DWORD Obey(char what, const std::string& path)
{
    switch (what) {
        case 'B': {
            const HANDLE block = CreateBlock(path);
            return block == INVALID_HANDLE_VALUE ? GetLastError() : kDidNotFail;
        }
        case 'A':
            return ErrorOfHandle(OpenToRead(path, 0));
        case 'U':
            return ErrorOfHandle(OpenToUpdate(path));
        case 'D':
            return ErrorOf(DeleteFileA(path.c_str()));
        default:
            return kNoAnswer;
    }
}

}  // namespace

SecondProcess::SecondProcess() : process_(OwnProgramPath(), {kArgument}) {}

DWORD SecondProcess::Ask(char what, const std::string& path)
{
    if (!process_.WriteLine(what + path)) return kNoAnswer;
    const std::optional<std::string> answer = process_.ReadLine();
    return answer ? static_cast<DWORD>(std::stoul(*answer)) : kNoAnswer;
}

std::optional<int> RunAsSecondProcess(int argc, char** argv)
{
    if (argc != 2 || argv[1] != std::string(kArgument)) return std::nullopt;
    ParentLine line;
    while (const std::optional<std::string> order = line.ReadLine()) {
        if (order->empty()) return 1;
        line.WriteLine(std::to_string(Obey(order->front(), order->substr(1))));
    }
    return 0;
}

}  // namespace velmora::test
