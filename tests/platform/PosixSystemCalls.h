// The system calls by path that the platform makes, counted by name while one of these lives.
//
// The linker hands the platform's calls to wrappers of ours (tests/CMakeLists.txt names them); without an object of this
// class they only pass on. One thread, one object at a time.
#ifndef VELMORA_TESTS_PLATFORM_POSIXSYSTEMCALLS_H
#define VELMORA_TESTS_PLATFORM_POSIXSYSTEMCALLS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

class SystemCalls {
public:
    SystemCalls();
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    size_t Count() const { return made.size(); }
    size_t Count(std::string_view name) const;

    std::vector<std::string> made;  // names, in order
    int refuseUnnamedFiles = 0;     // the errno with which an open of an unnamed file fails; 0 lets it pass
    std::string unopened;           // the path that cannot be opened
    int unopenedError = 0;          // and the errno that says why
    int closingError = 0;           // the errno that every close gives behind its work; 0 for none
    std::string undescribed;        // the name that statx does not tell of
    int undescribedError = 0;       // and the errno that it gives instead
};

}  // namespace velmora::test

#endif
