// Bad input: one clear line on standard error, a non-zero exit, and no output file left behind.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "colour.h"
#include "media.h"
#include "support.h"

namespace {

using qvtest::ReadFile;
using qvtest::RunTool;
using qvtest::TempDir;
using qvtest::WriteFile;

struct BadRun {
    const char* name;
    std::vector<std::string> args;  // "@" stands for the temporary directory
    std::function<void(const TempDir&)> setup;
    int exitCode;
    const char* says;               // expected in the message
};

void WriteSmallPng(const std::string& path, int32_t w, int32_t h) {
    qvc::RgbaImage image;
    image.resize(w, h);
    FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(qvc::WritePng(f, image, false), "");
    std::fclose(f);
}

const std::string kY4mHeader = "YUV4MPEG2 W16 H8 F25:1\n";
const size_t kY4mFrame = 16 * 8 * 3 / 2;  // 192 bytes

std::vector<BadRun> BadRuns() {
    auto file = [](const char* name, std::string data) {
        return [name, data](const TempDir& d) { WriteFile(d.file(name), data); };
    };
    auto none = [](const TempDir&) {};
    return {
        {"UnknownFormatName", {"--to", "i421", "@/out.raw"}, none, 2, "unknown output format 'i421'"},
        {"UnknownSourceName", {"--from", "yuv9", "@/out.raw"}, none, 2, "unknown source format 'yuv9'"},
        {"UnknownOption", {"--rotation", "90", "@/out.raw"}, none, 2, "unknown option '--rotation'"},
        {"BadRotation", {"--rotate", "45", "@/out.raw"}, none, 2, "--rotate wants 90, 270, 180, mirror or flip"},
        {"SizeNotMultipleOf4", {"--size", "642x481", "@/out.raw"}, none, 1, "round it down to 640x480"},
        {"ScaleNotMultipleOf4", {"--size", "64x48", "--scale", "30x20", "@/out.raw"}, none, 2, "28x20"},
        {"RawWithoutSize", {"--from", "i420", "@/in.yuv", "@/out.raw"}, file("in.yuv", std::string(384, 'x')), 1,
         "needs --size"},
        {"RawWithoutFormat", {"--size", "16x16", "@/in.dat", "@/out.raw"}, file("in.dat", std::string(384, 'x')), 1,
         "needs --from"},
        {"RawLeftOver", {"--from", "i420", "--size", "16x16", "@/in.yuv", "@/out.raw"},
         file("in.yuv", std::string(1000, 'x')), 1, "2 frames of 384 bytes (i420 16x16) and 232 bytes left over"},
        {"Y4mHeaderTruncated", {"@/in.y4m", "@/out.raw"}, file("in.y4m", "YUV4MPEG2 W16 H8"), 1,
         "truncated Y4M header"},
        {"Y4mHeaderMalformed", {"@/in.y4m", "@/out.raw"}, file("in.y4m", "YUV4MPEG2 W16 Hx\n"), 1,
         "bad size field 'Hx'"},
        {"Y4mNotY4m", {"@/in.y4m", "@/out.raw"}, file("in.y4m", "RIFF....WAVE\n"), 1, "not a YUV4MPEG2 stream"},
        {"Y4mUnsupportedChroma", {"@/in.y4m", "@/out.raw"}, file("in.y4m", "YUV4MPEG2 W16 H8 Cmono\n"), 1,
         "Cmono is not supported"},
        {"Y4mFrameTruncated", {"@/in.y4m", "@/out.raw"},
         file("in.y4m", kY4mHeader + "FRAME\n" + std::string(kY4mFrame, 'a') + "FRAME\n" + std::string(100, 'b')), 1,
         "frame 2 is truncated: 100 of 192 bytes"},
        {"Y4mFrameHeaderMalformed", {"@/in.y4m", "@/out.raw"},
         file("in.y4m", kY4mHeader + "FRAMX\n" + std::string(kY4mFrame, 'a')), 1, "malformed frame header 'FRAMX'"},
        {"Y4mWithoutFrames", {"@/in.y4m", "@/out.raw"}, file("in.y4m", kY4mHeader), 1, "holds no frames"},
        {"UnsupportedConversion", {"--size", "16x8", "--from", "rgb24", "--to", "nv12", "@/out.raw"}, none, 1,
         "Create returned E_NOTIMPL"},
        {"UnsupportedRotation", {"--size", "16x8", "--to", "rgb555", "--rotate", "90", "@/out.raw"}, none, 1,
         "Create returned E_NOTIMPL (it printed \"Unsupport conversion!\")"},
        {"RotationTheLibraryIgnores", {"--size", "16x8", "--to", "yuy2", "--rotate", "90", "@/out.raw"}, none, 1,
         "i420 -> yuy2 cannot rotate"},
        {"ScalingTheLibraryIgnores", {"--size", "16x8", "--to", "nv12", "--scale", "32x16", "@/out.raw"}, none, 1,
         "i420 -> nv12 cannot scale"},
        {"AdjustmentTheRouteLacks", {"--size", "16x8", "--to", "yuy2", "--saturation", "0", "@/out.raw"}, none, 1,
         "Get returned E_NOTIMPL"},
        {"DeinterlaceOfRgb", {"--size", "16x8", "--from", "rgb565", "--deinterlace", "bob", "@/out.raw"}, none, 1,
         "needs a planar YCbCr source"},
        {"DeinterlaceModeThat444Lacks", {"--size", "16x8", "--from", "i444", "--to", "rgb24", "--deinterlace", "blend",
                                         "@/out.raw"},
         none, 1, "leaves 4:4:4 pictures unwritten"},
        {"RgbIntoY4m", {"--size", "16x8", "--to", "rgb565", "@/out.y4m"}, none, 2, "Y4M files hold YCbCr pictures"},
        {"ManyFramesIntoOnePng", {"--size", "16x8", "--frames", "2", "@/out.png"}, none, 2, "holds one picture"},
        {"PngNotMultipleOf4", {"@/in.png", "@/out.raw"}, [](const TempDir& d) { WriteSmallPng(d.file("in.png"), 30, 20); },
         1, "round it down to 28x20"},
        {"PngDamaged", {"@/in.png", "@/out.raw"}, file("in.png", "\x89PNG\r\n\x1a\nnot really"), 1, "not a readable PNG"},
        {"MissingInput", {"@/nothing.y4m", "@/out.raw"}, none, 1, "cannot read"},
        {"MissingLibrary", {"--library", "@/no/libqv_imageproc.so", "--size", "16x8", "@/out.raw"}, none, 1,
         "cannot load the library"},
        {"UnwritableOutput", {"--size", "16x8", "@/plain/out.raw"}, file("plain", "a file, not a directory"), 1,
         "cannot write"},
        {"SizeOfAY4mIsItsOwn", {"--size", "32x16", "@/in.y4m", "@/out.raw"},
         file("in.y4m", kY4mHeader + "FRAME\n" + std::string(kY4mFrame, 'a')), 2, "is 16x8; --size describes raw input"},
        {"NoOutput", {"--size", "16x8"}, none, 2, "no output given"},
    };
}

class BadInput : public ::testing::TestWithParam<BadRun> {};

TEST_P(BadInput, OneLineNonZeroExitNoOutput) {
    const BadRun& bad = GetParam();
    TempDir dir;
    bad.setup(dir);
    const std::vector<std::string> before = dir.entries();
    std::vector<std::string> args;
    for (std::string a : bad.args) {
        if (const size_t at = a.find('@'); at != std::string::npos) a.replace(at, 1, dir.path());
        args.push_back(a);
    }
    // A case that names its own --library overrides the one the runner puts first.
    const auto run = RunTool(args);
    EXPECT_EQ(run.exitCode, bad.exitCode) << run.err;
    ASSERT_EQ(run.errLines().size(), 1u) << run.err;
    EXPECT_EQ(run.errLines()[0].rfind("qv-convert: ", 0), 0u) << run.err;
    EXPECT_NE(run.err.find(bad.says), std::string::npos) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(dir.entries(), before) << "something was left in the output directory";
}

INSTANTIATE_TEST_SUITE_P(Cases, BadInput, ::testing::ValuesIn(BadRuns()),
                         [](const ::testing::TestParamInfo<BadRun>& info) { return std::string(info.param.name); });

TEST(BadInputKeeps, AnExistingOutputUntouched) {
    TempDir dir;
    WriteFile(dir.file("out.raw"), "keep me");
    WriteFile(dir.file("in.yuv"), std::string(1000, 'x'));
    const auto run = RunTool({"--from", "i420", "--size", "16x16", dir.file("in.yuv"), dir.file("out.raw")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(ReadFile(dir.file("out.raw")), "keep me");
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"in.yuv", "out.raw"}));
}

TEST(BadInputKeeps, StandardOutputEmptyOnATruncatedStream) {
    // Frame 1 is whole, frame 2 is cut short: the first frame may already be out, so nothing but
    // that frame may be on standard output, and the error goes to standard error.
    const std::string y4m = kY4mHeader + "FRAME\n" + std::string(kY4mFrame, 'a') + "FRAME\n" + std::string(10, 'b');
    const auto run = RunTool({"-q", "-", "-"}, y4m);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_LE(run.out.size(), kY4mFrame);
    ASSERT_EQ(run.errLines().size(), 1u) << run.err;
    EXPECT_NE(run.err.find("truncated"), std::string::npos);
}

TEST(BadInputKeeps, RawStdinEndingInsideAFrame) {
    const auto run = RunTool({"--from", "i420", "--size", "16x16", "-", "-"}, std::string(384 + 50, 'x'));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("50 bytes left over"), std::string::npos) << run.err;
}

}  // namespace
