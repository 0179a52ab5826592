// The kernel checker: every entry of every vector kernel set this CPU runs, against its scalar
// reference, byte for byte, with guard bytes around each destination. Rows of every width from
// the kernel's minimum to 130, then random widths, source and destination offsets (0-63),
// adjustment settings (neutral, extreme, random; tables computed from their fitted lines and
// gathered), alpha values and colour keys. The byte-moving, RGB-reading and scaler-tap kernels get
// every size up to a few vectors (tile edges for the transposes), then random sizes, offsets,
// pitches (negative too) and weights. The scalers' rows (blends of interpolation words, fixed
// ratios, line doubling, in place too) and the nearest walk get every size up to 130, then random
// sizes, offsets, steps and weights, their sources between inaccessible pages. Seeded: a failure names its case
// and repeats.
//
//   qv_kernel_check            check (exit 1 on any difference)
//   qv_kernel_check --bench    also time each variant beside the scalar reference
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "core/kernel_table.h"
#include "core/qv_routines.h"
#include "deinterlace_check.h"

namespace {

using qv::KernelTable;

struct Entry {
    const char* name;
    qv::RowPairKernel KernelTable::*pair;  // or
    qv::RowKernel KernelTable::*row;
    int chromaShift;  // chroma sample per pixel pair (1) or per pixel (0)
    int bytes;        // destination bytes per pixel
    enum { kNone, kAlpha, kKey } arg;
};
const Entry kEntries[] = {
    {"pairToRGB565", &KernelTable::pairToRGB565, nullptr, 1, 2, Entry::kNone},
    {"pairToRGB888", &KernelTable::pairToRGB888, nullptr, 1, 3, Entry::kNone},
    {"pairToARGB32", &KernelTable::pairToARGB32, nullptr, 1, 4, Entry::kAlpha},
    {"pairToRGB555", &KernelTable::pairToRGB555, nullptr, 1, 2, Entry::kKey},
    {"pairToInterp", &KernelTable::pairToInterp, nullptr, 1, 4, Entry::kNone},
    {"row422ToRGB565", nullptr, &KernelTable::row422ToRGB565, 1, 2, Entry::kNone},
    {"row444ToRGB565", nullptr, &KernelTable::row444ToRGB565, 0, 2, Entry::kNone},
    {"row444ToRGB888", nullptr, &KernelTable::row444ToRGB888, 0, 3, Entry::kNone},
    {"row444ToARGB32", nullptr, &KernelTable::row444ToARGB32, 0, 4, Entry::kAlpha},
};

// Conversion tables for one brightness, contrast, saturation setting, with their fit.
struct Setting {
    int32_t b, c, s;
    uint16_t y[256] = {};
    int32_t cb[256] = {}, cr[256] = {};
    qv::ConvFit fit = {};
    alignas(64) uint8_t terms[qv::kTermTableBytes] = {};
    // The three ways kernels find the entries: split term tables, fitted lines, the tables.
    qv::ConvTables Tables(int way) const {
        return {y, cb, cr, way <= 1 && fit.ok ? &fit : nullptr, way == 0 ? terms : nullptr};
    }
};
const char* const kWays[3] = {"split tables", "fitted", "gathered"};

std::vector<Setting> MakeSettings(std::mt19937& rng) {
    // Neutral, the extremes of each value and out-of-range values, then random ones.
    std::vector<Setting> settings = {{128, 128, 128}, {0, 0, 0},     {255, 255, 255}, {128, 255, 128}, {128, 128, 255},
                                     {0, 255, 255},   {255, 0, 0},   {-40, 300, 300}, {300, -7, 128},  {128, 128, 0}};
    std::uniform_int_distribution<int32_t> value(-20, 280);
    for (int i = 0; i < 8; ++i) settings.push_back({value(rng), value(rng), value(rng)});
    for (Setting& st : settings) {
        qv::set_transtable(st.y, st.cb, st.cr, st.b, st.c, st.s);
        qv::FitConversionTables(st.y, st.cb, st.cr, &st.fit);
        qv::SplitConversionTables(st.y, st.cb, st.cr, st.terms);
    }
    return settings;
}

constexpr int kGuard = 32;
constexpr uint8_t kGuardByte = 0xA5;

struct Case {
    int width, srcOffset, dstOffset;
    const Setting* setting;
    int way;  // index of kWays
    uint32_t arg;
};

// Source rows: two luma rows, Cb and Cr; destinations: two rows with guards on both sides.
struct Rows {
    std::vector<uint8_t> src[4];
    std::vector<uint8_t> dst[2];
    void Fill(const Case& c, const Entry& e, std::mt19937& rng) {
        const size_t chroma = static_cast<size_t>(e.chromaShift ? (c.width + 1) / 2 : c.width);
        for (int i = 0; i < 4; ++i) {
            src[i].resize(static_cast<size_t>(c.srcOffset) + (i < 2 ? static_cast<size_t>(c.width) : chroma));
            for (uint8_t& v : src[i]) v = static_cast<uint8_t>(rng());
        }
    }
    void ResetDestinations(const Case& c, const Entry& e) {
        for (auto& d : dst) d.assign(static_cast<size_t>(2 * kGuard + c.dstOffset + c.width * e.bytes), kGuardByte);
    }
    void Run(const KernelTable& table, const Entry& e, const Case& c) {
        ResetDestinations(c, e);
        const uint8_t* y0 = src[0].data() + c.srcOffset;
        const uint8_t* y1 = src[1].data() + c.srcOffset;
        const uint8_t* cb = src[2].data() + c.srcOffset;
        const uint8_t* cr = src[3].data() + c.srcOffset;
        uint8_t* d0 = dst[0].data() + kGuard + c.dstOffset;
        uint8_t* d1 = dst[1].data() + kGuard + c.dstOffset;
        const qv::ConvTables t = c.setting->Tables(c.way);
        if (e.pair) (table.*e.pair)(y0, y1, cb, cr, d0, d1, c.width, t, c.arg);
        else (table.*e.row)(y0, cb, cr, d0, c.width, t, c.arg);
    }
};

uint32_t ArgFor(const Entry& e, const Rows& rows, const Case& c, std::mt19937& rng) {
    switch (e.arg) {
        case Entry::kAlpha: return rng() & 0xFF;
        case Entry::kKey: {
            // Mostly the samples of one pixel of the row, so the key matches; sometimes random,
            // or with a top byte that never matches.
            const int x = static_cast<int>(rng() % static_cast<uint32_t>(c.width));
            const int cx = e.chromaShift ? x / 2 : x;
            const uint32_t key = static_cast<uint32_t>(rows.src[rng() & 1][c.srcOffset + x]) << 16 |
                                 static_cast<uint32_t>(rows.src[2][c.srcOffset + cx]) << 8 | rows.src[3][c.srcOffset + cx];
            const uint32_t kind = rng() % 8;
            return kind < 6 ? key : kind == 6 ? (rng() & 0xFFFFFF) : (key | 0x01000000u);
        }
        default: return 0;
    }
}

int MinimumWidth(const Entry& e) { return e.chromaShift ? 2 : 1; }

// Runs one case on the reference and the variant; prints and returns false on a difference.
bool Check(const KernelTable& variant, const Entry& e, const Case& c, std::mt19937& rng) {
    Rows ref, got;
    ref.Fill(c, e, rng);
    Case withArg = c;
    withArg.arg = ArgFor(e, ref, c, rng);
    got.src[0] = ref.src[0], got.src[1] = ref.src[1], got.src[2] = ref.src[2], got.src[3] = ref.src[3];
    ref.Run(qv::ScalarKernels(), e, withArg);
    got.Run(variant, e, withArg);
    for (int r = 0; r < (e.pair ? 2 : 1); ++r) {
        if (ref.dst[r] == got.dst[r]) continue;
        size_t at = 0;
        while (ref.dst[r][at] == got.dst[r][at]) ++at;
        const long pixel = (static_cast<long>(at) - kGuard - c.dstOffset) / e.bytes;
        std::printf("FAIL %s %s: width %d, offsets %d/%d, setting %d,%d,%d (%s), arg 0x%x: row %d differs at pixel %ld\n",
                    variant.name, e.name, c.width, c.srcOffset, c.dstOffset, c.setting->b, c.setting->c, c.setting->s,
                    kWays[c.way], withArg.arg, r, pixel);
        return false;
    }
    return true;
}

double NanosecondsPerPixel(const KernelTable& table, const Entry& e, const Setting& setting) {
    Case c{1920, 0, 0, &setting, 0, 255};
    std::mt19937 rng(7);
    Rows rows;
    rows.Fill(c, e, rng);
    rows.Run(table, e, c);
    const int reps = 2000;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < reps; ++i) rows.Run(table, e, c);
    const double ns = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
    return ns / reps / c.width / (e.pair ? 2 : 1);
}

