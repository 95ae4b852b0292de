#pragma once

// Memory of the class model. Everything read from one file (pool entries, members, attributes,
// annotation trees and their lists) lives in one arena that its constant pool owns, and goes
// all at once with the pool. Objects in the arena hold nothing but arena memory and views of the
// input, so no destructor needs to run for them.

#include <cstddef>
#include <memory>
#include <memory_resource>
#include <new>
#include <utility>
#include <vector>

namespace classfile {

using Arena = std::pmr::monotonic_buffer_resource;

/// The deleter of ArenaPtr: nothing to do, the arena releases the memory.
struct ArenaRelease {
    template <typename T> void operator()(T*) const {}
};

/// Owns an object in the arena for as long as the arena lives.
template <typename T> using ArenaPtr = std::unique_ptr<T, ArenaRelease>;

/// A list of the class model, its storage in the arena.
template <typename T> using ArenaVector = std::pmr::vector<T>;

/// Constructs a T in the arena.
template <typename T, typename... Args> ArenaPtr<T> makeInArena(Arena& arena, Args&&... args) {
    return ArenaPtr<T>(new (arena.allocate(sizeof(T), alignof(T))) T(std::forward<Args>(args)...));
}

} // namespace classfile
