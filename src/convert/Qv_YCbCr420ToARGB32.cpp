// Placeholder: these routes write nothing until the family is converted.
#include "core/qv_routines.h"

namespace qv {

int32_t _QVYCbCr420ToARGB32(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, uint8_t) { return kOk; }
int32_t _QVYCbCr420ToARGB32Rot(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, uint8_t) { return kOk; }
int32_t _QVYCbCr420ToARGB32Rsz(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, int32_t, uint8_t) { return kOk; }
int32_t _QVYCbCr420ToARGB32RszRot(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, int32_t, int32_t, uint8_t) { return kOk; }
int32_t _QVYCbCr420ToARGB32RszUp(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, int32_t, uint8_t) { return kOk; }
int32_t _QVYCbCr420ToARGB32Case1(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, uint8_t*, int32_t, int32_t, uint8_t) { return kOk; }
int32_t _QVYCbCr420ToARGB32Case2(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, uint8_t) { return kOk; }

}  // namespace qv