// ---- byte moves: transposes, reversed rows, packing, NV12 chroma ---------------------------
// A buffer of random bytes with guards: `at` is the first byte of the region under test.
struct Guarded {
    std::vector<uint8_t> bytes;
    size_t at = 0;
    void Reset(size_t size, size_t offset, std::mt19937* rng) {
        bytes.assign(size + offset + 2 * kGuard, kGuardByte);
        at = kGuard + offset;
        if (rng != nullptr)
            for (size_t i = at; i < at + size; ++i) bytes[i] = static_cast<uint8_t>((*rng)());
    }
    uint8_t* p() { return bytes.data() + at; }
};

// One case of a byte-moving entry: fills the sources, runs the kernel, leaves the destinations.
struct MoveCase {
    int width, height, srcOffset, dstOffset, srcPad, dstPad;
    bool flipSrc, flipDst;  // negative pitches
};

bool SameOrReport(const char* set, const char* entry, const MoveCase& c, const std::vector<uint8_t>& ref,
                  const std::vector<uint8_t>& got) {
    if (ref == got) return true;
    size_t at = 0;
    while (ref[at] == got[at]) ++at;
    std::printf("FAIL %s %s: size %dx%d, offsets %d/%d, pads %d/%d, flips %d/%d: byte %zu of the destination differs\n",
                set, entry, c.width, c.height, c.srcOffset, c.dstOffset, c.srcPad, c.dstPad, c.flipSrc, c.flipDst,
                at);
    return false;
}

