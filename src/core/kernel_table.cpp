// The scalar kernel set and the choice of the process's kernel set (CPU, capped by QV_SIMD).
#include "core/kernel_table.h"

#include <hwy/targets.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/ycbcr_rows.h"
#include "deinterlace/deinterlace_rows.h"

namespace qv {
namespace {

// The highest target QV_SIMD allows: 0 for `off`, -1 for no cap.
int64_t CapFromEnvironment() {
    const char* value = std::getenv("QV_SIMD");
    if (value == nullptr || *value == '\0') return -1;
    char name[16] = {};
    for (size_t i = 0; i + 1 < sizeof name && value[i] != '\0'; ++i)
        name[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(value[i])));
    static const struct {
        const char* name;
        int64_t target;
    } kCaps[] = {
        {"off", 0},        {"scalar", 0},        {"sse4", HWY_SSE4}, {"avx2", HWY_AVX2},
        {"avx512", HWY_AVX3}, {"avx3", HWY_AVX3}, {"avx512vbmi", HWY_AVX3_DL}, {"avx3_dl", HWY_AVX3_DL},
        {"neon", HWY_NEON}, {"sve", HWY_SVE},     {"sve2", HWY_SVE2},
    };
    for (const auto& cap : kCaps)
        if (std::strcmp(cap.name, name) == 0) return cap.target;
    std::fprintf(stderr, "qv-imageproc: QV_SIMD=%s is not a kernel level; the CPU decides\n", value);
    return -1;
}

const KernelTable* Choose() {
    const int64_t cap = CapFromEnvironment();
    if (cap == 0) return &ScalarKernels();
    int count = 0;
    const VectorKernelSet* sets = VectorKernelSets(&count);
    for (int i = 0; i < count; ++i) {
        // Highway numbers its targets best first within an architecture: a cap allows itself and
        // every target with a higher bit.
        if (cap < 0 || sets[i].target >= cap) return &sets[i].table;
    }
    return &ScalarKernels();
}

}  // namespace

const KernelTable& ScalarKernels() {
    static const KernelTable table = {
        "scalar",
        rows::RowPair<rows::PackRGB565>,
        rows::RowPair<rows::PackRGB888>,
        rows::RowPair<rows::PackARGB32>,
        rows::RowPair<rows::PackRGB555>,
        rows::RowPair<rows::PackInterp>,
        rows::Row<rows::PackRGB565, 1>,
        rows::Row<rows::PackRGB565, 0>,
        rows::Row<rows::PackRGB888, 0>,
        rows::Row<rows::PackARGB32, 0>,
        &deint::AverageRow,
        &deint::FiveTapRow,
        &deint::FiveTapRowInPlace,
        &deint::BlockRow,
        &deint::StripRow,
    };
    return table;
}

const KernelTable& Kernels() {
    // Chosen once, thread-safely, on first use.
    static const KernelTable* const chosen = Choose();
    return *chosen;
}

}  // namespace qv
