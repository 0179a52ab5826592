// Drives the public interface the way a careless host would, from a byte string: random
// operations, rotations, interpolations, sizes, strides, adjustments, properties, deinterlace
// modes and missing planes. Every plane it passes is a separate heap block of exactly the size
// the frame-buffer rules give, so AddressSanitizer reports any access outside them; the result
// codes are checked against the rules as well, and no frame may change a source byte, nor a
// failed one a destination byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qvfuzz {

struct Outcome {
    std::string failure;  // empty when every call behaved as the rules say
    int frames = 0;       // frames actually run through ProcessFrame
};

// Caps that keep one input cheap: no plane block above kMaxPlaneBytes, no frame above
// kMaxFrameBytes in all, no context whose own blocks exceed kMaxContextBytes.
constexpr int64_t kMaxPlaneBytes = 4 << 20;
constexpr int64_t kMaxFrameBytes = 12 << 20;
constexpr int64_t kMaxContextBytes = 16 << 20;

Outcome RunInput(const uint8_t* data, size_t size);

}  // namespace qvfuzz
