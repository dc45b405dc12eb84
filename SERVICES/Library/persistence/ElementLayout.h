// Which properties the elements of a file have, in which order: what one element showed is expected of the next.
//
// Elements of one folder nearly always carry the same properties in the same order. A reader that expects that compares
// a few bytes where it would otherwise search for each bracket and look each name up.
#ifndef VELMORA_PERSISTENCE_ELEMENTLAYOUT_H
#define VELMORA_PERSISTENCE_ELEMENTLAYOUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "index/IndexPropertyTable.h"
#include "persistence/IndexTags.h"

namespace velmora {

// The values that the next item gets room for: what the last ones used, so that its array need not grow. It comes back from an
// item that was much wider than the others within a few of them.
class ItemRoom {
public:
    uint32_t Next() const { return room_; }
    void Used(uint32_t width) { room_ = std::max({kLeast, width, room_ - room_ / 4}); }

private:
    static constexpr uint32_t kLeast = 5;
    uint32_t room_ = kLeast;
};

class ElementLayout {
public:
    struct Property {
        std::string startTag;  // "<NAME>"
        std::string endTag;    // "</NAME>"
        IndexPropertyRef ref;
    };

    void BeginElement() { next_ = 0; }

    // The expected property whose start tag stands at `at`; null when what comes next was not expected.
    const Property* Match(const char* at, size_t available)
    {
        const size_t last = next_ + kLookAhead < properties_.size() ? next_ + kLookAhead : properties_.size();
        for (size_t i = next_; i < last; ++i) {
            const Property& property = properties_[i];
            if (available < property.startTag.size() || std::memcmp(at, property.startTag.data(), property.startTag.size()) != 0) continue;
            next_ = i + 1;
            return &property;
        }
        return nullptr;
    }
    // A matched property turned out not to be plain; it will be met again.
    void Unmatch() { --next_; }

    // A property that was not expected, at the place where the next one is expected.
    void Learn(std::string_view name, IndexPropertyRef ref)
    {
        if (next_ >= kMostProperties || name.size() > kLongestName) return;
        if (next_ == properties_.size()) properties_.emplace_back();
        properties_[next_++] = {"<" + std::string(name) + ">", "</" + std::string(name) + ">", ref};
    }

private:
    static constexpr size_t kLookAhead = 4;
    static constexpr size_t kMostProperties = 128;
    // "/" and the name must make a tag that is not cut.
    static constexpr size_t kLongestName = kLongestTag - 2;

    std::vector<Property> properties_;
    size_t next_ = 0;
};

}  // namespace velmora

#endif
