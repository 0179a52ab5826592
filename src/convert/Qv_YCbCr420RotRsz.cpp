// Placeholder: these routes write nothing until the family is converted.
#include "core/qv_routines.h"

namespace qv {

int32_t _QVYCbCr420Rot(const QvRotationParams*, SrcPlanes, Strides, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420Rsz(SrcPlanes, Strides, int32_t, int32_t, DstPlanes, Strides, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420RszRot(const QvRotationParams*, SrcPlanes, Strides, int32_t, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420RotAdjust(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420RszAdjust(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, DstPlanes, Strides, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420RszRotAdjust(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, int32_t, int32_t) { return kOk; }

}  // namespace qv
