// A second process of one test, with a line of its own to the first.
//
// It is forked before the library is attached, so both attach for themselves, as two services do. The two talk in single
// bytes: every step of the peer is asked for and answered, so nothing depends on who is faster.
#ifndef VELMORA_TESTS_PROCESS_PEER_H
#define VELMORA_TESTS_PROCESS_PEER_H

#include <sys/types.h>

#include <functional>

namespace velmora::test {

class Peer {
public:
    // What the peer's body sees of the line: the next order, 0 when the first process has gone or is done.
    class Line {
    public:
        Line(int in, int out) : in_(in), out_(out) {}
        char NextOrder();
        void Answer(bool success);

    private:
        int in_;
        int out_;
    };

    // Runs `body` in a new process, which ends with it.
    explicit Peer(const std::function<void(Line&)>& body);
    // Lets the peer end and waits for it.
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    // Gives an order and waits for the answer; false also when the peer has died.
    bool Do(char order);
    // Ends the peer where it stands.
    void KillNow();

private:
    void Wait();

    pid_t pid_ = -1;
    int in_ = -1;
    int out_ = -1;
};

}  // namespace velmora::test

#endif
