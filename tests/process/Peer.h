// A second process of one test, with a line of its own to the first.
//
// It is this test program once more, started with the name of a body (tests/process/Peers.h), so both processes load the
// library for themselves, as two services do; the environment leads both to the one store. The two talk in single bytes:
// every step of the peer is asked for and answered, so nothing depends on who is faster.
#ifndef VELMORA_TESTS_PROCESS_PEER_H
#define VELMORA_TESTS_PROCESS_PEER_H

#include <optional>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"

namespace velmora::test {

class Peer {
public:
    // What the peer's body sees of the line: the next order, 0 when the first process has gone or is done.
    class Line {
    public:
        char NextOrder() { return line_.ReadByte().value_or(0); }
        void Answer(bool success) { line_.Write(success ? "y" : "n"); }

    private:
        ParentLine line_;
    };

    // Starts the peer with the body of that name.
    explicit Peer(const char* body, const std::vector<std::string>& arguments = {});
    // Lets the peer end and waits for it; the test fails when it did not end well.
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    // Gives an order and waits for the answer; false also when the peer has died.
    bool Do(char order);
    // Ends the peer where it stands.
    void KillNow();

private:
    ChildProcess process_;
    bool killed_ = false;
};

// What the second process does instead of running tests; none in the first, which has no such argument.
std::optional<int> RunAsPeer(int argc, char** argv);

}  // namespace velmora::test

#endif
