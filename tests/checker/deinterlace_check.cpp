// The kernel checker's part for the deinterlacer's kernels: every vector set's deint* entries
// against the scalar references, byte for byte. Each source line and each destination line is a
// block of its own (the sanitizer build sees a read past a line's end; the bytes before a line's
// offset are poisoned there too, and so are the bytes below the bottom strips that their
// detectors do not read), destinations with guard bytes on both sides. Lines of every
// width from the kernel's minimum to 130, then random widths (past the 512 columns of a direction
// segment too) and offsets 0-63. Block-mode rows mix blocks that are noise, smooth with a little
// noise (around the detector's thresholds), combed, edges running diagonally either way, and flat
// areas (every direction costs the same), so rows hold combed and progressive blocks together.
#include "deinterlace_check.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <vector>

#include "core/kernel_table.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define QV_POISON(p, n) __asan_poison_memory_region((p), (n))
#define QV_UNPOISON(p, n) __asan_unpoison_memory_region((p), (n))
#else
#define QV_POISON(p, n) ((void)(p), (void)(n))
#define QV_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace {

using qv::KernelTable;

constexpr int kGuard = 32;
constexpr uint8_t kGuardByte = 0xA5;

// A source line: `offset` poisoned bytes, then the line, ending its block.
class SourceLine {
public:
    SourceLine(int offset, int width) : offset_(offset), bytes_(static_cast<size_t>(offset + width)) {}
    SourceLine(const SourceLine&) = delete;
    SourceLine& operator=(const SourceLine&) = delete;
    ~SourceLine() { QV_UNPOISON(bytes_.data(), bytes_.size()); }
    uint8_t* data() { return bytes_.data() + offset_; }
    int size() const { return static_cast<int>(bytes_.size()) - offset_; }
    void Seal() { QV_POISON(bytes_.data(), static_cast<size_t>(offset_)); }
    // Poisons the bytes of each 8-byte block from `keep` on (the line's offset a multiple of 8).
    void PoisonBlockTails(int keep) {
        for (int b = 0; b + keep < size(); b += 8) QV_POISON(data() + b + keep, static_cast<size_t>(8 - keep));
    }

private:
    int offset_;
    std::vector<uint8_t> bytes_;
};

// A destination line with guard bytes on both sides.
struct DestLine {
    int offset, width;
    std::vector<uint8_t> bytes;
    DestLine(int o, int w) : offset(o), width(w), bytes(static_cast<size_t>(2 * kGuard + o + w), kGuardByte) {}
    uint8_t* data() { return bytes.data() + kGuard + offset; }
};

// The pixels of a block-mode source row: each 8-column block filled in one of several styles.
void FillBlockRows(std::vector<std::vector<uint8_t>>& pixels, int width, std::mt19937& rng) {
    std::vector<uint8_t*> lines;
    for (auto& p : pixels) lines.push_back(p.data());
    const int rows = static_cast<int>(lines.size());
    // Mostly a mix; sometimes the whole row in one style, so that whole vectors are alike.
    const int rowStyle = static_cast<int>(rng() % 10);
    for (int x0 = 0; x0 < width; x0 += 8) {
        const int style = rowStyle < 7 ? static_cast<int>(rng() % 7) : rowStyle - 7;
        const int base = static_cast<int>(rng() % 256), noise = static_cast<int>(rng() % 4), step = static_cast<int>(rng() % 9) - 4;
        const int comb = static_cast<int>(rng() % 64) + 4, dir = rng() & 1 ? 1 : -1, at = static_cast<int>(rng() % 16);
        for (int y = 0; y < rows; ++y)
            for (int x = x0; x < x0 + 8 && x < width; ++x) {
                int v;
                const int jitter = noise ? static_cast<int>(rng() % static_cast<uint32_t>(2 * noise + 1)) - noise : 0;
                switch (style) {
                    case 0: v = static_cast<int>(rng() & 0xFF); break;                           // noise
                    case 1: v = base + step * (x - x0) + y + jitter; break;                      // smooth
                    case 2: v = base + (y & 1 ? comb : 0) + step * (x - x0) + jitter; break;     // combed
                    case 3: v = (x - x0 + 8 - at + dir * y / 2 + 64) % 8 < 2 ? base : 255 - base; break;  // edge
                    case 4: v = base; break;                                                     // flat
                    case 5: v = y & 1 ? 255 - base : base + jitter; break;                       // fields apart
                    default: v = base + (y & 1) * noise + jitter; break;                         // faint comb
                }
                lines[static_cast<size_t>(y)][x] = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
            }
    }
}

struct Tally {
    int passed = 0, failed = 0, entryFailures = 0;
    bool Record(bool ok) {
        ok ? ++passed : (++failed, ++entryFailures);
        return ok;
    }
};

