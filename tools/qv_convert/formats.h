// Pixel formats as the tool knows them: names, plane geometry, frame buffers, and which operations
// the library offers between them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qvc {

enum class Family { kPlanarYuv, kSemiPlanarYuv, kPackedYuv, kRgb };

struct FormatInfo {
    const char* name;          // the name on the command line: "i420"
    int code;                  // the library's format code (QV_FORMAT_*)
    Family family;
    int planes;                // 1, 2 or 3
    int bytesPerPixel;         // plane 0, bytes a pixel
    int chromaShiftX;          // planar and semi-planar formats: chroma width = width >> shift
    int chromaShiftY;          // chroma height = height >> shift
    const char* description;   // one line for --formats
};

// Every format the library has, in code order.
const std::vector<FormatInfo>& AllFormats();
const FormatInfo* FindFormat(std::string_view name);   // by name or alias; nullptr if unknown
const FormatInfo* FormatByCode(int code);
std::string FormatNames();                              // "i420, i422, ..." for messages

// One plane of a picture: bytes a row and rows.
struct PlaneShape {
    int32_t rowBytes = 0;
    int32_t rows = 0;
};
PlaneShape PlaneOf(const FormatInfo& format, int plane, int32_t width, int32_t height);
// Repeats the last column and row of the frame's picture out to width x height (no larger than the
// frame was allocated for); the frame's own size is left as it is.
struct Frame;
void ExtendEdges(Frame& frame, int32_t width, int32_t height);
// "640x480".
std::string SizeText(int32_t width, int32_t height);
// Bytes of one tightly packed picture (the size of a raw frame).
int64_t FrameBytes(const FormatInfo& format, int32_t width, int32_t height);

// A picture in memory with its planes and strides, as handed to the library.
// Padded frames (sources) get strides rounded up to 16 bytes, 16 bytes of slack at the end of every
// plane and six readable rows below every plane (the 2.5 x 2 fixed-ratio path reads two luma rows
// below the picture, the block deinterlacer up to five rows below a plane). Tight frames (destinations) are exactly the picture.
struct Frame {
    const FormatInfo* format = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> storage[3];
    uint8_t* planes[3] = {nullptr, nullptr, nullptr};
    int32_t strides[3] = {0, 0, 0};

    PlaneShape shape(int plane) const { return PlaneOf(*format, plane, width, height); }
    uint8_t* row(int plane, int32_t r) { return planes[plane] + static_cast<ptrdiff_t>(r) * strides[plane]; }
    const uint8_t* row(int plane, int32_t r) const {
        return planes[plane] + static_cast<ptrdiff_t>(r) * strides[plane];
    }
};

enum class Padding { kTight, kSource };
void AllocateFrame(Frame& frame, const FormatInfo& format, int32_t width, int32_t height, Padding padding);
// The bytes AllocateFrame takes for such a frame.
int64_t FrameAllocationBytes(const FormatInfo& format, int32_t width, int32_t height, Padding padding);
// Fills the picture with the format's black (Y 16, Cb Cr 128; RGB 0, alpha opaque).
void FillBlack(Frame& frame);
// True when every picture byte still holds the format's black.
bool IsBlack(const Frame& frame);

// What the library does with an operation (source << 8 | destination).
struct OperationInfo {
    bool exists = false;     // the library converts between these formats
    bool rotates = false;    // the rotation code is honoured (false: ignored or refused)
    bool scales = false;     // the destination size is honoured (false: the source size is written)
    bool refusesRotateScale = false;  // Create refuses any rotation or scaling (4:2:0 to RGB555)
};
OperationInfo OperationOf(int sourceCode, int destinationCode);
// The filter a scaled conversion really uses. Most routes have one filter whatever the interpolation
// code; only unrotated 4:2:0 to RGB565 enlarging honours nearest and near-linear, and 4:2:0 to RGB565
// and ARGB32 have fixed-ratio paths for 'fixed' at a few sizes.
enum class Scaling {
    kNone,           // the route writes the source size
    kBilinear,       // bilinear on converted pixels (or on all three YCbCr planes)
    kBilinearLuma,   // bilinear luma, chroma from the nearest sample of each 2x2 block
    kNearest,
    kNearLinear,     // nearest rows, each row doubled by averaging, then nearest columns
    kFixed25x2,      // fixed 2.5 x 2
    kFixed15,        // fixed 1.5 x across, bilinear down
    kFixed480x272,   // fixed 320x240 to 480x272
};
Scaling ScalingOf(int sourceCode, int destinationCode, uint32_t rotation, uint32_t interpolation, int32_t W,
                  int32_t H, int32_t DW, int32_t DH);
const char* ScalingName(Scaling scaling);
// Whether an interpolation code asks for what the filter does.
bool Honours(Scaling scaling, uint32_t interpolation);

// Destination names the library offers for a source, "rgb565, rgb24".
std::string DestinationsOf(const FormatInfo& source);

}  // namespace qvc
