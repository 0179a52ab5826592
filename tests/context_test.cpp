// Context creation, scaling cases, fixed ratios, messages and the rotation placement.
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

TEST(ContextTest, FieldsAfterCreation) {
    Context c(MakeParams(0x005, 100, 60, 200, 120, 0, 2, 0x1234, 0xABCDEF));
    ASSERT_EQ(c.status, 0);
    qv::QvImgPrcContext& x = *c.ctx;
    EXPECT_EQ(x.operation, 0x005);
    EXPECT_EQ(x.brightness, 128);
    EXPECT_EQ(x.contrast, 128);
    EXPECT_EQ(x.saturation, 128);
    EXPECT_EQ(x.adjustOn, 0u);
    EXPECT_EQ(x.adjustCurveBlock, nullptr);
    EXPECT_EQ(x.alpha, 0x1234u);
    EXPECT_EQ(x.colourValue, 0xABCDEFu);
    EXPECT_EQ(x.planeStride, 112u);
    EXPECT_EQ(x.planeHeight, 60u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(x.plane[0]) % 16, 0u);
    EXPECT_EQ(x.plane[1] - x.plane[0], 112 * 60);
    EXPECT_EQ(x.plane[3] - x.plane[0], 3 * 112 * 60);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(x.yTable) % 4, 0u);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(x.cbTable) - reinterpret_cast<uint8_t*>(x.yTable), 512);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(x.crTable) - reinterpret_cast<uint8_t*>(x.yTable), 1536);
    ASSERT_NE(x.lineBufferBlock, nullptr);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(x.lineBuffer[1]) - reinterpret_cast<uint8_t*>(x.lineBuffer[0]), 4 * 200 + 16);
    EXPECT_EQ(x.paramSize, sizeof(qv::QvRotationParams));
    EXPECT_NE(x.params, nullptr);
}

TEST(ContextTest, NearLinearUpscaleDoublesLineBuffers) {
    Context c(MakeParams(0x003, 100, 60, 200, 120, 0, 3));
    ASSERT_EQ(c.status, 0);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(c.ctx->lineBuffer[1]) - reinterpret_cast<uint8_t*>(c.ctx->lineBuffer[0]),
              8 * 200 + 32);
}

TEST(ContextTest, SameSizeHasNoLineBuffers) {
    Context c(MakeParams(0x003, 64, 64, 64, 64));
    ASSERT_EQ(c.status, 0);
    EXPECT_EQ(c.ctx->lineBufferBlock, nullptr);
}

struct RefusalRow {
    int32_t operation;
    uint32_t rotation;
    int32_t dw;
    const char* message;
};

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

TEST(TransTableTest, SaturationZeroClearsChromaAndBrightnessShiftsLuma) {
    uint16_t y[256];
    int32_t cb[256], cr[256];
    qv::set_transtable(y, cb, cr, 0, 128, 0);
    for (int e = 0; e < 256; ++e) {
        EXPECT_EQ(cb[e], 0);
        EXPECT_EQ(cr[e], 0);
    }
    // O = -255: e = 255 gives (239 - 255) x 1.164 x 128 < 0, clamped to 0.
    EXPECT_EQ(y[255], 0);
    qv::set_transtable(y, cb, cr, 1000, 1000, 128);
    EXPECT_EQ(y[255], 65535);  // (239 x 255/128 + 255) x 149 clamps at the top
}

// Destination position of source (x, y) for each rotation code, as the rotation table states.
struct Pos {
    int64_t row, col;
};
Pos Place(uint32_t rotation, int64_t x, int64_t y, int64_t W, int64_t H) {
    switch (rotation) {
        case 0: return {y, x};
        case 1: return {W - 1 - x, y};
        case 2: return {x, H - 1 - y};
        case 3: return {H - 1 - y, W - 1 - x};
        case 4: return {y, W - 1 - x};
        default: return {H - 1 - y, x};
    }
}

class RotationInitTest : public testing::TestWithParam<std::tuple<uint32_t, int32_t>> {};

