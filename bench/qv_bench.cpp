// Times every route that a peer library also offers, at 640x480 and 1920x1080: this library
// through its public interface (ProcessFrame, as a host pays for it), the closest libyuv call,
// the closest swscale call, and a memcpy moving as many bytes as the conversion reads and writes
// (the floor). The contenders of one route and size run side by side in this process: after a
// calibration run, each round runs every contender once in turn, and the table gives the median
// of the rounds. The kernel set (qv::KernelSetName(), capped by QV_SIMD) is fixed per process, so
// scripts/bench.sh runs this twice (QV_SIMD=off, then the default) and the second run folds the
// first one's results (--second) into its table. --help lists the options.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "core/kernel_table.h"  // qv::KernelSetName(): the bench links the static core
#include "interface.h"
#include "qv_imageproc.h"

#ifdef QV_BENCH_LIBYUV
#include <libyuv.h>
#endif
#ifdef QV_BENCH_SWSCALE
extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}
#endif

namespace {

// Plane geometry of one picture in a format: bytes per row and rows, per plane.
struct Geometry {
    int planes = 0;
    int32_t rowBytes[3] = {0, 0, 0};
    int32_t rows[3] = {0, 0, 0};
};

Geometry GeometryOf(int format, int32_t w, int32_t h) {
    Geometry g;
    switch (format) {
        case QV_FORMAT_YCBCR420: g = {3, {w, w / 2, w / 2}, {h, h / 2, h / 2}}; break;
        case QV_FORMAT_YCBCR422: g = {3, {w, w / 2, w / 2}, {h, h, h}}; break;
        case QV_FORMAT_YCBCR444: g = {3, {w, w, w}, {h, h, h}}; break;
        case QV_FORMAT_NV12: g = {2, {w, w, 0}, {h, h / 2, 0}}; break;
        case QV_FORMAT_RGB888: g = {1, {3 * w, 0, 0}, {h, 0, 0}}; break;
        case QV_FORMAT_ARGB32:
        case QV_FORMAT_ABGR32: g = {1, {4 * w, 0, 0}, {h, 0, 0}}; break;
        default: g = {1, {2 * w, 0, 0}, {h, 0, 0}}; break;  // 16-bit formats
    }
    return g;
}

// Where every plane starts: this many bytes past a 64-byte boundary (--offset). Frame pools
// hand out line-aligned planes (0); malloc's own alignment is 16.
int g_planeOffset = 0;

// A picture with tightly packed rows and five spare rows below each plane: the padding the
// README asks of sources (block deinterlacing reads up to five rows below a plane).
struct Picture {
    Geometry g;
    std::vector<uint8_t> bytes[3];
    uint8_t* plane[3] = {nullptr, nullptr, nullptr};
    int32_t stride[3] = {0, 0, 0};
    Picture(int format, int32_t w, int32_t h) : g(GeometryOf(format, w, h)) {
        for (int i = 0; i < g.planes; ++i) {
            stride[i] = g.rowBytes[i];
            bytes[i].resize(static_cast<size_t>(stride[i]) * (g.rows[i] + 5) + 128);
            for (size_t k = 0; k < bytes[i].size(); ++k) bytes[i][k] = static_cast<uint8_t>(k * 131 + i * 17 + (k >> 9));
            const uintptr_t at = reinterpret_cast<uintptr_t>(bytes[i].data());
            plane[i] = bytes[i].data() + ((64 - at % 64) % 64) + g_planeOffset;
        }
    }
    double Bytes() const {
        double b = 0;
        for (int i = 0; i < g.planes; ++i) b += static_cast<double>(g.rowBytes[i]) * g.rows[i];
        return b;
    }
};

struct Route {
    std::string name;
    int srcFormat, dstFormat;
    uint32_t rotation = 0, interpolation = 2, deinterlace = 0;
    // Destination size as a fraction of the source (numerator, denominator).
    int scaleNum = 1, scaleDen = 1;
    int yuv = -1;  // index into the libyuv calls, -1 when libyuv has no counterpart
    int swsSrc = -1, swsDst = -1;
};

struct Size {
    const char* name;
    int32_t w, h;
};
const Size kSizes[] = {{"640x480", 640, 480}, {"1920x1080", 1920, 1080}};

int32_t Round4(int64_t v) { return static_cast<int32_t>(v & ~3); }

#ifdef QV_BENCH_LIBYUV
using YuvCall = std::function<void(Picture&, Picture&, int32_t, int32_t, int32_t, int32_t)>;
enum YuvId { kYuvToRGB565, kYuvToARGB, kYuvToRGB24, kYuvToYUY2, kYuvToUYVY, kYuvToNV12, kYuvNV12ToI420,
             kYuvCopy, kYuvRot90, kYuvRot180, kYuvScale, kYuvScaleToRGB565, kYuvARGBToI420,
             kYuvRGB565ToI420, kYuvRGB565ToARGB, kYuvI422ToRGB565, kYuvI444ToARGB, kYuvToARGBRot90 };
YuvCall YuvCallOf(int id) {
    using namespace libyuv;
    switch (id) {
        case kYuvToRGB565: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            I420ToRGB565(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], d.stride[0], w, h); };
        case kYuvToARGB: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            I420ToARGB(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], d.stride[0], w, h); };
        case kYuvToRGB24: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            I420ToRGB24(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], d.stride[0], w, h); };
        case kYuvToYUY2: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            I420ToYUY2(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], d.stride[0], w, h); };
        case kYuvToUYVY: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            I420ToUYVY(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], d.stride[0], w, h); };
        case kYuvToNV12: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            I420ToNV12(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], d.stride[0], d.plane[1], d.stride[1], w, h); };
        case kYuvNV12ToI420: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            NV12ToI420(s.plane[0], s.stride[0], s.plane[1], s.stride[1], d.plane[0], d.stride[0], d.plane[1], d.stride[1], d.plane[2], d.stride[2], w, h); };
        case kYuvCopy: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            I420Copy(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], d.stride[0], d.plane[1], d.stride[1], d.plane[2], d.stride[2], w, h); };
        case kYuvRot90:
        case kYuvRot180: {
            const RotationMode mode = id == kYuvRot90 ? kRotate90 : kRotate180;
            return [mode](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
                const int32_t dw = mode == kRotate90 ? h : w;  // rows of the rotated picture
                I420Rotate(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], dw, d.plane[1], dw / 2, d.plane[2], dw / 2, w, h, mode); };
        }
        case kYuvScale: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t dw, int32_t dh) {
            I420Scale(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], w, h, d.plane[0], d.stride[0], d.plane[1], d.stride[1], d.plane[2], d.stride[2], dw, dh, kFilterBilinear); };
        case kYuvScaleToRGB565: {
            // libyuv has no scaling converter: scale the planes, then convert.
            return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t dw, int32_t dh) {
                static std::vector<uint8_t> tmp;
                tmp.resize(static_cast<size_t>(dw) * dh * 3 / 2);
                uint8_t* ty = tmp.data();
                uint8_t* tu = ty + static_cast<size_t>(dw) * dh;
                uint8_t* tv = tu + static_cast<size_t>(dw) * dh / 4;
                I420Scale(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], w, h, ty, dw, tu, dw / 2, tv, dw / 2, dw, dh, kFilterBilinear);
                I420ToRGB565(ty, dw, tu, dw / 2, tv, dw / 2, d.plane[0], d.stride[0], dw, dh); };
        }
        case kYuvARGBToI420: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            ARGBToI420(s.plane[0], s.stride[0], d.plane[0], d.stride[0], d.plane[1], d.stride[1], d.plane[2], d.stride[2], w, h); };
        case kYuvRGB565ToI420: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            RGB565ToI420(s.plane[0], s.stride[0], d.plane[0], d.stride[0], d.plane[1], d.stride[1], d.plane[2], d.stride[2], w, h); };
        case kYuvRGB565ToARGB: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            RGB565ToARGB(s.plane[0], s.stride[0], d.plane[0], d.stride[0], w, h); };
        case kYuvI422ToRGB565: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            I422ToRGB565(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], d.stride[0], w, h); };
        case kYuvToARGBRot90: {
            // libyuv has no rotating converter: convert into a frame buffer, then rotate it.
            return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
                static std::vector<uint8_t> tmp;
                tmp.resize(static_cast<size_t>(4) * w * h);
                I420ToARGB(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], tmp.data(), 4 * w, w, h);
                ARGBRotate(tmp.data(), 4 * w, d.plane[0], d.stride[0], w, h, kRotate90); };
        }
        default: return [](Picture& s, Picture& d, int32_t w, int32_t h, int32_t, int32_t) {
            I444ToARGB(s.plane[0], s.stride[0], s.plane[1], s.stride[1], s.plane[2], s.stride[2], d.plane[0], d.stride[0], w, h); };
    }
}
#else
enum YuvId { kYuvToRGB565, kYuvToARGB, kYuvToRGB24, kYuvToYUY2, kYuvToUYVY, kYuvToNV12, kYuvNV12ToI420,
             kYuvCopy, kYuvRot90, kYuvRot180, kYuvScale, kYuvScaleToRGB565, kYuvARGBToI420,
             kYuvRGB565ToI420, kYuvRGB565ToARGB, kYuvI422ToRGB565, kYuvI444ToARGB, kYuvToARGBRot90 };
