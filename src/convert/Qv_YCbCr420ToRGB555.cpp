// Planar 4:2:0 to RGB555 with a mask bit and a colour key: a pixel whose own (Y, Cb, Cr) equals
// the key becomes the word 0; every other pixel carries bit 0 set.
#include "convert/rgb_routes.h"

namespace qv {

int32_t _QVYCbCr420ToRGB555(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                            uint8_t* d0, int32_t s0, uint32_t colourKey) {
    // Each chroma plane advances by its own stride here.
    rgb::ConvertPicture(ctx, rgb::RGB555Format{colourKey}, sp, ss, W, H,
                               rgb::StraightRows<rgb::RGB555Format>{d0, s0});
    return kOk;
}

}  // namespace qv
