// Placeholder: these routes write nothing until the family is converted.
#include "core/qv_routines.h"

namespace qv {

int32_t _QVYCbCr420ToRGB565(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565Rot(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565Rsz(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565RszRot(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565RszUp(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565RszUpRot(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565RszUp_Nearest(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565RszUp_NearLinear(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565Case1(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, uint8_t*, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565Case2(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB565Case3(const QvImgPrcContext*, uint32_t*, uint32_t*, SrcPlanes, Strides, uint8_t*, int32_t) { return kOk; }

}  // namespace qv
