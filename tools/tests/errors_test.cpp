// Bad input: one clear line on standard error, exit 2 for bad arguments and 1 for a failed
// conversion, nothing on standard output, and the output directory as it was (no partial file, an
// existing output untouched).
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <zlib.h>

#include <map>
#include <string>

#include "support.h"

namespace {

using namespace qvtest;

struct BadRun {
    const char* name;
    int exitCode;
    const char* says;                               // expected in the message
    std::string args;                               // "@" stands for the temporary directory
    std::map<std::string, std::string> files = {};  // in the directory before the run
    std::string input = {};                         // standard input
};

const std::string kY4m = "YUV4MPEG2 W16 H8 F25:1\n";
const std::string kFrame = "FRAME\n" + std::string(192, 'a');  // 16 x 8 4:2:0
const std::string kRaw = "-f i420 --size 16x16 @/in.yuv @/o.raw";
// Headers announcing 16384 x 16384 pictures (3 x 256 MiB of 4:4:4, 1 GiB of RGBA) that never come.
const std::string kHugeY4m = "YUV4MPEG2 W16384 H16384 F25:1 Ip A1:1 C444\n";
std::string Chunk(const std::string& type, const std::string& data) {
    auto be32 = [](uint32_t v) { return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)}; };
    const std::string body = type + data;
    return be32(static_cast<uint32_t>(data.size())) + body +
           be32(static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(body.data()), body.size())));
}
const std::string kHugePng = std::string("\x89PNG\r\n\x1a\n", 8) +
                             Chunk("IHDR", std::string("\0\0\x40\0\0\0\x40\0\x08\x06\0\0\0", 13)) +
                             Chunk("IDAT", std::string("x\x9c" "c``\0\0\0\x03\0\x01", 11)) + Chunk("IEND", "");

