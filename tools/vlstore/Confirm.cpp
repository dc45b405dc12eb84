#include "Confirm.h"

#include <cstdio>

#include "ExitCode.h"
#include "System.h"

namespace vlstore {

void RequireSomebodyToAsk()
{
    if (!IsTerminal(stdin)) throw Failure(ExitCode::Usage, "nobody can be asked here; --yes removes without asking");
}

bool IsConfirmed(const std::string& question)
{
    std::fprintf(stderr, "%s? [y/N] ", question.c_str());
    std::fflush(stderr);
    char answer[16] = "";
    return std::fgets(answer, sizeof answer, stdin) && (answer[0] == 'y' || answer[0] == 'Y');
}

}  // namespace vlstore
