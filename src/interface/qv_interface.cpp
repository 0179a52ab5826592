// The exported entry, the function table and the result codes of the interface.
#include "interface/qv_interface.h"

#include <cstring>

#include "core/qv_routines.h"
#include "core/routes.h"

namespace qv {
namespace {

QvImgPrcContext* ContextOf(QvHandle handle) { return static_cast<QvImgPrcContext*>(handle); }

}  // namespace

QvResult ResultFromStatus(int32_t status) {
    switch (status) {
        case kOk: return QV_S_OK;
        case kInvalidArg: return QV_E_INVALIDARG;
        case kOutOfMemory: return QV_E_OUTOFMEMORY;
        case kNotImplemented: return QV_E_NOTIMPL;
        default: return QV_S_FALSE;
    }
}

QvResult QV_IMAGEPROC_Create(QvHandle* handle, uint32_t /*reserved*/, const QvCreateParams* params) {
    if (handle == nullptr) return QV_E_POINTER;
    if (params == nullptr) return QV_E_INVALIDARG;
    const SizePair src{params->srcWidth, params->srcHeight};
    const SizePair dst{params->dstWidth, params->dstHeight};
    return ResultFromStatus(QV_ImgPrcInit(handle, params, src, dst));
}

QvResult QV_IMAGEPROC_Destroy(QvHandle handle) {
    if (handle == nullptr) return QV_E_INVALIDARG;
    QV_ImgPrcUninit(ContextOf(handle));
    return QV_S_OK;
}

QvResult QV_IMAGEPROC_ProcessFrame(QvHandle handle, const uint8_t* const srcPlanes[3],
                                   const int32_t srcStrides[3], uint8_t* const dstPlanes[3],
                                   const int32_t dstStrides[3], const QvFrameOptions* options) {
    if (options != nullptr && options->deinterlaceMode != QV_DEINTERLACE_KEEP) {
        if (handle == nullptr) return QV_E_POINTER;
        QvImgPrcContext* ctx = ContextOf(handle);
        // Only planar YCbCr sources are deinterlaced; the mode stays in force for later frames.
        ctx->deinterlaceMode = IsPlanarYCbCr(SourceFormat(ctx->operation)) ? options->deinterlaceMode : 0;
    }
    return ResultFromStatus(QV_ImgPrcOneFrame(ContextOf(handle), srcPlanes, srcStrides, dstPlanes, dstStrides));
}

QvResult QV_IMAGEPROC_Reset(QvHandle /*handle*/) { return QV_S_OK; }

QvResult QV_IMAGEPROC_Get(QvHandle handle, uint32_t propertyId, void* buffer, uint32_t /*reserved*/,
                          uint32_t* outSize) {
    switch (propertyId) {
        case QV_PROPERTY_COLOUR_ADJUST: {
            const int32_t status = QV_ImgColorAdjustGet(ContextOf(handle), static_cast<int32_t*>(buffer));
            if (status == kOk && outSize != nullptr) *outSize = 12;
            return ResultFromStatus(status);
        }
        case QV_PROPERTY_COLOUR_VALUE: {
            if (handle == nullptr || buffer == nullptr) return QV_E_POINTER;
            const uint32_t value = ContextOf(handle)->colourValue;
            std::memcpy(buffer, &value, sizeof value);
            if (outSize != nullptr) *outSize = 4;
            return QV_S_OK;
        }
        default:
            return QV_E_NOTIMPL;
    }
}

QvResult QV_IMAGEPROC_Set(QvHandle handle, uint32_t propertyId, const void* buffer) {
    switch (propertyId) {
        case QV_PROPERTY_COLOUR_ADJUST: {
            int32_t values[3];
            if (buffer == nullptr) return ResultFromStatus(QV_ImgColorAdjustSet(ContextOf(handle), nullptr));
            std::memcpy(values, buffer, sizeof values);
            return ResultFromStatus(QV_ImgColorAdjustSet(ContextOf(handle), values));
        }
        case QV_PROPERTY_COLOUR_VALUE: {
            if (handle == nullptr || buffer == nullptr) return QV_E_POINTER;
            QvImgPrcContext* ctx = ContextOf(handle);
            std::memcpy(&ctx->colourValue, buffer, sizeof ctx->colourValue);
            if (ctx->operation == Op(kYCbCr420, kRGB555)) CalcColorKey();
            return QV_S_OK;
        }
        default:
            return QV_E_NOTIMPL;
    }
}

const QvImageProcFunctions g_IMAGEPROC_Functions = {
    QV_IMAGEPROC_Create, QV_IMAGEPROC_Destroy, QV_IMAGEPROC_ProcessFrame,
    QV_IMAGEPROC_Reset,  QV_IMAGEPROC_Get,     QV_IMAGEPROC_Set,
};

}  // namespace qv

extern "C" QV_EXPORT QvResult GetDllInterface(const QvGuid* iid, const QvImageProcFunctions** table) {
    if (table == nullptr) return QV_E_POINTER;
    if (iid == nullptr) return QV_E_NOINTERFACE;  // no identifier to match
    uint32_t expected[4], given[4];
    std::memcpy(expected, &IID_QV_IMAGEPROC_C, sizeof expected);
    std::memcpy(given, iid, sizeof given);
    for (int i = 0; i < 4; ++i)
        if (given[i] != expected[i]) return QV_E_NOINTERFACE;
    *table = &qv::g_IMAGEPROC_Functions;
    return QV_S_OK;
}
