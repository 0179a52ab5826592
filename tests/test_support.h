// Helpers shared by the tests: planes with guard bytes, deterministic content, contexts.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "core/qv_routines.h"
#include "qv_imageproc.h"

namespace qvtest {

// A plane of `rows` rows of `stride` bytes with guard bytes before and after; guards are checked.
class GuardedPlane {
public:
    static constexpr size_t kGuard = 64;
    static constexpr uint8_t kGuardByte = 0xA5;

    GuardedPlane(int32_t stride, int32_t rows, uint8_t fill = 0)
        : stride_(stride), rows_(rows), bytes_(kGuard * 2 + size(), kGuardByte) {
        std::memset(data(), fill, size());
    }
    uint8_t* data() { return bytes_.data() + kGuard; }
    const uint8_t* data() const { return bytes_.data() + kGuard; }
    uint8_t* row(int32_t r) { return data() + static_cast<ptrdiff_t>(r) * stride_; }
    const uint8_t* row(int32_t r) const { return data() + static_cast<ptrdiff_t>(r) * stride_; }
    uint8_t& at(int32_t x, int32_t r) { return row(r)[x]; }
    int32_t stride() const { return stride_; }
    int32_t rows() const { return rows_; }
    size_t size() const {
        return stride_ > 0 && rows_ > 0 ? static_cast<size_t>(stride_) * static_cast<size_t>(rows_) : 0;
    }
    bool guardsIntact() const {
        for (size_t i = 0; i < kGuard; ++i)
            if (bytes_[i] != kGuardByte || bytes_[bytes_.size() - 1 - i] != kGuardByte) return false;
        return true;
    }
    std::vector<uint8_t> contents() const { return std::vector<uint8_t>(data(), data() + size()); }

private:
    int32_t stride_;
    int32_t rows_;
    std::vector<uint8_t> bytes_;
};

// Deterministic pseudo-random bytes.
inline void FillPattern(uint8_t* p, size_t n, uint32_t seed) {
    uint32_t s = seed * 2654435761u + 12345u;
    for (size_t i = 0; i < n; ++i) {
        s = s * 1664525u + 1013904223u;
        p[i] = static_cast<uint8_t>(s >> 24);
    }
}

inline QvCreateParams MakeParams(int32_t operation, int32_t sw, int32_t sh, int32_t dw, int32_t dh,
                                 uint32_t rotation = 0, uint32_t interpolation = 2, uint32_t alpha = 0xFF,
                                 uint32_t colourValue = 0) {
    QvCreateParams p{};
    p.structSize = sizeof p;
    p.operation = operation;
    p.rotation = rotation;
    p.interpolation = interpolation;
    p.srcWidth = sw;
    p.srcHeight = sh;
    p.dstWidth = dw;
    p.dstHeight = dh;
    p.alpha = alpha;
    p.colourValue = colourValue;
    return p;
}

// Owns a context made through the core.
struct Context {
    qv::QvImgPrcContext* ctx = nullptr;
    int32_t status = 0;
    explicit Context(const QvCreateParams& p) {
        void* slot = nullptr;
        status = qv::QV_ImgPrcInit(&slot, &p, {p.srcWidth, p.srcHeight}, {p.dstWidth, p.dstHeight});
        ctx = static_cast<qv::QvImgPrcContext*>(slot);
    }
    ~Context() {
        if (ctx != nullptr) qv::QV_ImgPrcUninit(ctx);
    }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
};

}  // namespace qvtest
