// The integer YCbCr-to-RGB arithmetic shared by every RGB converter, the bilinear luma taps of
// the scalers, unaligned loads and stores, and the two 2x2-block walkers (same size and scaled)
// under which the converter families differ only in how they pack and where they store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/qv_context.h"

namespace qv {

// ---- unaligned access: caller planes carry no alignment promise ----------------------------
inline uint16_t Load16(const uint8_t* p) {
    uint16_t v;
    std::memcpy(&v, p, 2);
    return v;
}
inline uint32_t Load32(const uint8_t* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
inline void Store16(uint8_t* p, uint32_t v) {
    const uint16_t w = static_cast<uint16_t>(v);
    std::memcpy(p, &w, 2);
}
inline void Store32(uint8_t* p, uint32_t v) { std::memcpy(p, &v, 4); }

// Row k of a plane: pointer arithmetic in pointer width, so large strides never wrap.
template <typename T>
inline T* Row(T* base, int32_t k, int32_t stride) {
    return base + static_cast<ptrdiff_t>(k) * stride;
}

// ---- colour arithmetic --------------------------------------------------------------------
// Chroma contributions of one 2x2 block, in 1/128 units of an 8-bit level, like yTable.
struct ChromaTerms {
    int32_t red;
    int32_t green;
    int32_t blue;
};

// The whole table entry is shifted, so a negative green half leaks one unit into red and blue.
inline ChromaTerms ChromaTermsOf(int32_t cbEntry, int32_t crEntry) {
    const uint32_t sum = static_cast<uint32_t>(cbEntry) + static_cast<uint32_t>(crEntry);
    return {crEntry >> 15, static_cast<int32_t>(sum << 16) >> 15, cbEntry >> 15};
}
inline ChromaTerms ChromaTermsOf(const QvImgPrcContext* ctx, uint8_t cb, uint8_t cr) {
    return ChromaTermsOf(ctx->cbTable[cb], ctx->crTable[cr]);
}

// The conversion tables as lines: every table built from brightness, contrast and saturation is
// a clamped floor of a line in the sample value (the two halves of a chroma entry a line on each
// side of 128), so vector kernels compute entries in their lanes instead of looking them up.
// Fitted and verified over all 256 entries whenever the tables are built; where a table does not
// fit, `ok` is 0 and the kernels look the entries up.
struct AffinePiece {
    int32_t a, b, shift;  // (a x s + b) >> shift, without overflow for every s of the piece
};
struct ConvFit {
    int32_t ok;
    AffinePiece luma;  // yTable[s] - 32768, clamped to -32768..32767
    // Cb high, Cb low, Cr high, Cr low halves, each clamped to -32768..32767; [0] for s below
    // split[t], [1] from it on. A line through 128 takes 128 on the side where its entry (0)
    // continues the rounding: 128 for a rising half, 129 for a falling one.
    AffinePiece chroma[4][2];
    int32_t split[4];
    // Both pieces of every half share their slope, and no entry sits at a 16-bit limit (so no
    // line value needs the clamp): the kernels then skip both.
    int32_t plain;
};
// yTable (256 x 16 bits), cbTable and crTable (256 x 32 bits each) back to back.
constexpr int32_t kCbTableOffset = 256 * 2;
constexpr int32_t kCrTableOffset = kCbTableOffset + 256 * 4;
constexpr int32_t kConvTableBytes = kCrTableOffset + 256 * 4;
// Fits the three tables; returns fit->ok.
bool FitConversionTables(const uint16_t* yTable, const int32_t* cbTable, const int32_t* crTable, ConvFit* fit);

// The terms the vector kernels add per pixel, as 16-bit tables split into a table of low bytes
// and one of high bytes, for byte-permute look-ups: y - 32768; the Cr and Cb high halves (the
// red and blue terms are twice the high half plus one for a negative low half); the Cb and Cr
// low halves, whose 16-bit sum is half the green term. Each of the five is 256 low bytes, then
// 256 high bytes. A byte of TermFit flags follows: the terms that fit a signed 16-bit lane
// whole, for every sample (for green, every pair of samples, the low halves' sum not wrapping).
// Where red and green fit, three more tables hold terms ready to add (kWholeTerms): the red term
// whole, and the Cb and Cr low halves doubled (their sum is the green term; the sign of the Cb one
// is the sign of the Cb low half, which the blue term's second half needs).
enum TermTable : int32_t {
    kTermLuma, kTermRedA, kTermBlueA, kTermCbLow, kTermCrLow, kTermRedWhole, kTermCbLow2, kTermCrLow2, kTermTables
};
enum TermFit : uint8_t { kRedFits = 1, kGreenFits = 2, kBlueFits = 4, kWholeTerms = 8 };
constexpr int32_t kTermFitsOffset = kTermTables * 512;
constexpr int32_t kTermTableBytes = kTermFitsOffset + 64;
void SplitConversionTables(const uint16_t* yTable, const int32_t* cbTable, const int32_t* crTable, uint8_t* terms);

// The conversion tables taken out of the context once per frame. Held in a loop's own
// variables they stay in registers; read through the context they would be reloaded after
// every store into a destination byte (which may alias anything).
struct ConvTables {
    const uint16_t* y;
    const int32_t* cb;
    const int32_t* cr;
    const ConvFit* fit = nullptr;     // null: look the entries up
    const uint8_t* terms = nullptr;   // the split term tables, or null
    ChromaTerms Chroma(uint8_t cbSample, uint8_t crSample) const { return ChromaTermsOf(cb[cbSample], cr[crSample]); }
};
// The fit and the split term tables live in the context's table block, after the tables.
constexpr size_t kConvTableBlockBytes = kConvTableBytes + sizeof(ConvFit) + 64 + kTermTableBytes + 4;
inline ConvFit* FitOf(const QvImgPrcContext* ctx) {
    if (ctx->convTableBlock == nullptr) return nullptr;
    return reinterpret_cast<ConvFit*>(AlignUp(ctx->convTableBlock, 4) + kConvTableBytes);
}
inline uint8_t* TermTablesOf(const QvImgPrcContext* ctx) {
    if (ctx->convTableBlock == nullptr) return nullptr;
    return AlignUp(reinterpret_cast<uint8_t*>(FitOf(ctx) + 1), 64);
}
inline ConvTables TablesOf(const QvImgPrcContext* ctx) {
    return {ctx->yTable, ctx->cbTable, ctx->crTable, FitOf(ctx), TermTablesOf(ctx)};
}

// Clamped to 0..max. The lower bound is tested first: the sign comes with the shift that
// produced v, so no separate test is needed (the result is the same in either order).
inline int32_t ClampTo(int32_t v, int32_t max) {
    v = v < 0 ? 0 : v;
    return v > max ? max : v;
}
constexpr uint8_t ClampByte(int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

inline uint32_t PixelRGB565(int32_t y, const ChromaTerms& t) {
    const int32_t r = ClampTo((y + t.red) >> 10, 31);
    const int32_t g = ClampTo((y + t.green) >> 9, 63);
    const int32_t b = ClampTo((y + t.blue) >> 10, 31);
    return static_cast<uint32_t>(r << 11 | g << 5 | b);
}

// Interpolation word: blue bits 0-4, green 10-15, red (6 bits) 21-26, zero guard bits between.
constexpr uint32_t kInterpMask = 0x07E0FC1F;
inline uint32_t InterpWord(int32_t y, const ChromaTerms& t) {
    const int32_t r = ClampTo((y + t.red) >> 9, 63);
    const int32_t g = ClampTo((y + t.green) >> 9, 63);
    const int32_t b = ClampTo((y + t.blue) >> 10, 31);
    return static_cast<uint32_t>(r << 21 | g << 10 | b);
}
// Packs a blend whose weights sum to 2^k; k = 0 drops the lowest red bit of a plain word.
inline uint32_t PackInterpRGB565(uint32_t sum, int k) {
    return ((sum >> (11 + k)) & 0xF800) | ((sum >> (5 + k)) & 0x07E0) | ((sum >> k) & 0x1F);
}

// Full 8-bit channels (ARGB32, RGB888).
struct RGB8 {
    uint32_t r, g, b;
};
inline RGB8 PixelRGB8(int32_t y, const ChromaTerms& t) {
    return {static_cast<uint32_t>(ClampTo((y + t.red) >> 7, 255)),
            static_cast<uint32_t>(ClampTo((y + t.green) >> 7, 255)),
            static_cast<uint32_t>(ClampTo((y + t.blue) >> 7, 255))};
}
inline uint32_t PixelARGB32(int32_t y, const ChromaTerms& t, uint8_t alpha) {
    const RGB8 c = PixelRGB8(y, t);
    return static_cast<uint32_t>(alpha) << 24 | c.r << 16 | c.g << 8 | c.b;
}
inline void StoreRGB888(uint8_t* p, const RGB8& c) {
    p[0] = static_cast<uint8_t>(c.b);
    p[1] = static_cast<uint8_t>(c.g);
    p[2] = static_cast<uint8_t>(c.r);
}

// ---- bilinear luma taps of the scalers (5-bit weights, truncating) --------------------------
// Vertical tap: one extra bit of fraction.
inline int32_t VerticalTap(int32_t above, int32_t below, int32_t fy) {
    return (32 * above + (below - above) * fy) >> 4;
}
// Horizontal tap over two vertical taps; the low 8 bits are the sample.
inline uint8_t HorizontalTap(int32_t left, int32_t right, int32_t fx) {
    return static_cast<uint8_t>(((right - left) * fx + 32 * left) >> 6);
}

// 16.16 step from the first to the last sample: ((src - 1) << 16) / (dst - 1).
// Sizes reaching a scaler are multiples of 4, so dst - 1 is never 0.
inline int32_t ScaleStep(int32_t src, int32_t dst) {
    return static_cast<int32_t>(static_cast<uint32_t>(src - 1) << 16) / (dst - 1);
}
// Position n * step in 16.16, accumulated modulo 2^32 as a running sum would be.
inline int32_t ScalePosition(int32_t n, int32_t step) {
    return static_cast<int32_t>(static_cast<uint32_t>(n) * static_cast<uint32_t>(step));
}
inline int32_t PosIndex(int32_t pos) { return pos >> 16; }
inline int32_t PosWeight(int32_t pos) { return (pos >> 11) & 31; }

// ---- 2x2 block walkers --------------------------------------------------------------------
// The four luma samples of a destination 2x2 block and the chroma pair they share.
struct Block {
    uint8_t y00, y01;  // upper row, columns c and c + 1
    uint8_t y10, y11;  // lower row
    uint8_t cb, cr;
};

// Same-size walk over a 4:2:0 picture in 2x2 blocks, rows outer. `kCrStepsByCbStride`: the Cr
// row advances by the Cb stride, as the routines with one chroma stride were always called with
// equal chroma strides. Sink: BeginRowPair(k), Put(j, block) for row pair k, column pair j.
// Both walkers take the sink by value, so that its fields live in registers for the walk.
template <bool kCrStepsByCbStride, class Sink>
inline void WalkBlocks(const uint8_t* const sp[3], const int32_t ss[3], int32_t W, int32_t H,
                       Sink sink) {
    const uint8_t* y0 = sp[0];
    const uint8_t* cb = sp[1];
    const uint8_t* cr = sp[2];
    const int32_t crStride = kCrStepsByCbStride ? ss[1] : ss[2];
    for (int32_t y = 0, k = 0; y < H; y += 2, ++k) {
        const uint8_t* y1 = y0 + ss[0];
        sink.BeginRowPair(k);
        for (int32_t x = 0, j = 0; x < W; x += 2, ++j) {
            sink.Put(j, Block{y0[x], y0[x + 1], y1[x], y1[x + 1], cb[j], cr[j]});
        }
        y0 += 2 * static_cast<ptrdiff_t>(ss[0]);
        cb += ss[1];
        cr += crStride;
    }
}

// Scaled walk: destination rows and columns in pairs; bilinear luma from two source rows (the
// lower one clamped to the last row, where its weight is always 0) and two columns (the right
// one clamped to W - 1); chroma by nearest choice at row (y0 + y1 + 1) >> 2 and column
// (x0 + x1 + 1) >> 2 of the pair, each chroma plane read with its own stride.
struct ScaledRowPair {
    const uint8_t *a0, *a1, *b0, *b1;  // luma rows around destination rows 2k and 2k + 1
    const uint8_t *cb, *cr;
    int32_t fyA, fyB;
};
inline ScaledRowPair ScaledRowPairAt(const uint8_t* const sp[3], const int32_t ss[3], int32_t H, int32_t ystep,
                                     int32_t k) {
    const int32_t ya = ScalePosition(2 * k, ystep);
    const int32_t yb = ya + ystep;
    const int32_t rowA = PosIndex(ya), rowB = PosIndex(yb);
    const int32_t chromaRow = (rowA + rowB + 1) >> 2;
    return {Row(sp[0], rowA, ss[0]), Row(sp[0], rowA + 1 < H ? rowA + 1 : H - 1, ss[0]), Row(sp[0], rowB, ss[0]),
            Row(sp[0], rowB + 1 < H ? rowB + 1 : H - 1, ss[0]), Row(sp[1], chromaRow, ss[1]),
            Row(sp[2], chromaRow, ss[2]), PosWeight(ya), PosWeight(yb)};
}
// The block of destination column pair j.
inline Block ScaledBlockAt(const ScaledRowPair& r, int32_t W, int32_t xstep, int32_t j) {
    const int32_t xa = ScalePosition(2 * j, xstep);
    const int32_t xb = xa + xstep;
    const int32_t x0 = PosIndex(xa), x1 = PosIndex(xb);
    const int32_t x0n = x0 + 1 < W ? x0 + 1 : W - 1;
    const int32_t x1n = x1 + 1 < W ? x1 + 1 : W - 1;
    const int32_t fx0 = PosWeight(xa), fx1 = PosWeight(xb);
    const int32_t chromaCol = (x0 + x1 + 1) >> 2;
    const auto tap = [&](const uint8_t* upper, const uint8_t* lower, int32_t fy, int32_t x, int32_t xn, int32_t fx) {
        return HorizontalTap(VerticalTap(upper[x], lower[x], fy), VerticalTap(upper[xn], lower[xn], fy), fx);
    };
    return {tap(r.a0, r.a1, r.fyA, x0, x0n, fx0), tap(r.a0, r.a1, r.fyA, x1, x1n, fx1),
            tap(r.b0, r.b1, r.fyB, x0, x0n, fx0), tap(r.b0, r.b1, r.fyB, x1, x1n, fx1),
            r.cb[chromaCol], r.cr[chromaCol]};
}

template <class Sink>
inline void WalkScaledBlocks(const uint8_t* const sp[3], const int32_t ss[3], int32_t W, int32_t H,
                             int32_t DW, int32_t DH, Sink sink) {
    if (DH < 1 || DW < 1 || W < 1 || H < 1) return;
    const int32_t xstep = ScaleStep(W, DW);
    const int32_t ystep = ScaleStep(H, DH);
    for (int32_t r = 0, k = 0; r < DH; r += 2, ++k) {
        const ScaledRowPair rows = ScaledRowPairAt(sp, ss, H, ystep, k);
        sink.BeginRowPair(k);
        for (int32_t c = 0, j = 0; c < DW; c += 2, ++j) sink.Put(j, ScaledBlockAt(rows, W, xstep, j));
    }
}

}  // namespace qv
