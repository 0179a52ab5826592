/* The public header compiles as strict C99 and its constants have the documented values. */
#include <stdio.h>
#include <string.h>

#include "qv_imageproc.h"

int main(void) {
    QvCreateParams params;
    QvFrameOptions options;
    int failures = 0;
    memset(&params, 0, sizeof params);
    memset(&options, 0, sizeof options);
    if (sizeof(QvCreateParams) != 40) { puts("QvCreateParams is not ten words"); failures++; }
    if (sizeof(QvFrameOptions) != 12) { puts("QvFrameOptions is not three words"); failures++; }
    if (sizeof(QvGuid) != 16) { puts("QvGuid is not 16 bytes"); failures++; }
    if (QV_OPERATION(QV_FORMAT_NV12, QV_FORMAT_YCBCR420) != 0x800) { puts("operation code"); failures++; }
    if (QV_E_INVALIDARG != (QvResult)0x80070057) { puts("E_INVALIDARG"); failures++; }
    if (IID_QV_IMAGEPROC_C.data1 != 0x5E0B7C21u || IID_IUnknown.data4[7] != 0x46) { puts("iids"); failures++; }
    printf("%d passed, %d failed\n", 6 - failures, failures);
    return failures != 0;
}
