#include "media.h"

#include <png.h>

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "pattern.h"
#include "qv_imageproc.h"

namespace qvc {
namespace {

constexpr size_t kMaxHeaderLine = 4096;
constexpr int64_t kMaxPngBytes = int64_t{1} << 30;

enum class LineStatus { kLine, kEnd, kTruncated, kTooLong };

// Reads one '\n'-terminated line (without the newline).
LineStatus ReadLine(InputStream& in, std::string& line) {
    line.clear();
    char c;
    while (line.size() < kMaxHeaderLine) {
        if (in.Read(&c, 1) != 1) return line.empty() ? LineStatus::kEnd : LineStatus::kTruncated;
        if (c == '\n') return LineStatus::kLine;
        line.push_back(c);
    }
    return LineStatus::kTooLong;
}

bool ParseRatio(const std::string& text, int32_t& num, int32_t& den) {
    const size_t colon = text.find(':');
    if (colon == std::string::npos) return false;
    char* end = nullptr;
    const long n = std::strtol(text.c_str(), &end, 10);
    if (end != text.c_str() + colon) return false;
    const long d = std::strtol(text.c_str() + colon + 1, &end, 10);
    if (*end != '\0' || n < 0 || d < 0 || n > 1000000000 || d > 1000000000) return false;
    num = static_cast<int32_t>(n);
    den = static_cast<int32_t>(d);
    return true;
}

// Reads up to `bytes` bytes, growing `out` a megabyte at a time as they arrive. Returns the bytes
// read.
int64_t ReadGrowing(InputStream& in, std::vector<uint8_t>& out, int64_t bytes) {
    constexpr int64_t kStep = int64_t{1} << 20;
    out.clear();
    while (static_cast<int64_t>(out.size()) < bytes) {
        const size_t at = out.size();
        const size_t want = static_cast<size_t>(std::min(kStep, bytes - static_cast<int64_t>(at)));
        out.resize(at + want);
        const size_t n = in.Read(out.data() + at, want);
        out.resize(at + n);
        if (n < want) break;
    }
    return static_cast<int64_t>(out.size());
}

// A frame's planes from tightly packed bytes, as a raw file holds them; `bytes` is released.
void TakePlanes(std::vector<uint8_t>& bytes, Frame& frame) {
    const uint8_t* p = bytes.data();
    for (int plane = 0; plane < frame.format->planes; ++plane) {
        const PlaneShape s = frame.shape(plane);
        for (int32_t r = 0; r < s.rows; ++r, p += s.rowBytes)
            std::memcpy(frame.row(plane, r), p, static_cast<size_t>(s.rowBytes));
    }
    std::vector<uint8_t>().swap(bytes);
}

// Reads the picture's planes into a frame: a plane whose rows are contiguous in one read, others row
// by row. Returns the bytes read.
int64_t ReadPlanes(InputStream& in, Frame& frame) {
    int64_t total = 0;
    for (int p = 0; p < frame.format->planes; ++p) {
        const PlaneShape s = frame.shape(p);
        if (frame.strides[p] == s.rowBytes) {
            const size_t bytes = static_cast<size_t>(s.rowBytes) * static_cast<size_t>(s.rows);
            const size_t n = in.Read(frame.planes[p], bytes);
            total += static_cast<int64_t>(n);
            if (n < bytes) return total;
            continue;
        }
        for (int32_t r = 0; r < s.rows; ++r) {
            const size_t n = in.Read(frame.row(p, r), static_cast<size_t>(s.rowBytes));
            total += static_cast<int64_t>(n);
            if (n < static_cast<size_t>(s.rowBytes)) return total;
        }
    }
    return total;
}

// For a size whose chroma does not divide evenly: the planes a frame is read as.
std::string LayoutOf(const FormatInfo& f, int32_t width, int32_t height) {
    if ((width % 2 == 0 || f.chromaShiftX == 0) && (height % 2 == 0 || f.chromaShiftY == 0)) return {};
    std::string planes;
    for (int p = 0; p < f.planes; ++p) {
        const PlaneShape s = PlaneOf(f, p, width, height);
        planes += (p > 0 ? ", " : "") + std::to_string(s.rowBytes) + "x" + std::to_string(s.rows);
    }
    return "a frame of " + std::string(f.name) + " " + SizeText(width, height) + " is taken as planes of " + planes +
           " bytes, chroma rounded up as ffmpeg lays it out: " + std::to_string(FrameBytes(f, width, height)) + " bytes";
}

// A source read from a stream, whose first frame may have been read ahead.
class StreamSource : public FrameSource {
protected:
    explicit StreamSource(std::unique_ptr<InputStream> in) : in_(std::move(in)) {}

