// Every allocation of Create, Set and ProcessFrame failed in turn: out of memory with its message,
// an empty handle slot, an untouched destination, and no block left behind.
#include <gtest/gtest.h>

#include <string>

#include "alloc_hook.h"
#include "interface/qv_interface.h"
#include "test_support.h"

using qvtest::MakeParams;

namespace {

class AllocationFailure : public testing::Test {
protected:
    void TearDown() override { qvtest::FailAllocationAt(0); }
};

struct CreateCase {
    QvCreateParams params;
    std::vector<std::string> messages;  // printed when allocation 1, 2, ... fails
};

TEST_F(AllocationFailure, EveryCreateAllocationFailsCleanly) {
    const std::string ctxMsg = "Fail to allocate memory for image process parameter set!\n";
    const std::string lineMsg = "fail to alloc line buffer!\n";
    const std::string prmMsg = "fail to init rotation param! \n";
    // Context, work planes (planar sources only), conversion tables, line buffers (scaling only),
    // parameter record.
    const CreateCase cases[] = {
        {MakeParams(0x003, 64, 48, 64, 48), {ctxMsg, "", "", prmMsg}},
        {MakeParams(0x003, 64, 48, 128, 96, 0, 1), {ctxMsg, "", "", lineMsg, prmMsg}},
        {MakeParams(0x300, 64, 48, 32, 24), {ctxMsg, "", lineMsg, prmMsg}},
    };
    for (const CreateCase& c : cases) {
        const long liveBefore = qvtest::LiveBlocks();
        for (size_t n = 1; n <= c.messages.size(); ++n) {
            QvHandle h = nullptr;
            qvtest::FailAllocationAt(static_cast<int>(n));
            testing::internal::CaptureStdout();
            EXPECT_EQ(qv::QV_IMAGEPROC_Create(&h, 0, &c.params), QV_E_OUTOFMEMORY) << n;
            EXPECT_EQ(testing::internal::GetCapturedStdout(), c.messages[n - 1]) << n;
            EXPECT_EQ(h, nullptr);
            EXPECT_EQ(qvtest::LiveBlocks(), liveBefore) << "leak when allocation " << n << " fails";
        }
        // One more than it needs: nothing fails.
        QvHandle h = nullptr;
        qvtest::FailAllocationAt(static_cast<int>(c.messages.size()) + 1);
        EXPECT_EQ(qv::QV_IMAGEPROC_Create(&h, 0, &c.params), QV_S_OK);
        EXPECT_EQ(qvtest::AllocationCount(), static_cast<int>(c.messages.size()));
        EXPECT_EQ(qv::QV_IMAGEPROC_Destroy(h), QV_S_OK);
        EXPECT_EQ(qvtest::LiveBlocks(), liveBefore);
    }
}

TEST_F(AllocationFailure, FailedCurveAllocationChangesNothing) {
    QvHandle h = nullptr;
    const QvCreateParams p = MakeParams(0x000, 16, 16, 16, 16);
    ASSERT_EQ(qv::QV_IMAGEPROC_Create(&h, 0, &p), QV_S_OK);
    auto* ctx = static_cast<qv::QvImgPrcContext*>(h);
    std::vector<uint8_t> tables(reinterpret_cast<uint8_t*>(ctx->yTable), reinterpret_cast<uint8_t*>(ctx->yTable) + 2560);
    const int32_t values[3] = {10, 20, 30};
    qvtest::FailAllocationAt(1);
    EXPECT_EQ(qv::QV_IMAGEPROC_Set(h, 1, values), QV_E_OUTOFMEMORY);
    int32_t got[3];
    qvtest::FailAllocationAt(0);
    EXPECT_EQ(qv::QV_IMAGEPROC_Get(h, 1, got, 0, nullptr), QV_S_OK);
    EXPECT_EQ(got[0], 128);
    EXPECT_EQ(ctx->adjustOn, 0u);
    EXPECT_EQ(tables, std::vector<uint8_t>(reinterpret_cast<uint8_t*>(ctx->yTable), reinterpret_cast<uint8_t*>(ctx->yTable) + 2560));
    EXPECT_EQ(qv::QV_IMAGEPROC_Set(h, 1, values), QV_S_OK);
    qv::QV_IMAGEPROC_Destroy(h);
}

TEST_F(AllocationFailure, RotatedEncodeFailsWithoutWritingOrLeaking) {
    const int32_t W = 16, H = 8;
    for (int32_t op : {0x300, 0x500, 0x900}) {
        QvHandle h = nullptr;
        const QvCreateParams p = MakeParams(op, W, H, W, H, 3);
        ASSERT_EQ(qv::QV_IMAGEPROC_Create(&h, 0, &p), QV_S_OK);
        qvtest::GuardedPlane src(W * 4, H, 0x80);
        qvtest::GuardedPlane y(W, H, 0xEE), cb(W / 2, H / 2, 0xEE), cr(W / 2, H / 2, 0xEE);
        const uint8_t* sp[3] = {src.data(), nullptr, nullptr};
        const int32_t ss[3] = {op == 0x300 ? W * 2 : W * 4, 0, 0};
        uint8_t* dp[3] = {y.data(), cb.data(), cr.data()};
        const int32_t ds[3] = {W, W / 2, W / 2};
        const long live = qvtest::LiveBlocks();
        for (int n = 1; n <= 3; ++n) {
            qvtest::FailAllocationAt(n);
            EXPECT_EQ(qv::QV_IMAGEPROC_ProcessFrame(h, sp, ss, dp, ds, nullptr), QV_E_OUTOFMEMORY);
            EXPECT_EQ(qvtest::LiveBlocks(), live);
            EXPECT_EQ(y.contents(), std::vector<uint8_t>(y.size(), 0xEE));
            EXPECT_EQ(cb.contents(), std::vector<uint8_t>(cb.size(), 0xEE));
        }
        qvtest::FailAllocationAt(4);
        EXPECT_EQ(qv::QV_IMAGEPROC_ProcessFrame(h, sp, ss, dp, ds, nullptr), QV_S_OK);
        EXPECT_EQ(qvtest::AllocationCount(), 3);
        EXPECT_EQ(qvtest::LiveBlocks(), live);
        qvtest::FailAllocationAt(0);
        qv::QV_IMAGEPROC_Destroy(h);
    }
}

}  // namespace