#endif

#ifdef QV_BENCH_SWSCALE
constexpr int kSwsYUV420P = AV_PIX_FMT_YUV420P, kSwsYUV422P = AV_PIX_FMT_YUV422P, kSwsYUV444P = AV_PIX_FMT_YUV444P,
              kSwsRGB565 = AV_PIX_FMT_RGB565LE, kSwsBGRA = AV_PIX_FMT_BGRA, kSwsBGR24 = AV_PIX_FMT_BGR24,
              kSwsYUYV = AV_PIX_FMT_YUYV422, kSwsUYVY = AV_PIX_FMT_UYVY422, kSwsNV12 = AV_PIX_FMT_NV12;
#else
constexpr int kSwsYUV420P = -1, kSwsYUV422P = -1, kSwsYUV444P = -1, kSwsRGB565 = -1, kSwsBGRA = -1,
              kSwsBGR24 = -1, kSwsYUYV = -1, kSwsUYVY = -1, kSwsNV12 = -1;
#endif

std::vector<Route> Routes() {
    using R = Route;
    std::vector<Route> r = {
        R{"I420 to RGB565", 0, 3, 0, 2, 0, 1, 1, kYuvToRGB565, kSwsYUV420P, kSwsRGB565},
        R{"I420 to ARGB", 0, 5, 0, 2, 0, 1, 1, kYuvToARGB, kSwsYUV420P, kSwsBGRA},
        R{"I420 to RGB24", 0, 4, 0, 2, 0, 1, 1, kYuvToRGB24, kSwsYUV420P, kSwsBGR24},
        R{"I420 to YUY2", 0, 6, 0, 2, 0, 1, 1, kYuvToYUY2, kSwsYUV420P, kSwsYUYV},
        R{"I420 to UYVY", 0, 7, 0, 2, 0, 1, 1, kYuvToUYVY, kSwsYUV420P, kSwsUYVY},
        R{"I420 to NV12", 0, 8, 0, 2, 0, 1, 1, kYuvToNV12, kSwsYUV420P, kSwsNV12},
        R{"NV12 to I420", 8, 0, 0, 2, 0, 1, 1, kYuvNV12ToI420, kSwsNV12, kSwsYUV420P},
        R{"I420 copy", 0, 0, 0, 2, 0, 1, 1, kYuvCopy, kSwsYUV420P, kSwsYUV420P},
        // Rotation 2 is QV_ROTATE_90_CW, the quarter turn libyuv calls kRotate90.
        R{"I420 to ARGB rotate 90", 0, 5, 2, 2, 0, 1, 1, kYuvToARGBRot90, -1, -1},
        R{"I420 rotate 90", 0, 0, 2, 2, 0, 1, 1, kYuvRot90, -1, -1},
        R{"I420 rotate 180", 0, 0, 3, 2, 0, 1, 1, kYuvRot180, -1, -1},
        R{"I420 bilinear x2/3", 0, 0, 0, 2, 0, 2, 3, kYuvScale, kSwsYUV420P, kSwsYUV420P},
        R{"I420 bilinear x3/2", 0, 0, 0, 2, 0, 3, 2, kYuvScale, kSwsYUV420P, kSwsYUV420P},
        R{"I420 to RGB565 x2/3", 0, 3, 0, 2, 0, 2, 3, kYuvScaleToRGB565, kSwsYUV420P, kSwsRGB565},
        R{"I420 to RGB565 x3/2", 0, 3, 0, 2, 0, 3, 2, kYuvScaleToRGB565, kSwsYUV420P, kSwsRGB565},
        R{"ARGB to I420", 5, 0, 0, 2, 0, 1, 1, kYuvARGBToI420, kSwsBGRA, kSwsYUV420P},
        R{"RGB565 to I420", 3, 0, 0, 2, 0, 1, 1, kYuvRGB565ToI420, kSwsRGB565, kSwsYUV420P},
        R{"RGB565 to ARGB", 3, 5, 0, 2, 0, 1, 1, kYuvRGB565ToARGB, kSwsRGB565, kSwsBGRA},
        R{"I422 to RGB565", 1, 3, 0, 2, 0, 1, 1, kYuvI422ToRGB565, kSwsYUV422P, kSwsRGB565},
        R{"I444 to ARGB", 2, 5, 0, 2, 0, 1, 1, kYuvI444ToARGB, kSwsYUV444P, kSwsBGRA},
    };
    static const char* const kModes[] = {"", "fast", "discard", "bob", "blend", "mean", "linear", "x"};
    for (uint32_t m = 1; m <= 7; ++m)
        r.push_back(R{std::string("I420 deinterlace ") + kModes[m], 0, 0, 0, 2, m, 1, 1, kYuvCopy, -1, -1});
    return r;
}