    // Hands over the frame read ahead; false when there is none.
    bool TakeAhead(Frame& frame) {
        if (!ahead_) return false;
        ahead_ = false;
        TakePlanes(first_, frame);
        return true;
    }

    std::unique_ptr<InputStream> in_;
    std::vector<uint8_t> first_;
    bool ahead_ = false;
    int64_t frameBytes_ = 0;
    int64_t index_ = 0;
    int64_t limit_ = -1;
};

class RawSource : public StreamSource {
public:
    explicit RawSource(std::unique_ptr<InputStream> in) : StreamSource(std::move(in)) {}

    std::string Open(const SourceRequest& request) {
        if (request.format == nullptr)
            return "raw input " + in_->name() + " needs --from FORMAT (" + FormatNames() + ")";
        if (request.width == 0)
            return "raw input " + in_->name() + " needs --size WIDTHxHEIGHT (a raw file does not say its size)";
        format = request.format;
        width = request.width;
        height = request.height;
        limit_ = request.frames;
        description = in_->name();
        frameBytes_ = FrameBytes(*format, width, height);
        layoutNote = LayoutOf(*format, width, height);
        if (in_->Size() >= 0) {
            const int64_t size = in_->Size();
            if (size == 0) return in_->name() + " is empty";
            const int64_t whole = size / frameBytes_, left = size % frameBytes_;
            if (left != 0)
                return in_->name() + " is " + std::to_string(size) + " bytes: " + std::to_string(whole) +
                       " frames of " + std::to_string(frameBytes_) + " bytes (" + format->name + " " +
                       SizeText(width, height) + ") and " + std::to_string(left) +
                       " bytes left over; check --from and --size" +
                       (layoutNote.empty() ? "" : " (" + layoutNote + ")");
            frameCount = limit_ >= 0 ? std::min(whole, limit_) : whole;
        }
        return {};
    }

    std::string Read(Frame& frame, bool* got) override {
        *got = false;
        if (limit_ >= 0 && index_ >= limit_) return {};
        if (!TakeAhead(frame)) {
            std::string error = Checked(ReadPlanes(*in_, frame), got);
            if (!error.empty() || !*got) return error;
        }
        ++index_;
        *got = true;
        return {};
    }

    // Open has seen a regular file hold whole frames; from a pipe the first one is read ahead.
    std::string ReadAhead(bool* got) override {
        *got = true;
        if (in_->Size() >= 0) return {};
        std::string error = Checked(ReadGrowing(*in_, first_, frameBytes_), got);
        ahead_ = *got;
        return error;
    }

private:
    // A frame of n bytes read: *got when it is whole, a message when it is cut short.
    std::string Checked(int64_t n, bool* got) const {
        *got = false;
        if (in_->error()) return "cannot read " + in_->name() + ": read error";
        if (n == 0) return {};
        if (n < frameBytes_)
            return in_->name() + " ends inside frame " + std::to_string(index_ + 1) + ": " + std::to_string(n) +
                   " bytes left over (a frame of " + format->name + " " + SizeText(width, height) + " is " +
                   std::to_string(frameBytes_) + " bytes); check --from and --size";
        *got = true;
        return {};
    }
};

class Y4mSource : public StreamSource {
public:
    explicit Y4mSource(std::unique_ptr<InputStream> in) : StreamSource(std::move(in)) {}

