// The entries of a comma-separated list of a direct call.
#ifndef VELMORA_INDEX_LISTENTRIES_H
#define VELMORA_INDEX_LISTENTRIES_H

#include <cstddef>
#include <string_view>

namespace velmora {

inline constexpr size_t kMostListEntries = 1000;
inline constexpr size_t kLongestListEntry = 255;

// One entry after the other, empty ones too. An empty list has none, any other one more than it has commas; those behind
// the first 1,000 are not there. The entries are views into the list.
class ListEntries {
public:
    explicit ListEntries(std::string_view list) : rest_(list), more_(!list.empty()) {}

    bool HasMore() const { return more_ && taken_ < kMostListEntries; }
    // The next entry, cut at 255 bytes; empty at the end.
    std::string_view Take()
    {
        if (!HasMore()) return {};
        ++taken_;
        const size_t size = rest_.find(',');
        const std::string_view entry = rest_.substr(0, size);
        more_ = size != std::string_view::npos;
        rest_.remove_prefix(more_ ? size + 1 : rest_.size());
        return entry.substr(0, kLongestListEntry);
    }

private:
    std::string_view rest_;
    bool more_;
    size_t taken_ = 0;
};

}  // namespace velmora

#endif