bool CheckTranspose(const KernelTable& variant, const MoveCase& c, std::mt19937& rng) {
    const ptrdiff_t srcPitch = c.width + c.srcPad, dstPitch = c.height + c.dstPad;
    Guarded src, ref, got;
    src.Reset(static_cast<size_t>(srcPitch * c.height), static_cast<size_t>(c.srcOffset), &rng);
    ref.Reset(static_cast<size_t>(dstPitch * c.width), static_cast<size_t>(c.dstOffset), nullptr);
    got = ref;
    const uint8_t* s = src.p() + (c.flipSrc ? srcPitch * (c.height - 1) : 0);
    const ptrdiff_t sp = c.flipSrc ? -srcPitch : srcPitch;
    const ptrdiff_t dOff = c.flipDst ? dstPitch * (c.width - 1) : 0;
    const ptrdiff_t dp = c.flipDst ? -dstPitch : dstPitch;
    qv::ScalarKernels().transpose(s, sp, ref.p() + dOff, dp, c.width, c.height);
    variant.transpose(s, sp, got.p() + dOff, dp, c.width, c.height);
    return SameOrReport(variant.name, "transpose", c, ref.bytes, got.bytes);
}

// Row kernels: n items; sources and destination sizes per item.
bool CheckRowMove(const KernelTable& variant, const char* name, int which, const MoveCase& c, std::mt19937& rng) {
    const size_t n = static_cast<size_t>(c.width);
    Guarded a, b, e, ref0, ref1, got0, got1;
    switch (which) {
        case 0:  // reverseRow
            a.Reset(n, static_cast<size_t>(c.srcOffset), &rng);
            ref0.Reset(n, static_cast<size_t>(c.dstOffset), nullptr);
            got0 = ref0;
            qv::ScalarKernels().reverseRow(a.p(), ref0.p(), c.width);
            variant.reverseRow(a.p(), got0.p(), c.width);
            break;
        case 1:
        case 2:  // packYUY2, packUYVY
            a.Reset(2 * n, static_cast<size_t>(c.srcOffset), &rng);
            b.Reset(n, static_cast<size_t>(c.srcPad), &rng);
            e.Reset(n, static_cast<size_t>(c.dstPad), &rng);
            ref0.Reset(4 * n, static_cast<size_t>(c.dstOffset), nullptr);
            got0 = ref0;
            if (which == 1) {
                qv::ScalarKernels().packYUY2(a.p(), b.p(), e.p(), ref0.p(), c.width);
                variant.packYUY2(a.p(), b.p(), e.p(), got0.p(), c.width);
            } else {
                qv::ScalarKernels().packUYVY(a.p(), b.p(), e.p(), ref0.p(), c.width);
                variant.packUYVY(a.p(), b.p(), e.p(), got0.p(), c.width);
            }
            break;
        case 3:  // interleaveUV
            a.Reset(n, static_cast<size_t>(c.srcOffset), &rng);
            b.Reset(n, static_cast<size_t>(c.srcPad), &rng);
            ref0.Reset(2 * n, static_cast<size_t>(c.dstOffset), nullptr);
            got0 = ref0;
            qv::ScalarKernels().interleaveUV(a.p(), b.p(), ref0.p(), c.width);
            variant.interleaveUV(a.p(), b.p(), got0.p(), c.width);
            break;
        case 5:
        case 6:
        case 7: {  // lumaFromRGB565, lumaFromARGB32, lumaFromABGR32
            const qv::EncodeLumaKernel KernelTable::*k[] = {&KernelTable::lumaFromRGB565, &KernelTable::lumaFromARGB32,
                                                            &KernelTable::lumaFromABGR32};
            a.Reset((which == 5 ? 2 : 4) * n, static_cast<size_t>(c.srcOffset), &rng);
            ref0.Reset(n, static_cast<size_t>(c.dstOffset), nullptr);
            got0 = ref0;
            (qv::ScalarKernels().*k[which - 5])(a.p(), ref0.p(), c.width);
            (variant.*k[which - 5])(a.p(), got0.p(), c.width);
            break;
        }
        case 8:
        case 9:
        case 10: {  // chromaFromRGB565, chromaFromARGB32, chromaFromABGR32
            const qv::EncodeChromaKernel KernelTable::*k[] = {
                &KernelTable::chromaFromRGB565, &KernelTable::chromaFromARGB32, &KernelTable::chromaFromABGR32};
            a.Reset((which == 8 ? 4 : 8) * n, static_cast<size_t>(c.srcOffset), &rng);
            ref0.Reset(n, static_cast<size_t>(c.dstOffset), nullptr);
            ref1.Reset(n, static_cast<size_t>(c.dstPad), nullptr);
            got0 = ref0, got1 = ref1;
            (qv::ScalarKernels().*k[which - 8])(a.p(), ref0.p(), ref1.p(), c.width);
            (variant.*k[which - 8])(a.p(), got0.p(), got1.p(), c.width);
            if (!SameOrReport(variant.name, name, c, ref1.bytes, got1.bytes)) return false;
            break;
        }
        case 11: {  // widenRGB565
            a.Reset(2 * n, static_cast<size_t>(c.srcOffset), &rng);
            ref0.Reset(4 * n, static_cast<size_t>(c.dstOffset), nullptr);
            got0 = ref0;
            const uint32_t alphaBits = (rng() & 0xFF) << 24;
            qv::ScalarKernels().widenRGB565(a.p(), ref0.p(), c.width, alphaBits);
            variant.widenRGB565(a.p(), got0.p(), c.width, alphaBits);
            break;
        }
        case 12: {  // verticalTaps: two source rows, 16-bit taps
            a.Reset(n, static_cast<size_t>(c.srcOffset), &rng);
            b.Reset(n, static_cast<size_t>(c.srcPad), &rng);
            ref0.Reset(2 * n, static_cast<size_t>(2 * c.dstOffset), nullptr);
            got0 = ref0;
            const int32_t fy = static_cast<int32_t>(rng() % 32);
            qv::ScalarKernels().verticalTaps(a.p(), b.p(), fy, reinterpret_cast<int16_t*>(ref0.p()), c.width);
            variant.verticalTaps(a.p(), b.p(), fy, reinterpret_cast<int16_t*>(got0.p()), c.width);
            break;
        }
        case 13: {  // horizontalTaps: vertical taps (0-510) under n destination columns
            const int32_t step = 1 + static_cast<int32_t>(rng() % (4 << 16));
            const int32_t c0 = static_cast<int32_t>(rng() % 1000);
            const int32_t first = static_cast<int32_t>((static_cast<int64_t>(c0) * step) >> 16);
            const int32_t lastX = static_cast<int32_t>((static_cast<int64_t>(c0 + (n ? n : 1) - 1) * step) >> 16);
            const int32_t last = lastX + (rng() % 3 == 0 ? 0 : 1 + static_cast<int32_t>(rng() % 5));
            const int32_t span = (lastX + 1 < last ? lastX + 1 : last) - first + 1;
            std::vector<int16_t> v(static_cast<size_t>(span) + 1);
            for (int16_t& x : v) x = static_cast<int16_t>(rng() % 511);
            ref0.Reset(n, static_cast<size_t>(c.dstOffset), nullptr);
            got0 = ref0;
            qv::ScalarKernels().horizontalTaps(v.data(), ref0.p(), c.width, c0, step, first, last);
            variant.horizontalTaps(v.data(), got0.p(), c.width, c0, step, first, last);
            break;
        }
        case 4:  // splitUV
        default:
            a.Reset(2 * n, static_cast<size_t>(c.srcOffset), &rng);
            ref0.Reset(n, static_cast<size_t>(c.dstOffset), nullptr);
            ref1.Reset(n, static_cast<size_t>(c.dstPad), nullptr);
            got0 = ref0, got1 = ref1;
            qv::ScalarKernels().splitUV(a.p(), ref0.p(), ref1.p(), c.width);
            variant.splitUV(a.p(), got0.p(), got1.p(), c.width);
            if (!SameOrReport(variant.name, name, c, ref1.bytes, got1.bytes)) return false;
            break;
    }
    return SameOrReport(variant.name, name, c, ref0.bytes, got0.bytes);
}