    std::string Open(const SourceRequest& request) {
        description = in_->name();
        std::string line;
        switch (ReadLine(*in_, line)) {
            case LineStatus::kEnd: return in_->name() + " is empty";
            case LineStatus::kTruncated: return in_->name() + ": truncated Y4M header (no end of line)";
            case LineStatus::kTooLong: return in_->name() + ": malformed Y4M header (longer than 4096 bytes)";
            case LineStatus::kLine: break;
        }
        const std::string error = ParseY4mHeader(line, stream);
        if (!error.empty()) return in_->name() + ": " + error;
        if (request.format != nullptr && request.format != stream.format)
            return "--from " + std::string(request.format->name) + " does not match " + in_->name() +
                   ", whose header says " + stream.format->name;
        format = stream.format;
        sizeFromInput = true;
        width = stream.width;
        height = stream.height;
        limit_ = request.frames;
        frameBytes_ = FrameBytes(*format, width, height);
        layoutNote = LayoutOf(*format, width, height);
        return {};
    }

    std::string Read(Frame& frame, bool* got) override {
        if (TakeAhead(frame)) {
            *got = true;
            return {};
        }
        return ReadFrame([&] { return ReadPlanes(*in_, frame); }, got);
    }

    std::string ReadAhead(bool* got) override {
        const std::string error = ReadFrame([&] { return ReadGrowing(*in_, first_, frameBytes_); }, got);
        ahead_ = *got;
        return error;
    }

private:
    // The frame header, then `readPicture()`, which returns the bytes it read.
    template <class ReadPicture>
    std::string ReadFrame(ReadPicture readPicture, bool* got) {
        *got = false;
        if (limit_ >= 0 && index_ >= limit_) return {};
        std::string line;
        const std::string where = in_->name() + ": frame " + std::to_string(index_ + 1);
        switch (ReadLine(*in_, line)) {
            case LineStatus::kEnd: return {};
            case LineStatus::kTruncated: return where + ": truncated frame header";
            case LineStatus::kTooLong: return where + ": malformed frame header";
            case LineStatus::kLine: break;
        }
        if (line.compare(0, 5, "FRAME") != 0 || (line.size() > 5 && line[5] != ' '))
            return where + ": malformed frame header '" + line.substr(0, 32) + "' (expected FRAME)";
        const int64_t n = readPicture();
        if (in_->error()) return "cannot read " + in_->name() + ": read error";
        if (n < frameBytes_)
            return where + " is truncated: " + std::to_string(n) + " of " + std::to_string(frameBytes_) + " bytes";
        ++index_;
        *got = true;
        return {};
    }
};

// ---- PNG rows decoded into one row ----------------------------------------------------------------
// libpng reports errors by longjmp: the function that calls setjmp holds nothing with a destructor.

struct PngMemory {
    const uint8_t* data;
    size_t size, at;
    char message[160];
};

void ReadPngMemory(png_structp png, png_bytep out, size_t n) {
    auto* m = static_cast<PngMemory*>(png_get_io_ptr(png));
    if (n > m->size - m->at) png_error(png, "the file ends inside the picture");
    std::memcpy(out, m->data + m->at, n);
    m->at += n;
}

void OnPngError(png_structp png, png_const_charp message) {
    auto* m = static_cast<PngMemory*>(png_get_error_ptr(png));
    std::snprintf(m->message, sizeof m->message, "%s", message);
    png_longjmp(png, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

// Decodes every row of the PNG in `m` into one row buffer: a damaged or truncated picture is found
// before a buffer for the whole picture is allocated. False, with m.message set, when it fails.
bool DecodesWhole(PngMemory& m) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &m, OnPngError, OnPngWarning);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        std::snprintf(m.message, sizeof m.message, "out of memory");
        return false;
    }
    png_bytep volatile row = nullptr;
    if (setjmp(png_jmpbuf(png))) {
        png_free(png, row);
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    png_set_read_fn(png, &m, ReadPngMemory);
    png_read_info(png, info);
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    row = static_cast<png_bytep>(png_malloc(png, png_get_rowbytes(png, info)));
    const png_uint_32 height = png_get_image_height(png, info);
    for (int pass = 0; pass < passes; ++pass)
        for (png_uint_32 y = 0; y < height; ++y) png_read_row(png, row, nullptr);
    png_free(png, row);
    png_destroy_read_struct(&png, &info, nullptr);
    return true;
}

class PngSource : public FrameSource {
public:
    std::string Open(const SourceRequest& request, InputStream& in) {
        description = in.name();
        std::vector<uint8_t> bytes;
        uint8_t buffer[65536];
        size_t n;
        while ((n = in.Read(buffer, sizeof buffer)) > 0) {
            bytes.insert(bytes.end(), buffer, buffer + n);
            if (static_cast<int64_t>(bytes.size()) > kMaxPngBytes) return in.name() + " is too large for a PNG";
        }
        png_image png;
        std::memset(&png, 0, sizeof png);
        png.version = PNG_IMAGE_VERSION;
        if (!png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()))
            return in.name() + ": not a readable PNG (" + png.message + ")";
        if (png.width > 16384 || png.height > 16384) {
            png_image_free(&png);
            return in.name() + " is " + SizeText(static_cast<int32_t>(png.width), static_cast<int32_t>(png.height)) +
                   ", larger than 16384x16384";
        }
        // The header alone can announce 16384 x 16384 (1 GiB of pixels): only a picture that
        // decodes whole gets its buffer.
        PngMemory memory{bytes.data(), bytes.size(), 0, {}};
        if (!DecodesWhole(memory)) {
            png_image_free(&png);
            return in.name() + ": damaged PNG (" + memory.message + ")";
        }
        png.format = PNG_FORMAT_RGBA;
        image_.resize(static_cast<int32_t>(png.width), static_cast<int32_t>(png.height));
        if (!png_image_finish_read(&png, nullptr, image_.pixels.data(), 0, nullptr))
            return in.name() + ": damaged PNG (" + png.message + ")";
        format = request.format;  // null: the converter picks the RGB format to feed
        sizeFromInput = true;
        width = image_.width;
        height = image_.height;
        frameCount = 1;
        stream.interlace = 'p';
        return {};
    }

