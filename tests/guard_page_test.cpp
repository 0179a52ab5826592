// Guard pages. Each plane is mapped on its own between two inaccessible pages, sized from the
// README's "Frame buffers" rules as the README states them (rows x |stride|, the reads past the
// picture, the strides that drift), once against the page after it and once against the page
// before it; source planes are read-only. Every route, rotation and deinterlace mode runs with
// strides of exactly a row and of a padded row, top-down and bottom-up, and rotated RGB output
// also with strides 1 to 3 bytes over a row (either sign), on sizes that are odd multiples of 4
// and sizes that are not. A fault is an access outside the documented bytes. Besides: a refused
// frame leaves every destination byte as it was, and a frame whose strides do not drift gives the
// picture it gives with tight top-down planes (rotated RGB output: each pixel where its
// placement puts it).
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "interface/qv_interface.h"
#include "test_support.h"

namespace {

enum Format : int32_t { kI420, kI422, kI444, kRGB565, kRGB888, kARGB, kYUY2, kUYVY, kNV12, kABGR, kRGB555 };

int64_t PixelBytes(int32_t f) {
    switch (f) {
        case kRGB565: case kYUY2: case kUYVY: case kRGB555: return 2;
        case kRGB888: return 3;
        case kARGB: case kABGR: return 4;
        default: return 1;
    }
}
bool Planar(int32_t f) { return f <= kI444; }
int PlaneCount(int32_t f) { return Planar(f) ? 3 : f == kNV12 ? 2 : 1; }

// "The planes of each format": rows and bytes a row of plane i of a w x h picture.
struct Shape {
    int64_t rows, bytes;
};
Shape PlaneOf(int32_t f, int i, int64_t w, int64_t h) {
    if (i == 0) return {h, PixelBytes(f) * w};
    if (f == kI422) return {h, w / 2};
    if (f == kI444) return {h, w};
    return {h / 2, f == kNV12 ? w : w / 2};
}

// How rows advance ("Strides that drift"); every plane not named there advances by its stride.
enum class Advance { kExact, kDown4, kDown2, kPairs4, kLowerDown4, kTowardZero2, kTowardZero4 };
int64_t RowOffset(Advance a, int64_t r, int32_t s) {
    switch (a) {
        case Advance::kExact: return r * s;
        case Advance::kDown4: return r * (s & ~3);
        case Advance::kDown2: return r * (s & ~1);
        case Advance::kPairs4: return r / 2 * ((s >> 1) * 4) + r % 2 * s;
        case Advance::kLowerDown4: return r / 2 * 2 * s + r % 2 * (s & ~3);
        case Advance::kTowardZero2: return r * (s - s % 2);
        default: return r * (s - s % 4);
    }
}
bool Drifts(Advance a, int32_t s) {
    return RowOffset(a, 2, s) != 2 * int64_t{s} || RowOffset(a, 3, s) != 3 * int64_t{s};
}

enum class Size { kSame, kDown, kUp, kMixed, kDouble, kWide25, kWide15, k480x272 };
struct Route {
    const char* name;
    int32_t op;
    Size size;
    uint32_t interpolation = 2;
    bool adjust = false;
};
void PrintTo(const Route& r, std::ostream* os) { *os << r.name; }

const Route kRoutes[] = {
    {"yuv_copy", 0x000, Size::kSame}, {"yuv_adjusted", 0x000, Size::kSame, 2, true}, {"yuv_down", 0x000, Size::kDown},
    {"yuv_up_adjusted", 0x000, Size::kUp, 2, true}, {"yuv_mixed", 0x000, Size::kMixed},
    {"rgb565", 0x003, Size::kSame}, {"rgb565_down", 0x003, Size::kDown}, {"rgb565_up", 0x003, Size::kUp},
    {"rgb565_nearest", 0x003, Size::kUp, 0}, {"rgb565_near_linear", 0x003, Size::kUp, 3},
    {"rgb565_double", 0x003, Size::kDouble, 1}, {"rgb565_25x2", 0x003, Size::kWide25, 1},
    {"rgb565_15", 0x003, Size::kWide15, 1}, {"rgb565_mixed", 0x003, Size::kMixed},
    {"rgb565_480x272", 0x003, Size::k480x272, 1}, {"rgb888", 0x004, Size::kSame}, {"rgb888_down", 0x004, Size::kDown},
    {"rgb888_up", 0x004, Size::kUp}, {"argb", 0x005, Size::kSame}, {"argb_down", 0x005, Size::kDown},
    {"argb_up", 0x005, Size::kUp}, {"argb_double", 0x005, Size::kDouble, 1}, {"argb_25x2", 0x005, Size::kWide25, 1},
    {"argb_15", 0x005, Size::kWide15, 1}, {"yuy2", 0x006, Size::kSame}, {"uyvy", 0x007, Size::kSame},
    {"nv12", 0x008, Size::kSame}, {"rgb555", 0x00A, Size::kSame}, {"yuv422_rgb565", 0x103, Size::kSame},
    {"yuv422_rgb565_scaled", 0x103, Size::kMixed}, {"yuv444_rgb565", 0x203, Size::kUp},
    {"yuv444_rgb888", 0x204, Size::kSame}, {"yuv444_argb", 0x205, Size::kMixed},
    {"rgb565_to_yuv", 0x300, Size::kSame}, {"rgb565_to_yuv_smaller", 0x300, Size::kDown},
    {"argb_to_yuv", 0x500, Size::kSame}, {"abgr_to_yuv_larger", 0x900, Size::kUp},
    {"rgb565_scaled", 0x303, Size::kMixed}, {"rgb565_to_argb", 0x305, Size::kSame},
    {"rgb888_to_rgb565", 0x403, Size::kSame}, {"rgb888_scaled", 0x404, Size::kUp},
    {"nv12_to_yuv", 0x800, Size::kSame},
};

// Odd multiples of 4 (20 x 12, 40 x 28 with its 20-byte chroma rows) and 64 x 48.
struct Dims {
    int32_t w, h;
};
const Dims kSizes[] = {{20, 12}, {40, 28}, {64, 48}};

Dims DestinationOf(Size k, Dims s) {
    Dims d = s;
    switch (k) {
        case Size::kSame: break;
        case Size::kDown: d = {s.w / 2, s.h / 2}; break;
        case Size::kUp: d = {s.w + 8, s.h + 4}; break;
        case Size::kMixed: d = {s.w / 2, s.h + 8}; break;
        case Size::kDouble: d = {2 * s.w, 2 * s.h}; break;
        case Size::kWide25: d = {5 * s.w / 2, 2 * s.h}; break;
        case Size::kWide15: d = {3 * s.w / 2, s.h - 4}; break;
        case Size::k480x272: d = {480, 272}; break;
    }
    return {d.w & ~3, d.h & ~3};
}

enum class StrideKind { kRow, kPadded, kRowBottomUp, kPaddedBottomUp, kRowAnd1, kRowAnd2, kRowAnd3, kMinusRowAnd1,
                        kMinusRowAnd2, kMinusRowAnd3 };
const StrideKind kStrideKinds[] = {StrideKind::kRow, StrideKind::kPadded, StrideKind::kRowBottomUp,
                                   StrideKind::kPaddedBottomUp};
// Rows of a packed format that are not whole pixels: rotated output rounds its steps.
const StrideKind kPartPixelKinds[] = {StrideKind::kRowAnd1,      StrideKind::kRowAnd2,      StrideKind::kRowAnd3,
                                      StrideKind::kMinusRowAnd1, StrideKind::kMinusRowAnd2, StrideKind::kMinusRowAnd3};
const char* const kStrideNames[] = {"a row",          "a padded row",   "minus a row",    "minus a padded row",
                                    "a row and 1",    "a row and 2",    "a row and 3",    "minus a row and 1",
                                    "minus a row and 2", "minus a row and 3"};

// A padded row: three more pixels of a packed format (whole pixels), seven more bytes of a plane
// of bytes (odd, so every rounding of "Strides that drift" shows).
int32_t StrideOf(StrideKind k, int64_t rowBytes, int32_t format) {
    const int kind = static_cast<int>(k);
    if (kind >= static_cast<int>(StrideKind::kRowAnd1)) {
        const int n = kind - static_cast<int>(StrideKind::kRowAnd1);
        return static_cast<int32_t>(n < 3 ? rowBytes + n + 1 : -(rowBytes + n - 2));
    }
    const int64_t padded = rowBytes + (PixelBytes(format) > 1 ? 3 * PixelBytes(format) : 7);
    const int64_t s = k == StrideKind::kRow || k == StrideKind::kRowBottomUp ? rowBytes : padded;
    return static_cast<int32_t>(k == StrideKind::kRow || k == StrideKind::kPadded ? s : -s);
}

// One plane as the README describes it: `rows` rows of `bytes` (the picture's rows and the rows
// read below it), row r at r x stride, each readable over max(|stride|, reach) bytes; rows the
// route advances by a rounded stride lie where `advance` puts them. A packed half turn puts the
// picture `lead` bytes into each row.
struct PlaneRule {
    int64_t rows = 0, pictureRows = 0, bytes = 0, reach = 0, lead = 0;
    int32_t stride = 0;
    Advance advance = Advance::kExact;