const char* const kRowMoves[] = {"reverseRow",       "packYUY2",         "packUYVY",         "interleaveUV",
                                 "splitUV",          "lumaFromRGB565",   "lumaFromARGB32",   "lumaFromABGR32",
                                 "chromaFromRGB565", "chromaFromARGB32", "chromaFromABGR32", "widenRGB565",
                                 "verticalTaps",     "horizontalTaps"};

void CheckMoves(const KernelTable& variant, std::mt19937& rng, int* passed, int* failed) {
    auto count = [&](bool ok) { ok ? ++*passed : ++*failed; };
    auto offset = [&] { return static_cast<int>(rng() % 64); };
    // Transposes: every size up to 40 x 40 (tile edges), then random sizes, pads and flips.
    for (int h = 1; h <= 40; ++h)
        for (int w = 1; w <= 40; ++w)
            count(CheckTranspose(variant, {w, h, 0, 0, static_cast<int>(rng() % 3), static_cast<int>(rng() % 3),
                                           (w + h) % 3 == 0, (w * h) % 5 == 0},
                                 rng));
    for (int k = 0; k < 150; ++k) {
        const MoveCase c{1 + static_cast<int>(rng() % 300), 1 + static_cast<int>(rng() % 100), offset(), offset(),
                         offset(), offset(), (rng() & 1) != 0, (rng() & 1) != 0};
        count(CheckTranspose(variant, c, rng));
    }
    for (int which = 0; which < 14; ++which) {
        for (int n = 0; n <= 300; ++n) count(CheckRowMove(variant, kRowMoves[which], which, {n, 1, 0, 0, 0, 0, false, false}, rng));
        for (int k = 0; k < 200; ++k) {
            const MoveCase c{static_cast<int>(rng() % 2000), 1, offset(), offset(), offset(), offset(), false, false};
            count(CheckRowMove(variant, kRowMoves[which], which, c, rng));
        }
    }
}

