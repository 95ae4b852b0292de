#include "classfile/Arena.h"

#include <algorithm>

namespace classfile {

namespace {
constexpr size_t MIN_BLOCK = 16 * 1024;
constexpr size_t MAX_BLOCK = 256 * 1024;
} // namespace

struct Arena::Block {
    Block* previous;
};

Arena::~Arena() {
    release();
}

void Arena::release() {
    while (mBlocks) {
        Block* previous = mBlocks->previous;
        ::operator delete(mBlocks);
        mBlocks = previous;
    }
    mNext = mEnd = nullptr;
    mFootprint = 0;
}

void* Arena::allocateInNewBlock(size_t bytes, size_t alignment) {
    // A block an eighth of what the arena already holds keeps the unused end small.
    const size_t wanted = sizeof(Block) + alignment + bytes;
    const size_t size = std::max(wanted, std::clamp(mFootprint / 8, MIN_BLOCK, MAX_BLOCK));
    auto* block = static_cast<Block*>(::operator new(size));
    block->previous = mBlocks;
    mBlocks = block;
    mFootprint += size;
    mNext = reinterpret_cast<char*>(block + 1);
    mEnd = reinterpret_cast<char*>(block) + size;
    const uintptr_t start = (reinterpret_cast<uintptr_t>(mNext) + alignment - 1) & ~(alignment - 1);
    mNext = reinterpret_cast<char*>(start + bytes);
    return reinterpret_cast<void*>(start);
}

} // namespace classfile
