// Placeholder: these routes write nothing until the family is converted.
#include "core/qv_routines.h"

namespace qv {

int32_t _QVRGB888ToRGB565RszRot(const QvRotationParams*, const uint8_t*, int32_t, int32_t, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVRGB888RszRot(const QvRotationParams*, const uint8_t*, int32_t, int32_t, int32_t, int32_t, int32_t) { return kOk; }

}  // namespace qv
