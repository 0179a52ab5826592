// The six entry points behind g_IMAGEPROC_Functions and the status-to-result mapping.
#pragma once

#include <cstdint>

#include "qv_imageproc.h"

namespace qv {

QvResult ResultFromStatus(int32_t status);

QvResult QV_IMAGEPROC_Create(QvHandle* handle, uint32_t reserved, const QvCreateParams* params);
QvResult QV_IMAGEPROC_Destroy(QvHandle handle);
QvResult QV_IMAGEPROC_ProcessFrame(QvHandle handle, const uint8_t* const srcPlanes[3],
                                   const int32_t srcStrides[3], uint8_t* const dstPlanes[3],
                                   const int32_t dstStrides[3], const QvFrameOptions* options);
QvResult QV_IMAGEPROC_Reset(QvHandle handle);
QvResult QV_IMAGEPROC_Get(QvHandle handle, uint32_t propertyId, void* buffer, uint32_t reserved,
                          uint32_t* outSize);
QvResult QV_IMAGEPROC_Set(QvHandle handle, uint32_t propertyId, const void* buffer);

extern const QvImageProcFunctions g_IMAGEPROC_Functions;

}  // namespace qv
