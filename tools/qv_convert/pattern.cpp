#include "pattern.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace qvc {
namespace {

struct Glyph {
    char c;
    uint8_t rows[7];  // five bits a row, bit 4 leftmost
};

constexpr Glyph kFont[] = {
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}}, {'B', {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E}},
    {'C', {0x0E, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0E}}, {'D', {0x1E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1E}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}}, {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}},
    {'G', {0x0E, 0x11, 0x10, 0x17, 0x11, 0x11, 0x0F}}, {'H', {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}}, {'J', {0x07, 0x02, 0x02, 0x02, 0x02, 0x12, 0x0C}},
    {'K', {0x11, 0x12, 0x14, 0x18, 0x14, 0x12, 0x11}}, {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}}, {'N', {0x11, 0x11, 0x19, 0x15, 0x13, 0x11, 0x11}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}}, {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}},
    {'Q', {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}}, {'R', {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}}, {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}},
    {'U', {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}}, {'V', {0x11, 0x11, 0x11, 0x11, 0x11, 0x0A, 0x04}},
    {'W', {0x11, 0x11, 0x11, 0x15, 0x15, 0x15, 0x0A}}, {'X', {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11}},
    {'Y', {0x11, 0x11, 0x11, 0x0A, 0x04, 0x04, 0x04}}, {'Z', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x1F}},
    {'0', {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}}, {'1', {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'2', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}}, {'3', {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {'4', {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}}, {'5', {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {'6', {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}}, {'7', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}}, {'9', {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}},
    {'#', {0x0A, 0x0A, 0x1F, 0x0A, 0x1F, 0x0A, 0x0A}}, {'-', {0x00, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00}},
    {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C}}, {':', {0x00, 0x0C, 0x0C, 0x00, 0x0C, 0x0C, 0x00}},
    {'/', {0x01, 0x01, 0x02, 0x04, 0x08, 0x10, 0x10}},
};

const Glyph* FindGlyph(char c) {
    const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (const Glyph& g : kFont)
        if (g.c == upper) return &g;
    return nullptr;
}

void FillRect(RgbaImage& image, int32_t x0, int32_t y0, int32_t x1, int32_t y1, Rgba colour) {
    x0 = std::max(x0, 0);
    y0 = std::max(y0, 0);
    x1 = std::min(x1, image.width);
    y1 = std::min(y1, image.height);
    for (int32_t y = y0; y < y1; ++y)
        for (int32_t x = x0; x < x1; ++x) image.at(x, y) = colour;
}

// A fully saturated colour around the hue circle, hue 0..1535.
Rgba Hue(int h) {
    const int sector = h / 256, f = h % 256;
    switch (sector) {
        case 0: return {255, static_cast<uint8_t>(f), 0, 255};
        case 1: return {static_cast<uint8_t>(255 - f), 255, 0, 255};
        case 2: return {0, 255, static_cast<uint8_t>(f), 255};
        case 3: return {0, static_cast<uint8_t>(255 - f), 255, 255};
        case 4: return {static_cast<uint8_t>(f), 0, 255, 255};
        default: return {255, 0, static_cast<uint8_t>(255 - f), 255};
    }
}

}  // namespace

void DrawText(RgbaImage& image, int32_t x, int32_t y, const std::string& text, int scale, Rgba colour) {
    for (size_t i = 0; i < text.size(); ++i) {
        const Glyph* g = FindGlyph(text[i]);
        if (g == nullptr) continue;
        const int32_t gx = x + static_cast<int32_t>(i) * 6 * scale;
        for (int row = 0; row < 7; ++row)
            for (int col = 0; col < 5; ++col)
                if (g->rows[row] & (0x10 >> col))
                    FillRect(image, gx + col * scale, y + row * scale, gx + (col + 1) * scale, y + (row + 1) * scale,
                             colour);
    }
}