// ---- the scalers' rows: blends of interpolation words -------------------------------------
// Sources lie between inaccessible pages, against the page after them or the page before them,
// so a read outside the extent the reference reads faults.
class Fenced {
public:
    Fenced(size_t bytes, bool atEnd, std::mt19937& rng) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t inner = (bytes + page - 1) / page * page + page;
        mapped_ = inner + 2 * page;
        base_ = static_cast<uint8_t*>(mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (base_ == MAP_FAILED) std::abort();
        mprotect(base_, page, PROT_NONE);
        mprotect(base_ + page + inner, page, PROT_NONE);
        p_ = atEnd ? base_ + page + inner - bytes : base_ + page;
        for (size_t i = 0; i < bytes; i += 4) {  // interpolation words, now and then any word
            const uint32_t w = rng() % 8 ? rng() & qv::kInterpMask : rng();
            std::memcpy(p_ + i, &w, std::min<size_t>(4, bytes - i));
        }
    }
    Fenced(const Fenced&) = delete;
    Fenced& operator=(const Fenced&) = delete;
    ~Fenced() { munmap(base_, mapped_); }
    const uint32_t* words() const { return reinterpret_cast<const uint32_t*>(p_); }
    uint8_t* bytes() const { return p_; }

private:
    uint8_t* base_;
    uint8_t* p_;
    size_t mapped_;
};