    int64_t Begin() const {
        int64_t b = 0;
        for (int64_t r = 0; r < rows; ++r) b = std::min({b, r * stride, RowOffset(advance, r, stride)});
        return b;
    }
    int64_t End() const {
        const int64_t width = std::max<int64_t>(std::abs(stride), reach);
        int64_t e = 0;
        for (int64_t r = 0; r < rows; ++r) e = std::max({e, r * stride + width, RowOffset(advance, r, stride) + bytes});
        return e;
    }
};

// A plane between two PROT_NONE pages, against the page after it or the one before it.
class GuardedPlane {
public:
    GuardedPlane(const PlaneRule& rule, bool againstFront) {
        static const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t bytes = static_cast<size_t>(rule.End() - rule.Begin());
        data_ = std::max<size_t>(1, (bytes + page - 1) / page) * page;
        total_ = data_ + 2 * page;
        void* m = mmap(nullptr, total_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m == MAP_FAILED) {
            ADD_FAILURE() << "mmap failed";
            return;
        }
        map_ = static_cast<uint8_t*>(m);
        mprotect(map_ + page, data_, PROT_READ | PROT_WRITE);
        uint8_t* start = againstFront ? map_ + page : map_ + page + data_ - bytes;
        plane_ = start - rule.Begin();
    }
    ~GuardedPlane() {
        if (map_ != nullptr) munmap(map_, total_);
    }
    GuardedPlane(const GuardedPlane&) = delete;
    GuardedPlane& operator=(const GuardedPlane&) = delete;

