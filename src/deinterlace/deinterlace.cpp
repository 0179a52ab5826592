// The deinterlacer. QV_DeInterlace runs one mode from the caller's planar YCbCr planes into the
// context's work planes, which the converters then read in their place.
#include "deinterlace/deinterlace.h"

#include <algorithm>
#include <cstring>

#include "core/kernel_table.h"
#include "core/pixel.h"
#include "core/qv_routines.h"
#include "deinterlace/deinterlace_rows.h"

namespace qv {

namespace {

// Line k of a plane addressed by its pitch.
template <typename T>
inline T* Line(T* base, int32_t k, uint32_t pitch) {
    return Row(base, k, static_cast<int32_t>(pitch));
}

inline uint32_t UsedPlanes(const DeintPicture* p) { return std::min<uint32_t>(p->planeCount, 4); }

// The bytes between one line and the next whichever way the plane runs: a bottom-up plane (a
// negative pitch, stored in two's complement) has its lines before the plane pointer, line 0 last.
inline uint32_t PitchBytes(uint32_t pitch) { return static_cast<int32_t>(pitch) < 0 ? 0u - pitch : pitch; }

// Lines of plane i: 4:2:0 chroma has half the luma lines, every other plane has `height`.
inline int32_t PlaneLines(uint32_t fmt, uint32_t plane, uint32_t height) {
    return static_cast<int32_t>(fmt == kYCbCr420 && plane != 0 ? height >> 1 : height);
}

// ---- simple modes -----------------------------------------------------------------------------

// One plane of a simple mode, lines by index. A copy or average moves min(source pitch, output
// pitch) bytes, each pitch taken by its size: compared as unsigned, a bottom-up pitch would always
// lose and every line would move the whole output pitch, reading past the end of the plane from
// line 0. Output lines past the plane are never written; source indices past it read the last
// line (4:2:2 chroma steps two source lines per output line and runs off the plane). Written into
// a caller's frame, every line moves the picture's row bytes instead (`rowBytes`, no more than
// either pitch): the same bytes of each row, and no byte past the row.
struct LineMover {
    const uint8_t* src;
    uint32_t srcPitch;
    uint8_t* dst;
    uint32_t dstPitch;
    int32_t lines;
    uint32_t bytes;
    uint32_t outputBytes;  // the output-to-output copy of mean: the whole output pitch, or the row

