#pragma once

// Counts the heap use of a stretch of code through the benchmark binary's own operator new and
// delete. Only one measurement may run at a time, on one thread; other threads allocate as usual.

#include <cstddef>
#include <cstdint>

namespace kovbench {

struct HeapUse {
    /// Most bytes live at once during the measurement, counted from its start.
    int64_t peakBytes = 0;
    /// Bytes still live at its end.
    int64_t liveBytes = 0;
    int64_t allocations = 0;
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