// n counts words of the vertical blend and the doubling, pixels of the horizontal ones, full groups of the fixed
// ratios (`in` words give `out` pixels). Doubling runs in place or into another buffer.
struct ScaleEntry {
    const char* name;
    qv::VLerpKernel KernelTable::*v;  // one of five
    qv::HLerpKernel KernelTable::*h;
    qv::FixedRatioKernel KernelTable::*fixed;
    qv::DoubleKernel KernelTable::*doubled;
    int bytes;  // destination bytes per pixel
    int in, out;
    qv::NearestKernel KernelTable::*nearest = nullptr;
};
const ScaleEntry kScaleEntries[] = {
    {"vLerp", &KernelTable::vLerp, nullptr, nullptr, nullptr, 4, 1, 1},
    {"hLerpRGB565", nullptr, &KernelTable::hLerpRGB565, nullptr, nullptr, 2, 1, 1},
    {"hLerpRGB888", nullptr, &KernelTable::hLerpRGB888, nullptr, nullptr, 3, 1, 1},
    {"hLerpARGB32", nullptr, &KernelTable::hLerpARGB32, nullptr, nullptr, 4, 1, 1},
    {"hLerp23RGB565", nullptr, nullptr, &KernelTable::hLerp23RGB565, nullptr, 2, 4, 6},
    {"hLerp25RGB565", nullptr, nullptr, &KernelTable::hLerp25RGB565, nullptr, 2, 4, 10},
    {"hLerp23ClosedRGB565", nullptr, nullptr, &KernelTable::hLerp23ClosedRGB565, nullptr, 2, 4, 6},
    {"hLerp23ARGB32", nullptr, nullptr, &KernelTable::hLerp23ARGB32, nullptr, 4, 2, 3},
    {"hLerp25ARGB32", nullptr, nullptr, &KernelTable::hLerp25ARGB32, nullptr, 4, 2, 5},
    {"doubleLine", nullptr, nullptr, nullptr, &KernelTable::doubleLine, 4, 1, 1},
    {"nearestRGB565", nullptr, nullptr, nullptr, nullptr, 2, 1, 1, &KernelTable::nearestRGB565},
};

// A nearest walk for n pixels: denominator d >= n (the destination width, n its even part or all
// of it), step q and remainder r of a source width over d: mostly an enlargement, else up to the
// doubled width, up to q = 5, or one pixel exactly.
void RandomWalk(int n, std::mt19937& rng, int32_t* d, int32_t* q, int32_t* r) {
    *d = n + static_cast<int32_t>(rng() % 2);
    const uint32_t kind = rng() % 8;
    const int32_t source = kind < 4   ? 1 + static_cast<int32_t>(rng() % static_cast<uint32_t>(*d))
                           : kind < 6 ? 1 + static_cast<int32_t>(rng() % static_cast<uint32_t>(2 * *d))
                           : kind < 7 ? 1 + static_cast<int32_t>(rng() % static_cast<uint32_t>(6 * *d))
                                      : *d;
    *q = source / *d, *r = source % *d;
}

// A 16.16 step for n pixels: mostly the enlargement of a random source width to n, else any
// step up to one word, one word exactly, or a reduction.
int32_t RandomStep(int n, std::mt19937& rng) {
    const uint32_t kind = rng() % 8;
    if (kind < 5 && n > 1) return qv::ScaleStep(1 + static_cast<int32_t>(rng() % static_cast<uint32_t>(n)), n);
    if (kind < 6) return static_cast<int32_t>(rng() % 0x10001);
    return kind == 6 ? 0x10000 : static_cast<int32_t>(0x10000 + rng() % 0x30000);
}