TEST_P(RotationInitTest, PackedAndPlanarRecordsPlaceSourcePixels) {
    const auto [rotation, bytesPerPixel] = GetParam();
    const int32_t dst = bytesPerPixel == 2 ? 3 : bytesPerPixel == 3 ? 4 : 5;
    const int32_t W = 12, H = 8;
    Context c(MakeParams(dst, W, H, W, H, rotation));
    ASSERT_EQ(c.status, 0);
    // A rotated quarter turn has W rows of H pixels; the stride is exactly the row for all codes
    // (the half turn is placed from the stride).
    const bool quarter = rotation == 1 || rotation == 2;
    const int32_t rowPixels = quarter ? H : W;
    const int32_t stride = rowPixels * bytesPerPixel;
    std::vector<uint8_t> buffer(static_cast<size_t>(stride) * (quarter ? W : H));
    uint8_t* const planes[3] = {buffer.data(), nullptr, nullptr};
    const int32_t strides[3] = {stride, 0, 0};
    ASSERT_EQ(qv::_QV_RotationInit(c.ctx, planes, W, H, strides), 0);
    const qv::QvRotationParams& p = *c.ctx->params;
    auto expect = [&](uint8_t* got, int64_t x, int64_t y) {
        const Pos pos = Place(rotation, x, y, W, H);
        EXPECT_EQ(got - buffer.data(), pos.row * stride + pos.col * bytesPerPixel) << "x=" << x << " y=" << y;
    };
    expect(p.dst00, 0, 0);
    expect(p.dst10, 1, 0);
    expect(p.dst01, 0, 1);
    expect(p.dst11, 1, 1);
    expect(p.dst00 + p.stepX, 2, 0);
    expect(p.dst00 + p.stepY, 0, 2);

    // Planar 4:2:0: per-sample steps for each plane.
    Context planar(MakeParams(0x000, W, H, W, H, rotation));
    ASSERT_EQ(planar.status, 0);
    const int32_t sY = 40, sC = 24;
    std::vector<uint8_t> py(static_cast<size_t>(sY) * 16), pc(static_cast<size_t>(sC) * 8), pr(static_cast<size_t>(sC) * 8);
    uint8_t* const pp[3] = {py.data(), pc.data(), pr.data()};
    const int32_t ps[3] = {sY, sC, sC};
    ASSERT_EQ(qv::_QV_RotationInit(planar.ctx, pp, W, H, ps), 0);
    const qv::QvRotationParams& q = *planar.ctx->params;
    for (int64_t y = 0; y < H; ++y)
        for (int64_t x = 0; x < W; ++x) {
            const Pos pos = Place(rotation, x, y, W, H);
            EXPECT_EQ(q.startY + x * q.stepX + y * q.stepY - py.data(), pos.row * sY + pos.col);
        }
    for (int64_t y = 0; y < H / 2; ++y)
        for (int64_t x = 0; x < W / 2; ++x) {
            const Pos pos = Place(rotation, x, y, W / 2, H / 2);
            EXPECT_EQ(q.startCb + x * q.stepXCb + y * q.stepYCb - pc.data(), pos.row * sC + pos.col);
            EXPECT_EQ(q.startCr + x * q.stepXCr + y * q.stepYCr - pr.data(), pos.row * sC + pos.col);
        }
}

INSTANTIATE_TEST_SUITE_P(AllCodes, RotationInitTest,
                         testing::Combine(testing::Range(0u, 6u), testing::Values(2, 3, 4)));

TEST(RotationInitTest, HalfTurnIsPlacedFromTheStride) {
    Context c(MakeParams(0x003, 8, 4, 8, 4, 3));
    std::vector<uint8_t> buffer(40 * 4);
    uint8_t* const planes[3] = {buffer.data(), nullptr, nullptr};
    const int32_t strides[3] = {40, 0, 0};
    ASSERT_EQ(qv::_QV_RotationInit(c.ctx, planes, 8, 4, strides), 0);
    EXPECT_EQ(c.ctx->params->dst00 - buffer.data(), 4 * 40 - 2);
}

TEST(RotationInitTest, RefusesFormatsWithoutAPlacement) {
    Context c(MakeParams(0x003, 8, 4, 8, 4));
    uint8_t byte = 0;
    uint8_t* const planes[3] = {&byte, &byte, &byte};
    const int32_t strides[3] = {8, 8, 8};
    for (int32_t dst : {1, 2, 9, 11}) {
        c.ctx->operation = dst;
        EXPECT_EQ(qv::_QV_RotationInit(c.ctx, planes, 8, 4, strides), qv::kNotImplemented);
    }
    c.ctx->operation = 0x003;
    c.ctx->rotation = 6;
    EXPECT_EQ(qv::_QV_RotationInit(c.ctx, planes, 8, 4, strides), qv::kNotImplemented);
    EXPECT_EQ(qv::_QV_RotationInit(nullptr, planes, 8, 4, strides), qv::kInvalidArg);
}

}  // namespace
