// Memory for the many small texts of a loaded index: taken in large pieces, given back all at once.
#ifndef VELMORA_INDEX_TEXTARENA_H
#define VELMORA_INDEX_TEXTARENA_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velmora {

// The text of one property: its length and its bytes, with no terminator.
struct ItemText {
    uint32_t Size;
    char Bytes[1];  // Size of them

    std::string_view View() const { return {Bytes, Size}; }
    static size_t BytesFor(size_t size) { return offsetof(ItemText, Bytes) + size; }
};

class TextArena {
public:
    TextArena() = default;
    ~TextArena() { Clear(); }
    TextArena(const TextArena&) = delete;
    TextArena& operator=(const TextArena&) = delete;

    // Room for a text of `size` bytes, 4-byte aligned, valid until Clear. Throws std::bad_alloc.
    ItemText* Allocate(size_t size)
    {
        const size_t bytes = (ItemText::BytesFor(size) + 3) & ~size_t{3};
        if (bytes > static_cast<size_t>(end_ - next_)) return AllocateFromNewBlock(bytes, size);
        ItemText* text = reinterpret_cast<ItemText*>(next_);
        next_ += bytes;
        text->Size = static_cast<uint32_t>(size);
        return text;
    }

    // Gives back the end of the newest allocation: its text turned out to be `size` bytes long.
    void Shrink(ItemText* newest, size_t size)
    {
        newest->Size = static_cast<uint32_t>(size);
        char* const begin = reinterpret_cast<char*>(newest);
        if (begin >= blockBegin_ && begin < next_) next_ = begin + ((ItemText::BytesFor(size) + 3) & ~size_t{3});
    }

    void Clear();

private:
    struct Block;
    static constexpr size_t kBlockBytes = 1u << 20;

    ItemText* AllocateFromNewBlock(size_t bytes, size_t size);

    Block* blocks_ = nullptr;
    char* blockBegin_ = nullptr;  // of the block that next_ points into
    char* next_ = nullptr;
    char* end_ = nullptr;
};

}  // namespace velmora

#endif