// n pixels (words for the vertical blend) into a destination at `offset` bytes (rounded down to
// whole words for word rows), against the scalar reference.
bool CheckScaleRow(const KernelTable& variant, const ScaleEntry& e, int n, int offset, std::mt19937& rng) {
    const KernelTable& scalar = qv::ScalarKernels();
    const int pixels = e.fixed ? (n + 1) * e.out : n;
    const size_t size = static_cast<size_t>(pixels) * static_cast<size_t>(e.bytes);
    if (e.bytes == 4) offset &= ~3;
    Guarded ref, got;
    ref.Reset(size, static_cast<size_t>(offset), nullptr);
    got = ref;
    char detail[96] = "";
    if (e.doubled) {
        const bool atEnd = rng() & 1;
        const Fenced src(size, atEnd, rng), copy(size, atEnd, rng);
        if (rng() & 1) {  // in place: the fenced buffers are the destinations
            std::memcpy(copy.bytes(), src.bytes(), size);
            (scalar.*e.doubled)(src.bytes(), src.bytes(), n);
            (variant.*e.doubled)(copy.bytes(), copy.bytes(), n);
            ref.bytes.assign(src.bytes(), src.bytes() + size);
            got.bytes.assign(copy.bytes(), copy.bytes() + size);
            std::snprintf(detail, sizeof detail, "in place");
        } else {
            (scalar.*e.doubled)(ref.p(), src.bytes(), n);
            (variant.*e.doubled)(got.p(), src.bytes(), n);
        }
    } else if (e.fixed) {
        const uint32_t arg = rng() & 0xFF;
        const Fenced src(4 * static_cast<size_t>((n + 1) * e.in), rng() & 1, rng);
        (scalar.*e.fixed)(src.words(), ref.p(), n, arg);
        (variant.*e.fixed)(src.words(), got.p(), n, arg);
        std::snprintf(detail, sizeof detail, "arg %u", arg);
    } else if (e.nearest) {
        int32_t d, q, r;
        RandomWalk(n, rng, &d, &q, &r);
        const int64_t last = static_cast<int64_t>(n - 1) * q + static_cast<int64_t>(n - 1) * r / d;
        const Fenced src(2 * static_cast<size_t>(last + 1), rng() & 1, rng);
        (scalar.*e.nearest)(src.bytes(), ref.p(), n, d, q, r);
        (variant.*e.nearest)(src.bytes(), got.p(), n, d, q, r);
        std::snprintf(detail, sizeof detail, "d %d, q %d, r %d", d, q, r);
    } else if (e.v) {
        const Fenced a(4 * static_cast<size_t>(n), rng() & 1, rng), b(4 * static_cast<size_t>(n), rng() & 1, rng);
        const uint32_t weight = rng() % 4 ? rng() % 33 : rng();
        (scalar.*e.v)(a.words(), b.words(), reinterpret_cast<uint32_t*>(ref.p()), weight, n);
        (variant.*e.v)(a.words(), b.words(), reinterpret_cast<uint32_t*>(got.p()), weight, n);
        std::snprintf(detail, sizeof detail, "weight %u", weight);
    } else {
        const int32_t step = RandomStep(n, rng);
        const uint32_t arg = rng() & 0xFF;
        const size_t words = (static_cast<uint32_t>(n - 1) * static_cast<uint32_t>(step) >> 16) + 2;
        const Fenced src(4 * words, rng() & 1, rng);
        (scalar.*e.h)(src.words(), ref.p(), step, n, arg);
        (variant.*e.h)(src.words(), got.p(), step, n, arg);
        std::snprintf(detail, sizeof detail, "step 0x%x, arg %u", static_cast<unsigned>(step), arg);
    }
    if (ref.bytes == got.bytes) return true;
    size_t at = 0;
    while (ref.bytes[at] == got.bytes[at]) ++at;
    std::printf("FAIL %s %s: n %d, offset %d, %s: byte %ld of the destination differs\n", variant.name, e.name, n,
                offset, detail, static_cast<long>(at) - kGuard - offset);
    return false;
}

void CheckScaleRows(const KernelTable& variant, std::mt19937& rng, int* passed, int* failed) {
    for (const ScaleEntry& e : kScaleEntries) {
        int entryFailures = 0;
        auto run = [&](int n, int offset) {
            if (entryFailures >= 3) return;
            const bool ok = CheckScaleRow(variant, e, n, offset, rng);
            ok ? ++*passed : (++*failed, ++entryFailures);
        };
        for (int n = 1; n <= 130; ++n) run(n, 0);
        for (int k = 0; k < 300; ++k) run(1 + static_cast<int>(rng() % (e.fixed ? 500 : 2000)), static_cast<int>(rng() % 64));
    }
}

