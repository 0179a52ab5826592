// The careless host. Input layout (every field read from the front; a short input reads zeros):
//   create: operation, rotation, interpolation, source size, destination size, alpha, colour
//   then up to kMaxCommands commands: frames, colour adjustments, colour values, Get/Set/Reset
//   calls with any property id, and frames on a null handle.
#include "fuzz_driver.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame_rules.h"
#include "qv_imageproc.h"

namespace qvfuzz {
namespace {

using qv::rules::FrameArgs;
using qv::rules::FrameRule;
using qv::rules::Span;

constexpr int kMaxCommands = 6;
constexpr int64_t kMaxPixels = int64_t{1} << 18;  // per picture, to keep one frame fast

class Reader {
public:
    Reader(const uint8_t* p, size_t n) : p_(p), n_(n) {}
    uint8_t Byte() {
        if (n_ == 0) return 0;
        --n_;
        return *p_++;
    }
    uint16_t U16() { return static_cast<uint16_t>(Byte() | Byte() << 8); }
    uint32_t U32() { return static_cast<uint32_t>(U16()) | static_cast<uint32_t>(U16()) << 16; }
    bool empty() const { return n_ == 0; }
    uint32_t seed() const { return n_ > 0 ? p_[0] * 2654435761u + static_cast<uint32_t>(n_) : 7u; }

private:
    const uint8_t* p_;
    size_t n_;
};

// Every supported operation, RGB555 output, and a few that Create must refuse.
constexpr int32_t kOperations[] = {
    0x000, 0x003, 0x004, 0x005, 0x006, 0x007, 0x008, 0x00A, 0x103, 0x203, 0x204, 0x205, 0x300,  0x303, 0x305,
    0x403, 0x404, 0x500, 0x800, 0x900, 0x001, 0x002, 0x009, 0x00B, 0x104, 0x306, 0xA03, 0x0A00, -1,    INT32_MAX,
};
constexpr int32_t kTypicalSizes[] = {320, 240, 480, 272, 640, 800, 176, 144, 16, 8, 12, 20, 24, 28, 36, 44};

int32_t Size(Reader& in) {
    const uint8_t kind = in.Byte();
    const uint8_t v = in.Byte();
    switch (kind % 8) {
        case 0:
            return 4 * (v % 17);  // small multiples of 4, 0 included
        case 1:
            return v;  // any small value
        case 2:
            return 4 * (in.U16() % 600);  // medium
        case 3:
            return -static_cast<int32_t>(v % 40);  // zero and negative
        case 4:
            return 32760 + v % 24;  // around the 16.16 limit
        case 5:
            return v & 1 ? INT32_MAX - (v >> 1) : INT32_MIN + (v >> 1);
        case 6:
            return kTypicalSizes[v % (sizeof kTypicalSizes / sizeof kTypicalSizes[0])];
        default:
            return static_cast<int32_t>(in.U32());
    }
}

// Bytes of one row of a plane of `format` for a picture `width` pixels wide.
int64_t RowBytes(int32_t format, int plane, int64_t width) {
    switch (format) {
        case 0:
        case 1:
            return plane == 0 ? width : width / 2;
        case 2:
            return width;
        case 3:
        case 6:
        case 7:
        case 10:
            return 2 * width;
        case 4:
            return 3 * width;
        case 5:
        case 9:
            return 4 * width;
        case 8:
            return width;
        default:
            return width;
    }
}

int32_t Stride(Reader& in, int64_t natural) {
    const uint8_t kind = in.Byte();
    const uint8_t v = in.Byte();
    const int64_t n = std::max<int64_t>(natural, 1);
    int64_t s;
    switch (kind % 10) {
        case 0:
        case 1:
            s = n;
            break;  // tight
        case 2:
            s = n + (v % 64);
            break;  // padded, any amount
        case 3:
            s = (n + 15) & ~int64_t{15};
            break;  // padded to 16
        case 4:
            s = 1 + v % n;
            break;  // smaller than the row
        case 5:
            s = 0;
            break;  // missing
        case 6:
            s = -(n + (v % 8));
            break;  // bottom-up
        case 7:
            s = n + 1;
            break;  // odd
        case 8:
            s = static_cast<int8_t>(v);
            break;  // anything small
        default:
            s = static_cast<int32_t>(in.U32());
            break;  // anything
    }
    return static_cast<int32_t>(std::clamp<int64_t>(s, INT32_MIN, INT32_MAX));
}

int32_t AdjustValue(Reader& in) {
    constexpr int32_t kValues[] = {128, 0, 255, 256, -1, 64, 200, 129, INT32_MIN, INT32_MAX, 127, 1000};
    const uint8_t v = in.Byte();
    return v < 240 ? kValues[v % (sizeof kValues / sizeof kValues[0])] : static_cast<int32_t>(in.U32());
}

std::string Describe(const QvCreateParams& p) {
    char text[200];
    std::snprintf(text, sizeof text, "op 0x%03X rot %u interp %u %dx%d -> %dx%d", static_cast<unsigned>(p.operation),
                  p.rotation, p.interpolation, p.srcWidth, p.srcHeight, p.dstWidth, p.dstHeight);
    return text;
}

QvResult ResultOf(int32_t status) {
    switch (status) {
        case 0:
            return QV_S_OK;
        case -1:
            return QV_E_INVALIDARG;
        case -2:
            return QV_E_OUTOFMEMORY;
        case -3:
            return QV_E_NOTIMPL;
        default:
            return QV_S_FALSE;
    }
}

// One plane block, exactly as large as its span; the plane pointer sits `-begin` bytes into it.
struct PlaneBlock {
    uint8_t* block = nullptr;
    uint8_t* plane = nullptr;
    int64_t size = 0;
    bool source = false;
};

class Host {
public:
    explicit Host(Reader& in) : in_(in) {}
    ~Host() {
        if (handle_ != nullptr) api_->Destroy(handle_);
    }
    Outcome Run();

private:
    bool Fail(const std::string& what) {
        if (outcome_.failure.empty()) outcome_.failure = Describe(params_) + ": " + what;
        return false;
    }
    bool Frame();
    bool Adjust();

