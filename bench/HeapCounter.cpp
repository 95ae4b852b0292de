#include "HeapCounter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <unordered_map>

namespace kovbench {

namespace {

std::atomic<bool> counting{false};
int64_t live = 0;
int64_t peak = 0;
int64_t allocations = 0;

// The trace being recorded; its own bookkeeping allocates with tracing off.
std::atomic<bool> tracing{false};
std::vector<HeapCall>* trace = nullptr;
std::unordered_map<void*, int64_t>* callOf = nullptr;

void recordAllocation(void* p, size_t size) {
    tracing = false;
    (*callOf)[p] = static_cast<int64_t>(trace->size());
    trace->push_back({static_cast<int64_t>(size), -1});
    tracing = true;
}

void recordRelease(void* p) {
    tracing = false;
    const auto found = callOf->find(p);
    if (found != callOf->end()) {
        trace->push_back({-1, found->second});
        callOf->erase(found);
    }
    tracing = true;
}

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
    if (tracing.load(std::memory_order_relaxed))
        recordAllocation(p, size);
    return p;
}

void release(void* p) {
    if (p && counting.load(std::memory_order_relaxed))
        live -= static_cast<int64_t>(malloc_usable_size(p));
    if (p && tracing.load(std::memory_order_relaxed))
        recordRelease(p);
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

HeapTrace::HeapTrace() {
    trace = new std::vector<HeapCall>;
    callOf = new std::unordered_map<void*, int64_t>;
    trace->reserve(1 << 20);
    callOf->reserve(1 << 16);
    tracing = true;
}

HeapTrace::~HeapTrace() {
    tracing = false;
    delete trace;
    delete callOf;
}

std::vector<HeapCall> HeapTrace::calls() const {
    tracing = false;
    std::vector<HeapCall> copy(*trace);
    tracing = true;
    return copy;
}

void replayHeapCalls(const std::vector<HeapCall>& calls, std::vector<void*>& blocks) {
    blocks.assign(calls.size(), nullptr);
    for (size_t i = 0; i < calls.size(); ++i) {
        if (calls[i].size >= 0) {
            blocks[i] = std::malloc(static_cast<size_t>(calls[i].size ? calls[i].size : 1));
        } else {
            void*& block = blocks[static_cast<size_t>(calls[i].of)];
            std::free(block);
            block = nullptr;
        }
    }
    // Blocks the traced code kept.
    for (void* block : blocks)
        std::free(block);
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