// ---- measuring --------------------------------------------------------------------------------

int g_rounds = 10;              // measured rounds per route and size
double g_roundSeconds = 0.025;  // the time of one contender's run in a round
bool g_withSwscale = true, g_withFloor = true, g_withLibyuv = true;

struct Job {
    Route route;
    Size size;
    int32_t dw, dh;
};

// One contender of a job: this library, a peer or the floor. `frame` processes one frame and
// tells whether it succeeded.
struct Contender {
    std::string who;
    std::function<bool()> frame;
    std::string error;  // why it is not measured
    benchmark::IterationCount iterations = 0;
    std::vector<double> samples;  // ms per frame, one per round
    Contender(std::string w, std::function<bool()> f) : who(std::move(w)), frame(std::move(f)) {}
    Contender(std::string w, std::string e) : who(std::move(w)), error(std::move(e)) {}
};

double Median(std::vector<double> v) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

// Keeps the last run of each registered benchmark (by name); prints nothing.
class Collector : public benchmark::BenchmarkReporter {
public:
    struct Result {
        bool error = false;
        std::string message;
        double ms = 0;
        benchmark::IterationCount iterations = 0;
    };
    std::map<std::string, Result> last;
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            last[run.run_name.function_name] = {run.error_occurred, run.error_message,
                                                run.GetAdjustedRealTime() * 1e3 /
                                                    benchmark::GetTimeUnitMultiplier(run.time_unit),
                                                run.iterations};
        }
    }
};

