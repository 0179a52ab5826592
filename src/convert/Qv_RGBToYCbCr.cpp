// Placeholder: these routes write nothing until the family is converted.
#include "core/qv_routines.h"

namespace qv {

int32_t _QVRGB565ToYCbCr420(const uint8_t*, int32_t, int32_t, int32_t, DstPlanes, Strides) { return kOk; }
int32_t _QVARGB32ToYCbCr420(const uint8_t*, int32_t, DstPlanes, Strides, int32_t, int32_t) { return kOk; }
int32_t _QVABGR32ToYCbCr420(const uint8_t*, int32_t, DstPlanes, Strides, int32_t, int32_t) { return kOk; }

}  // namespace qv