    uint8_t* plane() const { return plane_; }
    uint8_t* data() const { return map_ + (total_ - data_) / 2; }
    size_t size() const { return data_; }
    std::vector<uint8_t> contents() const { return {data(), data() + data_}; }
    void ReadOnly() { mprotect(data(), data_, PROT_READ); }

private:
    uint8_t* map_ = nullptr;
    uint8_t* plane_ = nullptr;
    size_t data_ = 0, total_ = 0;
};

// What a fault reports before the process dies: the frame it happened in.
char gFrame[256];
struct sigaction gPrevious[2];
void OnFault(int signal) {
    const char head[] = "\nguard page fault in frame: ";
    [[maybe_unused]] ssize_t n = write(2, head, sizeof head - 1);
    n = write(2, gFrame, strlen(gFrame));
    n = write(2, "\n", 1);
    sigaction(signal, &gPrevious[signal == SIGSEGV ? 0 : 1], nullptr);  // the fault repeats there
}

// One context (size, route, rotation) and what the README says about its frames.
struct Plan {
    Route route;
    uint32_t rotation;
    int32_t W, H, DW, DH, P;
    int32_t srcFormat, dstFormat;
    bool honoursRotation, refusesCreate, case1, lineBuffers;
    int64_t dstW, dstH;  // the picture the destination holds, unrotated