    Reader& in_;
    const QvImageProcFunctions* api_ = nullptr;
    QvCreateParams params_{};
    QvHandle handle_ = nullptr;
    uint32_t deinterlaceMode_ = 0;
    bool adjustOn_ = false;
    Outcome outcome_;
};

Outcome Host::Run() {
    if (GetDllInterface(&IID_QV_IMAGEPROC_C, &api_) != QV_S_OK || api_ == nullptr) {
        outcome_.failure = "GetDllInterface refused the interface";
        return outcome_;
    }
    params_.structSize = sizeof params_;
    const uint8_t opByte = in_.Byte();
    params_.operation = opByte < 250 ? kOperations[opByte % (sizeof kOperations / sizeof kOperations[0])]
                                     : static_cast<int32_t>(in_.U32());
    const uint8_t rotByte = in_.Byte();
    params_.rotation = rotByte < 250 ? rotByte % 8 : in_.U32();
    params_.interpolation = in_.Byte() % 5;
    params_.srcWidth = Size(in_);
    params_.srcHeight = Size(in_);
    // The destination: the fixed ratios the dispatcher recognises, or sizes of its own.
    const uint8_t ratio = in_.Byte();
    const int64_t sw = params_.srcWidth, sh = params_.srcHeight;
    auto clamp32 = [](int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); };
    switch (ratio % 8) {
        case 0:
            params_.dstWidth = params_.srcWidth;
            params_.dstHeight = params_.srcHeight;
            break;
        case 1:
            params_.dstWidth = clamp32(2 * sw);
            params_.dstHeight = clamp32(2 * sh);
            break;
        case 2:
            params_.dstWidth = clamp32(5 * sw / 2);
            params_.dstHeight = clamp32(2 * sh);
            break;
        case 3:
            params_.dstWidth = clamp32(3 * sw / 2);
            params_.dstHeight = Size(in_);
            break;
        case 4:
            params_.srcWidth = 320;
            params_.srcHeight = 240;
            params_.dstWidth = 480;
            params_.dstHeight = 272;
            break;
        case 5:
            params_.dstWidth = clamp32(sw / 2);
            params_.dstHeight = clamp32(sh / 2);
            break;
        case 6:
            params_.dstWidth = params_.srcHeight;
            params_.dstHeight = params_.srcWidth;
            break;
        default:
            params_.dstWidth = Size(in_);
            params_.dstHeight = Size(in_);
            break;
    }
    params_.alpha = in_.Byte();
    params_.colourValue = in_.Byte() < 128 ? in_.U32() : 0x108080;

