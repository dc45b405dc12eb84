// DOS patterns: "*" and "?" as a directory search takes them.
#ifndef VELMORA_PLATFORM_POSIX_DOSPATTERN_H
#define VELMORA_PLATFORM_POSIX_DOSPATTERN_H

#include <string>
#include <string_view>
#include <vector>

namespace velmora::platform {

// Matches names without regard to ASCII case, in time proportional to the lengths multiplied.
//   "*.*" is everything, "*." what has no extension;
//   "*" before a "." goes up to the last dot of a name at most;
//   "?" takes one byte that is no dot, and at a dot or the end of the name it may take none: "a??.x" matches "a.x";
//   a "." before "?" or "*" may stand for the end of the name: "a.*" matches "a".
class DosPattern {
public:
    explicit DosPattern(std::string_view pattern);
    // Not for two threads at once: the pattern keeps the working memory.
    bool Matches(std::string_view name);
    static bool HasWildcard(std::string_view pattern) { return pattern.find_first_of("*?") != std::string_view::npos; }

private:
    enum class Step : unsigned char { Byte, AnyRun, RunToLastDot, OneOrEnd, DotOrEnd };
    struct Element {
        Step step;
        char byte;
    };
    void Close(std::string_view name, size_t at);

    std::vector<Element> elements_;
    std::vector<char> states_;  // states_[i]: the first i elements match what was read of the name
    std::vector<char> after_;   // the same one byte later
    bool everything_ = false;
};

}  // namespace velmora::platform

#endif
