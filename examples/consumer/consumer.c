/*
 * A host that links libqv_imageproc and calls GetDllInterface directly, built against an
 * installed copy through pkg-config or find_package(QvImageProc):
 *
 *   cc consumer.c $(pkg-config --cflags --libs qv-imageproc) -o consumer
 *
 * It converts a 4:2:0 frame to NV12 and back and checks that the round trip is exact.
 */
#include <stdio.h>
#include <string.h>

#include <qv_imageproc.h>

enum { W = 32, H = 16 };

static QvResult convert(const QvImageProcFunctions* qv, int32_t operation, const uint8_t* const src[3],
                        const int32_t srcStrides[3], uint8_t* const dst[3], const int32_t dstStrides[3]) {
    QvCreateParams p = {sizeof p, operation, QV_ROTATE_NONE, QV_INTERP_BILINEAR, W, H, W, H, 0xFF, 0};
    QvHandle h = NULL;
    QvResult r = qv->Create(&h, 0, &p);
    if (r == QV_S_OK) r = qv->ProcessFrame(h, src, srcStrides, dst, dstStrides, NULL);
    qv->Destroy(h);
    return r;
}

int main(void) {
    static uint8_t y[W * H], cb[W * H / 4], cr[W * H / 4], nvY[W * H], nvC[W * H / 2];
    static uint8_t backY[W * H], backCb[W * H / 4], backCr[W * H / 4];
    const QvImageProcFunctions* qv = NULL;
    int i;
    if (GetDllInterface(&IID_QV_IMAGEPROC_C, &qv) != QV_S_OK || qv == NULL) {
        fprintf(stderr, "GetDllInterface refused the interface\n");
        return 1;
    }
    for (i = 0; i < W * H; ++i) y[i] = (uint8_t)(i * 7);
    for (i = 0; i < W * H / 4; ++i) {
        cb[i] = (uint8_t)(i * 3);
        cr[i] = (uint8_t)(255 - i);
    }
    {
        const uint8_t* src[3] = {y, cb, cr};
        const int32_t strides[3] = {W, W / 2, W / 2};
        uint8_t* nv[3] = {nvY, nvC, NULL};
        const int32_t nvStrides[3] = {W, W, 0};
        const uint8_t* nvSrc[3] = {nvY, nvC, NULL};
        uint8_t* back[3] = {backY, backCb, backCr};
        if (convert(qv, QV_OPERATION(QV_FORMAT_YCBCR420, QV_FORMAT_NV12), src, strides, nv, nvStrides) != QV_S_OK ||
            convert(qv, QV_OPERATION(QV_FORMAT_NV12, QV_FORMAT_YCBCR420), nvSrc, nvStrides, back, strides) != QV_S_OK) {
            fprintf(stderr, "a conversion failed\n");
            return 1;
        }
    }
    if (memcmp(y, backY, sizeof y) != 0 || memcmp(cb, backCb, sizeof cb) != 0 || memcmp(cr, backCr, sizeof cr) != 0) {
        fprintf(stderr, "the I420 -> NV12 -> I420 round trip changed the frame\n");
        return 1;
    }
    printf("linked libqv_imageproc: I420 -> NV12 -> I420 round trip exact\n");
    return 0;
}
