// Placeholder: deinterlacing is not converted yet.
#include "core/qv_routines.h"

namespace qv {

int32_t QV_DeInterlace(const QvImgPrcContext*, const uint8_t* const[3], const int32_t[3], uint8_t* const[3], const int32_t[3]) { return kOk; }

}  // namespace qv