    Plan(const Route& r, uint32_t rot, Dims s) : route(r), rotation(rot) {
        const Dims d = DestinationOf(r.size, s);
        W = s.w, H = s.h, DW = d.w, DH = d.h, P = (W + 15) & ~15;
        srcFormat = r.op >> 8, dstFormat = r.op & 0xFF;
        const int32_t op = r.op;
        honoursRotation = op != 0x103 && op != 0x006 && op != 0x007 && op != 0x008 && op != 0x305 && op != 0x800;
        refusesCreate = op == 0x00A && rotation != 0;
        const bool scaled = DW != W || DH != H, fixed = r.interpolation == 1 && rotation == 0;
        case1 = op == 0x003 && fixed && 2 * DW == 5 * W && DH == 2 * H;
        const bool case3 = op == 0x003 && fixed && W == 320 && H == 240 && DW == 480 && DH == 272;
        lineBuffers = (op == 0x003 || op == 0x005) && rotation == 0 && !case3 &&
                      ((DW > W && DH > H) || (fixed && 2 * DW == 3 * W));
        const bool neverScales = op == 0x006 || op == 0x007 || op == 0x008 || op == 0x300 || op == 0x305 ||
                                 op == 0x500 || op == 0x800 || op == 0x900;
        const bool placedInDestination = (op == 0x300 || op == 0x500 || op == 0x900) && rotation != 0;
        const bool sourceSized = (neverScales && !placedInDestination) || !scaled;
        dstW = sourceSized ? W : DW;
        dstH = sourceSized ? H : DH;
    }
    bool QuarterTurn() const { return honoursRotation && (rotation == 1 || rotation == 2); }
    bool RotatedRgbDestination() const {
        return honoursRotation && rotation != 0 && (dstFormat == kRGB565 || dstFormat == kRGB888 || dstFormat == kARGB);
    }
    // "Rotation and refused frames": the offset of pixel (x, y) of the picture in rotated packed
    // output through stride s, steps of the stride rounded as the 2 x 2 block writers (4:2:0 but
    // enlarging to RGB565) or the single-pixel writers round them.
    int64_t PlacedAt(int64_t x, int64_t y, int64_t s) const {
        const int64_t B = PixelBytes(dstFormat), w = dstW, h = dstH;
        int64_t first, across, down;
        switch (rotation) {
            case 1: first = (w - 1) * s, across = -s, down = B; break;
            case 2: first = (h - 1) * B, across = s, down = -B; break;
            case 3: first = h * s - B, across = -B, down = -s; break;
            case 4: first = (w - 1) * B, across = -B, down = s; break;
            default: first = (h - 1) * s, across = B, down = -s; break;
        }
        const auto down_to = [](int64_t v, int64_t m) { return v - ((v % m) + m) % m; };
        if (srcFormat == kI420 && !(dstFormat == kRGB565 && DW > W && DH > H)) {
            const int64_t m = dstFormat == kARGB ? 4 : 1;
            return first + x % 2 * across + y % 2 * down + x / 2 * down_to(2 * across, m) + y / 2 * down_to(2 * down, m);
        }
        const int64_t m = B == 3 ? 1 : B;
        return first + x * down_to(across, m) + y * down_to(down, m);
    }
    bool Refused(const PlaneRule& dst0) const {
        if (RotatedRgbDestination()) {
            const int64_t begin = dst0.Begin(), end = dst0.End();
            for (int64_t y = 0; y < dstH; ++y)
                for (int64_t x = 0; x < dstW; ++x) {
                    const int64_t at = PlacedAt(x, y, dst0.stride);
                    if (at < begin || at + PixelBytes(dstFormat) > end) return true;
                }
        }
        const bool fromRgb = route.op == 0x300 || route.op == 0x500 || route.op == 0x900;
        return fromRgb && rotation != 0 && (DW < W || DH < H);
    }
    // The converter reads the caller's source: no deinterlacing (planar sources only).
    static bool ReadsCaller(uint32_t mode, int32_t srcFormat) { return mode == 0 || !Planar(srcFormat); }

