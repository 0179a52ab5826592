// The tool's own colour handling: pictures in RGBA for PNG files and the test pattern, packed into
// any library format and decoded back for display. BT.601 video range, as the library uses.
#pragma once

#include <cstdint>
#include <vector>

#include "formats.h"

namespace qvc {

struct Rgba {
    uint8_t r = 0, g = 0, b = 0, a = 255;
};

struct RgbaImage {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<Rgba> pixels;

    void resize(int32_t w, int32_t h) {
        width = w;
        height = h;
        pixels.assign(static_cast<size_t>(w) * static_cast<size_t>(h), Rgba{});
    }
    Rgba& at(int32_t x, int32_t y) { return pixels[static_cast<size_t>(y) * width + x]; }
    const Rgba& at(int32_t x, int32_t y) const { return pixels[static_cast<size_t>(y) * width + x]; }
};

struct Yuv {
    uint8_t y = 16, cb = 128, cr = 128;
};

Yuv YuvFromRgb(Rgba c);
Rgba RgbFromYuv(int y, int cb, int cr);

// Writes the picture into a frame of the same size in the frame's format (chroma is the average of
// the pixels that share it). An interlaced picture's vertically halved chroma is taken field by field:
// chroma rows alternate between the fields as the luma rows do (row 0 from luma rows 0 and 2, row 1
// from 1 and 3), so each field's chroma belongs to its own moment.
void EncodeImage(const RgbaImage& image, Frame& frame, bool interlaced = false);
// Decodes a frame of any format into RGBA for display: YCbCr through BT.601, 16-bit RGB widened,
// ARGB and ABGR keep their alpha, RGB555 pixels whose mask bit is clear become transparent.
void DecodeFrame(const Frame& frame, RgbaImage& image);
// Formats whose display carries transparency.
bool ShowsAlpha(const FormatInfo& format);

}  // namespace qvc
