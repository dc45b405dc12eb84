// A second process of a test.
#ifndef VELMORA_TESTS_PLATFORM_POSIXPROCESS_H
#define VELMORA_TESTS_PLATFORM_POSIXPROCESS_H

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmora::test {

// Runs `body` in a child process, whose exit status it gives.
template <typename Body>
pid_t StartProcess(Body body)
{
    const pid_t child = fork();
    if (child == 0) _exit(body());
    return child;
}

// The exit status of a child; -1 when it ended otherwise.
inline int ExitStatus(pid_t child)
{
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

}  // namespace velmora::test

#endif