// The contenders of one job, each owning its pictures (and ours its context) for all rounds.
std::vector<Contender> ContendersOf(const Job& j) {
    const Route r = j.route;
    const int32_t w = j.size.w, h = j.size.h, dw = j.dw, dh = j.dh;
    const bool quarter = r.rotation == 1 || r.rotation == 2;
    std::vector<Contender> c;

    {
        auto src = std::make_shared<Picture>(r.srcFormat, w, h);
        auto dst = std::make_shared<Picture>(r.dstFormat, quarter ? dh : dw, quarter ? dw : dh);
        QvCreateParams p{sizeof(QvCreateParams), QV_OPERATION(r.srcFormat, r.dstFormat), r.rotation, r.interpolation,
                         w, h, dw, dh, 0xFF, 0};
        QvHandle handle = nullptr;
        if (Qv()->Create(&handle, 0, &p) != QV_S_OK) {
            c.emplace_back("ours", std::string("Create failed"));
        } else {
            std::shared_ptr<void> context(handle, [](void* h) { Qv()->Destroy(h); });
            const QvFrameOptions options{0, 0, r.deinterlace};
            c.emplace_back("ours", [src, dst, context, options] {
                const uint8_t* sp[3] = {src->plane[0], src->plane[1], src->plane[2]};
                const bool ok =
                    Qv()->ProcessFrame(context.get(), sp, src->stride, dst->plane, dst->stride, &options) == QV_S_OK;
                benchmark::DoNotOptimize(dst->plane[0][0]);
                return ok;
            });
        }
    }
#ifdef QV_BENCH_LIBYUV
    if (r.yuv >= 0 && g_withLibyuv) {
        auto src = std::make_shared<Picture>(r.srcFormat, w, h);
        auto dst = std::make_shared<Picture>(r.dstFormat, quarter ? dh : dw, quarter ? dw : dh);
        c.emplace_back("libyuv", [src, dst, call = YuvCallOf(r.yuv), w, h, dw, dh] {
            call(*src, *dst, w, h, dw, dh);
            benchmark::DoNotOptimize(dst->plane[0][0]);
            return true;
        });
    }
#endif
#ifdef QV_BENCH_SWSCALE
    if (r.swsSrc >= 0 && g_withSwscale) {
        auto src = std::make_shared<Picture>(r.srcFormat, w, h);
        auto dst = std::make_shared<Picture>(r.dstFormat, dw, dh);
        SwsContext* sws = sws_getContext(w, h, static_cast<AVPixelFormat>(r.swsSrc), dw, dh,
                                         static_cast<AVPixelFormat>(r.swsDst), SWS_BILINEAR, nullptr, nullptr, nullptr);
        if (sws == nullptr) {
            c.emplace_back("swscale", std::string("sws_getContext failed"));
        } else {
            std::shared_ptr<SwsContext> context(sws, sws_freeContext);
            c.emplace_back("swscale", [src, dst, context, h] {
                const uint8_t* sp[4] = {src->plane[0], src->plane[1], src->plane[2], nullptr};
                const int ss[4] = {src->stride[0], src->stride[1], src->stride[2], 0};
                uint8_t* dp[4] = {dst->plane[0], dst->plane[1], dst->plane[2], nullptr};
                const int ds[4] = {dst->stride[0], dst->stride[1], dst->stride[2], 0};
                const bool ok = sws_scale(context.get(), sp, ss, 0, h, dp, ds) > 0;
                benchmark::DoNotOptimize(dst->plane[0][0]);
                return ok;
            });
        }
    }
#endif
    if (g_withFloor) {
        // The floor: one memcpy whose traffic (read + write) equals the conversion's.
        const double traffic = Picture(r.srcFormat, w, h).Bytes() + Picture(r.dstFormat, dw, dh).Bytes();
        const size_t n = static_cast<size_t>(traffic / 2);
        auto a = std::make_shared<std::vector<uint8_t>>(n, 1), b = std::make_shared<std::vector<uint8_t>>(n, 2);
        c.emplace_back("floor", [a, b] {
            std::memcpy(b->data(), a->data(), a->size());
            benchmark::DoNotOptimize(b->data());
            benchmark::ClobberMemory();
            return true;
        });
    }
    return c;
}

