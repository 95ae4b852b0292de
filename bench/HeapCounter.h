#pragma once

// Counts the heap use of a stretch of code through the benchmark binary's own operator new and
// delete. Only one measurement may run at a time, on one thread; other threads allocate as usual.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kovbench {

struct HeapUse {
    /// Most bytes live at once during the measurement, counted from its start.
    int64_t peakBytes = 0;
    /// Bytes still live at its end.
    int64_t liveBytes = 0;
    int64_t allocations = 0;
};

/// The heap calls of a stretch of code, in order: a block of size bytes, or the release of the
/// block made by the call at position of (size then is -1). Releases of older blocks are left out.
struct HeapCall {
    int64_t size;
    int64_t of;
};

/// Records the heap calls made while it lives; same restrictions as HeapMeasurement.
class HeapTrace {
public:
    HeapTrace();
    ~HeapTrace();
    HeapTrace(const HeapTrace&) = delete;
    HeapTrace& operator=(const HeapTrace&) = delete;
    std::vector<HeapCall> calls() const;
};

/// Makes the calls of a trace again with malloc and free alone: what the allocator costs for that
/// pattern of blocks, whoever asks for them.
class HeapReplay {
public:
    explicit HeapReplay(std::vector<HeapCall> calls);
    /// One replay; blocks the traced code kept are freed at its end.
    void run();
    size_t calls() const { return mCalls.size(); }

private:
    std::vector<HeapCall> mCalls;
    /// The calls whose blocks the traced code never released.
    std::vector<size_t> mKept;
    std::vector<void*> mBlocks;
};

class HeapMeasurement {
public:
    HeapMeasurement();
    ~HeapMeasurement();
    HeapMeasurement(const HeapMeasurement&) = delete;
    HeapMeasurement& operator=(const HeapMeasurement&) = delete;
    HeapUse use() const;
};

} // namespace kovbench
