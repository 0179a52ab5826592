#include "formats.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <utility>

#include "qv_imageproc.h"

namespace qvc {
namespace {

struct Alias {
    const char* alias;
    const char* name;
};

// Other names people use for the same memory layouts.
// ffmpeg's names (its -pix_fmt) mean here what they mean there: bgr24 is blue, green, red in memory.
constexpr Alias kAliases[] = {
    {"yuv420p", "i420"}, {"yuv420", "i420"},   {"420", "i420"},     {"yuv422p", "i422"}, {"422", "i422"},
    {"yuv444p", "i444"}, {"444", "i444"},      {"yuyv", "yuy2"},    {"yuyv422", "yuy2"}, {"uyvy422", "uyvy"},
    {"rgb888", "rgb24"}, {"bgr24", "rgb24"},   {"argb32", "argb"},  {"bgra", "argb"},    {"abgr32", "abgr"},
    {"rgba", "abgr"},    {"rgb565le", "rgb565"},
};

std::string Lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

int32_t RoundUp16(int64_t n) { return static_cast<int32_t>((n + 15) & ~int64_t{15}); }

// The byte pattern of one black pixel (or pixel pair) of a plane, repeated along every row.
std::vector<uint8_t> BlackPattern(const FormatInfo& f, int plane) {
    switch (f.family) {
        case Family::kPlanarYuv:
        case Family::kSemiPlanarYuv: return {static_cast<uint8_t>(plane == 0 ? 16 : 128)};
        case Family::kPackedYuv:
            return f.code == QV_FORMAT_YUY2 ? std::vector<uint8_t>{16, 128, 16, 128}
                                            : std::vector<uint8_t>{128, 16, 128, 16};
        case Family::kRgb:
            if (f.code == QV_FORMAT_ARGB32 || f.code == QV_FORMAT_ABGR32) return {0, 0, 0, 0xFF};
            if (f.code == QV_FORMAT_RGB555) return {0x01, 0x00};  // opaque black: the mask bit set
            return {0};
    }
    return {0};
}

}  // namespace

const std::vector<FormatInfo>& AllFormats() {
    static const std::vector<FormatInfo> formats = {
        {"i420", QV_FORMAT_YCBCR420, Family::kPlanarYuv, 3, 1, 1, 1,
         "planar Y, Cb, Cr 4:2:0 (ffmpeg's yuv420p)"},
        {"i422", QV_FORMAT_YCBCR422, Family::kPlanarYuv, 3, 1, 1, 0,
         "planar Y, Cb, Cr 4:2:2 (ffmpeg's yuv422p; source only)"},
        {"i444", QV_FORMAT_YCBCR444, Family::kPlanarYuv, 3, 1, 0, 0,
         "planar Y, Cb, Cr 4:4:4 (ffmpeg's yuv444p; source only)"},
        {"rgb565", QV_FORMAT_RGB565, Family::kRgb, 1, 2, 0, 0,
         "16-bit little-endian words, red 15-11, green 10-5, blue 4-0 (ffmpeg's rgb565le)"},
        {"rgb24", QV_FORMAT_RGB888, Family::kRgb, 1, 3, 0, 0,
         "3 bytes a pixel in memory order blue, green, red (ffmpeg's bgr24)"},
        {"argb", QV_FORMAT_ARGB32, Family::kRgb, 1, 4, 0, 0,
         "32-bit little-endian words alpha, red, green, blue (bytes B G R A, ffmpeg's bgra)"},
        {"yuy2", QV_FORMAT_YUY2, Family::kPackedYuv, 1, 2, 1, 0, "packed 4:2:2, bytes Y0 Cb Y1 Cr (ffmpeg's yuyv422)"},
        {"uyvy", QV_FORMAT_UYVY, Family::kPackedYuv, 1, 2, 1, 0, "packed 4:2:2, bytes Cb Y0 Cr Y1 (ffmpeg's uyvy422)"},
        {"nv12", QV_FORMAT_NV12, Family::kSemiPlanarYuv, 2, 1, 1, 1,
         "Y plane and a half-height plane of Cb, Cr byte pairs (ffmpeg's nv12)"},
        {"abgr", QV_FORMAT_ABGR32, Family::kRgb, 1, 4, 0, 0,
         "32-bit little-endian words alpha, blue, green, red (bytes R G B A, ffmpeg's rgba; source only)"},
        {"rgb555", QV_FORMAT_RGB555, Family::kRgb, 1, 2, 0, 0,
         "16-bit words, red 15-11, green 10-6, blue 5-1, bit 0 clear where the colour key matched "
         "(destination only; no ffmpeg twin)"},
    };
    return formats;
}

const FormatInfo* FindFormat(std::string_view name) {
    std::string key = Lower(name);
    for (const Alias& a : kAliases)
        if (key == a.alias) key = a.name;
    for (const FormatInfo& f : AllFormats())
        if (key == f.name) return &f;
    return nullptr;
}

const FormatInfo* FormatByCode(int code) {
    for (const FormatInfo& f : AllFormats())
        if (f.code == code) return &f;
    return nullptr;
}

std::string FormatNames() {
    std::string names;
    for (const FormatInfo& f : AllFormats()) {
        if (!names.empty()) names += ", ";
        names += f.name;
    }
    return names;
}

PlaneShape PlaneOf(const FormatInfo& f, int plane, int32_t width, int32_t height) {
    if (plane < 0 || plane >= f.planes) return {};
    // Odd sizes: chroma rounded up, as ffmpeg and the Y4M files it writes lay them out.
    const int32_t cw = (width + (1 << f.chromaShiftX) - 1) >> f.chromaShiftX;
    const int32_t ch = (height + (1 << f.chromaShiftY) - 1) >> f.chromaShiftY;
    if (plane == 0) return {f.family == Family::kPackedYuv ? cw * 4 : width * f.bytesPerPixel, height};
    return {f.family == Family::kSemiPlanarYuv ? cw * 2 : cw, ch};
}

void ExtendEdges(Frame& frame, int32_t width, int32_t height) {
    const FormatInfo& f = *frame.format;
    for (int p = 0; p < f.planes; ++p) {
        const PlaneShape have = PlaneOf(f, p, frame.width, frame.height), want = PlaneOf(f, p, width, height);
        // The unit repeated: a pixel, a Cb Cr pair of NV12, a pixel pair of packed 4:2:2.
        const int32_t unit = f.family == Family::kRgb        ? f.bytesPerPixel
                             : f.family == Family::kPackedYuv ? 4
                             : p > 0 && f.family == Family::kSemiPlanarYuv ? 2 : 1;
        for (int32_t r = 0; r < have.rows; ++r) {
            uint8_t* row = frame.row(p, r);
            for (int32_t x = have.rowBytes; x < want.rowBytes; ++x) row[x] = row[x - unit];
        }
        for (int32_t r = have.rows; r < want.rows; ++r)
            std::memcpy(frame.row(p, r), frame.row(p, have.rows - 1), static_cast<size_t>(want.rowBytes));
    }
}

std::string SizeText(int32_t width, int32_t height) { return std::to_string(width) + "x" + std::to_string(height); }

int64_t FrameBytes(const FormatInfo& f, int32_t width, int32_t height) {
    int64_t bytes = 0;
    for (int p = 0; p < f.planes; ++p) {
        const PlaneShape s = PlaneOf(f, p, width, height);
        bytes += static_cast<int64_t>(s.rowBytes) * s.rows;
    }
    return bytes;
}

namespace {

// Stride and bytes of plane p of an allocated frame.
std::pair<int32_t, int64_t> PlaneAllocation(const FormatInfo& format, int p, int32_t width, int32_t height,
                                            Padding padding) {
    const PlaneShape s = PlaneOf(format, p, width, height);
    if (padding == Padding::kTight) return {s.rowBytes, static_cast<int64_t>(s.rowBytes) * s.rows};
    const int32_t stride = RoundUp16(s.rowBytes);
    const int extraRows = 6;  // the most any route reads below a plane
    return {stride, static_cast<int64_t>(stride) * (s.rows + extraRows) + 16};
}

}  // namespace

int64_t FrameAllocationBytes(const FormatInfo& format, int32_t width, int32_t height, Padding padding) {
    int64_t bytes = 0;
    for (int p = 0; p < format.planes; ++p) bytes += PlaneAllocation(format, p, width, height, padding).second;
    return bytes;
}

void AllocateFrame(Frame& frame, const FormatInfo& format, int32_t width, int32_t height, Padding padding) {
    frame.format = &format;
    frame.width = width;
    frame.height = height;
    for (int p = 0; p < 3; ++p) {
        frame.storage[p].clear();
        frame.planes[p] = nullptr;
        frame.strides[p] = 0;
        if (p >= format.planes) continue;
        const auto [stride, bytes] = PlaneAllocation(format, p, width, height, padding);
        frame.strides[p] = stride;
        frame.storage[p].assign(static_cast<size_t>(bytes), 0);
        frame.planes[p] = frame.storage[p].data();
    }
    FillBlack(frame);
}

void FillBlack(Frame& frame) {
    for (int p = 0; p < frame.format->planes; ++p) {
        const std::vector<uint8_t> pattern = BlackPattern(*frame.format, p);
        // Padding rows and slack get the same black, so reads below the picture see a plain edge.
        // Strides are multiples of the pattern (widths are multiples of 4), so rows start in step.
        std::vector<uint8_t>& bytes = frame.storage[p];
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = pattern[i % pattern.size()];
    }
}

bool IsBlack(const Frame& frame) {
    for (int p = 0; p < frame.format->planes; ++p) {
        const std::vector<uint8_t> pattern = BlackPattern(*frame.format, p);
        const PlaneShape s = frame.shape(p);
        for (int32_t r = 0; r < s.rows; ++r) {
            const uint8_t* row = frame.row(p, r);
            for (int32_t i = 0; i < s.rowBytes; ++i)
                if (row[i] != pattern[i % pattern.size()]) return false;
        }
    }
    return true;
}

OperationInfo OperationOf(int source, int destination) {
    // The library's operations as the tool uses them; a test checks this list against the
    // library's route table.
    constexpr OperationInfo kTurnsAndScales{true, true, true, false};
    constexpr OperationInfo kSourceSize{true, false, false, false};      // rotation and size ignored
    constexpr OperationInfo kTurnsAtSourceSize{true, true, false, false};
    constexpr OperationInfo kScalesUnturned{true, false, true, false};   // the rotation is ignored
    constexpr OperationInfo kFixed{true, false, false, true};
    struct Known {
        int source, destination;
        OperationInfo info;
    };
    constexpr Known kOperations[] = {
        {QV_FORMAT_YCBCR420, QV_FORMAT_YCBCR420, kTurnsAndScales}, {QV_FORMAT_YCBCR420, QV_FORMAT_RGB565, kTurnsAndScales},
        {QV_FORMAT_YCBCR420, QV_FORMAT_RGB888, kTurnsAndScales},   {QV_FORMAT_YCBCR420, QV_FORMAT_ARGB32, kTurnsAndScales},
        {QV_FORMAT_YCBCR444, QV_FORMAT_RGB565, kTurnsAndScales},   {QV_FORMAT_YCBCR444, QV_FORMAT_RGB888, kTurnsAndScales},
        {QV_FORMAT_YCBCR444, QV_FORMAT_ARGB32, kTurnsAndScales},   {QV_FORMAT_RGB565, QV_FORMAT_RGB565, kTurnsAndScales},
        {QV_FORMAT_RGB888, QV_FORMAT_RGB565, kTurnsAndScales},     {QV_FORMAT_RGB888, QV_FORMAT_RGB888, kTurnsAndScales},
        {QV_FORMAT_YCBCR420, QV_FORMAT_YUY2, kSourceSize},         {QV_FORMAT_YCBCR420, QV_FORMAT_UYVY, kSourceSize},
        {QV_FORMAT_YCBCR420, QV_FORMAT_NV12, kSourceSize},         {QV_FORMAT_RGB565, QV_FORMAT_ARGB32, kSourceSize},
        {QV_FORMAT_NV12, QV_FORMAT_YCBCR420, kSourceSize},         {QV_FORMAT_YCBCR422, QV_FORMAT_RGB565, kScalesUnturned},
        {QV_FORMAT_RGB565, QV_FORMAT_YCBCR420, kTurnsAtSourceSize}, {QV_FORMAT_ARGB32, QV_FORMAT_YCBCR420, kTurnsAtSourceSize},
        {QV_FORMAT_ABGR32, QV_FORMAT_YCBCR420, kTurnsAtSourceSize}, {QV_FORMAT_YCBCR420, QV_FORMAT_RGB555, kFixed},
    };
    for (const Known& k : kOperations)
        if (k.source == source && k.destination == destination) return k.info;
    return {};
}

Scaling ScalingOf(int src, int dst, uint32_t rotation, uint32_t interp, int32_t W, int32_t H, int32_t DW,
                  int32_t DH) {
    const OperationInfo op = OperationOf(src, dst);
    if (!op.exists || !op.scales || (W == DW && H == DH)) return Scaling::kNone;
    const bool up = DW > W && DH > H, down = !up;  // down: smaller or mixed
    if (src != QV_FORMAT_YCBCR420) return Scaling::kBilinear;
    if (dst == QV_FORMAT_YCBCR420) return Scaling::kBilinearLuma;
    if (rotation != QV_ROTATE_NONE)
        return dst == QV_FORMAT_RGB565 && up ? Scaling::kBilinear : Scaling::kBilinearLuma;
    // Unrotated 4:2:0 to RGB: 'fixed' first looks for a fixed ratio (the first match wins).
    bool fixedCase = false;
    if (interp == QV_INTERP_FIXED_RATIO) {
        const int64_t w = W, h = H, dw = DW, dh = DH;
        fixedCase = dw == 2 * w && dh == 2 * h;  // 2 x 2: the enlarging filter, below
        if (!fixedCase && 2 * dw == 5 * w && dh == 2 * h)
            return dst == QV_FORMAT_RGB888 ? Scaling::kBilinear : Scaling::kFixed25x2;
        if (!fixedCase && w == 320 && h == 240 && dw == 480 && dh == 272) {
            if (dst == QV_FORMAT_RGB565) return Scaling::kFixed480x272;
            fixedCase = true;
        }
        if (!fixedCase && 2 * dw == 3 * w)
            return dst == QV_FORMAT_RGB888 ? Scaling::kBilinear : Scaling::kFixed15;
    }
    if (down && !fixedCase) return Scaling::kBilinearLuma;
    if (dst == QV_FORMAT_RGB565 && !fixedCase) {
        if (interp == QV_INTERP_NEAREST) return Scaling::kNearest;
        if (interp == QV_INTERP_NEAR_LINEAR) return Scaling::kNearLinear;
    }
    return Scaling::kBilinear;
}

const char* ScalingName(Scaling s) {
    switch (s) {
        case Scaling::kNone: return "none";
        case Scaling::kBilinear: return "bilinear";
        case Scaling::kBilinearLuma: return "bilinear luma, nearest chroma";
        case Scaling::kNearest: return "nearest";
        case Scaling::kNearLinear: return "near-linear";
        case Scaling::kFixed25x2: return "fixed 2.5x2";
        case Scaling::kFixed15: return "fixed 1.5x across, bilinear down";
        case Scaling::kFixed480x272: return "fixed 320x240 to 480x272";
    }
    return "?";
}

bool Honours(Scaling s, uint32_t interp) {
    switch (interp) {
        case QV_INTERP_NEAREST: return s == Scaling::kNearest;
        case QV_INTERP_NEAR_LINEAR: return s == Scaling::kNearLinear;
        case QV_INTERP_FIXED_RATIO:
            return s == Scaling::kFixed25x2 || s == Scaling::kFixed15 || s == Scaling::kFixed480x272;
        default: return s == Scaling::kBilinear || s == Scaling::kBilinearLuma;
    }
}

std::string DestinationsOf(const FormatInfo& source) {
    std::string names;
    for (const FormatInfo& f : AllFormats()) {
        if (!OperationOf(source.code, f.code).exists) continue;
        if (!names.empty()) names += ", ";
        names += f.name;
    }
    return names.empty() ? "nothing" : names;
}

}  // namespace qvc
