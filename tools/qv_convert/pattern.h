// The built-in test pattern: colour bars, a grey ramp, a hue sweep, fine lines, an orientation label
// and a ball that moves from frame to frame. The interlaced pattern draws the odd lines half a frame
// later than the even ones, so a moving edge combs and deinterlacing has something to do.
#pragma once

#include <cstdint>
#include <string>

#include "colour.h"

namespace qvc {

void DrawPattern(RgbaImage& image, int32_t width, int32_t height, int64_t frameIndex, bool interlaced);
// The same in two steps, for drawing many frames: what never moves, then onto a copy of it what does.
void DrawPatternBackground(RgbaImage& image, int32_t width, int32_t height);
void DrawPatternMotion(RgbaImage& image, int64_t frameIndex, bool interlaced);

// Draws text in a 5 x 7 pixel font, each font pixel `scale` pixels square, clipped to the picture.
// Letters, digits and " #-.:/" are known; anything else draws as a blank.
void DrawText(RgbaImage& image, int32_t x, int32_t y, const std::string& text, int scale, Rgba colour);

}  // namespace qvc
