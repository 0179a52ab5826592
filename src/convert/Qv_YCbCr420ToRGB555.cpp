// Placeholder: these routes write nothing until the family is converted.
#include "core/qv_routines.h"

namespace qv {

int32_t _QVYCbCr420ToRGB555(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, uint32_t) { return kOk; }

}  // namespace qv