    FrameArgs probe;
    probe.params = params_;
    const FrameRule created = qv::rules::FrameBuffers(probe);
    // Contexts whose own blocks are beyond the cap are not created at all.
    if (created.contextBytes < 0 || created.contextBytes > kMaxContextBytes) {
        if (created.createStatus != -2) return outcome_;
    }
    const QvResult r = api_->Create(&handle_, 0, &params_);
    const bool outOfMemory = r == QV_E_OUTOFMEMORY && created.createStatus == 0;
    if (r != ResultOf(created.createStatus) && !outOfMemory) {
        char text[120];
        std::snprintf(text, sizeof text, "Create gave 0x%08X, the rules say status %d", static_cast<unsigned>(r),
                      created.createStatus);
        Fail(text);
        return outcome_;
    }
    if (r != QV_S_OK) {
        if (handle_ != nullptr) Fail("a failed Create left a handle");
        handle_ = nullptr;
        return outcome_;
    }
    for (int n = 0; n < kMaxCommands && !in_.empty(); ++n) {
        const uint8_t command = in_.Byte();
        bool ok = true;
        switch (command % 10) {
            case 0:
            case 1:
            case 2:
            case 3:
            case 4:
                ok = Frame();
                break;
            case 5:
                ok = Adjust();
                break;
            case 6: {
                const uint32_t colour = in_.U32();
                if (api_->Set(handle_, QV_PROPERTY_COLOUR_VALUE, &colour) != QV_S_OK) ok = Fail("Set colour value");
                params_.colourValue = colour;
                break;
            }
            case 7: {
                int32_t values[3] = {0, 0, 0};
                uint32_t outSize = 0;
                const uint32_t id = in_.Byte() % 4;
                const QvResult g = api_->Get(handle_, id, values, 0, &outSize);
                if (id == 0 || id == 3)
                    ok = g == QV_E_NOTIMPL || Fail("Get with an unknown id");
                else if (id == 2)
                    ok = (g == QV_S_OK && static_cast<uint32_t>(values[0]) == params_.colourValue) ||
                         Fail("Get colour value");
                else
                    ok = g == QV_S_OK || g == QV_E_NOTIMPL || Fail("Get colour adjustment");
                break;
            }
            case 8: {
                const int32_t junk[3] = {1, 2, 3};
                ok = (api_->Set(handle_, 3 + in_.Byte(), junk) == QV_E_NOTIMPL && api_->Reset(handle_) == QV_S_OK) ||
                     Fail("Set with an unknown id or Reset");
                break;
            }
            default: {
                // A frame on a null handle: refused before anything is read.
                const QvFrameOptions options{0, 0, in_.Byte() % 3u};
                const QvResult f = api_->ProcessFrame(nullptr, nullptr, nullptr, nullptr, nullptr, &options);
                ok = f == (options.deinterlaceMode != 0 ? QV_E_POINTER : QV_E_INVALIDARG) || Fail("null handle frame");
                break;
            }
        }
        if (!ok) break;
    }
    return outcome_;
}

bool Host::Adjust() {
    const int32_t values[3] = {AdjustValue(in_), AdjustValue(in_), AdjustValue(in_)};
    const QvResult r = api_->Set(handle_, QV_PROPERTY_COLOUR_ADJUST, values);
    if (r == QV_E_OUTOFMEMORY) return true;  // the curve block could not be had; nothing changed
    if (r != QV_S_OK) return Fail("Set colour adjustment");
    adjustOn_ = !(values[0] == 128 && values[1] == 128 && values[2] == 128);
    int32_t back[3] = {};
    uint32_t outSize = 0;
    const QvResult g = api_->Get(handle_, QV_PROPERTY_COLOUR_ADJUST, back, 0, &outSize);
    if ((g != QV_S_OK && g != QV_E_NOTIMPL) || std::memcmp(back, values, sizeof back) != 0)
        return Fail("Get does not give back the adjustment just set");
    return true;
}

bool Host::Frame() {
    // Options: none, or a deinterlace mode (kept by the context for later frames).
    const uint8_t optionByte = in_.Byte();
    constexpr uint32_t kModes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0xFFFFFFFFu, 7, 7, 2};
    QvFrameOptions options{0, 0, kModes[optionByte % (sizeof kModes / sizeof kModes[0])]};
    const bool withOptions = optionByte >= 16;