// Runs every contender of the job once, in order, through Google Benchmark.
void RunOnce(std::vector<Contender>& c, Collector& collector, bool calibrate) {
    int registered = 0;
    for (Contender& k : c) {
        if (!k.error.empty()) continue;
        ++registered;
        auto* b = benchmark::RegisterBenchmark(k.who.c_str(), [&k](benchmark::State& st) {
            // One untimed frame first: the round measures this contender with its own buffers
            // in the caches, whatever ran before it.
            bool ok = k.frame();
            for (auto _ : st) ok = k.frame() && ok;
            if (!ok) st.SkipWithError("a frame failed");
        });
        b->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(1);
        if (calibrate) b->MinTime(g_roundSeconds / 2);
        else b->Iterations(k.iterations);
    }
    if (registered == 0) return;
    collector.last.clear();
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::ClearRegisteredBenchmarks();
    for (Contender& k : c) {
        if (!k.error.empty()) continue;
        auto it = collector.last.find(k.who);
        if (it == collector.last.end() || it->second.error) {
            k.error = it == collector.last.end() ? "no result" : it->second.message;
        } else if (calibrate) {
            const double perFrameMs = std::max(it->second.ms, 1e-6);
            k.iterations = std::max<benchmark::IterationCount>(1, std::llround(g_roundSeconds * 1e3 / perFrameMs));
        } else {
            k.samples.push_back(it->second.ms);
        }
    }
}

