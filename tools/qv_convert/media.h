// Picture files: raw frames, YUV4MPEG2 streams and PNG pictures; and the frame sources the
// converter reads from (files and the test pattern), one frame at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "colour.h"
#include "fileio.h"
#include "formats.h"

namespace qvc {

// ---- YUV4MPEG2 ----------------------------------------------------------------------------------
struct Y4mHeader {
    int32_t width = 0;
    int32_t height = 0;
    const FormatInfo* format = nullptr;   // i420, i422 or i444
    int32_t rateNum = 25, rateDen = 1;
    char interlace = 'p';                 // p, t, b, m or ?
    std::string aspect = "1:1";
};
// Parses a stream header line (without its newline). Returns a message for a malformed one.
std::string ParseY4mHeader(const std::string& line, Y4mHeader& header);
// The header line for a picture, with its newline; the format must be YCbCr.
std::string FormatY4mHeader(const Y4mHeader& header);
// The chroma tag written for an output format ("420jpeg", "422", "444"), or nullptr when the format
// cannot go into a Y4M file.
const char* Y4mChromaTag(const FormatInfo& format);

// ---- PNG ----------------------------------------------------------------------------------------
std::string ReadPng(FILE* file, const std::string& name, RgbaImage& image);
std::string WritePng(FILE* file, const RgbaImage& image, bool withAlpha);

// ---- frames out ---------------------------------------------------------------------------------
// The picture's planes, tightly packed, as a raw file holds them.
bool WriteRawFrame(FILE* file, const Frame& frame);
// "FRAME" and the planes in Y4M order (NV12 and the packed 4:2:2 formats are unpacked).
bool WriteY4mFrame(FILE* file, const Frame& frame);

// ---- frames in ----------------------------------------------------------------------------------
class FrameSource {
public:
    virtual ~FrameSource() = default;
    // Reads the next picture into `frame` (allocated for format() and the size). *got is false at
    // the end of the input. A message comes back for a malformed or truncated input.
    virtual std::string Read(Frame& frame, bool* got) = 0;
    // Reads the first frame's bytes ahead, into a buffer that grows only as they arrive, so that a
    // header announcing a huge picture costs no more memory than the input holds; the next Read
    // hands them over. A message for a malformed or truncated first frame; *got is false when the
    // input holds no frame. Sources that make their pictures (the pattern) or hold them already
    // (PNG) have nothing to read ahead.
    virtual std::string ReadAhead(bool* got) {
        *got = true;
        return {};
    }
    // Bytes the source still allocates for its own pictures when it makes the first frame.
    virtual int64_t PictureBytes() const { return 0; }

    const FormatInfo* format = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int64_t frameCount = -1;      // -1 when not known in advance
    bool sizeFromInput = false;   // the file says its size (Y4M, PNG)
    Y4mHeader stream;             // rate, interlacing and aspect to pass on to a Y4M output
    std::string description;      // "in.y4m", "the test pattern", ...
    std::string layoutNote;       // how frames of an odd size are laid out in the file, "" otherwise
};

// What kind of input a name or its first bytes show.
enum class InputKind { kRaw, kY4m, kPng, kPattern };

struct SourceRequest {
    std::string input;            // name, "-" or "pattern[:interlaced]"
    const FormatInfo* format = nullptr;   // --from (raw, pattern, PNG feeding); may be null
    int32_t width = 0, height = 0;        // --size, 0 when not given
    int64_t frames = -1;                  // --frames
};

// Opens the input. For a PNG `request.format` must be set (an RGB source format).
std::string OpenSource(const SourceRequest& request, std::unique_ptr<FrameSource>& source);
// The kind of an input, from its name, or for "-" and unknown extensions from its first bytes.
InputKind KindOf(const std::string& input, InputStream* peekable);

}  // namespace qvc
