#include "tests/process/Peer.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace velmora::test {

char Peer::Line::NextOrder()
{
    char order = 0;
    return read(in_, &order, 1) == 1 ? order : 0;
}

void Peer::Line::Answer(bool success)
{
    const char answer = success ? 'y' : 'n';
    if (write(out_, &answer, 1) != 1) _exit(3);
}

Peer::Peer(const std::function<void(Line&)>& body)
{
    int orders[2];
    int answers[2];
    if (pipe(orders) != 0 || pipe(answers) != 0) std::abort();
    std::fflush(nullptr);  // what is buffered would come out twice
    pid_ = fork();
    if (pid_ == 0) {
        close(orders[1]);
        close(answers[0]);
        // A first process that dies must not leave this one waiting.
        signal(SIGPIPE, SIG_DFL);
        Line line(orders[0], answers[1]);
        try {
            body(line);
        } catch (const std::exception&) {
            _exit(2);
        }
        _exit(0);
    }
    close(orders[0]);
    close(answers[1]);
    out_ = orders[1];
    in_ = answers[0];
    // A peer that has died is an answer, not the end of this process.
    signal(SIGPIPE, SIG_IGN);
}

Peer::~Peer() { Wait(); }

void Peer::Wait()
{
    if (pid_ <= 0) return;
    close(out_);
    close(in_);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
}

bool Peer::Do(char order)
{
    char answer = 0;
    return write(out_, &order, 1) == 1 && read(in_, &answer, 1) == 1 && answer == 'y';
}

void Peer::KillNow()
{
    kill(pid_, SIGKILL);
    Wait();
}

}  // namespace velmora::test
