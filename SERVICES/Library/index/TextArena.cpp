#include "index/TextArena.h"

#include <cstdlib>
#include <new>

namespace velmora {

struct TextArena::Block {
    Block* older;
    char bytes[1];
};

ItemText* TextArena::AllocateFromNewBlock(size_t bytes, size_t size)
{
    // A text that would waste most of a block gets one of its own, and the present block stays in use.
    const bool alone = bytes > kBlockBytes / 4;
    const size_t room = alone ? bytes : kBlockBytes;
    auto* block = static_cast<Block*>(std::malloc(offsetof(Block, bytes) + room));
    if (!block) throw std::bad_alloc();
    block->older = blocks_;
    blocks_ = block;
    auto* text = reinterpret_cast<ItemText*>(block->bytes);
    text->Size = static_cast<uint32_t>(size);
    if (!alone) {
        blockBegin_ = block->bytes;
        next_ = block->bytes + bytes;
        end_ = block->bytes + room;
    }
    return text;
}

void TextArena::Clear()
{
    while (blocks_) {
        Block* const older = blocks_->older;
        std::free(blocks_);
        blocks_ = older;
    }
    blockBegin_ = next_ = end_ = nullptr;
}

}  // namespace velmora
