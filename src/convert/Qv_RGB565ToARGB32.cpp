// Placeholder: these routes write nothing until the family is converted.
#include "core/qv_routines.h"

namespace qv {

int32_t _QVRGB565ToARGB32(const uint8_t*, int32_t, uint8_t*, int32_t, int32_t, int32_t, uint8_t) { return kOk; }

}  // namespace qv