    std::string Read(Frame& frame, bool* got) override {
        *got = !done_;
        if (!done_) EncodeImage(image_, frame);
        done_ = true;
        return {};
    }

private:
    RgbaImage image_;
    bool done_ = false;
};

class PatternSource : public FrameSource {
public:
    std::string Open(const SourceRequest& request, bool interlaced) {
        format = request.format != nullptr ? request.format : FindFormat("i420");
        if (format->code == QV_FORMAT_RGB555)
            return "the pattern cannot be made as rgb555, which is an output format only";
        width = request.width != 0 ? request.width : 640;
        height = request.height != 0 ? request.height : 480;
        frameCount = request.frames >= 0 ? request.frames : 1;
        interlaced_ = interlaced;
        stream.interlace = interlaced ? 't' : 'p';
        description = interlaced ? "the interlaced test pattern" : "the test pattern";
        return {};
    }

    // The background and the picture drawn over it.
    int64_t PictureBytes() const override {
        return 2 * static_cast<int64_t>(width) * height * static_cast<int64_t>(sizeof(Rgba));
    }

    std::string Read(Frame& frame, bool* got) override {
        *got = index_ < frameCount;
        if (!*got) return {};
        if (background_.width == 0) DrawPatternBackground(background_, width, height);
        image_ = background_;
        DrawPatternMotion(image_, index_, interlaced_);
        EncodeImage(image_, frame, interlaced_);
        ++index_;
        return {};
    }

private:
    RgbaImage background_;
    RgbaImage image_;
    bool interlaced_ = false;
    int64_t index_ = 0;
};

}  // namespace

