// Command-line options of qv-convert.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qvc {

struct Size {
    int32_t width = 0;
    int32_t height = 0;
    bool empty() const { return width == 0 && height == 0; }
};

struct Options {
    std::string input;            // file, "-" (stdin), "pattern" or "pattern:interlaced"
    std::string output;           // file or "-" (stdout)
    std::string from;             // source pixel format name, "" to decide from the input
    std::string to;               // destination pixel format name, "" to decide from the output
    std::string container;        // "raw", "y4m", "png"; "" to go by the output's extension
    Size size;                    // --size: raw input and pattern
    Size scale;                   // --scale: the destination picture before rotation
    uint32_t rotation = 0;        // the library's rotation code
    uint32_t interpolation = 2;   // the library's interpolation code (bilinear)
    bool interpolationGiven = false;  // --interp was given
    bool pad = false;             // --pad: extend a size that is not a multiple of 4 instead of cropping
    bool force = false;           // --force: replace a read-only output file
    std::optional<int32_t> brightness, contrast, saturation;
    uint32_t alpha = 255;
    std::optional<uint32_t> colourKey;
    uint32_t deinterlace = 0;     // the library's mode number, 0 = off
    int64_t frames = -1;          // -1: every frame of the input (the pattern makes one)
    std::string library;          // --library
    std::string demoDir;          // --demo
    bool quiet = false;
    bool help = false;
    bool version = false;
    bool listFormats = false;
};

// Parses argv (without argv[0]). On failure returns a one-line message; options are then unusable.
std::string ParseArguments(const std::vector<std::string_view>& args, Options& options);

std::string HelpText();
const char* VersionText();

// Value parsers, shared with the demo and the tests. Each returns false on a malformed value.
bool ParseSize(std::string_view text, Size& size);
bool ParseRotation(std::string_view text, uint32_t& code);
bool ParseInterpolation(std::string_view text, uint32_t& code);
bool ParseDeinterlace(std::string_view text, uint32_t& mode);
bool ParseColourKey(std::string_view text, uint32_t& key);
bool ParseInteger(std::string_view text, int64_t& value);

const char* RotationName(uint32_t code);        // "90" for code 2, ...
const char* InterpolationName(uint32_t code);
const char* DeinterlaceName(uint32_t mode);

}  // namespace qvc
