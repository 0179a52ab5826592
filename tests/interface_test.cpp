// The public interface: GetDllInterface, result codes, properties and frame validation, both
// through the entry points and through the built shared library loaded with dlopen.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "interface/qv_interface.h"
#include "test_support.h"

using qvtest::GuardedPlane;
using qvtest::MakeParams;

namespace {

const QvImageProcFunctions* Table() {
    const QvImageProcFunctions* table = nullptr;
    EXPECT_EQ(GetDllInterface(&IID_QV_IMAGEPROC_C, &table), QV_S_OK);
    return table;
}

TEST(GetDllInterfaceTest, AcceptsOnlyItsIdentifier) {
    const QvImageProcFunctions* table = nullptr;
    EXPECT_EQ(GetDllInterface(&IID_QV_IMAGEPROC_C, nullptr), QV_E_POINTER);
    const QvImageProcFunctions* const sentinel = reinterpret_cast<const QvImageProcFunctions*>(0x1234);
    table = sentinel;
    EXPECT_EQ(GetDllInterface(&IID_IUnknown, &table), QV_E_NOINTERFACE);
    EXPECT_EQ(table, sentinel);
    QvGuid almost = IID_QV_IMAGEPROC_C;
    almost.data4[7] ^= 1;
    EXPECT_EQ(GetDllInterface(&almost, &table), QV_E_NOINTERFACE);
    EXPECT_EQ(table, sentinel);
    ASSERT_EQ(GetDllInterface(&IID_QV_IMAGEPROC_C, &table), QV_S_OK);
    EXPECT_NE(table, nullptr);
}

TEST(LifecycleTest, CreateDestroyAndRefusals) {
    const QvImageProcFunctions* qvf = Table();
    QvHandle h = nullptr;
    const QvCreateParams good = MakeParams(0x000, 64, 48, 64, 48);
    EXPECT_EQ(qvf->Create(nullptr, 0, &good), QV_E_POINTER);
    EXPECT_EQ(qvf->Create(&h, 0, nullptr), QV_E_INVALIDARG);
    EXPECT_EQ(h, nullptr);
    testing::internal::CaptureStdout();
    const QvCreateParams bad = MakeParams(0x001, 64, 48, 64, 48);
    EXPECT_EQ(qvf->Create(&h, 0, &bad), QV_E_NOTIMPL);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Unsupport image format conversion! \n");
    EXPECT_EQ(h, nullptr);
    ASSERT_EQ(qvf->Create(&h, 0xFFFFFFFF, &good), QV_S_OK);  // the second argument is not read
    ASSERT_NE(h, nullptr);
    QvHandle same = h;
    EXPECT_EQ(qvf->Create(&h, 0, &good), QV_E_INVALIDARG);
    EXPECT_EQ(h, same);
    EXPECT_EQ(qvf->Reset(h), QV_S_OK);
    EXPECT_EQ(qvf->Reset(nullptr), QV_S_OK);
    EXPECT_EQ(qvf->Destroy(h), QV_S_OK);
    EXPECT_EQ(qvf->Destroy(nullptr), QV_E_INVALIDARG);
}

TEST(PropertyTest, UnknownIdsAndNullHandles) {
    const QvImageProcFunctions* qvf = Table();
    int32_t values[3] = {1, 2, 3};
    uint32_t size = 77;
    EXPECT_EQ(qvf->Get(nullptr, 3, values, 0, &size), QV_E_NOTIMPL);
    EXPECT_EQ(qvf->Set(nullptr, 3, values), QV_E_NOTIMPL);
    EXPECT_EQ(qvf->Get(nullptr, 2, values, 0, &size), QV_E_POINTER);
    EXPECT_EQ(qvf->Set(nullptr, 2, values), QV_E_POINTER);
    EXPECT_EQ(qvf->Get(nullptr, 1, values, 0, &size), QV_E_INVALIDARG);
    EXPECT_EQ(qvf->Set(nullptr, 1, values), QV_E_INVALIDARG);
    EXPECT_EQ(size, 77u);
}

TEST(PropertyTest, AdjustmentAndColourValueRoundTrip) {
    const QvImageProcFunctions* qvf = Table();
    QvHandle h = nullptr;
    const QvCreateParams p = MakeParams(0x003, 64, 48, 64, 48, 0, 2, 0xFF, 0x00102030);
    ASSERT_EQ(qvf->Create(&h, 0, &p), QV_S_OK);
    int32_t values[3] = {0, 0, 0};
    uint32_t size = 0;
    EXPECT_EQ(qvf->Get(h, 1, values, 0, &size), QV_S_OK);
    EXPECT_EQ(size, 12u);
    EXPECT_EQ(values[0], 128);
    const int32_t set[3] = {100, 200, 300};
    EXPECT_EQ(qvf->Set(h, 1, set), QV_S_OK);
    EXPECT_EQ(qvf->Get(h, 1, values, 0, &size), QV_S_OK);
    EXPECT_EQ(values[0], 100);
    EXPECT_EQ(values[1], 200);
    EXPECT_EQ(values[2], 300);
    uint32_t colour = 0;
    EXPECT_EQ(qvf->Get(h, 2, &colour, 0, &size), QV_S_OK);
    EXPECT_EQ(colour, 0x00102030u);
    EXPECT_EQ(size, 4u);
    const uint32_t key = 0x00108080;
    EXPECT_EQ(qvf->Set(h, 2, &key), QV_S_OK);
    EXPECT_EQ(qvf->Get(h, 2, &colour, 0, &size), QV_S_OK);
    EXPECT_EQ(colour, key);
    qvf->Destroy(h);
}

TEST(PropertyTest, AdjustmentGetOnAnOperationWithoutIt) {
    const QvImageProcFunctions* qvf = Table();
    QvHandle h = nullptr;
    const QvCreateParams p = MakeParams(0x008, 64, 48, 64, 48);
    ASSERT_EQ(qvf->Create(&h, 0, &p), QV_S_OK);
    int32_t values[3] = {0, 0, 0};
    uint32_t size = 99;
    EXPECT_EQ(qvf->Get(h, 1, values, 0, &size), QV_E_NOTIMPL);
    EXPECT_EQ(values[0], 128);  // filled all the same
    EXPECT_EQ(values[2], 128);
    EXPECT_EQ(size, 99u);
    qvf->Destroy(h);
}

TEST(CapabilityTest, AdjustmentNeedsAYCbCrSourceAndNotARepack) {
    for (int32_t op : {0x000, 0x003, 0x004, 0x005, 0x00A, 0x103, 0x203, 0x205}) EXPECT_EQ(qv::_CheckCapability_depend(op), 0) << op;
    for (int32_t op : {0x006, 0x007, 0x008, 0x300, 0x303, 0x500, 0x800, 0x900}) EXPECT_EQ(qv::_CheckCapability_depend(op), -3) << op;
}

TEST(ProcessFrameTest, DeinterlaceModeIsKeptOnlyForPlanarSources) {
    qvtest::Context rgb(MakeParams(0x303, 16, 16, 16, 16));
    qvtest::Context yuv(MakeParams(0x000, 16, 16, 16, 16));
    const QvFrameOptions two{0, 0, 2};
    const QvFrameOptions none{0, 0, 0};
    // Invalid planes: the mode is stored before validation fails.
    EXPECT_EQ(qv::QV_IMAGEPROC_ProcessFrame(rgb.ctx, nullptr, nullptr, nullptr, nullptr, &two), QV_E_INVALIDARG);
    EXPECT_EQ(rgb.ctx->deinterlaceMode, 0u);
    EXPECT_EQ(qv::QV_IMAGEPROC_ProcessFrame(yuv.ctx, nullptr, nullptr, nullptr, nullptr, &two), QV_E_INVALIDARG);
    EXPECT_EQ(yuv.ctx->deinterlaceMode, 2u);
    EXPECT_EQ(qv::QV_IMAGEPROC_ProcessFrame(yuv.ctx, nullptr, nullptr, nullptr, nullptr, &none), QV_E_INVALIDARG);
    EXPECT_EQ(yuv.ctx->deinterlaceMode, 2u);
    EXPECT_EQ(qv::QV_IMAGEPROC_ProcessFrame(yuv.ctx, nullptr, nullptr, nullptr, nullptr, nullptr), QV_E_INVALIDARG);
    EXPECT_EQ(yuv.ctx->deinterlaceMode, 2u);
    EXPECT_EQ(qv::QV_IMAGEPROC_ProcessFrame(nullptr, nullptr, nullptr, nullptr, nullptr, &two), QV_E_POINTER);
    EXPECT_EQ(qv::QV_IMAGEPROC_ProcessFrame(nullptr, nullptr, nullptr, nullptr, nullptr, &none), QV_E_INVALIDARG);
}

// Which planes each format needs: a missing pointer or a zero stride in any of them is refused.
struct PlaneRow {
    int32_t operation;
    int srcPlanes;
    int dstPlanes;
};

void PrintTo(const PlaneRow& r, std::ostream* os) { *os << "operation 0x" << std::hex << r.operation; }
class ValidationTest : public testing::TestWithParam<PlaneRow> {};

TEST_P(ValidationTest, EveryNeededPlaneAndStrideIsChecked) {
    const PlaneRow r = GetParam();
    qvtest::Context c(MakeParams(r.operation, 16, 16, 16, 16));
    ASSERT_EQ(c.status, 0);
    GuardedPlane buf(64, 64);
    const uint8_t* src[3] = {buf.data(), buf.data(), buf.data()};
    int32_t srcStrides[3] = {64, 64, 64};
    uint8_t* dst[3] = {buf.data(), buf.data(), buf.data()};
    int32_t dstStrides[3] = {64, 64, 64};
    for (int i = 0; i < 3; ++i) {
        const uint8_t* keptSrc = src[i];
        src[i] = nullptr;
        EXPECT_EQ(qv::QV_ImgPrcOneFrame(c.ctx, src, srcStrides, dst, dstStrides), i < r.srcPlanes ? -1 : 0) << i;
        src[i] = keptSrc;
        srcStrides[i] = 0;
        EXPECT_EQ(qv::QV_ImgPrcOneFrame(c.ctx, src, srcStrides, dst, dstStrides), i < r.srcPlanes ? -1 : 0) << i;
        srcStrides[i] = 64;
        uint8_t* keptDst = dst[i];
        dst[i] = nullptr;
        EXPECT_EQ(qv::QV_ImgPrcOneFrame(c.ctx, src, srcStrides, dst, dstStrides), i < r.dstPlanes ? -1 : 0) << i;
        dst[i] = keptDst;
        dstStrides[i] = 0;
        EXPECT_EQ(qv::QV_ImgPrcOneFrame(c.ctx, src, srcStrides, dst, dstStrides), i < r.dstPlanes ? -1 : 0) << i;
        dstStrides[i] = 64;
    }
    EXPECT_TRUE(buf.guardsIntact());
}

INSTANTIATE_TEST_SUITE_P(Formats, ValidationTest,
                         testing::Values(PlaneRow{0x000, 3, 3}, PlaneRow{0x008, 3, 2}, PlaneRow{0x800, 2, 3},
                                         PlaneRow{0x006, 3, 1}, PlaneRow{0x303, 1, 1}, PlaneRow{0x900, 1, 3}));

TEST(ProcessFrameTest, NullContextAndForeignFormats) {
    EXPECT_EQ(qv::QV_ImgPrcOneFrame(nullptr, nullptr, nullptr, nullptr, nullptr), -1);
    qvtest::Context c(MakeParams(0x000, 16, 16, 16, 16));
    uint8_t byte = 0;
    const uint8_t* src[3] = {&byte, &byte, &byte};
    uint8_t* dst[3] = {&byte, &byte, &byte};
    const int32_t strides[3] = {16, 8, 8};
    c.ctx->operation = 0xA00;  // RGB555 is no source
    EXPECT_EQ(qv::QV_ImgPrcOneFrame(c.ctx, src, strides, dst, strides), -3);
    c.ctx->operation = 0x00B;
    EXPECT_EQ(qv::QV_ImgPrcOneFrame(c.ctx, src, strides, dst, strides), -3);
}

TEST(SharedLibraryTest, HostLoadsTheLibraryAndCopiesAFrame) {
    void* lib = dlopen(QV_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    auto get = reinterpret_cast<QvGetDllInterfaceFn>(dlsym(lib, "GetDllInterface"));
    ASSERT_NE(get, nullptr);
    EXPECT_EQ(dlsym(lib, "QV_ImgPrcInit"), nullptr);
    const QvImageProcFunctions* qvf = nullptr;
    ASSERT_EQ(get(&IID_QV_IMAGEPROC_C, &qvf), QV_S_OK);
    const int32_t W = 36, H = 20;
    GuardedPlane y(40, H), cb(20, H / 2), cr(24, H / 2);
    qvtest::FillPattern(y.data(), y.size(), 1);
    qvtest::FillPattern(cb.data(), cb.size(), 2);
    qvtest::FillPattern(cr.data(), cr.size(), 3);
    GuardedPlane dy(W, H, 0x11), dcb(W / 2, H / 2, 0x22), dcr(W / 2, H / 2, 0x33);
    QvHandle h = nullptr;
    const QvCreateParams p = MakeParams(0x000, W, H, W, H);
    ASSERT_EQ(qvf->Create(&h, 0, &p), QV_S_OK);
    const uint8_t* src[3] = {y.data(), cb.data(), cr.data()};
    const int32_t srcStrides[3] = {y.stride(), cb.stride(), cr.stride()};
    uint8_t* dst[3] = {dy.data(), dcb.data(), dcr.data()};
    const int32_t dstStrides[3] = {W, W / 2, W / 2};
    ASSERT_EQ(qvf->ProcessFrame(h, src, srcStrides, dst, dstStrides, nullptr), QV_S_OK);
    EXPECT_EQ(qvtest::Picture(dy, W, H).px, qvtest::Picture(y, W, H).px);
    EXPECT_EQ(qvtest::Picture(dcb, W / 2, H / 2).px, qvtest::Picture(cb, W / 2, H / 2).px);
    EXPECT_EQ(qvtest::Picture(dcr, W / 2, H / 2).px, qvtest::Picture(cr, W / 2, H / 2).px);
    EXPECT_TRUE(dy.guardsIntact() && dcb.guardsIntact() && dcr.guardsIntact());
    EXPECT_EQ(qvf->Destroy(h), QV_S_OK);
    dlclose(lib);
}

}  // namespace