// Compares the destination lines of two runs (with their guards); prints the first difference.
bool SameLines(std::vector<DestLine>& ref, std::vector<DestLine>& got, const char* set, const char* entry,
               const char* what) {
    for (size_t r = 0; r < ref.size(); ++r) {
        if (ref[r].bytes == got[r].bytes) continue;
        size_t at = 0;
        while (ref[r].bytes[at] == got[r].bytes[at]) ++at;
        std::printf("FAIL %s %s: %s: line %zu differs at byte %ld\n", set, entry, what, r,
                    static_cast<long>(at) - kGuard - ref[r].offset);
        return false;
    }
    return true;
}

// The line kernels: dst from `sources` lines (five-tap: 5, average: 2), or in place.
enum class LineKind { kAverage, kFiveTap, kFiveTapInPlace };

void RunLineKernel(const KernelTable& k, LineKind kind, std::deque<SourceLine>& src, std::vector<DestLine>& dst,
                   int width, int alias) {
    switch (kind) {
        case LineKind::kAverage: k.deintAverage(dst[0].data(), src[0].data(), src[1].data(), width); break;
        case LineKind::kFiveTap:
            k.deintFiveTap(dst[0].data(), src[0].data(), src[1].data(), src[2].data(), src[3].data(), src[4].data(), width);
            break;
        case LineKind::kFiveTapInPlace: {
            // dst[0] is the scratch line (m4), dst[1] the line filtered in place (m2); m1 and lum
            // are m2 itself at the bottom of a plane (alias 1).
            const uint8_t* m1 = alias ? dst[1].data() : src[1].data();
            const uint8_t* lum = alias ? dst[1].data() : src[2].data();
            k.deintFiveTapInPlace(dst[0].data(), src[0].data(), dst[1].data(), m1, lum, width);
            break;
        }
    }
}

bool CheckLineCase(const KernelTable& variant, const char* name, LineKind kind, int width, int srcOffset, int dstOffset,
                   std::mt19937& rng) {
    const int sources = kind == LineKind::kAverage ? 2 : kind == LineKind::kFiveTap ? 5 : 3;
    const int dests = kind == LineKind::kFiveTapInPlace ? 2 : 1;
    // In place: m1 and lum are the filtered line (one case in three).
    const int alias = kind == LineKind::kFiveTapInPlace ? static_cast<int>(rng() % 3 == 0) : 0;
    std::deque<SourceLine> src;  // lines stay where they are
    for (int i = 0; i < sources; ++i) {
        src.emplace_back((srcOffset + 7 * i) % 64, width);
        for (int x = 0; x < width; ++x) src.back().data()[x] = static_cast<uint8_t>(rng());
        src.back().Seal();
    }
    std::vector<DestLine> ref, got;
    for (int i = 0; i < dests; ++i) {
        ref.emplace_back((dstOffset + 13 * i) % 64, width);
        for (int x = 0; x < width; ++x) ref.back().data()[x] = static_cast<uint8_t>(rng());
    }
    got = ref;
    RunLineKernel(qv::ScalarKernels(), kind, src, ref, width, alias);
    RunLineKernel(variant, kind, src, got, width, alias);
    char what[96];
    std::snprintf(what, sizeof what, "width %d, offsets %d/%d%s", width, srcOffset, dstOffset,
                  alias ? ", aliased" : "");
    return SameLines(ref, got, variant.name, name, what);
}

// Block mode: a row of 8x8 blocks (10 source lines, 8 output lines) or the bottom row of strips
// `height` lines high (source lines 0..max(6, height-1), the others absent), in place or not.
bool CheckBlockCase(const KernelTable& variant, bool strips, int width, int height, int srcOffset, int dstOffset,
                    bool inPlace, std::mt19937& rng) {
    const int sourceLines = strips ? std::max(7, height) : 10;
    const int outputLines = strips ? height : 8;
    std::vector<std::vector<uint8_t>> pixels(static_cast<size_t>(sourceLines), std::vector<uint8_t>(static_cast<size_t>(width)));
    FillBlockRows(pixels, width, rng);
    std::deque<SourceLine> src;
    for (int i = 0; i < sourceLines; ++i) {
        // Below the strips their detectors read the first `height` pixels of each block only:
        // there the line ends after those of the last block, and the rest is poisoned.
        const bool below = strips && i >= height;
        const int offset = below ? 8 * ((srcOffset + i) % 8) : (srcOffset + 11 * i) % 64;
        src.emplace_back(offset, below ? width - 8 + height : width);
        std::copy_n(pixels[static_cast<size_t>(i)].data(), src.back().size(), src.back().data());
        src.back().Seal();
        if (below) src.back().PoisonBlockTails(height);
    }
    std::vector<DestLine> ref, got;
    for (int i = 0; i < outputLines; ++i) {
        ref.emplace_back((dstOffset + 5 * i) % 64, width);
        for (int x = 0; x < width; ++x) ref.back().data()[x] = static_cast<uint8_t>(rng());
    }
    got = ref;
    const auto run = [&](const KernelTable& k, std::vector<DestLine>& dst) {
        uint8_t* d[8] = {};
        const uint8_t* s[10] = {};
        for (int i = 0; i < outputLines; ++i) d[i] = dst[static_cast<size_t>(i)].data();
        for (int i = 0; i < sourceLines; ++i) s[i] = src[static_cast<size_t>(i)].data();
        if (inPlace) {  // the output lines are the source lines, copied into the destination first
            for (int i = 0; i < outputLines; ++i) {
                std::copy(s[i], s[i] + width, d[i]);
                s[i] = d[i];
            }
        }
        if (strips)
            k.deintStripRow(d, s, width, height);
        else
            k.deintBlockRow(d, s, width);
    };
    run(qv::ScalarKernels(), ref);
    run(variant, got);
    char what[96];
    std::snprintf(what, sizeof what, "width %d, height %d, offsets %d/%d%s", width, strips ? height : 8, srcOffset,
                  dstOffset, inPlace ? ", in place" : "");
    return SameLines(ref, got, variant.name, strips ? "deintStripRow" : "deintBlockRow", what);
}

