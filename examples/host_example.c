/*
 * A minimal host: loads libqv_imageproc.so.1 with dlopen, gets the function table, converts a
 * generated 4:2:0 frame to NV12 and back, and checks that the round trip is exact.
 *
 *   qv_host_example [path/to/libqv_imageproc.so]
 */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qv_imageproc.h"

enum { W = 64, H = 48 };

static int convert(const QvImageProcFunctions *fn, int32_t operation, const uint8_t *const src[3],
                   const int32_t srcStrides[3], uint8_t *const dst[3], const int32_t dstStrides[3]) {
    QvCreateParams params;
    QvHandle handle = NULL;
    QvResult r;
    memset(&params, 0, sizeof params);
    params.structSize = sizeof params;
    params.operation = operation;
    params.interpolation = QV_INTERP_BILINEAR;
    params.srcWidth = params.dstWidth = W;
    params.srcHeight = params.dstHeight = H;
    r = fn->Create(&handle, 0, &params);
    if (r != QV_S_OK) {
        fprintf(stderr, "Create(0x%03x) failed: 0x%08x\n", (unsigned)operation, (unsigned)r);
        return 1;
    }
    r = fn->ProcessFrame(handle, src, srcStrides, dst, dstStrides, NULL);
    fn->Destroy(handle);
    if (r != QV_S_OK) {
        fprintf(stderr, "ProcessFrame(0x%03x) failed: 0x%08x\n", (unsigned)operation, (unsigned)r);
        return 1;
    }
    return 0;
}

int main(int argc, char **argv) {
    const char *path = argc > 1 ? argv[1] : "libqv_imageproc.so.1";
    void *lib = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    QvGetDllInterfaceFn getInterface;
    const QvImageProcFunctions *fn = NULL;
    static uint8_t y[W * H], cb[W * H / 4], cr[W * H / 4];
    static uint8_t nvY[W * H], nvC[W * H / 2];
    static uint8_t backY[W * H], backCb[W * H / 4], backCr[W * H / 4];
    int i;

    if (lib == NULL) {
        fprintf(stderr, "cannot load %s: %s\n", path, dlerror());
        return 1;
    }
    *(void **)&getInterface = dlsym(lib, "GetDllInterface");
    if (getInterface == NULL || getInterface(&IID_QV_IMAGEPROC_C, &fn) != QV_S_OK) {
        fprintf(stderr, "%s has no usable GetDllInterface\n", path);
        return 1;
    }
    for (i = 0; i < W * H; ++i) y[i] = (uint8_t)(16 + (i % W) * 3);
    for (i = 0; i < W * H / 4; ++i) {
        cb[i] = (uint8_t)(64 + i % 128);
        cr[i] = (uint8_t)(192 - i % 128);
    }
    {
        const uint8_t *src[3] = {y, cb, cr};
        const int32_t srcStrides[3] = {W, W / 2, W / 2};
        uint8_t *nv[3] = {nvY, nvC, NULL};
        const int32_t nvStrides[3] = {W, W, 0};
        const uint8_t *nvSrc[3] = {nvY, nvC, NULL};
        uint8_t *back[3] = {backY, backCb, backCr};
        if (convert(fn, QV_OPERATION(QV_FORMAT_YCBCR420, QV_FORMAT_NV12), src, srcStrides, nv, nvStrides) ||
            convert(fn, QV_OPERATION(QV_FORMAT_NV12, QV_FORMAT_YCBCR420), nvSrc, nvStrides, back, srcStrides))
            return 1;
    }
    if (memcmp(y, backY, sizeof y) || memcmp(cb, backCb, sizeof cb) || memcmp(cr, backCr, sizeof cr)) {
        fprintf(stderr, "the I420 -> NV12 -> I420 round trip changed the frame\n");
        return 1;
    }
    printf("Loaded %s; converted a %dx%d I420 frame to NV12 and back, byte for byte equal.\n", path, W, H);
    dlclose(lib);
    return 0;
}