    const uint8_t* Src(int32_t k) const { return Line(src, std::min(k, lines - 1), srcPitch); }
    uint8_t* Dst(int32_t k) const { return Line(dst, k, dstPitch); }
    void Copy(int32_t out, int32_t from) const {
        if (out < lines) std::memcpy(Dst(out), Src(from), bytes);
    }
    void Average(int32_t out, int32_t a, int32_t b) const {
        if (out < lines) Merge(Dst(out), Src(a), Src(b), bytes);
    }
    // Output line `from` copied to output line `out` over the whole output pitch.
    void CopyOutput(int32_t out, int32_t from) const {
        if (out < lines) std::memcpy(Dst(out), Dst(from), outputBytes);
    }
};

// Runs body(lines, chroma422) on each plane a simple mode writes: 4:4:4 sources only when
// `with444` (linear), planes with a source and an output only. `rowBytes` (null for the work
// planes) gives the bytes of each plane's rows in a caller's frame.
template <class Body>
int32_t ForEachSimplePlane(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t height,
                           bool with444, const uint32_t* rowBytes, Body body) {
    if (out == nullptr || in == nullptr) return kInvalidArg;
    if (fmt > kYCbCr444 || (fmt == kYCbCr444 && !with444)) return kOk;
    for (uint32_t i = 0; i < UsedPlanes(in); ++i) {
        if (in->pixels[i] == nullptr || out->pixels[i] == nullptr) continue;
        const uint32_t bytes = std::min(PitchBytes(in->pitch[i]), PitchBytes(out->pitch[i]));
        const LineMover m{in->pixels[i],
                          in->pitch[i],
                          out->pixels[i],
                          out->pitch[i],
                          PlaneLines(fmt, i, height),
                          rowBytes != nullptr ? std::min(bytes, rowBytes[i]) : bytes,
                          rowBytes != nullptr ? std::min(bytes, rowBytes[i]) : PitchBytes(out->pitch[i])};
        if (m.lines > 0) body(m, fmt == kYCbCr422 && i != 0);
    }
    return kOk;
}

// One field kept: put(k, s) writes output line k (and the lines up to the next field line) from
// source field line s, the output stepping outStep lines and the source two. The last field line
// is copied after the loop; with field 0 the line below it comes from the other field.
template <class Put>
void KeepField(const LineMover& m, uint32_t field, int32_t outStep, Put put) {
    int32_t k = 0, s = 0;
    if (field == 1) {
        m.Copy(0, 0);
        k = s = 1;
    }
    for (; k < m.lines - 2; k += outStep, s += 2) put(k, s);
    m.Copy(k, s);
    if (field == 0) m.Copy(k + 1, s + 1);
}

// Output lines 2k and 2k+1 are source line field + 2k. 4:2:2 chroma writes output line k from
// source line field + 2k, reading twice the lines the plane holds (clamped to its last line).
int32_t Discard(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t height, uint32_t field,
                const uint32_t* rowBytes) {
    return ForEachSimplePlane(out, in, fmt, height, false, rowBytes, [field](const LineMover& m, bool chroma422) {
        const int32_t outStep = chroma422 ? 1 : 2;
        for (int32_t k = 0, s = static_cast<int32_t>(field); k < m.lines; k += outStep, s += 2)
            for (int32_t n = 0; n < outStep; ++n) m.Copy(k + n, s);
    });
}

// Discard with the edge lines of the other field: field 0 gives source lines 0,0,2,2,4,4,6,7 for
// eight lines, field 1 gives 0,1,1,3,3,5,5,7. 4:2:2 chroma steps as in discard.
int32_t Bob(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t height, uint32_t field,
            const uint32_t* rowBytes) {
    return ForEachSimplePlane(out, in, fmt, height, false, rowBytes, [field](const LineMover& m, bool chroma422) {
        const int32_t outStep = chroma422 ? 1 : 2;
        KeepField(m, field, outStep, [&](int32_t k, int32_t s) {
            for (int32_t n = 0; n < outStep; ++n) m.Copy(k + n, s);
        });
    });
}

// Every line averaged with the one above; 4:2:2 chroma line k averages source lines 2k-2, 2k-1.
int32_t Blend(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t height, const uint32_t* rowBytes) {
    return ForEachSimplePlane(out, in, fmt, height, false, rowBytes, [](const LineMover& m, bool chroma422) {
        const int32_t srcStep = chroma422 ? 2 : 1;
        m.Copy(0, 0);
        for (int32_t k = 1; k < m.lines; ++k) m.Average(k, srcStep * (k - 1), srcStep * (k - 1) + 1);
    });
}

// Each line pair replaced by its average; the second line is a copy of the first over the whole
// output pitch.
int32_t Mean(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t height, const uint32_t* rowBytes) {
    return ForEachSimplePlane(out, in, fmt, height, false, rowBytes, [](const LineMover& m, bool) {
        for (int32_t k = 0; k < m.lines; k += 2) {
            m.Average(k, k, k + 1);
            m.CopyOutput(k + 1, k);
        }
    });
}

// One field kept, the lines between averaged from the field lines above and below. A 4:4:4 source
// has `height` lines in every plane.
int32_t Linear(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t height, uint32_t field,
               const uint32_t* rowBytes) {
    return ForEachSimplePlane(out, in, fmt, height, true, rowBytes, [field](const LineMover& m, bool) {
        KeepField(m, field, 2, [&](int32_t k, int32_t s) {
            m.Copy(k, s);
            m.Average(k + 1, s, s + 2);
        });
    });
}

// ---- five-tap line filter -----------------------------------------------------------------------

constexpr int32_t kCropOffset = 1024;

constexpr std::array<uint8_t, 2304> MakeCropTable() {
    std::array<uint8_t, 2304> t{};
    for (int32_t i = 0; i < 2304; ++i) t[static_cast<size_t>(i)] = ClampByte(i - kCropOffset);
    return t;
}

// Even lines by memcpy: in a frame that is faster than one kernel writing both lines of a pair.
void FilterPlane(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch,
                 uint32_t size, int32_t lines) {
    if (lines < 2) return;
    const auto s = [&](int32_t k) { return Line(src, k, srcPitch); };
    const auto d = [&](int32_t k) { return Line(dst, k, dstPitch); };
    if (lines == 2) {  // a 2-line plane has only the edge step
        std::memcpy(d(0), s(0), size);
        deinterlace_line(d(1), s(0), s(0), s(1), s(1), s(1), size);
        return;
    }
    for (int32_t k = 0; k <= lines - 4; k += 2) {
        std::memcpy(d(k), s(k), size);
        deinterlace_line(d(k + 1), s(k == 0 ? 0 : k - 1), s(k), s(k + 1), s(k + 2), s(k + 3), size);
    }
    const int32_t last = lines - 1;
    std::memcpy(d(last - 1), s(last - 1), size);
    deinterlace_line(d(last), s(last - 2), s(last - 1), s(last), s(last), s(last), size);
}

// The scratch line carries the unfiltered odd line from one call to the next.
void FilterPlaneInPlace(uint8_t* plane, uint32_t pitch, uint32_t size, int32_t lines,
                        uint8_t* scratch) {
    if (lines < 2) return;
    const auto l = [&](int32_t k) { return Line(plane, k, pitch); };
    std::memcpy(scratch, l(0), size);
    for (int32_t k = 0; k <= lines - 4; k += 2)
        deinterlace_line_inplace(scratch, l(k), l(k + 1), l(k + 2), l(k + 3), size);
    const int32_t last = lines - 1;
    deinterlace_line_inplace(scratch, l(last - 1), l(last), l(last), l(last), size);
}

// ---- motion-adaptive block mode -----------------------------------------------------------------

constexpr int32_t kBlock = deint::kBlock;

// Line k of a plane, as the block routines address lines.
template <typename T>
inline auto Lines(T* base, uint32_t pitch) {
    return [base, pitch](int32_t k) { return Line(base, k, pitch); };
}

// One plane of the block mode: `width` bytes of `lines` lines. Whole blocks go through the
// kernel table's row kernels, a block row at a time; the right strip through XDeintNxN.
void XDeintPlane(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch,
                 int32_t width, int32_t lines) {
    if (width <= 0 || lines <= 0) return;
    const KernelTable& kernels = Kernels();
    const int32_t columns = width / kBlock;
    const int32_t blockBytes = kBlock * columns;
    const int32_t rightWidth = width - blockBytes;
    // Block rows handled by the 8x8 routines need lines 8r + 8 and 8r + 9 below them; with an even
    // line count these are all rows but the last.
    const int32_t fullRows = lines >= kBlock + 2 ? (lines - 2) / kBlock : 0;
    // The strip detector is handed the strip's width as its line count and its height as its
    // pixel count, so it looks at lines up to six below the strip's first line and at up to eight
    // pixels from its first column: for a short bottom row or a narrow right strip that is past
    // the plane's last line or processed width, which callers keep readable.
    const auto strip = [&](int32_t row0, int32_t col0, int32_t w, int32_t h) {
        XDeintNxN(Line(dst, row0, dstPitch) + col0, dstPitch, Line(src, row0, srcPitch) + col0, srcPitch,
                  static_cast<uint32_t>(w), static_cast<uint32_t>(h));
    };
    for (int32_t r = 0; r < fullRows; ++r) {
        const int32_t row0 = kBlock * r;
        if (columns > 0) {
            const uint8_t* s[kBlock + 2];
            uint8_t* d[kBlock];
            for (int32_t k = 0; k < kBlock + 2; ++k) s[k] = Line(src, row0 + k, srcPitch);
            for (int32_t k = 0; k < kBlock; ++k) d[k] = Line(dst, row0 + k, dstPitch);
            kernels.deintBlockRow(d, s, blockBytes);
        }
        if (rightWidth != 0) strip(row0, blockBytes, rightWidth, kBlock);
    }
    const int32_t lastRow = kBlock * fullRows;
    const int32_t lastHeight = lines - lastRow;
    // An odd height is refused by the strip routine (nothing written); frames never give one.
    if (columns > 0 && lastHeight % 2 == 0) {
        // The detector reads lines 0..6 of the strips, the rebuild lines 0..lastHeight-1.
        const uint8_t* s[kBlock] = {};
        uint8_t* d[kBlock] = {};
        for (int32_t k = 0; k < std::max(7, lastHeight); ++k) s[k] = Line(src, lastRow + k, srcPitch);
        for (int32_t k = 0; k < lastHeight; ++k) d[k] = Line(dst, lastRow + k, dstPitch);
        kernels.deintStripRow(d, s, blockBytes, lastHeight);
    }
    if (rightWidth != 0) strip(lastRow, blockBytes, rightWidth, lastHeight);
}

// The block mode's planes: luma `width` bytes wide, the output pitch for the work planes (rowBytes
// null) or the row bytes of a caller's frame, which are the same bytes when the pitch equals them.
int32_t BlockMode(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t width, uint32_t height,
                  const uint32_t* rowBytes) {
    if (out == nullptr || in == nullptr || fmt > kYCbCr444) return kOk;
    const uint32_t chromaWidth = fmt == kYCbCr444 ? width : width >> 1;
    for (uint32_t i = 0; i < UsedPlanes(in); ++i) {
        if (in->pixels[i] == nullptr || out->pixels[i] == nullptr) continue;
        const uint32_t outBytes = rowBytes != nullptr ? rowBytes[i] : out->pitch[i];
        const uint32_t w = i == 0 ? outBytes : std::min({chromaWidth, in->pitch[i], outBytes});
        XDeintPlane(out->pixels[i], out->pitch[i], in->pixels[i], in->pitch[i], static_cast<int32_t>(w),
                    PlaneLines(fmt, i, height));
    }
    return kOk;
}

// One mode, the routines' results dropped. rowBytes as for ForEachSimplePlane.
void RunMode(DeintPicture* out, const DeintPicture* in, uint32_t width, uint32_t height, uint32_t field,
             uint32_t fmt, uint32_t mode, const uint32_t* rowBytes) {
    switch (mode) {
        case kDeintOff: break;
        case kDeintDiscard: Discard(out, in, fmt, height, field, rowBytes); break;
        case kDeintBob: Bob(out, in, fmt, height, field, rowBytes); break;
        case kDeintBlend: Blend(out, in, fmt, height, rowBytes); break;
        case kDeintMean: Mean(out, in, fmt, height, rowBytes); break;
        case kDeintLinear: Linear(out, in, fmt, height, field, rowBytes); break;
        case kDeintX: BlockMode(out, in, fmt, width, height, rowBytes); break;
        default: picture_deinterlace_fast(out, in, fmt, width, height); break;  // 1 and unknown
    }
}

// The input picture of a frame: the caller's planes, sizes by the source format.
bool SourcePicture(const QvImgPrcContext* ctx, const uint8_t* const srcPixels[3], const int32_t srcPitch[3],
                   DeintPicture* in, uint32_t* fmtOut) {
    const int32_t fmt = SourceFormat(ctx->operation);
    const uint32_t width = static_cast<uint32_t>(ctx->srcWidth);
    const uint32_t height = static_cast<uint32_t>(ctx->srcHeight);
    *in = DeintPicture{};
    in->planeCount = 3;
    in->width = width;
    in->height = height;
    switch (fmt) {
        case kYCbCr420: in->chromaWidth = width >> 1; in->chromaHeight = height >> 1; break;
        case kYCbCr422: in->chromaWidth = width >> 1; in->chromaHeight = height; break;
        case kYCbCr444: in->chromaWidth = width; in->chromaHeight = height; break;
        default: return false;
    }
    for (int i = 0; i < 3; ++i) {
        in->pixels[i] = const_cast<uint8_t*>(srcPixels[i]);  // read only: the output is another record
        in->pitch[i] = static_cast<uint32_t>(srcPitch[i]);
    }
    *fmtOut = static_cast<uint32_t>(fmt);
    return true;
}

// The addresses [lo, hi) of `rows` rows of `bytes` bytes, row r at r x stride from p.
struct Extent {
    uintptr_t lo, hi;
    bool Meets(const Extent& o) const { return lo < o.hi && o.lo < hi; }
};
Extent RowsExtent(const uint8_t* p, int32_t stride, int64_t rows, int64_t bytes) {
    const uintptr_t base = reinterpret_cast<uintptr_t>(p);
    const int64_t span = (rows - 1) * static_cast<int64_t>(stride);
    const uintptr_t lo = span < 0 ? base - static_cast<uintptr_t>(-span) : base;
    return {lo, lo + static_cast<uintptr_t>(span < 0 ? -span : span) + static_cast<uintptr_t>(bytes)};
}

}  // namespace

// ---- entry and mode switch ----------------------------------------------------------------------

int32_t QV_DeInterlace(const QvImgPrcContext* ctx, const uint8_t* const srcPixels[3],
                       const int32_t srcPitch[3], uint8_t* const dstPixels[3],
                       const int32_t dstPitch[3]) {
    if (ctx == nullptr) return kInvalidArg;
    DeintPicture in;
    uint32_t fmt = 0;
    if (!SourcePicture(ctx, srcPixels, srcPitch, &in, &fmt)) return kInvalidArg;
    DeintPicture out = in;
    for (int i = 0; i < 3; ++i) {
        out.pixels[i] = dstPixels[i];
        out.pitch[i] = static_cast<uint32_t>(dstPitch[i]);
    }
    return DeInterlace(&out, &in, in.width, in.height, 0, fmt, ctx->deinterlaceMode);
}

bool QV_DeInterlaceIntoFrame(const QvImgPrcContext* ctx, const uint8_t* const srcPixels[3],
                             const int32_t srcPitch[3], uint8_t* const dstPixels[3], const int32_t dstPitch[3]) {
    if (ctx == nullptr || SourceFormat(ctx->operation) != kYCbCr420) return false;
    const int64_t W = ctx->srcWidth, H = ctx->srcHeight;
    const int64_t P = ctx->planeStride;
    if (W <= 0 || H <= 0 || ctx->deinterlaceMode == kDeintOff) return false;
    // The block mode processes luma over the work planes' pitch: the same bytes only when that is W.
    const bool block = ctx->deinterlaceMode == kDeintX;
    if (block && P != W) return false;
    const auto abs64 = [](int32_t v) { return v < 0 ? -static_cast<int64_t>(v) : static_cast<int64_t>(v); };
    Extent written[3], read[3];
    for (int i = 0; i < 3; ++i) {
        const int64_t row = i == 0 ? W : W >> 1, rows = i == 0 ? H : H >> 1;
        if (srcPixels[i] == nullptr || dstPixels[i] == nullptr) return false;
        // Rows that would move fewer bytes than the picture's leave work-plane bytes to the copy.
        if (abs64(srcPitch[i]) < row || abs64(dstPitch[i]) < row) return false;
        written[i] = RowsExtent(dstPixels[i], dstPitch[i], rows, row);
        // What the mode reads: the picture's rows; the block mode also up to 5 rows below them and
        // to the row rounded up to 8 bytes.
        read[i] = block ? RowsExtent(srcPixels[i], srcPitch[i], rows + 5, (row + 7) & ~int64_t{7})
                        : RowsExtent(srcPixels[i], srcPitch[i], rows, row);
    }
    // Each output byte written once, from a source nothing has written yet.
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            if ((j > i && written[i].Meets(written[j])) || written[i].Meets(read[j])) return false;
    DeintPicture in;
    uint32_t fmt = 0;
    if (!SourcePicture(ctx, srcPixels, srcPitch, &in, &fmt)) return false;
    DeintPicture out = in;
    for (int i = 0; i < 3; ++i) {
        out.pixels[i] = dstPixels[i];
        out.pitch[i] = static_cast<uint32_t>(dstPitch[i]);
    }
    const uint32_t rowBytes[4] = {in.width, in.chromaWidth, in.chromaWidth, 0};
    RunMode(&out, &in, in.width, in.height, 0, fmt, ctx->deinterlaceMode, rowBytes);
    return true;
}

int32_t DeInterlace(DeintPicture* out, const DeintPicture* in, uint32_t width, uint32_t height,
                    uint32_t field, uint32_t fmt, uint32_t mode) {
    if (out == nullptr || in == nullptr) return kInvalidArg;
    RunMode(out, in, width, height, field, fmt, mode, nullptr);
    return kOk;
}

void Merge(uint8_t* dst, const uint8_t* src1, const uint8_t* src2, uint32_t count) {
    Kernels().deintAverage(dst, src1, src2, static_cast<int32_t>(count));
}

// ---- simple modes -------------------------------------------------------------------------------

int32_t picture_deinterlace_discard(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                                    uint32_t, uint32_t height, uint32_t field) {
    return Discard(out, in, fmt, height, field, nullptr);
}

int32_t picture_deinterlace_bob(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t,
                                uint32_t height, uint32_t field) {
    return Bob(out, in, fmt, height, field, nullptr);
}

int32_t picture_deinterlace_blend(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t,
                                  uint32_t height) {
    return Blend(out, in, fmt, height, nullptr);
}

int32_t picture_deinterlace_mean(DeintPicture* out, const DeintPicture* in, uint32_t fmt, uint32_t,
                                 uint32_t height) {
    return Mean(out, in, fmt, height, nullptr);
}

int32_t picture_deinterlace_linear(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                                   uint32_t, uint32_t height, uint32_t field) {
    return Linear(out, in, fmt, height, field, nullptr);
}

// ---- five-tap line filter -----------------------------------------------------------------------

constexpr std::array<uint8_t, 2304> cropTbl = MakeCropTable();

// The kernels clamp arithmetically: the same values as cropTbl.
void deinterlace_line(uint8_t* dst, const uint8_t* lum_m4, const uint8_t* lum_m3,
                      const uint8_t* lum_m2, const uint8_t* lum_m1, const uint8_t* lum,
                      uint32_t size) {
    Kernels().deintFiveTap(dst, lum_m4, lum_m3, lum_m2, lum_m1, lum, static_cast<int32_t>(size));
}

// Every read of column x comes before its writes: lum_m1 and lum may be lum_m2 itself.
void deinterlace_line_inplace(uint8_t* lum_m4, const uint8_t* lum_m3, uint8_t* lum_m2,
                              const uint8_t* lum_m1, const uint8_t* lum, uint32_t size) {
    Kernels().deintFiveTapInPlace(lum_m4, lum_m3, lum_m2, lum_m1, lum, static_cast<int32_t>(size));
}

int32_t picture_deinterlace_fast(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                                 uint32_t width, uint32_t height) {
    if (fmt > kYCbCr444 || width % 4 != 0 || height % 4 != 0) return kInvalidArg;
    if (out == nullptr || in == nullptr) return kInvalidArg;
    const bool inPlace = out == in;
    // One scratch line of the widest plane serves every plane, taken before anything is written.
    uint8_t* scratch = nullptr;
    if (inPlace && UsedPlanes(in) != 0 && width != 0) {
        scratch = static_cast<uint8_t*>(Allocate(width));
        if (scratch == nullptr) return kOutOfMemory;
    }
    uint32_t size = width;
    uint32_t lines = height;
    for (uint32_t i = 0; i < UsedPlanes(in); ++i) {
        if (i == 1) {  // planes 1 and 2 share the chroma size
            if (fmt == kYCbCr420) {
                size >>= 1;
                lines >>= 1;
            } else if (fmt == kYCbCr422) {
                size >>= 1;
            }
        }
        if (in->pixels[i] == nullptr || out->pixels[i] == nullptr || size == 0) continue;
        if (inPlace)
            FilterPlaneInPlace(out->pixels[i], out->pitch[i], size, static_cast<int32_t>(lines), scratch);
        else
            FilterPlane(out->pixels[i], out->pitch[i], in->pixels[i], in->pitch[i], size,
                        static_cast<int32_t>(lines));
    }
    if (scratch != nullptr) Release(scratch);
    return kOk;
}

// ---- motion-adaptive block mode -----------------------------------------------------------------

uint32_t ssd(int32_t v) { return deint::Ssd(v); }

int32_t XDeint8x8Detect(const uint8_t* src, uint32_t pitch) { return deint::Detect8x8(Lines(src, pitch)); }

void XDeint8x8Merge(uint8_t* dst, uint32_t dstPitch, const uint8_t* src1, uint32_t src1Pitch,
                    const uint8_t* src2, uint32_t src2Pitch) {
    deint::Merge8x8(Lines(dst, dstPitch), Lines(src1, src1Pitch), Lines(src2, src2Pitch));
}

void XDeint8x8FieldE(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch) {
    deint::FieldE8x8(Lines(dst, dstPitch), Lines(src, srcPitch));
}

void XDeint8x8Field(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch) {
    deint::Field8x8(Lines(dst, dstPitch), Lines(src, srcPitch));
}

int32_t XDeintNxN(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch,
                  uint32_t width, uint32_t height) {
    if (height % 2 != 0 || width < 2) return kInvalidArg;  // never produced by the plane walk
    deint::StripNxN(Lines(dst, dstPitch), Lines(src, srcPitch), width, height);
    return kOk;
}

int32_t XDeintNxNDetect(const uint8_t* src, uint32_t pitch, uint32_t lineCount, uint32_t pixelCount) {
    return deint::DetectNxN(Lines(src, pitch), lineCount, pixelCount);
}

void XDeintNxNField(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch,
                    uint32_t width, uint32_t height) {
    deint::FieldNxN(Lines(dst, dstPitch), Lines(src, srcPitch), width, height);
}

void XDeintNxNFrame(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch,
                    uint32_t width, uint32_t height) {
    deint::FrameNxN(Lines(dst, dstPitch), Lines(src, srcPitch), width, height);
}

// Luma keeps the output pitch as its processed width, so source luma lines are read up to the
// output pitch (the work planes' 16-byte multiple). Chroma is processed over the chroma width.
int32_t picture_deinterlace_x(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                              uint32_t width, uint32_t height) {
    return BlockMode(out, in, fmt, width, height, nullptr);
}

}  // namespace qv
