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

// Every target at `level` or below it: Highway numbers its targets best first within an
// architecture, so those are the level's bit and every higher one.
constexpr int64_t AtOrBelow(int64_t level) { return ~(level - 1); }

// The targets QV_SIMD allows: 0 for `off`, -1 (all) when it is unset or not a level. The SVE
// levels include the variants Highway specialises for one vector length (SVE_256, SVE2_128).
int64_t AllowedFromEnvironment() {
    const char* value = std::getenv("QV_SIMD");
    if (value == nullptr || *value == '\0') return -1;
    char name[16] = {};
    for (size_t i = 0; i + 1 < sizeof name && value[i] != '\0'; ++i)
        name[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(value[i])));
    static const struct {
        const char* name;
        int64_t allowed;
    } kLevels[] = {
        {"off", 0},
        {"scalar", 0},
        {"sse4", AtOrBelow(HWY_SSE4)},
        {"avx2", AtOrBelow(HWY_AVX2)},
        {"avx512", AtOrBelow(HWY_AVX3)},
        {"avx3", AtOrBelow(HWY_AVX3)},
        {"avx512vbmi", AtOrBelow(HWY_AVX3_DL)},
        {"avx3_dl", AtOrBelow(HWY_AVX3_DL)},
        {"neon", AtOrBelow(HWY_NEON)},
        {"sve", AtOrBelow(HWY_SVE) | HWY_SVE_256},
        {"sve2", AtOrBelow(HWY_SVE2) | HWY_SVE_256 | HWY_SVE2_128},
    };
    for (const auto& level : kLevels)
        if (std::strcmp(level.name, name) == 0) return level.allowed;
    std::fprintf(stderr, "qv-imageproc: QV_SIMD=%s is not a kernel level; the CPU decides\n", value);
    return -1;
}

const KernelTable* Choose() {
    const int64_t allowed = AllowedFromEnvironment();
    if (allowed == 0) return &ScalarKernels();
    int count = 0;
    const VectorKernelSet* sets = VectorKernelSets(&count);
    for (int i = 0; i < count; ++i) {
        if ((sets[i].target & allowed) != 0) return &sets[i].table;  // the best allowed
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
