#include "index/UidOrder.h"

#include <algorithm>
#include <new>

namespace velmora {

namespace {

bool Below(const UidOrder::Entry& entry, uint32_t uid) { return entry.uid < uid; }

}  // namespace

size_t UidOrder::ChunkFor(uint32_t uid) const
{
    const auto at = std::lower_bound(chunks_.begin(), chunks_.end(), uid,
                                     [](const std::vector<Entry>& chunk, uint32_t wanted) { return chunk.back().uid < wanted; });
    return static_cast<size_t>(at - chunks_.begin());
}

bool UidOrder::Insert(uint32_t uid, IndexItemPropertyContainer* item)
{
    if (chunks_.empty() || uid > chunks_.back().back().uid) {
        if (chunks_.empty() || chunks_.back().size() == kChunkEntries) {
            std::vector<Entry> chunk;
            // The first chunk of a small folder grows as it needs; later ones will be filled.
            if (!chunks_.empty()) chunk.reserve(kChunkEntries);
            chunk.push_back({uid, item});
            chunks_.push_back(std::move(chunk));
        } else {
            chunks_.back().push_back({uid, item});
        }
        ++count_;
        return true;
    }
    const size_t c = ChunkFor(uid);
    std::vector<Entry>& chunk = chunks_[c];
    const auto at = std::lower_bound(chunk.begin(), chunk.end(), uid, Below);
    if (at->uid == uid) return false;
    chunk.insert(at, {uid, item});
    ++count_;
    if (chunk.size() > kChunkEntries) Split(c);
    return true;
}

// A chunk that cannot be split for want of memory stays as it is; it is only slower.
void UidOrder::Split(size_t c) noexcept
{
    try {
        chunks_.reserve(chunks_.size() + 1);
        std::vector<Entry>& chunk = chunks_[c];
        std::vector<Entry> upper(chunk.begin() + static_cast<ptrdiff_t>(kChunkEntries / 2), chunk.end());
        chunk.resize(kChunkEntries / 2);
        chunks_.insert(chunks_.begin() + static_cast<ptrdiff_t>(c) + 1, std::move(upper));
    } catch (const std::bad_alloc&) {
    }
}

IndexItemPropertyContainer* UidOrder::Find(uint32_t uid) const
{
    const size_t c = ChunkFor(uid);
    if (c == chunks_.size()) return nullptr;
    const auto at = std::lower_bound(chunks_[c].begin(), chunks_[c].end(), uid, Below);
    return at->uid == uid ? at->item : nullptr;
}

bool UidOrder::Erase(uint32_t uid)
{
    const size_t c = ChunkFor(uid);
    if (c == chunks_.size()) return false;
    std::vector<Entry>& chunk = chunks_[c];
    const auto at = std::lower_bound(chunk.begin(), chunk.end(), uid, Below);
    if (at->uid != uid) return false;
    chunk.erase(at);
    --count_;
    if (chunk.empty()) chunks_.erase(chunks_.begin() + static_cast<ptrdiff_t>(c));
    return true;
}

void UidOrder::Clear()
{
    chunks_.clear();
    count_ = 0;
}

IndexItemPropertyContainer* UidOrder::FirstFrom(uint32_t from) const
{
    const size_t c = ChunkFor(from);
    if (c == chunks_.size()) return nullptr;
    return std::lower_bound(chunks_[c].begin(), chunks_[c].end(), from, Below)->item;
}

}  // namespace velmora
