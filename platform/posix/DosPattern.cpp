#include "platform/posix/DosPattern.h"

#include "platform/shared/Ascii.h"

namespace velmora::platform {

DosPattern::DosPattern(std::string_view pattern)
{
    everything_ = pattern == "*" || pattern == "*.*";
    const bool endsInDot = pattern.size() > 1 && pattern.back() == '.';
    // A dot at the end of a pattern is no part of the names; it turns a "*" before it into one that stops at extensions.
    if (endsInDot) pattern.remove_suffix(1);
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char next = i + 1 < pattern.size() ? pattern[i + 1] : endsInDot ? '.' : '\0';
        switch (pattern[i]) {
            case '*':
                elements_.push_back({next == '.' ? Step::RunToLastDot : Step::AnyRun, 0});
                break;
            case '?':
                elements_.push_back({Step::OneOrEnd, 0});
                break;
            case '.':
                elements_.push_back({next == '*' || next == '?' ? Step::DotOrEnd : Step::Byte, '.'});
                break;
            default:
                elements_.push_back({Step::Byte, LowerByte(pattern[i])});
        }
    }
}

// Adds the states that are reached from the present ones without taking a byte.
void DosPattern::Close(std::string_view name, size_t at)
{
    const bool atEnd = at == name.size();
    for (size_t i = 0; i < elements_.size(); ++i) {
        if (!states_[i]) continue;
        const Step step = elements_[i].step;
        if (step == Step::AnyRun || step == Step::RunToLastDot || (step == Step::OneOrEnd && (atEnd || name[at] == '.')) ||
            (step == Step::DotOrEnd && atEnd)) {
            states_[i + 1] = 1;
        }
    }
}

bool DosPattern::Matches(std::string_view name)
{
    if (everything_) return true;
    // The two names of directories themselves have no extension.
    const size_t lastDot = name == "." || name == ".." ? std::string_view::npos : name.rfind('.');
    states_.assign(elements_.size() + 1, 0);
    states_[0] = 1;
    Close(name, 0);
    for (size_t at = 0; at < name.size(); ++at) {
        after_.assign(states_.size(), 0);
        for (size_t i = 0; i < elements_.size(); ++i) {
            if (!states_[i]) continue;
            const Element& element = elements_[i];
            switch (element.step) {
                case Step::Byte:
                    if (LowerByte(name[at]) == element.byte) after_[i + 1] = 1;
                    break;
                case Step::AnyRun:
                    after_[i] = 1;
                    break;
                case Step::RunToLastDot:
                    if (at != lastDot) after_[i] = 1;
                    break;
                case Step::OneOrEnd:
                    if (name[at] != '.') after_[i + 1] = 1;
                    break;
                case Step::DotOrEnd:
                    if (name[at] == '.') after_[i + 1] = 1;
                    break;
            }
        }
        states_.swap(after_);
        Close(name, at + 1);
    }
    return states_.back() != 0;
}

}  // namespace velmora::platform
