// The kernel checker: every entry of every vector kernel set this CPU runs, against its scalar
// reference, byte for byte, with guard bytes around each destination. Rows of every width from
// the kernel's minimum to 130, then random widths, source and destination offsets (0-63),
// adjustment settings (neutral, extreme, random; tables computed from their fitted lines and
// gathered), alpha values and colour keys. The byte-moving, RGB-reading and scaler-tap kernels get
// every size up to a few vectors (tile edges for the transposes), then random sizes, offsets,
// pitches (negative too) and weights. Seeded: a failure names its case and repeats.
//
//   qv_kernel_check            check (exit 1 on any difference)
//   qv_kernel_check --bench    also time each variant beside the scalar reference
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

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
        BenchDeinterlaceKernels(sets, count);
    }
    std::printf("kernel check: %d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