    Advance SourceAdvance(int i, uint32_t mode) const {
        if (!ReadsCaller(mode, srcFormat)) return Advance::kExact;
        switch (route.op) {
            case 0x006: return i == 0 ? Advance::kPairs4 : Advance::kDown4;
            case 0x007: return Advance::kDown4;
            case 0x300: return Advance::kLowerDown4;
            case 0x303: case 0x305: return Advance::kTowardZero2;
            default: return Advance::kExact;
        }
    }
    Advance DestinationAdvance() const {
        switch (route.op) {
            case 0x005:
                if (rotation == 0) return lineBuffers ? Advance::kDown4 : Advance::kPairs4;
                return Advance::kExact;
            case 0x003: return rotation == 0 && lineBuffers ? Advance::kDown4 : Advance::kExact;
            case 0x006: return Advance::kPairs4;
            case 0x007: return Advance::kDown4;
            case 0x103: return Advance::kDown2;
            case 0x305: return Advance::kTowardZero4;
            case 0x203: case 0x303: case 0x403: return rotation == 0 ? Advance::kDown2 : Advance::kExact;
            case 0x205: return rotation == 0 ? Advance::kDown4 : Advance::kExact;
            default: return Advance::kExact;
        }
    }

    PlaneRule Source(int i, StrideKind kind, uint32_t mode) const {
        const Shape s = PlaneOf(srcFormat, i, W, H);
        PlaneRule p;
        p.rows = p.pictureRows = s.rows;
        p.bytes = p.reach = s.bytes;
        p.stride = StrideOf(kind, s.bytes, srcFormat);
        p.advance = SourceAdvance(i, mode);
        if (case1 && ReadsCaller(mode, srcFormat)) p.rows += i == 0 ? 2 : 1;
        if (mode == 7 && Planar(srcFormat)) {
            p.rows += 5;
            p.reach = i == 0 ? P : (s.bytes + 7) & ~7;
        }
        return p;
    }
    PlaneRule Destination(int i, StrideKind kind) const {
        const bool turned = QuarterTurn();
        const Shape s = PlaneOf(dstFormat, i, turned ? dstH : dstW, turned ? dstW : dstH);
        PlaneRule p;
        p.rows = p.pictureRows = s.rows;
        p.bytes = p.reach = s.bytes;
        p.stride = StrideOf(kind, s.bytes, dstFormat);
        p.advance = DestinationAdvance();
        if (RotatedRgbDestination() && rotation == 3 && p.stride > 0) p.lead = p.stride - s.bytes;
        return p;
    }
    // Bytes of a destination row the route writes: YUY2 and UYVY whole groups of 8 pixels.
    int64_t Written(const PlaneRule& p) const {
        return dstFormat == kYUY2 || dstFormat == kUYVY ? 2 * (W & ~7) : p.bytes;
    }
};

// Deterministic rows: the picture (and the rows below it) as the same bytes whatever the stride.
std::vector<uint8_t> Rows(int64_t rows, int64_t bytes, uint32_t seed) {
    std::vector<uint8_t> v(static_cast<size_t>(rows * bytes));
    qvtest::FillPattern(v.data(), v.size(), seed);
    return v;
}

using Picture = std::vector<std::vector<uint8_t>>;

class GuardPages : public ::testing::TestWithParam<Route> {
protected:
    static void SetUpTestSuite() {
        struct sigaction a {};
        a.sa_handler = OnFault;
        sigaction(SIGSEGV, &a, &gPrevious[0]);
        sigaction(SIGBUS, &a, &gPrevious[1]);
    }
    static void TearDownTestSuite() {
        sigaction(SIGSEGV, &gPrevious[0], nullptr);
        sigaction(SIGBUS, &gPrevious[1], nullptr);
    }