    const int32_t op = params_.operation;
    const int32_t srcFormat = op >> 8, dstFormat = op & 0xFF;
    const int64_t W = params_.srcWidth & ~3, DW = params_.dstWidth & ~3;
    const bool sourceSized = op == 0x006 || op == 0x007 || op == 0x008 || op == 0x300 || op == 0x305 || op == 0x500 ||
                             op == 0x800 || op == 0x900;
    const bool quarterTurn = params_.rotation == 1 || params_.rotation == 2;
    const int64_t dstRowPixels = sourceSized ? W : quarterTurn ? (params_.dstHeight & ~3) : DW;
    FrameArgs args;
    args.params = params_;
    for (int i = 0; i < 3; ++i) args.srcStrides[i] = Stride(in_, RowBytes(srcFormat, i, W));
    for (int i = 0; i < 3; ++i) args.dstStrides[i] = Stride(in_, RowBytes(dstFormat, i, dstRowPixels));
    // Now and then a missing plane, and unused planes either null or an empty block.
    const uint8_t planeFlags = in_.Byte();
    const uint8_t missing = planeFlags >= 0xF0 ? planeFlags & 0x3F : 0;
    const bool emptyBlocksForUnused = (planeFlags & 0x40) != 0;

    const uint32_t mode =
        withOptions && options.deinterlaceMode != 0 ? (srcFormat < 3 ? options.deinterlaceMode : 0) : deinterlaceMode_;
    args.deinterlaceMode = mode;
    args.adjustOn = adjustOn_;
    const FrameRule rule = qv::rules::FrameBuffers(args);

    // Skip frames too large to run quickly; the context keeps its state as it was.
    const int64_t H = params_.srcHeight & ~3, DH = params_.dstHeight & ~3;
    if (W * H > kMaxPixels || (DW > 0 && DH > 0 && DW * DH > kMaxPixels)) return true;
    int64_t total = 0;
    for (int i = 0; i < 3; ++i) {
        for (const Span& s : {rule.src[i], rule.dst[i]}) {
            if (s.size() > kMaxPlaneBytes) return true;
            total += s.size();
        }
    }
    if (total > kMaxFrameBytes) return true;

