#include "index/IdOrder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>

#include "index/IndexItem.h"

namespace velmora {

namespace {

// Seeded anew in each process, so that no set of names can be made to collide.
uint64_t HashSeed()
{
    static const uint64_t seed = (uint64_t{std::random_device{}()} << 32) | std::random_device{}();
    return seed;
}

uint32_t HashOf(std::string_view id)
{
    uint64_t hash = HashSeed() ^ (id.size() * 0x9E3779B97F4A7C15ull);
    while (id.size() >= 8) {
        uint64_t word;
        std::memcpy(&word, id.data(), 8);
        hash = (hash ^ word) * 0xFF51AFD7ED558CCDull;
        hash ^= hash >> 32;
        id.remove_prefix(8);
    }
    uint64_t rest = 0;
    if (!id.empty()) std::memcpy(&rest, id.data(), id.size());
    hash = (hash ^ rest) * 0xC4CEB9FE1A85EC53ull;
    hash ^= hash >> 29;
    return static_cast<uint32_t>(hash);
}

}  // namespace

size_t IdOrder::Probe(std::string_view id, uint32_t hash) const
{
    const size_t mask = slots_.size() - 1;
    size_t at = hash & mask;
    while (slots_[at].item && !(slots_[at].hash == hash && slots_[at].item->Id() == id)) at = (at + 1) & mask;
    return at;
}

void IdOrder::Grow()
{
    std::vector<Slot> old(slots_.empty() ? 16 : slots_.size() * 2);
    old.swap(slots_);
    const size_t mask = slots_.size() - 1;
    for (const Slot& slot : old) {
        if (!slot.item) continue;
        size_t at = slot.hash & mask;
        while (slots_[at].item) at = (at + 1) & mask;
        slots_[at] = slot;
    }
}

bool IdOrder::Insert(IndexItemPropertyContainer* item)
{
    if ((count_ + 1) * 2 > slots_.size()) Grow();
    const std::string_view id = item->Id();
    const uint32_t hash = HashOf(id);
    Slot& slot = slots_[Probe(id, hash)];
    if (slot.item) return false;
    slot = {hash, item};
    ++count_;
    return true;
}

IndexItemPropertyContainer* IdOrder::Find(std::string_view id) const
{
    if (count_ == 0) return nullptr;
    return slots_[Probe(id, HashOf(id))].item;
}

bool IdOrder::Erase(std::string_view id)
{
    if (count_ == 0) return false;
    const size_t mask = slots_.size() - 1;
    size_t hole = Probe(id, HashOf(id));
    if (!slots_[hole].item) return false;
    // What stands behind the hole moves up as long as its own place is not behind the hole.
    for (size_t at = (hole + 1) & mask; slots_[at].item; at = (at + 1) & mask) {
        const size_t home = slots_[at].hash & mask;
        if (((at - home) & mask) >= ((at - hole) & mask)) {
            slots_[hole] = slots_[at];
            hole = at;
        }
    }
    slots_[hole] = {};
    --count_;
    return true;
}

void IdOrder::Clear()
{
    slots_.clear();
    count_ = 0;
}

std::vector<IndexItemPropertyContainer*> IdOrder::Sorted() const
{
    std::vector<IndexItemPropertyContainer*> items;
    items.reserve(count_);
    for (const Slot& slot : slots_)
        if (slot.item) items.push_back(slot.item);
    std::sort(items.begin(), items.end(),
              [](const IndexItemPropertyContainer* a, const IndexItemPropertyContainer* b) { return a->Id() < b->Id(); });
    return items;
}

}  // namespace velmora
