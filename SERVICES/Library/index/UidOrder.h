// Items by UID: a sorted sequence in chunks, made for appends at the end.
//
// Loads and deliveries bring UIDs in ascending order, which costs one comparison and one store. An insert elsewhere
// moves at most one chunk.
#ifndef VELMORA_INDEX_UIDORDER_H
#define VELMORA_INDEX_UIDORDER_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmora {

class IndexItemPropertyContainer;

class UidOrder {
public:
    struct Entry {
        uint32_t uid;
        IndexItemPropertyContainer* item;
    };

    // False when the UID is there already.
    bool Insert(uint32_t uid, IndexItemPropertyContainer* item);
    IndexItemPropertyContainer* Find(uint32_t uid) const;
    bool Erase(uint32_t uid);
    void Clear();
    size_t Count() const { return count_; }

    // Walks in ascending order from the first UID that is not below `from`; `visit` takes (uid, item).
    template <typename Visit>
    void ForEachFrom(uint32_t from, Visit visit) const
    {
        for (size_t c = ChunkFor(from); c < chunks_.size(); ++c)
            for (const Entry& e : chunks_[c])
                if (e.uid >= from) visit(e.uid, e.item);
    }
    template <typename Visit>
    void ForEach(Visit visit) const
    {
        ForEachFrom(0, visit);
    }
    // The first item whose UID is not below `from`; null when there is none.
    IndexItemPropertyContainer* FirstFrom(uint32_t from) const;
    // The highest UID; 0 when empty.
    uint32_t LastUid() const { return count_ == 0 ? 0 : chunks_.back().back().uid; }

private:
    static constexpr size_t kChunkEntries = 1024;

    // The first chunk whose last UID is not below `uid`; the number of chunks when there is none.
    size_t ChunkFor(uint32_t uid) const;
    void Split(size_t c) noexcept;

    std::vector<std::vector<Entry>> chunks_;  // none of them empty
    size_t count_ = 0;
};

}  // namespace velmora

#endif