// The job's medians by contender. One calibration run, then g_rounds rounds, each running ours,
// libyuv, swscale and the floor in turn (one untimed frame, then about g_roundSeconds of
// frames), so that the contenders see the machine in the same state.
std::map<std::string, double> Measure(const Job& j, Collector& collector) {
    std::vector<Contender> c = ContendersOf(j);
    RunOnce(c, collector, true);
    for (int round = 0; round < g_rounds; ++round) RunOnce(c, collector, false);
    std::map<std::string, double> medians;
    std::printf("%-26s %-9s", j.route.name.c_str(), j.size.name);
    for (const Contender& k : c) {
        if (k.error.empty() && !k.samples.empty()) {
            medians[k.who] = Median(k.samples);
            std::printf("  %s %.3f", k.who.c_str(), medians[k.who]);
        } else {
            std::printf("  %s (%s)", k.who.c_str(), k.error.c_str());
        }
    }
    std::printf(" ms\n");
    std::fflush(stdout);
    return medians;
}

// ---- results ----------------------------------------------------------------------------------

// Medians of one process run, keyed "route|size|contender", with what the run was made on.
struct Results {
    std::string kernels, simd, cpu, load;  // load: the load averages before and after the run
    std::map<std::string, double> ms;
    double Get(const std::string& key) const {
        auto it = ms.find(key);
        return it == ms.end() ? 0 : it->second;
    }
};

std::string Key(const Job& j, const char* who) { return j.route.name + "|" + j.size.name + "|" + who; }

std::string CpuModel() {
    std::string model = "unknown CPU";
    if (FILE* f = std::fopen("/proc/cpuinfo", "r")) {
        char line[512];
        while (std::fgets(line, sizeof line, f)) {
            if (std::strncmp(line, "model name", 10) != 0) continue;
            const char* colon = std::strchr(line, ':');
            if (colon == nullptr) continue;
            model = colon + 1;
            model.erase(0, model.find_first_not_of(" \t"));
            model.erase(model.find_last_not_of(" \t\n") + 1);
            break;
        }
        std::fclose(f);
    }
    return model + ", " + std::to_string(std::thread::hardware_concurrency()) + " logical CPUs";
}

// The one-minute load average (the machine may be shared with other work).
std::string LoadAverage() {
    double load = -1;
    if (FILE* f = std::fopen("/proc/loadavg", "r")) {
        if (std::fscanf(f, "%lf", &load) != 1) load = -1;
        std::fclose(f);
    }
    if (load < 0) return "?";
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.2f", load);
    return buf;
}

// Tab-separated: four "# name<TAB>value" lines, then "route<TAB>size<TAB>contender<TAB>ms".
bool WriteResults(const std::string& path, const Results& r) {
    FILE* f = std::fopen(path.c_str(), "w");
    if (f == nullptr) return false;
    std::fprintf(f, "# kernels\t%s\n# qv_simd\t%s\n# cpu\t%s\n# load\t%s\n", r.kernels.c_str(), r.simd.c_str(),
                 r.cpu.c_str(), r.load.c_str());
    for (const auto& [key, ms] : r.ms) {
        std::string line = key;
        std::replace(line.begin(), line.end(), '|', '\t');
        std::fprintf(f, "%s\t%.6f\n", line.c_str(), ms);
    }
    return std::fclose(f) == 0;
}

bool ReadResults(const std::string& path, Results& r) {
    std::ifstream in(path);
    if (!in) return false;
    std::string line;
    while (std::getline(in, line)) {
        std::vector<std::string> field;
        for (size_t start = 0;;) {
            const size_t tab = line.find('\t', start);
            field.push_back(line.substr(start, tab - start));
            if (tab == std::string::npos) break;
            start = tab + 1;
        }
        if (field.size() == 2 && field[0] == "# kernels") r.kernels = field[1];
        else if (field.size() == 2 && field[0] == "# qv_simd") r.simd = field[1];
        else if (field.size() == 2 && field[0] == "# cpu") r.cpu = field[1];
        else if (field.size() == 2 && field[0] == "# load") r.load = field[1];
        else if (field.size() == 4) r.ms[field[0] + "|" + field[1] + "|" + field[2]] = std::atof(field[3].c_str());
    }
    return true;
}

std::string Ratio(double num, double den) {
    if (num <= 0 || den <= 0) return "–";
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.2f", num / den);
    return buf;
}

std::string SimdLabel(const std::string& simd) { return simd.empty() ? "QV_SIMD unset" : "QV_SIMD=" + simd; }

