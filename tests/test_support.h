// Helpers shared by the tests: planes with guard bytes, deterministic content, contexts, the
// rotation table for expected pictures, and frames run through the dispatcher.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "core/qv_routines.h"
#include "qv_imageproc.h"

namespace qvtest {

// A plane of `rows` rows of `stride` bytes with guard bytes before and after; guards are checked.
class GuardedPlane {
public:
    static constexpr size_t kGuard = 64;
    static constexpr uint8_t kGuardByte = 0xA5;

    GuardedPlane(int32_t stride, int32_t rows, uint8_t fill = 0)
        : stride_(stride), rows_(rows), bytes_(kGuard * 2 + size(), kGuardByte) {
        std::memset(data(), fill, size());
    }
    uint8_t* data() { return bytes_.data() + kGuard; }
    const uint8_t* data() const { return bytes_.data() + kGuard; }
    uint8_t* row(int32_t r) { return data() + static_cast<ptrdiff_t>(r) * stride_; }
    const uint8_t* row(int32_t r) const { return data() + static_cast<ptrdiff_t>(r) * stride_; }
    uint8_t& at(int32_t x, int32_t r) { return row(r)[x]; }
    int32_t stride() const { return stride_; }
    int32_t rows() const { return rows_; }
    size_t size() const {
        return stride_ > 0 && rows_ > 0 ? static_cast<size_t>(stride_) * static_cast<size_t>(rows_) : 0;
    }
    bool guardsIntact() const {
        for (size_t i = 0; i < kGuard; ++i)
            if (bytes_[i] != kGuardByte || bytes_[bytes_.size() - 1 - i] != kGuardByte) return false;
        return true;
    }
    std::vector<uint8_t> contents() const { return std::vector<uint8_t>(data(), data() + size()); }

private:
    int32_t stride_;
    int32_t rows_;
    std::vector<uint8_t> bytes_;
};

// Deterministic pseudo-random bytes.
inline void FillPattern(uint8_t* p, size_t n, uint32_t seed) {
    uint32_t s = seed * 2654435761u + 12345u;
    for (size_t i = 0; i < n; ++i) {
        s = s * 1664525u + 1013904223u;
        p[i] = static_cast<uint8_t>(s >> 24);
    }
}

inline QvCreateParams MakeParams(int32_t operation, int32_t sw, int32_t sh, int32_t dw, int32_t dh,
                                 uint32_t rotation = 0, uint32_t interpolation = 2, uint32_t alpha = 0xFF,
                                 uint32_t colourValue = 0) {
    QvCreateParams p{};
    p.structSize = sizeof p;
    p.operation = operation;
    p.rotation = rotation;
    p.interpolation = interpolation;
    p.srcWidth = sw;
    p.srcHeight = sh;
    p.dstWidth = dw;
    p.dstHeight = dh;
    p.alpha = alpha;
    p.colourValue = colourValue;
    return p;
}

// Owns a context made through the core.
struct Context {
    qv::QvImgPrcContext* ctx = nullptr;
    int32_t status = 0;
    explicit Context(const QvCreateParams& p) {
        void* slot = nullptr;
        status = qv::QV_ImgPrcInit(&slot, &p, {p.srcWidth, p.srcHeight}, {p.dstWidth, p.dstHeight});
        ctx = static_cast<qv::QvImgPrcContext*>(slot);
    }
    ~Context() {
        if (ctx != nullptr) qv::QV_ImgPrcUninit(ctx);
    }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
};

// Column and row at which sample (x, y) of a w x h picture lands under rotation `code` (0 none,
// 1 and 2 quarter turns, 3 half turn, 4 mirror, 5 flip). A quarter turn stores the picture h wide.
inline std::pair<int32_t, int32_t> RotatedPosition(uint32_t code, int32_t x, int32_t y, int32_t w, int32_t h) {
    switch (code) {
        case 0: return {x, y};
        case 1: return {y, w - 1 - x};
        case 2: return {h - 1 - y, x};
        case 3: return {w - 1 - x, h - 1 - y};
        case 4: return {w - 1 - x, y};
        default: return {x, h - 1 - y};
    }
}
inline bool QuarterTurn(uint32_t code) { return code == 1 || code == 2; }

// A w x h picture of `bytes`-byte little-endian values, unrotated.
struct Picture {
    int32_t w, h, bytes;
    std::vector<uint32_t> px;
    Picture(int32_t w_, int32_t h_, int32_t b = 1) : w(w_), h(h_), bytes(b), px(static_cast<size_t>(w_) * h_) {}
    // The top-left w x h samples of a byte plane.
    Picture(const GuardedPlane& g, int32_t w_, int32_t h_) : Picture(w_, h_) {
        for (int32_t y = 0; y < h; ++y) std::copy(g.row(y), g.row(y) + w, px.begin() + y * w);
    }
    uint32_t& at(int32_t x, int32_t y) { return px[static_cast<size_t>(y) * w + x]; }
};

// The destination's contents with the picture placed by rotation `code`, rows `rowBytes` apart
// (0: the stride). A packed half turn lies against the right end of each row, as measured by the
// stride; a planar one (one byte a sample) does not.
inline std::vector<uint8_t> Placed(const GuardedPlane& dst, const Picture& im, uint32_t code, int32_t rowBytes = 0) {
    rowBytes = rowBytes != 0 ? rowBytes : dst.stride();
    std::vector<uint8_t> out = dst.contents();
    for (int32_t y = 0; y < im.h; ++y)
        for (int32_t x = 0; x < im.w; ++x) {
            auto [c, r] = RotatedPosition(code, x, y, im.w, im.h);
            if (code == 3 && im.bytes > 1) c += dst.stride() / im.bytes - im.w;
            for (int32_t k = 0; k < im.bytes; ++k)
                out[static_cast<size_t>(r) * rowBytes + static_cast<size_t>(c) * im.bytes + k] =
                    static_cast<uint8_t>(im.px[static_cast<size_t>(y) * im.w + x] >> (8 * k));
        }
    return out;
}

// One side of a frame: a single guarded plane (packed formats) or three (planar YCbCr).
struct Planes {
    std::vector<GuardedPlane> p;
    Planes(int32_t stride, int32_t rows, uint8_t fill = 0) { p.emplace_back(stride, rows, fill); }
    // Luma cols x rows, chroma (cols / cdiv) x (rows / rdiv); each plane's rows carry a different
    // padding (`pad` more each), so that a mixed-up stride shows.
    static Planes YCbCr(int32_t cols, int32_t rows, int32_t cdiv, int32_t rdiv, uint8_t fill = 0, int32_t pad = 0) {
        Planes s(cols + 6 + pad, rows, fill);
        s.p.emplace_back(cols / cdiv + 3 + pad, rows / rdiv, fill);
        s.p.emplace_back(cols / cdiv + 5 + pad, rows / rdiv, fill);
        return s;
    }
    void fillRandom(uint32_t seed) {
        for (size_t i = 0; i < p.size(); ++i) FillPattern(p[i].data(), p[i].size(), seed + 17 * static_cast<uint32_t>(i));
    }
    bool guardsIntact() const {
        return std::all_of(p.begin(), p.end(), [](const GuardedPlane& g) { return g.guardsIntact(); });
    }
    // Plane pointers and strides as the routines take them.
    struct Arrays {
        const uint8_t* in[3];
        uint8_t* out[3];
        int32_t stride[3];
    };
    Arrays arrays() {
        Arrays a{};
        for (size_t i = 0; i < p.size(); ++i) a.in[i] = a.out[i] = p[i].data(), a.stride[i] = p[i].stride();
        return a;
    }
};

// Runs one frame through the context from `src` into `dst`.
inline int32_t RunFrame(const Context& c, Planes& src, Planes& dst) {
    const Planes::Arrays s = src.arrays(), d = dst.arrays();
    return qv::QV_ImgPrcOneFrame(c.ctx, s.in, s.stride, d.out, d.stride);
}

}  // namespace qvtest
