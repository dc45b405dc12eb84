// How much of what was tried has succeeded: a library that refuses everything loses nothing, and is a fault all the same.
#ifndef VELMORA_TESTS_TORTURE_TALLY_H
#define VELMORA_TESTS_TORTURE_TALLY_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/torture/Journal.h"
#include "tests/torture/Plan.h"

namespace velmora::torture {

class Tally {
public:
    void Take(const std::vector<Record>& records);
    // All that succeeded.
    uint64_t Done() const;
    // What there was too little of in a fight of so many seconds; empty for nothing.
    std::vector<std::string> TooLittle(const Plan& plan, double seconds) const;
    std::string Report() const;

private:
    struct Count {
        uint64_t done = 0;
        uint64_t tried = 0;
    };
    std::map<std::string, Count> counts_;
};

}  // namespace velmora::torture

#endif
