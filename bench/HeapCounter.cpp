#include "HeapCounter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace kovbench {

namespace {

std::atomic<bool> counting{false};
int64_t live = 0;
int64_t peak = 0;
int64_t allocations = 0;

void* allocate(size_t size, size_t alignment = 0) {
    void* p = nullptr;
    if (alignment > alignof(std::max_align_t)) {
        if (posix_memalign(&p, alignment, size ? size : 1) != 0)
            p = nullptr;
    } else {
        p = std::malloc(size ? size : 1);
    }
    if (!p)
        throw std::bad_alloc();
    if (counting.load(std::memory_order_relaxed)) {
        live += static_cast<int64_t>(malloc_usable_size(p));
        peak = live > peak ? live : peak;
        ++allocations;
    }
    return p;
}

void release(void* p) {
    if (p && counting.load(std::memory_order_relaxed))
        live -= static_cast<int64_t>(malloc_usable_size(p));
    std::free(p);
}

} // namespace

HeapMeasurement::HeapMeasurement() {
    live = peak = allocations = 0;
    counting = true;
}

HeapMeasurement::~HeapMeasurement() {
    counting = false;
}

HeapUse HeapMeasurement::use() const {
    return {peak, live, allocations};
}

} // namespace kovbench

void* operator new(size_t size) {
    return kovbench::allocate(size);
}
void* operator new[](size_t size) {
    return kovbench::allocate(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    try {
        return kovbench::allocate(size);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    try {
        return kovbench::allocate(size);
    } catch (...) {
        return nullptr;
    }
}
void operator delete(void* p) noexcept {
    kovbench::release(p);
}
void operator delete[](void* p) noexcept {
    kovbench::release(p);
}
void operator delete(void* p, size_t) noexcept {
    kovbench::release(p);
}
void operator delete[](void* p, size_t) noexcept {
    kovbench::release(p);
}
void* operator new(size_t size, std::align_val_t alignment) {
    return kovbench::allocate(size, static_cast<size_t>(alignment));
}
void* operator new[](size_t size, std::align_val_t alignment) {
    return kovbench::allocate(size, static_cast<size_t>(alignment));
}
void operator delete(void* p, std::align_val_t) noexcept {
    kovbench::release(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
    kovbench::release(p);
}
void operator delete(void* p, size_t, std::align_val_t) noexcept {
    kovbench::release(p);
}
void operator delete[](void* p, size_t, std::align_val_t) noexcept {
    kovbench::release(p);
}