    // One frame; the written picture when it may be compared with tight top-down planes.
    void RunFrame(QvHandle h, const Plan& plan, uint32_t mode, StrideKind kind, bool againstFront,
                  Picture* reference);
};

void GuardPages::RunFrame(QvHandle h, const Plan& plan, uint32_t mode, StrideKind kind, bool againstFront,
                          Picture* reference) {
    std::snprintf(gFrame, sizeof gFrame, "%s %dx%d -> %dx%d rotation %u mode %u strides of %s, planes against the %s",
                  plan.route.name, plan.W, plan.H, plan.DW, plan.DH, plan.rotation, mode,
                  kStrideNames[static_cast<int>(kind)], againstFront ? "front guard" : "back guard");
    SCOPED_TRACE(gFrame);
    const uint8_t junk = static_cast<uint8_t>(0x5A + 16 * static_cast<int>(kind) + (againstFront ? 1 : 0));
    const uint8_t* src[3] = {};
    uint8_t* dst[3] = {};
    int32_t srcStrides[3] = {}, dstStrides[3] = {};
    std::vector<std::unique_ptr<GuardedPlane>> planes;
    bool drifts = false;
    for (int i = 0; i < PlaneCount(plan.srcFormat); ++i) {
        const PlaneRule p = plan.Source(i, kind, mode);
        auto g = std::make_unique<GuardedPlane>(p, againstFront);
        std::memset(g->data(), junk, g->size());
        const std::vector<uint8_t> rows = Rows(p.rows, p.bytes, 11u + static_cast<uint32_t>(i));
        for (int64_t r = 0; r < p.rows; ++r)
            std::memcpy(g->plane() + r * p.stride, rows.data() + r * p.bytes, static_cast<size_t>(p.bytes));
        g->ReadOnly();
        src[i] = g->plane();
        srcStrides[i] = p.stride;
        drifts = drifts || Drifts(p.advance, p.stride);
        planes.push_back(std::move(g));
    }
    std::vector<PlaneRule> dstRules;
    std::vector<GuardedPlane*> dstPlanes;
    for (int i = 0; i < PlaneCount(plan.dstFormat); ++i) {
        const PlaneRule p = plan.Destination(i, kind);
        auto g = std::make_unique<GuardedPlane>(p, againstFront);
        std::memset(g->data(), junk ^ 0xFF, g->size());
        const std::vector<uint8_t> rows = Rows(p.rows, p.bytes, 29u + static_cast<uint32_t>(i));
        for (int64_t r = 0; r < p.rows; ++r)
            std::memcpy(g->plane() + r * p.stride + p.lead, rows.data() + r * p.bytes, static_cast<size_t>(p.bytes));
        dst[i] = g->plane();
        dstStrides[i] = p.stride;
        drifts = drifts || Drifts(p.advance, p.stride);
        dstRules.push_back(p);
        dstPlanes.push_back(g.get());
        planes.push_back(std::move(g));
    }
    std::vector<std::vector<uint8_t>> before;
    for (GuardedPlane* g : dstPlanes) before.push_back(g->contents());

    const QvFrameOptions options{0, 0, mode};
    const bool refused = plan.Refused(dstRules[0]);
    ASSERT_EQ(qv::QV_IMAGEPROC_ProcessFrame(h, src, srcStrides, dst, dstStrides, &options),
              refused ? QV_E_INVALIDARG : QV_S_OK);
    if (refused) {
        for (size_t i = 0; i < dstPlanes.size(); ++i)
            EXPECT_TRUE(dstPlanes[i]->contents() == before[i]) << "a refused frame wrote destination plane " << i;
        return;
    }
    // The block mode reads bytes past the row, and the 2.5 x 2 path the rows below the picture,
    // which deinterlacing fills from those bytes: such outputs depend on the padding.
    if (drifts || mode == 7 || (plan.case1 && mode != 0)) return;
    if (kind >= StrideKind::kRowAnd1) {
        // Every pixel where the placement puts it, as the tight top-down frame has it (but where
        // rounded steps overlap rows and another pixel shares its bytes).
        const PlaneRule& p = dstRules[0];
        const int64_t B = PixelBytes(plan.dstFormat);
        std::vector<int> cover(static_cast<size_t>(p.End() - p.Begin()));
        auto each = [&](auto f) {
            for (int64_t y = 0; y < plan.dstH; ++y)
                for (int64_t x = 0; x < plan.dstW; ++x) f(x, y, plan.PlacedAt(x, y, p.stride) - p.Begin());
        };
        each([&](int64_t, int64_t, int64_t at) {
            for (int64_t b = 0; b < B; ++b) ++cover[static_cast<size_t>(at + b)];
        });
        std::string wrong;
        each([&](int64_t x, int64_t y, int64_t at) {
            if (!wrong.empty() || std::any_of(&cover[static_cast<size_t>(at)], &cover[static_cast<size_t>(at + B)],
                                              [](int n) { return n > 1; }))
                return;
            const uint8_t* want = (*reference)[0].data() + plan.PlacedAt(x, y, p.bytes);
            if (std::memcmp(dstPlanes[0]->plane() + p.Begin() + at, want, static_cast<size_t>(B)) != 0)
                wrong = std::to_string(x) + ", " + std::to_string(y);
        });
        EXPECT_EQ(wrong, "") << "a pixel away from its placement";
        return;
    }
    Picture written;
    for (size_t i = 0; i < dstPlanes.size(); ++i) {
        const PlaneRule& p = dstRules[i];
        std::vector<uint8_t> bytes;
        for (int64_t r = 0; r < p.pictureRows; ++r) {
            const uint8_t* row = dstPlanes[i]->plane() + r * p.stride + p.lead;
            bytes.insert(bytes.end(), row, row + plan.Written(p));
        }
        written.push_back(std::move(bytes));
    }
    if (reference->empty())
        *reference = std::move(written);
    else
        EXPECT_TRUE(written == *reference) << "the picture depends on the strides";
}

TEST_P(GuardPages, EveryRotationModeAndStrideStaysInsideTheDocumentedBytes) {
    const Route& route = GetParam();
    // 320 x 240 to 480 x 272 is a route of its own only unrotated; rotated, it is the general
    // upscaler that the other sizes run.
    const bool fixed320 = route.size == Size::k480x272;
    for (Dims size : kSizes) {
        if (fixed320) size = {320, 240};
        for (uint32_t rotation = 0; rotation <= (fixed320 ? 0u : 5u); ++rotation) {
            const Plan plan(route, rotation, size);
            const QvCreateParams params =
                qvtest::MakeParams(route.op, plan.W, plan.H, plan.DW, plan.DH, rotation, route.interpolation);
            QvHandle h = nullptr;
            ASSERT_EQ(qv::QV_IMAGEPROC_Create(&h, 0, &params), plan.refusesCreate ? QV_E_NOTIMPL : QV_S_OK)
                << route.name << " rotation " << rotation;
            if (plan.refusesCreate) continue;
            if (route.adjust) {
                const int32_t values[3] = {150, 100, 90};
                EXPECT_EQ(qv::QV_IMAGEPROC_Set(h, QV_PROPERTY_COLOUR_ADJUST, values), QV_S_OK);
            }
            // A mode stays on for later frames, so mode 0 (off) comes first.
            std::vector<uint32_t> modes = {0};
            if (Planar(plan.srcFormat)) modes = {0, 1, 2, 3, 4, 5, 6, 7, 9};
            for (uint32_t mode : modes) {
                Picture reference;
                for (StrideKind kind : kStrideKinds)
                    for (bool againstFront : {false, true})
                        if (!HasFatalFailure()) RunFrame(h, plan, mode, kind, againstFront, &reference);
                if (mode != 0 || !plan.RotatedRgbDestination()) continue;
                for (StrideKind kind : kPartPixelKinds)
                    for (bool againstFront : {false, true})
                        if (!HasFatalFailure()) RunFrame(h, plan, mode, kind, againstFront, &reference);
            }
            qv::QV_IMAGEPROC_Destroy(h);
            if (HasFatalFailure()) return;
        }
        if (fixed320) break;
    }
}

INSTANTIATE_TEST_SUITE_P(Routes, GuardPages, ::testing::ValuesIn(kRoutes),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