std::string ParseY4mHeader(const std::string& line, Y4mHeader& header) {
    header = Y4mHeader{};
    if (line.compare(0, 10, "YUV4MPEG2 ") != 0 && line != "YUV4MPEG2")
        return "not a YUV4MPEG2 stream (the header must start with 'YUV4MPEG2 ')";
    std::string colourspace = "420jpeg";
    size_t pos = 9;
    while (pos < line.size()) {
        while (pos < line.size() && line[pos] == ' ') ++pos;
        if (pos >= line.size()) break;
        size_t end = line.find(' ', pos);
        if (end == std::string::npos) end = line.size();
        const std::string token = line.substr(pos, end - pos);
        const std::string value = token.substr(1);
        pos = end;
        char* stop = nullptr;
        switch (token[0]) {
            case 'W':
            case 'H': {
                const long v = std::strtol(value.c_str(), &stop, 10);
                if (value.empty() || *stop != '\0' || v < 1 || v > 16384)
                    return "malformed Y4M header: bad size field '" + token + "'";
                (token[0] == 'W' ? header.width : header.height) = static_cast<int32_t>(v);
                break;
            }
            case 'F':
                if (!ParseRatio(value, header.rateNum, header.rateDen) || header.rateDen == 0)
                    return "malformed Y4M header: bad frame rate '" + token + "'";
                break;
            case 'I':
                if (value.size() != 1 || std::strchr("ptbm?", value[0]) == nullptr)
                    return "malformed Y4M header: bad interlacing '" + token + "'";
                header.interlace = value[0];
                break;
            case 'A': {
                int32_t n = 0, d = 0;
                if (!ParseRatio(value, n, d)) return "malformed Y4M header: bad aspect '" + token + "'";
                header.aspect = value;
                break;
            }
            case 'C': colourspace = value; break;
            default: break;  // X comments and fields of later versions are passed over
        }
    }
    if (header.width == 0) return "malformed Y4M header: no width (W)";
    if (header.height == 0) return "malformed Y4M header: no height (H)";
    if (colourspace == "420jpeg" || colourspace == "420paldv" || colourspace == "420mpeg2" || colourspace == "420")
        header.format = FindFormat("i420");
    else if (colourspace == "422")
        header.format = FindFormat("i422");
    else if (colourspace == "444")
        header.format = FindFormat("i444");
    else
        return "Y4M colour space C" + colourspace + " is not supported (8-bit 4:2:0, 4:2:2 and 4:4:4 only)";
    return {};
}

const char* Y4mChromaTag(const FormatInfo& f) {
    switch (f.code) {
        case QV_FORMAT_YCBCR420:
        case QV_FORMAT_NV12: return "420jpeg";
        case QV_FORMAT_YCBCR422:
        case QV_FORMAT_YUY2:
        case QV_FORMAT_UYVY: return "422";
        case QV_FORMAT_YCBCR444: return "444";
        default: return nullptr;
    }
}

std::string FormatY4mHeader(const Y4mHeader& h) {
    return "YUV4MPEG2 W" + std::to_string(h.width) + " H" + std::to_string(h.height) + " F" +
           std::to_string(h.rateNum) + ":" + std::to_string(h.rateDen) + " I" + std::string(1, h.interlace) + " A" +
           h.aspect + " C" + Y4mChromaTag(*h.format) + "\n";
}

bool WriteRawFrame(FILE* file, const Frame& frame) {
    for (int p = 0; p < frame.format->planes; ++p) {
        const PlaneShape s = frame.shape(p);
        if (frame.strides[p] == s.rowBytes) {  // one write for the plane
            const size_t bytes = static_cast<size_t>(s.rowBytes) * static_cast<size_t>(s.rows);
            if (std::fwrite(frame.planes[p], 1, bytes, file) != bytes) return false;
            continue;
        }
        for (int32_t r = 0; r < s.rows; ++r)
            if (std::fwrite(frame.row(p, r), 1, static_cast<size_t>(s.rowBytes), file) != static_cast<size_t>(s.rowBytes))
                return false;
    }
    return true;
}

bool WriteY4mFrame(FILE* file, const Frame& frame) {
    if (std::fputs("FRAME\n", file) == EOF) return false;
    const FormatInfo& f = *frame.format;
    if (f.family == Family::kPlanarYuv) return WriteRawFrame(file, frame);
    const int32_t w = frame.width, h = frame.height;
    std::vector<uint8_t> row(static_cast<size_t>(w));
    auto put = [&](size_t n) { return std::fwrite(row.data(), 1, n, file) == n; };
    if (f.family == Family::kSemiPlanarYuv) {
        for (int32_t r = 0; r < h; ++r)
            if (std::fwrite(frame.row(0, r), 1, static_cast<size_t>(w), file) != static_cast<size_t>(w)) return false;
        for (int c = 0; c < 2; ++c)  // Cb, then Cr, from the interleaved pairs
            for (int32_t r = 0; r < h / 2; ++r) {
                for (int32_t x = 0; x < w / 2; ++x) row[x] = frame.row(1, r)[2 * x + c];
                if (!put(static_cast<size_t>(w / 2))) return false;
            }
        return true;
    }
    // Packed 4:2:2: the luma samples, then each chroma plane at half width, full height.
    const bool yuy2 = f.code == QV_FORMAT_YUY2;
    const int lumaAt = yuy2 ? 0 : 1, cbAt = yuy2 ? 1 : 0, crAt = yuy2 ? 3 : 2;
    for (int32_t r = 0; r < h; ++r) {
        for (int32_t x = 0; x < w; ++x) row[x] = frame.row(0, r)[(x & ~1) * 2 + lumaAt + (x & 1) * 2];
        if (!put(static_cast<size_t>(w))) return false;
    }
    for (int at : {cbAt, crAt})
        for (int32_t r = 0; r < h; ++r) {
            for (int32_t x = 0; x < w / 2; ++x) row[x] = frame.row(0, r)[4 * x + at];
            if (!put(static_cast<size_t>(w / 2))) return false;
        }
    return true;
}

