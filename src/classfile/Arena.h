#pragma once

// Memory of the class model. Everything read from one file (pool entries, members, attributes,
// annotation trees and their lists) lives in one arena that its constant pool owns, and goes
// all at once with the pool. Objects in the arena hold nothing but arena memory and views of the
// input, so no destructor needs to run for them.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace classfile {

/// A bump allocator over blocks of its own. Blocks grow with what the arena holds, up to a limit,
/// so that at most an eighth of the memory lies unused at the end.
class Arena final : public std::pmr::memory_resource {
public:
    Arena() = default;
    ~Arena() override;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    /// allocate without the virtual call, for the model's own objects and lists.
    void* take(size_t bytes, size_t alignment) {
        const uintptr_t start =
            (reinterpret_cast<uintptr_t>(mNext) + alignment - 1) & ~(alignment - 1);
        if (mNext && start + bytes <= reinterpret_cast<uintptr_t>(mEnd)) {
            mNext = reinterpret_cast<char*>(start + bytes);
            return reinterpret_cast<void*>(start);
        }
        return allocateInNewBlock(bytes, alignment);
    }

    /// Gives every block back to the heap; whatever lived in them is gone. The arena can be used
    /// again afterwards.
    void release();

private:
    void* do_allocate(size_t bytes, size_t alignment) override { return take(bytes, alignment); }
    void do_deallocate(void*, size_t, size_t) override {}
    bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override {
        return this == &other;
    }
    void* allocateInNewBlock(size_t bytes, size_t alignment);

    struct Block;
    Block* mBlocks = nullptr;
    char* mNext = nullptr;
    char* mEnd = nullptr;
    size_t mFootprint = 0;
};

/// The deleter of ArenaPtr: nothing to do, the arena releases the memory.
struct ArenaRelease {
    template <typename T> void operator()(T*) const {}
};

/// Owns an object in the arena for as long as the arena lives.
template <typename T> using ArenaPtr = std::unique_ptr<T, ArenaRelease>;

/// Constructs a T in the arena.
template <typename T, typename... Args> ArenaPtr<T> makeInArena(Arena& arena, Args&&... args) {
    return ArenaPtr<T>(new (arena.take(sizeof(T), alignof(T))) T(std::forward<Args>(args)...));
}

/// A list of the class model in the arena. Its room is set once, before the elements are read, to
/// as many as the rest of the input can hold; an element read completely can then never exceed it
/// (so elements are read first, then added). Elements are never destroyed.
template <typename T> class ArenaList {
public:
    ArenaList() = default;

    /// Makes room for capacity elements; only on an empty list.
    void allocate(Arena& arena, size_t capacity) {
        if (capacity > UINT32_MAX)
            throw std::length_error("class model list too long");
        mData = capacity ? static_cast<T*>(arena.take(sizeof(T) * capacity, alignof(T))) : nullptr;
        mCapacity = static_cast<uint32_t>(capacity);
    }
    template <typename... Args> T& emplace_back(Args&&... args) {
        if (mSize == mCapacity)
            throw std::length_error("class model list past its room");
        T* element = new (mData + mSize) T(std::forward<Args>(args)...);
        ++mSize;
        return *element;
    }
    void push_back(T&& value) { emplace_back(std::move(value)); }

    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }
    const T* begin() const { return mData; }
    const T* end() const { return mData + mSize; }
    const T& operator[](size_t i) const { return mData[i]; }
    const T& at(size_t i) const {
        if (i >= mSize)
            throw std::out_of_range("class model list index");
        return mData[i];
    }
    const T& front() const { return mData[0]; }
    const T& back() const { return mData[mSize - 1]; }

private:
    T* mData = nullptr;
    uint32_t mSize = 0;
    uint32_t mCapacity = 0;
};

/// Makes room in list for count elements that are about to be read, each taking at least
/// elementBytes of input, but never for more than the rest of the input can hold: a count inflated
/// by a damaged file allocates nothing before its data is there.
template <typename T>
void reserveForCount(ArenaList<T>& list, Arena& arena, uint32_t count, size_t remaining,
                     size_t elementBytes) {
    const size_t fits = remaining / elementBytes;
    list.allocate(arena, count < fits ? count : fits);
}

} // namespace classfile
