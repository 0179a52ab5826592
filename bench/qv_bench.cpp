// Times every route that a peer library also offers, at 640x480 and 1920x1080: this library
// through its public interface (ProcessFrame, as a host pays for it), the closest libyuv call,
// the closest swscale call, and a memcpy moving as many bytes as the conversion reads and writes
// (the floor). Prints one table (median ms per frame, megapixels per second, ratios) and writes
// it to the file named by --table (default bench-results.md).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

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

const QvImageProcFunctions* Qv() {
    static const QvImageProcFunctions* table = [] {
        const QvImageProcFunctions* t = nullptr;
        if (GetDllInterface(&IID_QV_IMAGEPROC_C, &t) != QV_S_OK) std::abort();
        return t;
    }();
    return table;
}

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

// A picture with tightly packed rows and two spare rows below each plane.
struct Picture {
    Geometry g;
    std::vector<uint8_t> bytes[3];
    uint8_t* plane[3] = {nullptr, nullptr, nullptr};
    int32_t stride[3] = {0, 0, 0};
    Picture(int format, int32_t w, int32_t h) : g(GeometryOf(format, w, h)) {
        for (int i = 0; i < g.planes; ++i) {
            stride[i] = g.rowBytes[i];
            bytes[i].resize(static_cast<size_t>(stride[i]) * (g.rows[i] + 2) + 64);
            for (size_t k = 0; k < bytes[i].size(); ++k) bytes[i][k] = static_cast<uint8_t>(k * 131 + i * 17 + (k >> 9));
            plane[i] = bytes[i].data();
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

// One benchmark's median, by its name.
std::map<std::string, double> g_medianMs;

class TableReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                g_medianMs[run.run_name.function_name] = run.GetAdjustedRealTime() * 1e3 /
                                                         benchmark::GetTimeUnitMultiplier(run.time_unit);
        ConsoleReporter::ReportRuns(runs);
    }
};

struct Job {
    Route route;
    Size size;
    int32_t dw, dh;
};

std::string Key(const Job& j, const char* who) { return j.route.name + "|" + j.size.name + "|" + who; }

void RegisterJob(const Job& j) {
    const Route& r = j.route;
    const int32_t w = j.size.w, h = j.size.h, dw = j.dw, dh = j.dh;
    auto configure = [](benchmark::internal::Benchmark* b) {
        b->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly(true)->MinTime(0.05);
    };
    const bool quarter = r.rotation == 1 || r.rotation == 2;

    configure(benchmark::RegisterBenchmark(Key(j, "ours").c_str(), [r, w, h, dw, dh, quarter](benchmark::State& st) {
        Picture src(r.srcFormat, w, h);
        Picture dst(r.dstFormat, quarter ? dh : dw, quarter ? dw : dh);
        QvCreateParams p{sizeof(QvCreateParams), QV_OPERATION(r.srcFormat, r.dstFormat), r.rotation, r.interpolation,
                         w, h, dw, dh, 0xFF, 0};
        QvHandle handle = nullptr;
        if (Qv()->Create(&handle, 0, &p) != QV_S_OK) {
            st.SkipWithError("Create failed");
            return;
        }
        const QvFrameOptions options{0, 0, r.deinterlace};
        const uint8_t* sp[3] = {src.plane[0], src.plane[1], src.plane[2]};
        for (auto _ : st) {
            if (Qv()->ProcessFrame(handle, sp, src.stride, dst.plane, dst.stride, &options) != QV_S_OK)
                st.SkipWithError("ProcessFrame failed");
            benchmark::DoNotOptimize(dst.plane[0][0]);
        }
        Qv()->Destroy(handle);
    }));

#ifdef QV_BENCH_LIBYUV
    if (r.yuv >= 0) {
        configure(benchmark::RegisterBenchmark(Key(j, "libyuv").c_str(), [r, w, h, dw, dh, quarter](benchmark::State& st) {
            Picture src(r.srcFormat, w, h);
            Picture dst(r.dstFormat, quarter ? dh : dw, quarter ? dw : dh);
            const auto call = YuvCallOf(r.yuv);
            for (auto _ : st) {
                call(src, dst, w, h, dw, dh);
                benchmark::DoNotOptimize(dst.plane[0][0]);
            }
        }));
    }
#endif
#ifdef QV_BENCH_SWSCALE
    if (r.swsSrc >= 0) {
        configure(benchmark::RegisterBenchmark(Key(j, "swscale").c_str(), [r, w, h, dw, dh](benchmark::State& st) {
            Picture src(r.srcFormat, w, h);
            Picture dst(r.dstFormat, dw, dh);
            SwsContext* sws = sws_getContext(w, h, static_cast<AVPixelFormat>(r.swsSrc), dw, dh,
                                             static_cast<AVPixelFormat>(r.swsDst), SWS_BILINEAR, nullptr, nullptr, nullptr);
            if (sws == nullptr) {
                st.SkipWithError("sws_getContext failed");
                return;
            }
            const uint8_t* sp[4] = {src.plane[0], src.plane[1], src.plane[2], nullptr};
            const int ss[4] = {src.stride[0], src.stride[1], src.stride[2], 0};
            uint8_t* dp[4] = {dst.plane[0], dst.plane[1], dst.plane[2], nullptr};
            const int ds[4] = {dst.stride[0], dst.stride[1], dst.stride[2], 0};
            for (auto _ : st) {
                sws_scale(sws, sp, ss, 0, h, dp, ds);
                benchmark::DoNotOptimize(dst.plane[0][0]);
            }
            sws_freeContext(sws);
        }));
    }
#endif
    // The floor: one memcpy whose traffic (read + write) equals the conversion's.
    const double traffic = Picture(r.srcFormat, w, h).Bytes() + Picture(r.dstFormat, dw, dh).Bytes();
    configure(benchmark::RegisterBenchmark(Key(j, "floor").c_str(), [traffic](benchmark::State& st) {
        const size_t n = static_cast<size_t>(traffic / 2);
        std::vector<uint8_t> a(n, 1), b(n, 2);
        for (auto _ : st) {
            std::memcpy(b.data(), a.data(), n);
            benchmark::DoNotOptimize(b.data());
            benchmark::ClobberMemory();
        }
    }));
}

std::string Ratio(double ours, const std::string& key) {
    auto it = g_medianMs.find(key);
    if (it == g_medianMs.end() || it->second <= 0) return "–";
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.2f", ours / it->second);
    return buf;
}

}  // namespace