std::string ReadPng(FILE* file, const std::string& name, RgbaImage& image) {
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_stdio(&png, file)) return name + ": not a readable PNG (" + png.message + ")";
    png.format = PNG_FORMAT_RGBA;
    image.resize(static_cast<int32_t>(png.width), static_cast<int32_t>(png.height));
    if (!png_image_finish_read(&png, nullptr, image.pixels.data(), 0, nullptr))
        return name + ": damaged PNG (" + png.message + ")";
    return {};
}

std::string WritePng(FILE* file, const RgbaImage& image, bool withAlpha) {
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(image.width);
    png.height = static_cast<png_uint_32>(image.height);
    png.format = withAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    std::vector<uint8_t> bytes;
    bytes.reserve(image.pixels.size() * 4);
    for (const Rgba& p : image.pixels) {
        bytes.push_back(p.r);
        bytes.push_back(p.g);
        bytes.push_back(p.b);
        if (withAlpha) bytes.push_back(p.a);
    }
    if (!png_image_write_to_stdio(&png, file, 0, bytes.data(), 0, nullptr))
        return std::string("PNG encoding failed: ") + png.message;
    return {};
}

InputKind KindOf(const std::string& input, InputStream* peekable) {
    if (input.empty() || input == "pattern" || input.compare(0, 8, "pattern:") == 0) return InputKind::kPattern;
    const std::string ext = ExtensionOf(input);
    if (ext == "y4m") return InputKind::kY4m;
    if (ext == "png") return InputKind::kPng;
    if (peekable != nullptr) {
        const std::string head = peekable->Peek(10);
        if (head == "YUV4MPEG2 ") return InputKind::kY4m;
        if (head.size() >= 8 && std::memcmp(head.data(), "\x89PNG\r\n\x1a\n", 8) == 0) return InputKind::kPng;
    }
    return InputKind::kRaw;
}

std::string OpenSource(const SourceRequest& request, std::unique_ptr<FrameSource>& source) {
    if (KindOf(request.input, nullptr) == InputKind::kPattern) {
        const std::string variant = request.input.size() > 8 ? request.input.substr(8) : "";
        if (!variant.empty() && variant != "interlaced" && variant != "progressive")
            return "unknown pattern '" + request.input + "' (pattern or pattern:interlaced)";
        auto pattern = std::make_unique<PatternSource>();
        std::string error = pattern->Open(request, variant == "interlaced");
        source = std::move(pattern);
        return error;
    }
    auto in = std::make_unique<InputStream>();
    std::string error = in->Open(request.input);
    if (!error.empty()) return error;
    // Standard input and unknown names: the first bytes tell a Y4M or PNG stream from raw data.
    switch (KindOf(request.input, in.get())) {
        case InputKind::kY4m: {
            auto y4m = std::make_unique<Y4mSource>(std::move(in));
            error = y4m->Open(request);
            source = std::move(y4m);
            return error;
        }
        case InputKind::kPng: {
            auto png = std::make_unique<PngSource>();
            error = png->Open(request, *in);
            source = std::move(png);
            return error;
        }
        default: {
            auto raw = std::make_unique<RawSource>(std::move(in));
            error = raw->Open(request);
            source = std::move(raw);
            return error;
        }
    }
}

}  // namespace qvc