// Random widths: mostly below 1000, sometimes past two direction segments.
int RandomWidth(std::mt19937& rng, int multiple) {
    const int w = rng() % 8 == 0 ? 1000 + static_cast<int>(rng() % 1100) : 1 + static_cast<int>(rng() % 1000);
    return (w + multiple - 1) / multiple * multiple;
}

double NanosecondsPerPixel(const KernelTable& k, bool strips) {
    constexpr int kWidth = 1920;
    std::vector<std::vector<uint8_t>> src(10, std::vector<uint8_t>(kWidth)), dst(8, std::vector<uint8_t>(kWidth));
    std::mt19937 rng(5);
    FillBlockRows(src, kWidth, rng);
    uint8_t* d[8];
    const uint8_t* s[10];
    for (int i = 0; i < 8; ++i) d[i] = dst[static_cast<size_t>(i)].data();
    for (int i = 0; i < 10; ++i) s[i] = src[static_cast<size_t>(i)].data();
    const int reps = 300;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < reps; ++i) strips ? k.deintStripRow(d, s, kWidth, 8) : k.deintBlockRow(d, s, kWidth);
    const double ns = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
    return ns / reps / (8.0 * kWidth);
}

}  // namespace

void CheckDeinterlaceKernels(const qv::VectorKernelSet* sets, int count, std::mt19937& rng, int* passed, int* failed) {
    Tally tally;
    for (int i = 0; i < count; ++i) {
        const KernelTable& variant = sets[i].table;
        static const struct {
            const char* name;
            LineKind kind;
        } kLines[] = {{"deintAverage", LineKind::kAverage},
                      {"deintFiveTap", LineKind::kFiveTap},
                      {"deintFiveTapInPlace", LineKind::kFiveTapInPlace}};
        for (const auto& e : kLines) {
            tally.entryFailures = 0;
            for (int w = 0; w <= 130 && tally.entryFailures < 3; ++w)
                tally.Record(CheckLineCase(variant, e.name, e.kind, w, 0, 0, rng));
            for (int k = 0; k < 200 && tally.entryFailures < 3; ++k)
                tally.Record(CheckLineCase(variant, e.name, e.kind, RandomWidth(rng, 1), static_cast<int>(rng() % 64),
                                           static_cast<int>(rng() % 64), rng));
        }
        for (const bool strips : {false, true}) {
            tally.entryFailures = 0;
            // Every width once (each strip height in turn), then random widths, offsets and
            // heights, one case in eight in place.
            for (int w = 8, k = 0; w <= 130 && tally.entryFailures < 3; w += 8, ++k)
                tally.Record(CheckBlockCase(variant, strips, w, 2 + 2 * (k % 4), 0, 0, false, rng));
            for (int k = 0; k < 150 && tally.entryFailures < 3; ++k)
                tally.Record(CheckBlockCase(variant, strips, RandomWidth(rng, 8), 2 + 2 * static_cast<int>(rng() % 4),
                                            static_cast<int>(rng() % 64), static_cast<int>(rng() % 64), rng() % 8 == 0,
                                            rng));
        }
    }
    *passed += tally.passed;
    *failed += tally.failed;
}

void BenchDeinterlaceKernels(const qv::VectorKernelSet* sets, int count) {
    std::printf("\nns per pixel, block mode rows of 1920 pixels, mixed blocks (speed-up over scalar)\n%-16s %8s",
                "kernel", "scalar");
    for (int i = 0; i < count; ++i) std::printf(" %16s", sets[i].table.name);
    std::printf("\n");
    for (const bool strips : {false, true}) {
        const double scalar = NanosecondsPerPixel(qv::ScalarKernels(), strips);
        std::printf("%-16s %8.3f", strips ? "deintStripRow" : "deintBlockRow", scalar);
        for (int i = 0; i < count; ++i) {
            const double ns = NanosecondsPerPixel(sets[i].table, strips);
            std::printf("   %6.3f (%4.1fx)", ns, scalar / ns);
        }
        std::printf("\n");
    }
}
