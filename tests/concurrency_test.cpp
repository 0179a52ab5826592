// Distinct contexts on several threads at once give the bytes they give on one thread.
#include <gtest/gtest.h>

#include <thread>

#include "interface/qv_interface.h"
#include "test_support.h"

using qvtest::MakeParams;

namespace {

struct Job {
    QvCreateParams params;
    QvFrameOptions options;
};

// Source planes big enough for any source format at the job's size, with rows to spare below.
struct Frame {
    std::vector<uint8_t> src[3], dst[3];
    int32_t srcStrides[3], dstStrides[3];
    explicit Frame(const QvCreateParams& p, uint32_t seed) {
        const int32_t sw = p.srcWidth, sh = p.srcHeight;
        const int32_t dw = std::max(p.dstWidth, p.dstHeight), dh = dw;
        for (int i = 0; i < 3; ++i) {
            srcStrides[i] = ((sw * 4 + 15) & ~15) + 16;
            src[i].resize(static_cast<size_t>(srcStrides[i]) * (sh + 4));
            qvtest::FillPattern(src[i].data(), src[i].size(), seed + i);
            dstStrides[i] = std::max(dw, sw) * 4;
            dst[i].assign(static_cast<size_t>(dstStrides[i]) * std::max(dh, sh), 0);
        }
    }
    QvResult Run(QvHandle h, const QvFrameOptions* options) {
        const uint8_t* sp[3] = {src[0].data(), src[1].data(), src[2].data()};
        uint8_t* dp[3] = {dst[0].data(), dst[1].data(), dst[2].data()};
        return qv::QV_IMAGEPROC_ProcessFrame(h, sp, srcStrides, dp, dstStrides, options);
    }
};

std::vector<Job> Jobs() {
    std::vector<Job> jobs;
    const QvFrameOptions none{0, 0, 0};
    const QvFrameOptions fast{0, 0, 1};
    const QvFrameOptions block{0, 0, 7};
    for (int32_t op : {0x000, 0x003, 0x004, 0x005, 0x006, 0x007, 0x008, 0x00A, 0x103, 0x203, 0x204, 0x205,
                       0x300, 0x303, 0x305, 0x403, 0x404, 0x500, 0x800, 0x900}) {
        jobs.push_back({MakeParams(op, 64, 48, 64, 48), none});
        if (op != 0x00A && op != 0x305) jobs.push_back({MakeParams(op, 64, 48, 96, 64, op >= 0x300 ? 0 : 2), none});
    }
    jobs.push_back({MakeParams(0x003, 64, 48, 128, 96, 0, 1), fast});
    jobs.push_back({MakeParams(0x005, 64, 48, 160, 96, 0, 1), block});
    jobs.push_back({MakeParams(0x000, 64, 48, 32, 24, 1), block});
    return jobs;
}

TEST(ConcurrencyTest, DistinctContextsOnManyThreadsMatchOneThread) {
    const std::vector<Job> jobs = Jobs();
    std::vector<std::vector<uint8_t>> expected;
    testing::internal::CaptureStdout();
    for (size_t i = 0; i < jobs.size(); ++i) {
        QvHandle h = nullptr;
        ASSERT_EQ(qv::QV_IMAGEPROC_Create(&h, 0, &jobs[i].params), QV_S_OK) << i;
        Frame f(jobs[i].params, static_cast<uint32_t>(i));
        for (int frame = 0; frame < 2; ++frame) ASSERT_EQ(f.Run(h, &jobs[i].options), QV_S_OK);
        qv::QV_IMAGEPROC_Destroy(h);
        std::vector<uint8_t> all;
        for (auto& d : f.dst) all.insert(all.end(), d.begin(), d.end());
        expected.push_back(std::move(all));
    }
    constexpr int kThreads = 4;
    std::vector<std::vector<std::vector<uint8_t>>> got(kThreads, std::vector<std::vector<uint8_t>>(jobs.size()));
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (size_t k = 0; k < jobs.size(); ++k) {
                const size_t i = (k + static_cast<size_t>(t) * 7) % jobs.size();
                QvHandle h = nullptr;
                if (qv::QV_IMAGEPROC_Create(&h, 0, &jobs[i].params) != QV_S_OK) continue;
                Frame f(jobs[i].params, static_cast<uint32_t>(i));
                for (int frame = 0; frame < 2; ++frame) f.Run(h, &jobs[i].options);
                qv::QV_IMAGEPROC_Destroy(h);
                for (auto& d : f.dst) got[t][i].insert(got[t][i].end(), d.begin(), d.end());
            }
        });
    }
    for (auto& th : threads) th.join();
    testing::internal::GetCapturedStdout();
    for (int t = 0; t < kThreads; ++t)
        for (size_t i = 0; i < jobs.size(); ++i) EXPECT_EQ(got[t][i], expected[i]) << "thread " << t << " job " << i;
}

}  // namespace
