// Deinterlace modes against the two-pass floor: each mode, 4:2:0 to 4:2:0 at the same size
// through the public interface (a plain copy, so the mode writes the destination in one pass),
// beside two memcpy passes over the frame's bytes (source to a work buffer, work buffer to the
// destination: 1.5 x W x H bytes each), what a mode into the work planes and the copy out of them
// would be held to. Runs alternate between the two in one process,
// about half a millisecond each; times are medians over the rounds, and ours/floor is the median
// of the rounds' ratios (each round's two runs see the same load on a shared machine).
//
//   qv_deinterlace_bench [rounds [mode [width]]]   default 101 rounds,
//                                                  every mode (fast ... block) at both sizes
//
// Two more columns time the two-pass road that other frames take: the mode's own pass
// (DeInterlace into planes of the work-plane pitch) against one memcpy pass, and the conversion
// out of planes laid out as the work planes (a frame without deinterlacing from such planes)
// against one memcpy pass.
//
// The source is the benchmark pattern of qv_bench (nearly every 8x8 block combed, the block
// mode's worst case) with five readable rows below every plane, as the block mode needs.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/kernel_table.h"
#include "deinterlace/deinterlace.h"
#include "interface.h"
#include "qv_imageproc.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Frame {
    int32_t w, h;
    std::vector<uint8_t> bytes[3];
    uint8_t* plane[3];
    int32_t stride[3];
    Frame(int32_t width, int32_t height, bool pattern) : w(width), h(height) {
        for (int i = 0; i < 3; ++i) {
            stride[i] = i == 0 ? w : w / 2;
            const int32_t rows = (i == 0 ? h : h / 2) + 5;
            bytes[i].assign(static_cast<size_t>(stride[i]) * rows + 64, 0);
            if (pattern)
                for (size_t k = 0; k < bytes[i].size(); ++k)
                    bytes[i][k] = static_cast<uint8_t>(k * 131 + i * 17 + (k >> 9));
            plane[i] = bytes[i].data();
        }
    }
};

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Seconds per call of f, over `calls` calls.
template <class F>
double Time(int calls, F f) {
    const auto start = Clock::now();
    for (int i = 0; i < calls; ++i) f();
    return std::chrono::duration<double>(Clock::now() - start).count() / calls;
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(3, std::atoi(argv[1])) : 101;
    const char* onlyMode = argc > 2 ? argv[2] : nullptr;
    const int32_t onlyWidth = argc > 3 ? std::atoi(argv[3]) : 0;
    const char* simd = std::getenv("QV_SIMD");
    std::printf("kernel set %s (QV_SIMD=%s), %d rounds, medians\n\n", qv::KernelSetName(), simd ? simd : "", rounds);
    std::printf("| mode | size | ms/frame | floor ms | ours/floor | pass/memcpy | copy/memcpy |\n"
                "|---|---|---:|---:|---:|---:|---:|\n");
    static const struct {
        const char* name;
        uint32_t mode;
    } kModes[] = {{"fast", 1}, {"discard", 2}, {"bob", 3}, {"blend", 4}, {"mean", 5}, {"linear", 6}, {"block", 7}};
    static const int32_t kSizes[][2] = {{640, 480}, {1920, 1080}};
    for (const auto& size : kSizes) {
        const int32_t w = size[0], h = size[1];
        if (onlyWidth != 0 && w != onlyWidth) continue;
        Frame src(w, h, true), dst(w, h, false);
        const size_t frameBytes = static_cast<size_t>(w) * h * 3 / 2;
        std::vector<uint8_t> a(frameBytes, 1), work(frameBytes, 2), b(frameBytes, 3);
        const auto onePass = [&] {
            std::memcpy(work.data(), a.data(), frameBytes);
            asm volatile("" : : "r"(work.data()) : "memory");
        };
        // The mode's pass alone, into planes laid out as the context's work planes.
        const uint32_t workPitch = (static_cast<uint32_t>(w) + 15) & ~15u;
        std::vector<uint8_t> workPlanes(static_cast<size_t>(workPitch) * h * 3);
        qv::DeintPicture in{3, {src.plane[0], src.plane[1], src.plane[2], nullptr},
                            {static_cast<uint32_t>(src.stride[0]), static_cast<uint32_t>(src.stride[1]),
                             static_cast<uint32_t>(src.stride[2]), 0},
                            static_cast<uint32_t>(w), static_cast<uint32_t>(h), static_cast<uint32_t>(w / 2),
                            static_cast<uint32_t>(h / 2)};
        qv::DeintPicture out = in;
        for (int i = 0; i < 3; ++i) {
            out.pixels[i] = workPlanes.data() + static_cast<size_t>(workPitch) * h * i;
            out.pitch[i] = workPitch;
        }
        const auto floor = [&] {
            std::memcpy(work.data(), a.data(), frameBytes);
            std::memcpy(b.data(), work.data(), frameBytes);
            asm volatile("" : : "r"(b.data()) : "memory");
        };
        for (const auto& m : kModes) {
            if (onlyMode != nullptr && std::strcmp(onlyMode, m.name) != 0) continue;
            QvCreateParams p{sizeof(QvCreateParams), QV_OPERATION(0, 0), 0, 2, w, h, w, h, 0xFF, 0};
            QvHandle handle = nullptr;
            if (Qv()->Create(&handle, 0, &p) != QV_S_OK) return 1;
            const QvFrameOptions options{0, 0, m.mode};
            const uint8_t* sp[3] = {src.plane[0], src.plane[1], src.plane[2]};
            const auto ours = [&] {
                if (Qv()->ProcessFrame(handle, sp, src.stride, dst.plane, dst.stride, &options) != QV_S_OK) std::abort();
            };
            // Calls per sample: about half a millisecond.
            ours();
            const double once = Time(3, floor);
            const int floorCalls = std::max(1, static_cast<int>(0.5e-3 / once));
            const double oursOnce = Time(2, ours);
            const int oursCalls = std::max(1, static_cast<int>(0.5e-3 / oursOnce));
            const auto pass = [&] {
                qv::DeInterlace(&out, &in, static_cast<uint32_t>(w), static_cast<uint32_t>(h), 0, 0, m.mode);
            };
            const QvFrameOptions none{0, 0, 0};
            QvHandle plain = nullptr;
            if (Qv()->Create(&plain, 0, &p) != QV_S_OK) return 1;
            const uint8_t* wp[3] = {out.pixels[0], out.pixels[1], out.pixels[2]};
            const int32_t ws[3] = {static_cast<int32_t>(workPitch), static_cast<int32_t>(workPitch),
                                   static_cast<int32_t>(workPitch)};
            const auto copy = [&] {
                if (Qv()->ProcessFrame(plain, wp, ws, dst.plane, dst.stride, &none) != QV_S_OK) std::abort();
            };
            std::vector<double> t, f, ps, one, cp, ratio;
            for (int r = 0; r < rounds; ++r) {
                t.push_back(Time(oursCalls, ours));
                f.push_back(Time(floorCalls, floor));
                ratio.push_back(t.back() / f.back());
                ps.push_back(Time(oursCalls, pass));
                one.push_back(Time(floorCalls, onePass));
                cp.push_back(Time(floorCalls, copy));
            }
            Qv()->Destroy(handle);
            Qv()->Destroy(plain);
            const double mt = Median(t), mf = Median(f), mo = Median(one);
            std::printf("| %s | %dx%d | %.3f | %.3f | %.2f | %.2f | %.2f |\n", m.name, w, h, mt * 1e3, mf * 1e3,
                        Median(ratio), Median(ps) / mo, Median(cp) / mo);
            std::fflush(stdout);
        }
    }
    return 0;
}
