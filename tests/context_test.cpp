// Context creation, scaling cases, messages, refusals and the conversion tables.
#include <gtest/gtest.h>

#include <string>

#include "test_support.h"

using qvtest::Context;
using qvtest::MakeParams;

namespace {

std::string CreateAndCapture(const QvCreateParams& p, int32_t* status, uint32_t* scaleCase = nullptr,
                             qv::QvImgPrcContext* out = nullptr) {
    testing::internal::CaptureStdout();
    {
        Context c(p);
        *status = c.status;
        if (scaleCase != nullptr && c.ctx != nullptr) *scaleCase = c.ctx->scaleCase;
        if (out != nullptr && c.ctx != nullptr) *out = *c.ctx;
    }
    return testing::internal::GetCapturedStdout();
}

struct CaseRow {
    int32_t sw, sh, dw, dh;
    uint32_t rotation, interpolation, expected;
};

void PrintTo(const CaseRow& r, std::ostream* os) {
    *os << r.sw << "x" << r.sh << " to " << r.dw << "x" << r.dh << " rotation " << r.rotation << " interpolation " << r.interpolation;
}
class ScaleCaseTest : public testing::TestWithParam<CaseRow> {};

TEST_P(ScaleCaseTest, ClassifiesSizes) {
    const CaseRow r = GetParam();
    int32_t status = 0;
    uint32_t scaleCase = 99;
    CreateAndCapture(MakeParams(0x003, r.sw, r.sh, r.dw, r.dh, r.rotation, r.interpolation), &status, &scaleCase);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(scaleCase, r.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, ScaleCaseTest,
    testing::Values(CaseRow{320, 240, 320, 240, 0, 1, 0}, CaseRow{320, 240, 640, 200, 0, 2, 1},
                    CaseRow{320, 240, 320, 480, 0, 2, 1}, CaseRow{320, 240, 640, 480, 0, 2, 2},
                    CaseRow{640, 480, 320, 240, 0, 1, 3}, CaseRow{320, 240, 640, 480, 0, 1, 4},
                    CaseRow{320, 240, 640, 480, 2, 1, 2}, CaseRow{320, 240, 800, 480, 0, 1, 5},
                    CaseRow{320, 240, 480, 272, 0, 1, 7}, CaseRow{320, 240, 480, 240, 0, 1, 6},
                    CaseRow{320, 240, 480, 120, 0, 1, 6}, CaseRow{320, 240, 480, 272, 0, 3, 2},
                    CaseRow{640, 480, 320, 240, 0, 0, 3}));

TEST(ContextTest, MisalignedSizesAreRoundedWithOneMessage) {
    int32_t status = 1;
    qv::QvImgPrcContext copy{};
    const std::string out = CreateAndCapture(MakeParams(0x003, 642, 480, 320, 240), &status, nullptr, &copy);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(out, "mis-aligned resolution found, patching...\n");
    EXPECT_EQ(copy.srcWidth, 640);
    EXPECT_EQ(copy.srcHeight, 480);
    EXPECT_EQ(copy.dstWidth, 320);
    EXPECT_EQ(copy.scaleCase, 3u);
}

struct RefusalRow {
    int32_t operation;
    uint32_t rotation;
    int32_t dw;
    const char* message;
};

void PrintTo(const RefusalRow& r, std::ostream* os) { *os << "operation 0x" << std::hex << r.operation << " rotation " << r.rotation; }
class RefusalTest : public testing::TestWithParam<RefusalRow> {};

TEST_P(RefusalTest, PrintsItsMessageAndLeavesTheSlotEmpty) {
    const RefusalRow r = GetParam();
    int32_t status = 0;
    const std::string out = CreateAndCapture(MakeParams(r.operation, 64, 64, r.dw, 64, r.rotation), &status);
    EXPECT_EQ(status, qv::kNotImplemented);
    EXPECT_EQ(out, std::string(r.message) + "\n");
}

INSTANTIATE_TEST_SUITE_P(Messages, RefusalTest,
                         testing::Values(RefusalRow{0x00A, 1, 64, "Unsupport conversion!"},
                                         RefusalRow{0x00A, 0, 128, "Unsupport conversion!"},
                                         RefusalRow{0x001, 0, 64, "Unsupport image format conversion! "},
                                         RefusalRow{0x00A0, 0, 64, "Unsupport image format conversion! "},
                                         RefusalRow{0x003, 6, 64, "Unsupport image rotation type! "}));

TEST(ContextTest, SecondInitIntoAFullSlotIsRefused) {
    const QvCreateParams p = MakeParams(0x000, 64, 64, 64, 64);
    void* slot = nullptr;
    ASSERT_EQ(qv::QV_ImgPrcInit(&slot, &p, {64, 64}, {64, 64}), 0);
    void* const first = slot;
    EXPECT_EQ(qv::QV_ImgPrcInit(&slot, &p, {64, 64}, {64, 64}), qv::kInvalidArg);
    EXPECT_EQ(slot, first);
    EXPECT_EQ(qv::QV_ImgPrcInit(&slot, nullptr, {64, 64}, {64, 64}), qv::kInvalidArg);
    EXPECT_EQ(qv::QV_ImgPrcUninit(static_cast<qv::QvImgPrcContext*>(slot)), 0);
    EXPECT_EQ(qv::QV_ImgPrcUninit(nullptr), qv::kInvalidArg);
}

TEST(ContextTest, ImpossibleSizesFailWithOutOfMemory) {
    int32_t status = 0;
    CreateAndCapture(MakeParams(0x000, 64, -64, 64, 64), &status);
    EXPECT_EQ(status, qv::kOutOfMemory);
    CreateAndCapture(MakeParams(0x003, 0x7FFFFFF0, 0x7FFFFFF0, 64, 64), &status);
    EXPECT_EQ(status, qv::kOutOfMemory);
    // Zero sizes still make a context.
    CreateAndCapture(MakeParams(0x000, 0, 0, 0, 0), &status);
    EXPECT_EQ(status, 0);
}

TEST(TransTableTest, NeutralTablesHoldTheBt601Values) {
    uint16_t y[256];
    int32_t cb[256], cr[256];
    qv::set_transtable(y, cb, cr, 128, 128, 128);
    EXPECT_EQ(y[16], 0);          // 0 x ... + 0.5 truncates to 0
    EXPECT_EQ(y[0], 0);           // negative clamps to 0
    EXPECT_EQ(y[235], 32640);     // 219 x 1.16438355 x 128 = 32640.0 (+0.5, truncated)
    EXPECT_EQ(y[255], 35621);     // 239 x 1.16438355 x 128 = 35620.8
    EXPECT_EQ(cb[128], 0);
    EXPECT_EQ(cr[128], 0);
    // Cr 255: red = trunc(12972.5 + 0.5) = 12973; green = trunc(-6607.6 + 0.5) = -6607.
    EXPECT_EQ(cr[255] >> 16, 12973);
    EXPECT_EQ(static_cast<int16_t>(cr[255] & 0xFFFF), -6607);
    // Cb 0: blue = trunc(64 x (2.01723105 x -128) + 0.5) = trunc(-16524.46) = -16524 (rounds up).
    EXPECT_EQ(cb[0] >> 16, -16524);
    EXPECT_EQ(static_cast<int16_t>(cb[0] & 0xFFFF), 3209);  // -0.3917616 x -128 x 64 = 3209.3
}

}  // namespace