// The markdown table: ours with the process's kernel set, ours with the second run's (scalar)
// set when given, and the ratios.
std::string Table(const std::vector<Job>& jobs, const Results& now, const Results* other) {
    std::string t = "CPU: " + now.cpu + ". Kernel set: " + now.kernels + " (" + SimdLabel(now.simd) + ")";
    if (other != nullptr) t += "; second column: " + other->kernels + " (" + SimdLabel(other->simd) + "), its own process";
    t += ".\n";
#ifdef QV_BENCH_LIBYUV
    t += "libyuv " + std::to_string(LIBYUV_VERSION) + ". ";
#endif
#ifdef QV_BENCH_SWSCALE
    t += std::string("swscale ") + AV_STRINGIFY(LIBSWSCALE_VERSION) + ". ";
#endif
    t += "Each time is the median of " + std::to_string(g_rounds) +
         " rounds; a round runs ours, libyuv, swscale and the memcpy floor in turn. Planes start " +
         std::to_string(g_planeOffset) + " bytes past a 64-byte boundary.\n";
    t += "Load average: " + now.load;
    if (other != nullptr) t += " (" + other->kernels + " run: " + other->load + ")";
    t += ".\n\n";
    t += "| route | size | ms " + now.kernels;
    if (other != nullptr) t += " | ms " + other->kernels;
    t += " | ours/libyuv";
    if (other != nullptr) t += " | " + other->kernels + "/libyuv";
    t += " | ours/swscale | ours/floor |\n|---|---|---:|";
    if (other != nullptr) t += "---:|---:|";
    t += "---:|---:|---:|\n";
    for (const Job& j : jobs) {
        const double ms = now.Get(Key(j, "ours"));
        if (ms <= 0) continue;
        char cell[64];
        std::snprintf(cell, sizeof cell, "%.3f", ms);
        t += "| " + j.route.name + " | " + j.size.name + " | " + cell;
        if (other != nullptr) {
            const double oms = other->Get(Key(j, "ours"));
            std::snprintf(cell, sizeof cell, "%.3f", oms);
            t += std::string(" | ") + (oms > 0 ? cell : "–");
        }
        t += " | " + Ratio(ms, now.Get(Key(j, "libyuv")));
        if (other != nullptr) t += " | " + Ratio(other->Get(Key(j, "ours")), other->Get(Key(j, "libyuv")));
        t += " | " + Ratio(ms, now.Get(Key(j, "swscale"))) + " | " + Ratio(ms, now.Get(Key(j, "floor"))) + " |\n";
    }
    return t;
}

// The chart's data: a line per route with a libyuv counterpart, and per size the ratio
// ours/libyuv for this run and for the second run ("-" where missing).
bool WritePlotData(const std::string& path, const std::vector<Job>& jobs, const Results& now, const Results* other) {
    FILE* f = std::fopen(path.c_str(), "w");
    if (f == nullptr) return false;
    std::fprintf(f, "# route");
    for (const Size& s : kSizes)
        std::fprintf(f, "\t%s %s\t%s %s", s.name, now.kernels.c_str(), s.name, other ? other->kernels.c_str() : "-");
    std::fprintf(f, "\n");
    std::vector<std::string> done;
    for (const Job& j : jobs) {
        if (j.route.yuv < 0 || std::find(done.begin(), done.end(), j.route.name) != done.end()) continue;
        done.push_back(j.route.name);
        std::fprintf(f, "\"%s\"", j.route.name.c_str());
        for (const Size& s : kSizes) {
            const Job k{j.route, s, 0, 0};
            const std::string a = Ratio(now.Get(Key(k, "ours")), now.Get(Key(k, "libyuv")));
            const std::string b = other ? Ratio(other->Get(Key(k, "ours")), other->Get(Key(k, "libyuv"))) : "–";
            std::fprintf(f, "\t%s\t%s", a == "–" ? "-" : a.c_str(), b == "–" ? "-" : b.c_str());
        }
        std::fprintf(f, "\n");
    }
    return std::fclose(f) == 0;
}

bool WriteText(const std::string& path, const std::string& text) {
    FILE* f = std::fopen(path.c_str(), "w");
    if (f == nullptr) return false;
    std::fputs(text.c_str(), f);
    return std::fclose(f) == 0;
}

bool HasListItem(const std::string& list, const char* item) {
    return ("," + list + ",").find(std::string(",") + item + ",") != std::string::npos;
}

}  // namespace

