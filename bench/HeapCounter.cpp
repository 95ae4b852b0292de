#include "HeapCounter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <unordered_map>
#include <utility>

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

HeapReplay::HeapReplay(std::vector<HeapCall> calls)
    : mCalls(std::move(calls)), mBlocks(mCalls.size()) {
    std::vector<bool> released(mCalls.size());
    for (const HeapCall& call : mCalls)
        if (call.size < 0)
            released[static_cast<size_t>(call.of)] = true;
    for (size_t i = 0; i < mCalls.size(); ++i)
        if (mCalls[i].size >= 0 && !released[i])
            mKept.push_back(i);
}

void HeapReplay::run() {
    for (size_t i = 0; i < mCalls.size(); ++i) {
        const HeapCall& call = mCalls[i];
        if (call.size >= 0)
            mBlocks[i] = std::malloc(static_cast<size_t>(call.size ? call.size : 1));
        else
            std::free(mBlocks[static_cast<size_t>(call.of)]);
    }
    for (size_t i : mKept)
        std::free(mBlocks[i]);
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