int main(int argc, char** argv) {
    std::string tablePath = "bench-results.md";
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        if (std::strncmp(argv[i], "--table=", 8) == 0) tablePath = argv[i] + 8;
        else args.push_back(argv[i]);
    }
    int n = static_cast<int>(args.size());
    std::vector<Job> jobs;
    for (const Route& r : Routes())
        for (const Size& s : kSizes)
            jobs.push_back({r, s, Round4(static_cast<int64_t>(s.w) * r.scaleNum / r.scaleDen),
                            Round4(static_cast<int64_t>(s.h) * r.scaleNum / r.scaleDen)});
    for (const Job& j : jobs) RegisterJob(j);
    benchmark::Initialize(&n, args.data());
    TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    std::string table =
        "| route | size | ms/frame | Mpixel/s | ours/libyuv | ours/swscale | ours/floor |\n"
        "|---|---|---:|---:|---:|---:|---:|\n";
    for (const Job& j : jobs) {
        auto it = g_medianMs.find(Key(j, "ours"));
        if (it == g_medianMs.end()) continue;
        const double ms = it->second;
        char line[256];
        std::snprintf(line, sizeof line, "| %s | %s | %.3f | %.1f | %s | %s | %s |\n", j.route.name.c_str(), j.size.name,
                      ms, static_cast<double>(j.size.w) * j.size.h / (ms * 1e3), Ratio(ms, Key(j, "libyuv")).c_str(),
                      Ratio(ms, Key(j, "swscale")).c_str(), Ratio(ms, Key(j, "floor")).c_str());
        table += line;
    }
    std::printf("\n%s", table.c_str());
    if (FILE* f = std::fopen(tablePath.c_str(), "w")) {
        std::fputs(table.c_str(), f);
        std::fclose(f);
        std::printf("\nTable written to %s\n", tablePath.c_str());
    }
    return 0;
}
