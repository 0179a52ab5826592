// Planar 4:2:0 to RGB555 with a mask bit and a colour key: a pixel whose own (Y, Cb, Cr) equals
// the key becomes the word 0; every other pixel carries bit 0 set.
#include <cstdint>

#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
namespace {

struct RGB555Sink {
    ConvTables tables;
    uint8_t* dst;
    int32_t pitch;
    uint32_t key;  // compared with all 32 bits: a key with a non-zero top byte never matches
    uint8_t* row0 = nullptr;
    uint8_t* row1 = nullptr;

    // The RGB565 arithmetic, with green shifted by 10 and clamped to 31, packed one bit higher.
    uint32_t Pixel(uint8_t y, uint32_t chromaKey, const ChromaTerms& t) const {
        if ((static_cast<uint32_t>(y) << 16 | chromaKey) == key) return 0;
        const int32_t luma = tables.y[y];
        const int32_t r = ClampTo((luma + t.red) >> 10, 31);
        const int32_t g = ClampTo((luma + t.green) >> 10, 31);
        const int32_t b = ClampTo((luma + t.blue) >> 10, 31);
        return static_cast<uint32_t>(r << 11 | g << 6 | b << 1 | 1);
    }
    void BeginRowPair(int32_t k) {
        row0 = Row(dst, 2 * k, pitch);
        row1 = Row(dst, 2 * k + 1, pitch);
    }
    void Put(int32_t j, const Block& b) {
        const ChromaTerms t = tables.Chroma(b.cb, b.cr);
        const uint32_t chromaKey = static_cast<uint32_t>(b.cb) << 8 | b.cr;
        Store16(row0 + 4 * j, Pixel(b.y00, chromaKey, t));
        Store16(row0 + 4 * j + 2, Pixel(b.y01, chromaKey, t));
        Store16(row1 + 4 * j, Pixel(b.y10, chromaKey, t));
        Store16(row1 + 4 * j + 2, Pixel(b.y11, chromaKey, t));
    }
};

}  // namespace

int32_t _QVYCbCr420ToRGB555(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                            uint8_t* d0, int32_t s0, uint32_t colourKey) {
    RGB555Sink sink{TablesOf(ctx), d0, s0, colourKey};
    WalkBlocks<false>(sp, ss, W, H, sink);
    return kOk;
}

}  // namespace qv
