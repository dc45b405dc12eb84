// Items by ID: a hash for look-ups, and the order of the bytes made when somebody lists by it.
#ifndef VELMORA_INDEX_IDORDER_H
#define VELMORA_INDEX_IDORDER_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace velmora {

class IndexItemPropertyContainer;

// The keys are the items' own ID texts, so an item's ID must not change while it is in here.
class IdOrder {
public:
    // False when the ID is there already.
    bool Insert(IndexItemPropertyContainer* item);
    IndexItemPropertyContainer* Find(std::string_view id) const;
    bool Erase(std::string_view id);
    void Clear();
    size_t Count() const { return count_; }

    // All items in ascending byte order of their IDs.
    std::vector<IndexItemPropertyContainer*> Sorted() const;

private:
    struct Slot {
        uint32_t hash = 0;
        IndexItemPropertyContainer* item = nullptr;  // null: free
    };

    void Grow();
    size_t Probe(std::string_view id, uint32_t hash) const;

    std::vector<Slot> slots_;  // a power of two, at most half full
    size_t count_ = 0;
};

}  // namespace velmora

#endif
