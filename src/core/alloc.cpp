// The library's one allocation point. Kept alone in its object file so that a test build can
// provide its own definitions (to fail the Nth allocation) in place of these.
#include <cstdlib>

#include "core/qv_context.h"

namespace qv {

void* Allocate(size_t bytes) { return std::malloc(bytes); }

void Release(void* block) { std::free(block); }

}  // namespace qv
