// The test build's allocator: counts live blocks and can fail the Nth allocation from now on.
#pragma once

#include <cstddef>

namespace qvtest {

// Arms the allocator so that the nth allocation from now (1-based) fails; 0 disarms it.
void FailAllocationAt(int n);
// Allocations made since the last reset, and blocks not yet released.
int AllocationCount();
long LiveBlocks();
void ResetAllocationCount();

}  // namespace qvtest
