// Frame-buffer rules: for one frame of one context, which bytes of each source and destination
// plane the library may read and write, as offsets from the plane pointers the host passes.
//
// The rules are written from the converters' addressing (rows x stride arithmetic, the rounded
// strides and rotation steps, the reads past the picture that some routes make) and are the
// single source of the README's "Frame buffers" section, of the frame-rules test (which allocates
// every plane at exactly the size given here and runs the frame under AddressSanitizer) and of the
// fuzzer (which does the same for arbitrary arguments).
#pragma once

#include <cstdint>

#include "qv_imageproc.h"

namespace qv::rules {

// Bytes [begin, end) relative to a plane pointer. Empty when end <= begin. A negative begin means
// bytes before the pointer: with a negative stride the rows above it, never with a positive one.
struct Span {
    int64_t begin = 0;
    int64_t end = 0;
    bool empty() const { return end <= begin; }
    int64_t size() const { return empty() ? 0 : end - begin; }
};

struct FrameArgs {
    QvCreateParams params{};
    uint32_t deinterlaceMode = 0;  // the mode in force for this frame (ignored for non-planar sources)
    bool adjustOn = false;         // a non-neutral colour adjustment is in force (names the route only)
    int32_t srcStrides[3] = {};
    int32_t dstStrides[3] = {};
};

struct FrameRule {
    // Create: 0 (or -2 when memory runs out), -2 (sizes no block can hold), -3 (not supported).
    int32_t createStatus = 0;
    // The frame's internal status when every plane validation asks for is present: 0, or -1 for a
    // missing stride or a refused frame (nothing is touched then except the deinterlacer's reads).
    int32_t status = 0;
    // The frame allocates temporary planes and may fail with -2 instead.
    bool mayRunOutOfMemory = false;
    // Planes (with non-zero strides) that validation requires on each side.
    int srcPlanes = 0;
    int dstPlanes = 0;
    // The converter the frame reaches ("" when none), the deinterlace routine ("" when none) and,
    // for a refused frame, why.
    const char* route = "";
    const char* deinterlace = "";
    const char* refusal = "";
    // The Cr plane is walked with the Cb stride (the routes that take one chroma stride): its
    // span follows the sign of the Cb stride.
    bool crStepsByCbStride = false;
    // Bytes the library may read from each source plane and read or write in each destination plane.
    Span src[3];
    Span dst[3];
    // Bytes the context allocates (work planes and line buffers); -1 when no block can hold them.
    int64_t contextBytes = 0;
};

// The rules for one frame of a context created with `args.params`.
FrameRule FrameBuffers(const FrameArgs& args);

// Largest source width or height the resampling routes accept (16.16 positions).
constexpr int32_t kMaxResampledSize = 32768;

}  // namespace qv::rules
