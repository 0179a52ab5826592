// The loop every vector row kernel runs: whole steps from 0, then the last one moved back to end
// at the row's end; and the byte-permute indices the kernels build at compile time. Included by
// each vector-kernel source inside its per-target compilation.

// Per-target include guard, the Highway way: toggled for each target foreach_target compiles.
#if defined(QV_CORE_VECTOR_STEPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QV_CORE_VECTOR_STEPS_INL_H_
#undef QV_CORE_VECTOR_STEPS_INL_H_
#else
#define QV_CORE_VECTOR_STEPS_INL_H_
#endif

#include <hwy/highway.h>

#include <array>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace qv {
namespace HWY_NAMESPACE {

// Whole steps of `width` from 0, then the last one moved back to end at n: it rewrites bytes
// already written, with the same values (faster on whole frames than clamping the index in the
// loop, and than leaving the rest to a scalar loop). n >= width.
template <class Step>
HWY_INLINE void EachStep(int32_t n, int32_t width, const Step& step) {
    for (int32_t i = 0; i < n - width; i += width) step(i);
    step(n - width);
}

// The pixels of a row of `pixels` that steps of `width` cover (EachStep): the row, less an odd last
// pixel where chroma is shared by pairs (steps start at even pixels); none for a row shorter than
// a step.
template <int kChromaShift, class Step>
HWY_INLINE int32_t WholeSteps(int32_t pixels, int32_t width, const Step& step) {
    const int32_t n = kChromaShift == 1 ? pixels & ~1 : pixels;
    if (n < width) return 0;
    EachStep(n, width, step);
    return n;
}

// Byte-permute indices, made at compile time: output byte k takes byte f(k) of the first source
// (0-63) or byte f(k) - 64 of the second (64-127).
using Index = std::array<uint8_t, 64>;
template <class F>
constexpr Index MakeIndex(F f) {
    Index index{};
    for (int k = 0; k < 64; ++k) index[static_cast<size_t>(k)] = static_cast<uint8_t>(f(k));
    return index;
}

}  // namespace HWY_NAMESPACE
}  // namespace qv
HWY_AFTER_NAMESPACE();

#endif  // QV_CORE_VECTOR_STEPS_INL_H_
