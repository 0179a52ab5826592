// Replaces the library's allocation point for the test executable: the linker takes these
// definitions and leaves the library's own out.
#include "alloc_hook.h"

#include <atomic>
#include <cstdlib>

#include "core/qv_context.h"

namespace {
std::atomic<int> g_failAt{0};
std::atomic<int> g_count{0};
std::atomic<long> g_live{0};
}  // namespace

namespace qvtest {
void FailAllocationAt(int n) {
    g_count = 0;
    g_failAt = n;
}
int AllocationCount() { return g_count; }
long LiveBlocks() { return g_live; }
void ResetAllocationCount() { g_count = 0; }
}  // namespace qvtest

namespace qv {

void* Allocate(size_t bytes) {
    const int n = ++g_count;
    if (g_failAt != 0 && n == g_failAt) return nullptr;
    void* p = std::malloc(bytes);
    if (p != nullptr) ++g_live;
    return p;
}

void Release(void* block) {
    if (block != nullptr) --g_live;
    std::free(block);
}

}  // namespace qv
