// The library's function table, as a host gets it (both benchmarks call through it).
#pragma once

#include <cstdlib>

#include "qv_imageproc.h"

inline const QvImageProcFunctions* Qv() {
    static const QvImageProcFunctions* table = [] {
        const QvImageProcFunctions* t = nullptr;
        if (GetDllInterface(&IID_QV_IMAGEPROC_C, &t) != QV_S_OK) std::abort();
        return t;
    }();
    return table;
}