    // Planes: separate blocks of exactly the span. With a positive stride the plane pointer is the
    // block's first byte: the library must never reach before it.
    std::vector<PlaneBlock> blocks;
    const uint8_t* srcPlanes[3] = {};
    uint8_t* dstPlanes[3] = {};
    bool nullRequired = false;
    uint32_t fill = in_.seed();
    auto make = [&](const Span& s, int32_t stride, bool required, bool absent, bool source, int i) -> uint8_t* {
        const char* side = source ? "source" : "destination";
        if (absent) {
            nullRequired = nullRequired || required;
            return nullptr;
        }
        if (!required && !emptyBlocksForUnused) return nullptr;
        if (stride > 0 && !s.empty() && s.begin < 0) {
            char text[160];
            std::snprintf(text, sizeof text,
                          "%s plane %d with stride %d would be touched %" PRId64 " bytes before its pointer", side, i,
                          stride, -s.begin);
            Fail(text);
            return nullptr;
        }
        PlaneBlock b;
        b.size = s.size();
        b.block = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(b.size)));
        if (b.block == nullptr && b.size != 0) {
            Fail("host out of memory");
            return nullptr;
        }
        // Pseudo-random bytes; large blocks repeat their first 4 KiB.
        for (int64_t k = 0; k < std::min<int64_t>(b.size, 4096); ++k) {
            fill = fill * 1664525u + 1013904223u;
            b.block[k] = static_cast<uint8_t>(fill >> 24);
        }
        for (int64_t k = 4096; k < b.size; k += 4096)
            std::memcpy(b.block + k, b.block, static_cast<size_t>(std::min<int64_t>(4096, b.size - k)));
        b.plane = s.empty() ? b.block : b.block - s.begin;
        b.source = source;
        blocks.push_back(b);
        return b.plane;
    };
    for (int i = 0; i < 3; ++i) {
        const int32_t walkStride = i == 2 && rule.crStepsByCbStride ? args.srcStrides[1] : args.srcStrides[i];
        srcPlanes[i] = make(rule.src[i], walkStride, i < rule.srcPlanes, (missing >> i) & 1, true, i);
        dstPlanes[i] = make(rule.dst[i], args.dstStrides[i], i < rule.dstPlanes, (missing >> (3 + i)) & 1, false, i);
    }
    if (std::getenv("QV_FUZZ_VERBOSE") != nullptr) {
        std::fprintf(stderr, "%s mode %u adjust %d strides src %d %d %d dst %d %d %d missing 0x%02X route %s%s%s\n",
                     Describe(params_).c_str(), mode, adjustOn_ ? 1 : 0, args.srcStrides[0], args.srcStrides[1],
                     args.srcStrides[2], args.dstStrides[0], args.dstStrides[1], args.dstStrides[2], missing,
                     rule.route, *rule.refusal ? ", refused: " : "", rule.refusal);
        for (int i = 0; i < 3; ++i)
            std::fprintf(stderr, "  plane %d: src [%" PRId64 ", %" PRId64 ") dst [%" PRId64 ", %" PRId64 ")\n", i,
                         rule.src[i].begin, rule.src[i].end, rule.dst[i].begin, rule.dst[i].end);
    }
    QvResult expected = ResultOf(rule.status);
    if (nullRequired) expected = QV_E_INVALIDARG;
    bool ok = outcome_.failure.empty();
    if (ok) {
        // Every block as it was: no source byte may change, nor any destination byte of a failed frame.
        std::vector<std::vector<uint8_t>> before;
        for (const PlaneBlock& b : blocks) before.emplace_back(b.block, b.block + b.size);
        const QvResult r = api_->ProcessFrame(handle_, srcPlanes, args.srcStrides, dstPlanes, args.dstStrides,
                                              withOptions ? &options : nullptr);
        ++outcome_.frames;
        if (withOptions && options.deinterlaceMode != 0) deinterlaceMode_ = srcFormat < 3 ? options.deinterlaceMode : 0;
        if (r != expected && !(rule.mayRunOutOfMemory && r == QV_E_OUTOFMEMORY)) {
            char text[200];
            std::snprintf(text, sizeof text, "frame gave 0x%08X, expected 0x%08X (route %s%s%s)",
                          static_cast<unsigned>(r), static_cast<unsigned>(expected), rule.route,
                          *rule.refusal ? ", refused: " : "", rule.refusal);
            ok = Fail(text);
        }
        for (size_t k = 0; ok && k < blocks.size(); ++k) {
            if (!blocks[k].source && r == QV_S_OK) continue;
            if (blocks[k].size != 0 && std::memcmp(blocks[k].block, before[k].data(), before[k].size()) != 0)
                ok = Fail(blocks[k].source ? "the frame changed a source byte"
                                           : "a failed frame wrote its destination");
        }
    }
    for (PlaneBlock& b : blocks) std::free(b.block);
    return ok;
}

}  // namespace

Outcome RunInput(const uint8_t* data, size_t size) {
    Reader in(data, size);
    Host host(in);
    return host.Run();
}

}  // namespace qvfuzz