int main(int argc, char** argv) {
    std::string tablePath = "bench-results.md", resultsPath, otherPath, plotPath, routeFilter;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&a](const char* flag) -> const char* {
            const size_t n = std::strlen(flag);
            return a.compare(0, n, flag) == 0 ? a.c_str() + n : nullptr;
        };
        if (const char* v = value("--table=")) tablePath = v;
        else if (const char* v = value("--results=")) resultsPath = v;
        else if (const char* v = value("--second=")) otherPath = v;
        else if (const char* v = value("--plot=")) plotPath = v;
        else if (const char* v = value("--routes=")) routeFilter = v;
        else if (const char* v = value("--rounds=")) g_rounds = std::max(1, std::atoi(v));
        else if (const char* v = value("--offset=")) g_planeOffset = std::clamp(std::atoi(v), 0, 63);
        else if (const char* v = value("--peers=")) {
            g_withLibyuv = HasListItem(v, "libyuv");
            g_withSwscale = HasListItem(v, "swscale");
            g_withFloor = HasListItem(v, "floor");
        } else if (a == "--help") {
            std::printf(
                "qv_bench [--table=FILE.md] [--results=FILE.tsv] [--second=FILE.tsv] [--plot=FILE.dat]\n"
                "         [--routes=TEXT] [--rounds=N] [--peers=libyuv,swscale,floor] [--offset=N]\n"
                "  --table    the markdown table, also printed (default bench-results.md; empty: none)\n"
                "  --results  this run's medians, for a later run's --second\n"
                "  --second   a run made in another process (e.g. QV_SIMD=off): its own times and\n"
                "             ours/libyuv become extra columns\n"
                "  --plot     the ours/libyuv ratios of both runs, for scripts/bench-chart.gp\n"
                "  --routes   only routes whose name contains TEXT\n"
                "  --rounds   measured rounds of about 25 ms per contender (default 10)\n"
                "  --peers    the peers to run beside ours (default all three)\n"
                "  --offset   every plane starts N bytes (0-63) past a 64-byte boundary (default 0)\n");
            return 0;
        } else args.push_back(argv[i]);
    }
    int n = static_cast<int>(args.size());
    benchmark::Initialize(&n, args.data());

    Results now;
    now.kernels = qv::KernelSetName();
    if (const char* simd = std::getenv("QV_SIMD")) now.simd = simd;
    now.cpu = CpuModel();
    const std::string loadBefore = LoadAverage();
    Results other;
    if (!otherPath.empty() && !ReadResults(otherPath, other)) {
        std::fprintf(stderr, "qv_bench: cannot read %s\n", otherPath.c_str());
        return 1;
    }
    std::printf("qv_bench: %s; kernel set %s (%s); %d rounds; planes %d bytes past a line\n", now.cpu.c_str(),
                now.kernels.c_str(), SimdLabel(now.simd).c_str(), g_rounds, g_planeOffset);

    std::vector<Job> jobs;
    for (const Route& r : Routes())
        for (const Size& s : kSizes)
            if (r.name.find(routeFilter) != std::string::npos)
                jobs.push_back({r, s, Round4(static_cast<int64_t>(s.w) * r.scaleNum / r.scaleDen),
                                Round4(static_cast<int64_t>(s.h) * r.scaleNum / r.scaleDen)});
    Collector collector;
    for (const Job& j : jobs)
        for (const auto& [who, ms] : Measure(j, collector)) now.ms[Key(j, who.c_str())] = ms;
    benchmark::Shutdown();
    now.load = loadBefore + " before, " + LoadAverage() + " after";

    const Results* second = otherPath.empty() ? nullptr : &other;
    const std::string table = Table(jobs, now, second);
    if (!tablePath.empty()) std::printf("\n%s", table.c_str());
    int status = 0;
    auto check = [&status](bool ok, const std::string& path) {
        if (ok) std::printf("Written: %s\n", path.c_str());
        else status = 1, std::fprintf(stderr, "qv_bench: cannot write %s\n", path.c_str());
    };
    if (!tablePath.empty()) check(WriteText(tablePath, table), tablePath);
    if (!resultsPath.empty()) check(WriteResults(resultsPath, now), resultsPath);
    if (!plotPath.empty()) check(WritePlotData(plotPath, jobs, now, second), plotPath);
    return status;
}