void DrawPatternBackground(RgbaImage& image, int32_t w, int32_t h) {
    image.resize(w, h);
    static const Rgba kBars[8] = {{255, 255, 255, 255}, {255, 255, 0, 255}, {0, 255, 255, 255}, {0, 255, 0, 255},
                                  {255, 0, 255, 255},   {255, 0, 0, 255},   {0, 0, 255, 255},   {0, 0, 0, 255}};
    const int32_t barsEnd = h * 5 / 12, rampEnd = h / 2, hueEnd = h * 7 / 12;
    const Rgba background = {40, 44, 64, 255};

    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            Rgba c = background;
            if (y < barsEnd) {
                c = kBars[std::min<int64_t>(7, int64_t{x} * 8 / w)];
            } else if (y < rampEnd) {
                const auto v = static_cast<uint8_t>(w > 1 ? int64_t{x} * 255 / (w - 1) : 0);
                c = {v, v, v, 255};
            } else if (y < hueEnd) {
                c = Hue(static_cast<int>(int64_t{x} * 1535 / std::max(1, w - 1)));
            } else if (x < w / 8) {
                // Fine lines: one-pixel horizontal lines over one-pixel vertical lines.
                const bool on = y < (hueEnd + h) / 2 ? (y & 1) != 0 : (x & 1) != 0;
                c = on ? Rgba{230, 230, 230, 255} : Rgba{20, 20, 20, 255};
            } else if (x < w / 4) {
                // A diagonal edge, for edge-directed interpolation.
                c = (x - w / 8) * (h - hueEnd) > (y - hueEnd) * (w / 8) ? Rgba{250, 250, 250, 255} : background;
            }
            image.at(x, y) = c;
        }

    // The label reads left to right from the top-left corner, so every turn and mirror shows.
    const int scale = std::max(1, h / 120);
    const std::string label = "QV-IMAGEPROC";
    FillRect(image, 0, 0, (static_cast<int32_t>(label.size()) * 6 + 2) * scale, 10 * scale, {0, 0, 0, 255});
    DrawText(image, 2 * scale, 2 * scale, label, scale, {255, 255, 255, 255});
    FillRect(image, 0, 10 * scale, 3 * scale, 20 * scale, {255, 0, 0, 255});  // a red tick below the corner
}

void DrawPatternMotion(RgbaImage& image, int64_t frameIndex, bool interlaced) {
    const int32_t w = image.width, h = image.height;
    const int32_t hueEnd = h * 7 / 12;

    // The moving ball: it crosses the right three quarters of the lower band; with an interlaced
    // picture the odd lines show it half a frame later.
    const int32_t zoneTop = hueEnd, zoneH = h - hueEnd, zoneLeft = w / 4;
    const int32_t radius = std::max(1, std::min(zoneH / 3, (w - zoneLeft) / 6));
    const int32_t span = std::max(1, w - zoneLeft - 2 * radius);
    const int32_t step = std::max(1, w / 16);
    const int32_t cy = zoneTop + zoneH / 2;
    for (int32_t y = std::max(0, cy - radius); y <= std::min(h - 1, cy + radius); ++y) {
        const int64_t halfSteps = 2 * frameIndex * step + ((interlaced && (y & 1)) ? step : 0);
        const int64_t travel = (halfSteps / 2) % (2 * span);
        const int32_t offset = static_cast<int32_t>(travel < span ? travel : 2 * span - travel);  // back and forth
        const int32_t cx = zoneLeft + radius + offset;
        for (int32_t x = std::max(0, cx - radius); x <= std::min(w - 1, cx + radius); ++x) {
            const int32_t dx = x - cx, dy = y - cy;
            if (dx * dx + dy * dy <= radius * radius) image.at(x, y) = {255, 150, 20, 255};
        }
    }

    const int scale = std::max(1, h / 120);
    char counter[32];
    std::snprintf(counter, sizeof counter, "#%04lld", static_cast<long long>(frameIndex));
    const int32_t textW = 5 * 6 * scale;
    DrawText(image, w - textW - 2 * scale, h - 9 * scale, counter, scale, {255, 255, 255, 255});
}

void DrawPattern(RgbaImage& image, int32_t width, int32_t height, int64_t frameIndex, bool interlaced) {
    DrawPatternBackground(image, width, height);
    DrawPatternMotion(image, frameIndex, interlaced);
}

}  // namespace qvc
