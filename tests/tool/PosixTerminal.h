// A terminal that a program writes to and reads from, with the test at its other end.
#ifndef VELMORA_TESTS_TOOL_POSIXTERMINAL_H
#define VELMORA_TESTS_TOOL_POSIXTERMINAL_H

#include <string>

namespace velmora::test {

// A terminal of 80 columns.
class Terminal {
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    std::string Path() const;
    std::string Read();                        // what has been written so far
    void Type(const std::string& text) const;  // what a program that reads the terminal finds

private:
    int master_;
    int slave_;  // kept open, so that nothing is lost when the program ends
};

}  // namespace velmora::test

#endif
