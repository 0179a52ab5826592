// The kernel checker: every entry of every vector kernel set this CPU runs, against its scalar
// reference, byte for byte, with guard bytes around each destination. Rows of every width from
// the kernel's minimum to 130, then random widths, source and destination offsets (0-63),
// adjustment settings (neutral, extreme, random; tables computed from their fitted lines and
// gathered), alpha values and colour keys. Seeded: a failure names its case and repeats.
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
