// Placeholder: these routes write nothing until the family is converted.
#include "core/qv_routines.h"

namespace qv {

int32_t _QVYCbCr444ToRGB565RszRot(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr444ToRGB888RszRot(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr444ToARGB32RszRot(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, int32_t, int32_t, uint8_t) { return kOk; }

}  // namespace qv