// ns per pixel of the scalers' rows at 1920 pixels (an enlargement of 1280 for the horizontal
// blends and the nearest walk; fixed ratios: about 1920 pixels of full groups).
void BenchScaleRows(const qv::VectorKernelSet* sets, int count) {
    constexpr int kN = 1920;
    std::vector<uint32_t> a(kN + 1), b(kN + 1), out(kN);
    std::mt19937 rng(3);
    for (size_t i = 0; i <= kN; ++i) a[i] = rng() & qv::kInterpMask, b[i] = rng() & qv::kInterpMask;
    const int32_t step = qv::ScaleStep(1280, kN);
    auto time = [&](const KernelTable& t, const ScaleEntry& e) {
        uint8_t* d = reinterpret_cast<uint8_t*>(out.data());
        const int reps = 4000;
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < reps; ++i) {
            if (e.v) (t.*e.v)(a.data(), b.data(), out.data(), 11, kN);
            else if (e.h) (t.*e.h)(a.data(), d, step, kN, 255);
            else if (e.doubled) (t.*e.doubled)(d, reinterpret_cast<const uint8_t*>(a.data()), kN / 2);
            else if (e.nearest) (t.*e.nearest)(reinterpret_cast<const uint8_t*>(a.data()), d, kN, kN, 1280 / kN, 1280 % kN);
            else (t.*e.fixed)(a.data(), d, kN / e.out - 1, 255);
        }
        return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / reps / kN;
    };
    for (const ScaleEntry& e : kScaleEntries) {
        const double scalar = time(qv::ScalarKernels(), e);
        std::printf("%-16s %8.3f", e.name, scalar);
        for (int i = 0; i < count; ++i) {
            const double ns = time(sets[i].table, e);
            std::printf("   %6.3f (%4.1fx)", ns, scalar / ns);
        }
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char** argv) {
    const bool bench = argc > 1 && std::strcmp(argv[1], "--bench") == 0;
    std::mt19937 rng(20261124);
    const std::vector<Setting> settings = MakeSettings(rng);
    int count = 0;
    const qv::VectorKernelSet* sets = qv::VectorKernelSets(&count);
    std::printf("kernel set chosen for this process: %s; vector sets on this CPU:", qv::KernelSetName());
    for (int i = 0; i < count; ++i) std::printf(" %s", sets[i].table.name);
    std::printf("%s\n", count == 0 ? " none" : "");

    int passed = 0, failed = 0;
    for (int i = 0; i < count; ++i) {
        const KernelTable& variant = sets[i].table;
        for (const Entry& e : kEntries) {
            int entryFailures = 0;
            auto run = [&](const Case& c) {
                if (entryFailures >= 3) return;  // enough to diagnose
                if (Check(variant, e, c, rng)) {
                    ++passed;
                } else {
                    ++failed;
                    ++entryFailures;
                }
            };
            // Every width once, each with the next setting and way of finding entries.
            for (int w = MinimumWidth(e), k = 0; w <= 130; w += e.chromaShift ? 2 : 1, ++k)
                run({w, 0, 0, &settings[static_cast<size_t>(k) % settings.size()], k % 3, 0});
            // Random widths, offsets and settings.
            for (int k = 0; k < 200; ++k) {
                int w = 1 + static_cast<int>(rng() % 1000);
                if (e.chromaShift) w = (w + 1) & ~1;
                run({w, static_cast<int>(rng() % 64), static_cast<int>(rng() % 64),
                     &settings[rng() % settings.size()], static_cast<int>(rng() % 3), 0});
            }
        }
        CheckMoves(variant, rng, &passed, &failed);
        CheckScaleRows(variant, rng, &passed, &failed);
    }

    CheckDeinterlaceKernels(sets, count, rng, &passed, &failed);

    if (bench) {
        std::printf("\nns per pixel at 1920 pixels, neutral setting (speed-up over scalar)\n%-16s %8s", "kernel", "scalar");
        for (int i = 0; i < count; ++i) std::printf(" %16s", sets[i].table.name);
        std::printf("\n");
        for (const Entry& e : kEntries) {
            const double scalar = NanosecondsPerPixel(qv::ScalarKernels(), e, settings[0]);
            std::printf("%-16s %8.3f", e.name, scalar);
            for (int i = 0; i < count; ++i) {
                const double ns = NanosecondsPerPixel(sets[i].table, e, settings[0]);
                std::printf("   %6.3f (%4.1fx)", ns, scalar / ns);
            }
            std::printf("\n");
        }
        BenchScaleRows(sets, count);
        BenchDeinterlaceKernels(sets, count);
    }
    std::printf("kernel check: %d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
