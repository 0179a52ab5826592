#include "colour.h"

#include <algorithm>

#include "qv_imageproc.h"

namespace qvc {
namespace {

uint8_t Clamp(int v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

uint16_t Load16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
void Store16(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}

// Widens an n-bit field to 8 bits by repeating its top bits.
uint8_t Widen(unsigned v, int bits) { return static_cast<uint8_t>((v << (8 - bits)) | (v >> (2 * bits - 8))); }

void EncodeRgbPixel(const FormatInfo& f, Rgba c, uint8_t* p) {
    switch (f.code) {
        case QV_FORMAT_RGB565: Store16(p, static_cast<uint16_t>((c.r >> 3) << 11 | (c.g >> 2) << 5 | c.b >> 3)); break;
        case QV_FORMAT_RGB555:
            Store16(p, static_cast<uint16_t>((c.r >> 3) << 11 | (c.g >> 3) << 6 | (c.b >> 3) << 1 | 1));
            break;
        case QV_FORMAT_RGB888: p[0] = c.b; p[1] = c.g; p[2] = c.r; break;
        case QV_FORMAT_ARGB32: p[0] = c.b; p[1] = c.g; p[2] = c.r; p[3] = c.a; break;
        case QV_FORMAT_ABGR32: p[0] = c.r; p[1] = c.g; p[2] = c.b; p[3] = c.a; break;
        default: break;
    }
}

Rgba DecodeRgbPixel(const FormatInfo& f, const uint8_t* p) {
    switch (f.code) {
        case QV_FORMAT_RGB565: {
            const uint16_t v = Load16(p);
            return {Widen(v >> 11, 5), Widen((v >> 5) & 63, 6), Widen(v & 31, 5), 255};
        }
        case QV_FORMAT_RGB555: {
            const uint16_t v = Load16(p);
            return {Widen(v >> 11, 5), Widen((v >> 6) & 31, 5), Widen((v >> 1) & 31, 5),
                    static_cast<uint8_t>((v & 1) ? 255 : 0)};
        }
        case QV_FORMAT_RGB888: return {p[2], p[1], p[0], 255};
        case QV_FORMAT_ARGB32: return {p[2], p[1], p[0], p[3]};
        case QV_FORMAT_ABGR32: return {p[0], p[1], p[2], p[3]};
        default: return {};
    }
}

// Chroma of the block of pixels that share one chroma sample: (x0, y0), 1 << sx by 1 << sy.
Yuv BlockChroma(const RgbaImage& image, int32_t x0, int32_t y0, int sx, int sy) {
    int cb = 0, cr = 0, n = 0;
    for (int32_t y = y0; y < y0 + (1 << sy) && y < image.height; ++y)
        for (int32_t x = x0; x < x0 + (1 << sx) && x < image.width; ++x) {
            const Yuv v = YuvFromRgb(image.at(x, y));
            cb += v.cb;
            cr += v.cr;
            ++n;
        }
    Yuv out;
    if (n > 0) {
        out.cb = static_cast<uint8_t>((cb + n / 2) / n);
        out.cr = static_cast<uint8_t>((cr + n / 2) / n);
    }
    return out;
}

}  // namespace

Yuv YuvFromRgb(Rgba c) {
    const int r = c.r, g = c.g, b = c.b;
    return {Clamp(((66 * r + 129 * g + 25 * b + 128) >> 8) + 16),
            Clamp(((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128),
            Clamp(((112 * r - 94 * g - 18 * b + 128) >> 8) + 128)};
}

Rgba RgbFromYuv(int y, int cb, int cr) {
    const int c = 298 * (y - 16), d = cb - 128, e = cr - 128;
    return {Clamp((c + 409 * e + 128) >> 8), Clamp((c - 100 * d - 208 * e + 128) >> 8), Clamp((c + 516 * d + 128) >> 8),
            255};
}

bool ShowsAlpha(const FormatInfo& f) {
    return f.code == QV_FORMAT_ARGB32 || f.code == QV_FORMAT_ABGR32 || f.code == QV_FORMAT_RGB555;
}

void EncodeImage(const RgbaImage& image, Frame& frame, bool interlaced) {
    const FormatInfo& f = *frame.format;
    const int32_t w = frame.width, h = frame.height;
    switch (f.family) {
        case Family::kRgb:
            for (int32_t y = 0; y < h; ++y) {
                uint8_t* row = frame.row(0, y);
                for (int32_t x = 0; x < w; ++x) EncodeRgbPixel(f, image.at(x, y), row + x * f.bytesPerPixel);
            }
            break;
        case Family::kPlanarYuv:
        case Family::kSemiPlanarYuv: {
            // One conversion a pixel: luma is stored, chroma summed per shared sample and averaged.
            const PlaneShape chroma = frame.shape(1);  // odd sizes round chroma up
            const int32_t cw = f.family == Family::kSemiPlanarYuv ? chroma.rowBytes / 2 : chroma.rowBytes;
            const int32_t ch = chroma.rows;
            std::vector<int> cbSum(static_cast<size_t>(cw) * ch), crSum(cbSum.size()), count(cbSum.size());
            const int sx = f.chromaShiftX;
            for (int32_t y = 0; y < h; ++y) {
                // Pointers are taken out of the loop: byte stores could otherwise alias the frame.
                uint8_t* luma = frame.row(0, y);
                const Rgba* pixels = &image.at(0, y);
                const bool byField = interlaced && f.chromaShiftY == 1;
                const int32_t cy = byField ? std::min(((y >> 2) << 1) | (y & 1), ch - 1) : y >> f.chromaShiftY;
                int* cbRow = &cbSum[static_cast<size_t>(cy) * cw];
                int* crRow = &crSum[static_cast<size_t>(cy) * cw];
                int* countRow = &count[static_cast<size_t>(cy) * cw];
                for (int32_t x = 0; x < w; ++x) {
                    const Yuv v = YuvFromRgb(pixels[x]);
                    luma[x] = v.y;
                    const int32_t cx = x >> sx;
                    cbRow[cx] += v.cb;
                    crRow[cx] += v.cr;
                    ++countRow[cx];
                }
            }
            for (int32_t cy = 0; cy < ch; ++cy)
                for (int32_t cx = 0; cx < cw; ++cx) {
                    const size_t i = static_cast<size_t>(cy) * cw + cx;
                    const int n = count[i];
                    const auto cb = static_cast<uint8_t>((cbSum[i] + n / 2) / n);
                    const auto cr = static_cast<uint8_t>((crSum[i] + n / 2) / n);
                    if (f.family == Family::kSemiPlanarYuv) {
                        frame.row(1, cy)[2 * cx] = cb;
                        frame.row(1, cy)[2 * cx + 1] = cr;
                    } else {
                        frame.row(1, cy)[cx] = cb;
                        frame.row(2, cy)[cx] = cr;
                    }
                }
            break;
        }
        case Family::kPackedYuv: {
            // Byte offsets of Y0, Cb, Y1, Cr within a pixel pair.
            const bool yuy2 = f.code == QV_FORMAT_YUY2;
            const int oy0 = yuy2 ? 0 : 1, ocb = yuy2 ? 1 : 0, oy1 = yuy2 ? 2 : 3, ocr = yuy2 ? 3 : 2;
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x + 1 < w; x += 2) {
                    uint8_t* p = frame.row(0, y) + 2 * x;
                    const Yuv c = BlockChroma(image, x, y, 1, 0);
                    p[oy0] = YuvFromRgb(image.at(x, y)).y;
                    p[oy1] = YuvFromRgb(image.at(x + 1, y)).y;
                    p[ocb] = c.cb;
                    p[ocr] = c.cr;
                }
            break;
        }
    }
}

void DecodeFrame(const Frame& frame, RgbaImage& image) {
    const FormatInfo& f = *frame.format;
    const int32_t w = frame.width, h = frame.height;
    image.resize(w, h);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            switch (f.family) {
                case Family::kRgb: image.at(x, y) = DecodeRgbPixel(f, frame.row(0, y) + x * f.bytesPerPixel); break;
                case Family::kPlanarYuv: {
                    const int32_t cx = x >> f.chromaShiftX, cy = y >> f.chromaShiftY;
                    image.at(x, y) = RgbFromYuv(frame.row(0, y)[x], frame.row(1, cy)[cx], frame.row(2, cy)[cx]);
                    break;
                }
                case Family::kSemiPlanarYuv: {
                    const uint8_t* c = frame.row(1, y >> 1) + 2 * (x >> 1);
                    image.at(x, y) = RgbFromYuv(frame.row(0, y)[x], c[0], c[1]);
                    break;
                }
                case Family::kPackedYuv: {
                    const uint8_t* pair = frame.row(0, y) + 4 * (x >> 1);
                    const bool yuy2 = f.code == QV_FORMAT_YUY2;
                    const int luma = yuy2 ? pair[(x & 1) * 2] : pair[1 + (x & 1) * 2];
                    image.at(x, y) = yuy2 ? RgbFromYuv(luma, pair[1], pair[3]) : RgbFromYuv(luma, pair[0], pair[2]);
                    break;
                }
            }
        }
}

}  // namespace qvc