// clang-format off
const BadRun kBadRuns[] = {
    // Arguments.
    {"UnknownOutputFormat", 2, "unknown output format 'i421'", "--to i421 @/o.raw"},
    {"UnknownSourceFormat", 2, "unknown source format 'yuv9'", "--from yuv9 @/o.raw"},
    {"UnknownOption", 2, "unknown option '--rotation'", "--rotation 90 @/o.raw"},
    {"BadRotation", 2, "--rotate wants 90, 270, 180, mirror or flip", "--rotate 45 @/o.raw"},
    {"MissingValue", 2, "--scale needs a value", "@/o.raw --scale"},
    {"FlagWithValue", 2, "--quiet takes no value", "--quiet=1 @/o.raw"},
    {"AlphaOutOfRange", 2, "--alpha wants 0 to 255", "--alpha 256 @/o.raw"},
    {"TooManyNames", 2, "too many file names", "@/a @/b @/c"},
    {"NoOutput", 2, "no output given", "--size 16x8"},
    {"ScaleNotMultipleOf4", 2, "round it down to 28x20", "--size 64x48 --scale 30x20 @/o.raw"},
    {"SizeOfAY4mIsItsOwn", 2, "is 16x8; --size describes raw input", "--size 32x16 @/in.y4m @/o.raw",
     {{"in.y4m", kY4m + kFrame}}},
    {"RgbIntoY4m", 2, "Y4M files hold YCbCr pictures", "--size 16x8 --to rgb565 @/o.y4m"},
    {"ManyFramesIntoOnePng", 2, "holds one picture", "--size 16x8 --frames 2 @/o.png"},
    {"ColourKeyWithoutRgb555", 2, "applies to rgb555 output only", "--size 16x8 --colour-key 1 @/o.raw"},
    // Raw input; an existing output stays as it was.
    {"ContrastOutOfRange", 2, "--contrast wants 0 to 255, not '999'", "--contrast 999 @/o.raw"},
    {"ReadOnlyOutputKept", 1, "read-only (--force replaces it)", "--size 16x8 @/o.raw", {{"o.raw", "keep me"}}},
    {"RawWithoutSize", 1, "needs --size", "-f i420 @/in.yuv @/o.raw", {{"in.yuv", std::string(384, 'x')}}},
    {"RawWithoutFormat", 1, "needs --from", "--size 16x16 @/in.dat @/o.raw", {{"in.dat", std::string(384, 'x')}}},
    {"RawEmpty", 1, "in.yuv is empty", kRaw, {{"in.yuv", ""}}},
    {"RawLeftOver", 1, "2 frames of 384 bytes (i420 16x16) and 232 bytes left over", kRaw,
     {{"in.yuv", std::string(1000, 'x')}, {"o.raw", "keep me"}}},
    {"RawStreamEndsInsideAFrame", 1, "ends inside frame 2: 50 bytes left over", "-f i420 --size 16x16 - @/o.raw",
     {{"o.raw", "keep me"}}, std::string(384 + 50, 'x')},
    // Y4M input.
    {"Y4mNotY4m", 1, "not a YUV4MPEG2 stream", "@/in.y4m @/o.raw", {{"in.y4m", "RIFF....WAVE\n"}}},
    {"Y4mHeaderTruncated", 1, "truncated Y4M header", "@/in.y4m @/o.raw", {{"in.y4m", "YUV4MPEG2 W16 H8"}}},
    {"Y4mFromContradicts", 1, "--from i422 does not match", "-f i422 @/in.y4m @/o.raw", {{"in.y4m", kY4m + kFrame}}},
    {"Y4mFrameTruncated", 1, "frame 2 is truncated: 100 of 192 bytes", "@/in.y4m @/o.raw",
     {{"in.y4m", kY4m + kFrame + "FRAME\n" + std::string(100, 'b')}, {"o.raw", "keep me"}}},
    {"Y4mFrameHeaderMalformed", 1, "malformed frame header 'FRAMX'", "@/in.y4m @/o.raw",
     {{"in.y4m", kY4m + kFrame + "FRAMX\n" + std::string(192, 'a')}}},
    {"Y4mStreamWithoutFrames", 1, "holds no frames", "- @/o.raw", {}, kY4m},
    {"Y4mHugePictureWithoutFrames", 1, "holds no frames", "@/in.y4m @/o.raw", {{"in.y4m", kHugeY4m}}},
    {"Y4mHugePictureTruncated", 1, "frame 1 is truncated: 100 of 805306368 bytes", "- @/o.raw", {},
     kHugeY4m + "FRAME\n" + std::string(100, 'c')},
    // PNG input, files, the library. A case that names its own --library overrides the runner's.
    {"PngDamaged", 1, "not a readable PNG", "@/in.png @/o.raw", {{"in.png", "\x89PNG\r\n\x1a\nnot really"}}},
    {"PngHugePictureWithoutData", 1, "damaged PNG", "@/in.png @/o.raw", {{"in.png", kHugePng}}},
    {"MissingInput", 1, "cannot read", "@/nothing.y4m @/o.raw"},
    {"UnwritableOutput", 1, "cannot write", "--size 16x8 @/plain/o.raw", {{"plain", "a file"}}},
    {"MissingLibrary", 1, "cannot load the library", "--library @/no/libqv_imageproc.so --size 16x8 @/o.raw"},
    // The library prints its refusal on standard output: the tool quotes it and keeps the data clean.
    {"UnsupportedConversion", 1, "Create returned E_NOTIMPL (it printed \"Unsupport image format conversion!",
     "--size 16x8 --from rgb24 --to nv12 -"},
    {"UnsupportedRotation", 1, "Create returned E_NOTIMPL (it printed \"Unsupport conversion!\")",
     "--size 16x8 --to rgb555 --rotate 90 @/o.raw"},
    // What the library would ignore or leave unwritten.
    {"RotationTheRouteIgnores", 1, "i420 -> yuy2 cannot rotate", "--size 16x8 --to yuy2 -r 90 @/o"},
    {"RotationOf422Ignored", 1, "i422 -> rgb565 cannot rotate", "--size 16x8 -f i422 --to rgb565 -r 90 @/o"},
    {"ScalingTheRouteIgnores", 1, "i420 -> nv12 cannot scale", "--size 16x8 --to nv12 --scale 32x16 @/o"},
    {"AdjustmentTheRouteLacks", 1, "Get returned E_NOTIMPL", "--size 16x8 --to yuy2 --saturation 0 @/o"},
    {"DeinterlaceOfRgb", 1, "needs a planar YCbCr source", "--size 16x8 -f rgb565 --deinterlace bob @/o"},
    {"DeinterlaceModeThat444Lacks", 1, "leaves 4:4:4 pictures unwritten",
     "--size 16x8 -f i444 --to rgb24 --deinterlace blend @/o"},
};
// clang-format on

class BadInput : public ::testing::TestWithParam<BadRun> {};
TEST_P(BadInput, OneLineNonZeroExitNothingWritten) {
    const BadRun& bad = GetParam();
    TempDir dir;
    for (const auto& [name, data] : bad.files) WriteFile(dir.file(name), data);
    if (std::string(bad.says).find("read-only") != std::string::npos) chmod(dir.file("o.raw").c_str(), 0444);
    const auto run = RunTool(dir, bad.args, bad.input);
    EXPECT_EQ(run.exitCode, bad.exitCode) << run.err;
    ASSERT_EQ(Lines(run.err), 1u) << run.err;
    EXPECT_EQ(run.err.rfind("qv-convert: ", 0), 0u) << run.err;
    EXPECT_NE(run.err.find(bad.says), std::string::npos) << run.err;
    EXPECT_EQ(run.out, "");
    std::map<std::string, std::string> after;
    for (const std::string& name : dir.entries()) after[name] = ReadFile(dir.file(name));
    EXPECT_EQ(after, bad.files) << "the directory changed";
    // Refusing costs little memory, whatever sizes the input announces.
    EXPECT_LT(run.peakKiB, 100 * 1024);
}
void PrintTo(const BadRun& r, std::ostream* os) { *os << r.name; }
INSTANTIATE_TEST_SUITE_P(Cases, BadInput, ::testing::ValuesIn(kBadRuns),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
