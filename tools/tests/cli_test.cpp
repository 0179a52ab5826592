// qv-convert end to end: the program is run as a user runs it, against the library under test.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "qv_imageproc.h"
#include "support.h"

namespace {

using namespace qvc;
using namespace qvtest;

// ---- round trips through raw and Y4M -----------------------------------------------------------

// Three pattern frames come out as the pattern; raw -> NV12 -> raw and raw -> Y4M -> raw give them back.
TEST(RoundTrip, PatternThroughRawNv12AndY4m) {
    TempDir dir;
    auto run = RunOk(dir, "--size 64x48 --frames 3 --to i420 @/a.yuv");
    ASSERT_EQ(Lines(run.err), 1u) << run.err;
    EXPECT_EQ(run.err.rfind("qv-convert: 3 frames (64x48 i420 -> 64x48 i420)", 0), 0u) << run.err;
    const std::string a = ReadFile(dir.file("a.yuv")), first = Bytes(PatternFrame("i420", 64, 48, 0));
    EXPECT_EQ(a, first + Bytes(PatternFrame("i420", 64, 48, 1)) + Bytes(PatternFrame("i420", 64, 48, 2)));
    EXPECT_NE(a.substr(0, first.size()), a.substr(first.size(), first.size()));  // the pattern moves
    for (const char* step : {"-f i420 --size 64x48 @/a.yuv @/b.nv12", "-f nv12 --size 64x48 @/b.nv12 @/c.i420",
                             "-f i420 --size 64x48 @/a.yuv @/d.y4m", "@/d.y4m @/e.i420"})
        RunOk(dir, step);
    EXPECT_EQ(ReadFile(dir.file("b.nv12")).size(), a.size());
    EXPECT_EQ(ReadFile(dir.file("c.i420")), a);
    EXPECT_EQ(ReadFile(dir.file("d.y4m")).rfind("YUV4MPEG2 W64 H48 F25:1 Ip A1:1 C420jpeg\nFRAME\n" + first, 0), 0u);
    EXPECT_EQ(ReadFile(dir.file("e.i420")), a);
}

class Y4mThrough : public ::testing::TestWithParam<const char*> {};
// A hand-made stream keeps its rate, interlacing, aspect and frames (frame parameters and X fields
// are passed over). 4:2:0 outputs are written back as the same planes; packed 4:2:2 ones as planar
// 4:2:2, each 4:2:0 chroma row serving two rows.
TEST_P(Y4mThrough, KeepsHeaderAndFrames) {
    const std::string to = GetParam();
    const bool packed = to == "yuy2" || to == "uyvy";
    const size_t W = 32, H = 16, luma = W * H, chroma = luma / 4;
    std::string in = "YUV4MPEG2 W32 H16 F30000:1001 It A10:11 C420mpeg2 XCOMMENT=1\n";
    std::string expected =
        std::string("YUV4MPEG2 W32 H16 F30000:1001 It A10:11 C") + (packed ? "422" : "420jpeg") + "\n";
    for (int i = 0; i < 3; ++i) {
        const std::string f = RandomBytes(luma + 2 * chroma, 7 + i);
        in += (i == 1 ? "FRAME Ixyz\n" : "FRAME\n") + f;
        if (i == 2) break;  // --frames 2
        expected += "FRAME\n" + f.substr(0, luma);
        for (size_t plane = 0; plane < 2; ++plane)
            for (size_t r = 0; r < (packed ? H : H / 2); ++r)
                expected += f.substr(luma + plane * chroma + (packed ? r / 2 : r) * W / 2, W / 2);
    }
    TempDir dir;
    WriteFile(dir.file("in.y4m"), in);
    RunOk(dir, "--frames 2 --to " + to + " @/in.y4m @/out.y4m");
    EXPECT_EQ(ReadFile(dir.file("out.y4m")), expected);
}
INSTANTIATE_TEST_SUITE_P(Formats, Y4mThrough, ::testing::Values("i420", "nv12", "yuy2", "uyvy"));

// ---- standard input and output -----------------------------------------------------------------

struct StdoutCase {
    const char* name;
    std::string args;  // the output is added: @/out.<ext>, then "-"
    const char* ext;
    std::string input;  // when given, read from @/in.y4m, then from "-"
};
void PrintTo(const StdoutCase& c, std::ostream* os) { *os << c.name; }
class Stdout : public ::testing::TestWithParam<StdoutCase> {};
// "-" gets the bytes a file gets; messages stay on standard error, and nothing else reaches the data.
TEST_P(Stdout, DashWritesWhatAFileGets) {
    const StdoutCase& c = GetParam();
    const bool in = !c.input.empty();
    TempDir dir;
    WriteFile(dir.file("in.y4m"), c.input);
    const auto toFile = RunOk(dir, c.args + (in ? " @/in.y4m" : "") + " @/out." + c.ext);
    const auto toStdout = RunOk(dir, c.args + (in ? " - -" : " -"), c.input);
    EXPECT_EQ(toFile.out, "");
    EXPECT_FALSE(toStdout.out.empty());
    EXPECT_EQ(toStdout.out, ReadFile(dir.file(std::string("out.") + c.ext)));
    EXPECT_EQ(Lines(toStdout.err), Lines(toFile.err)) << toStdout.err;
    EXPECT_EQ(toStdout.err.empty(), c.args.find("-q") != std::string::npos) << toStdout.err;
}
// Y4M input of every chroma layout; a frame size read wrong would fail the run.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Outputs, Stdout, ::testing::Values(
    StdoutCase{"RawSmallestSize", "--size 4x4 --frames 9 --to nv12", "raw", ""},
    StdoutCase{"Y4mQuiet", "--size 16x8 --frames 2 --to y4m -q", "y4m", ""},
    StdoutCase{"Png", "--size 16x8 --to png", "png", ""},
    StdoutCase{"Y4m420WithANote", "--to y4m", "y4m", "YUV4MPEG2 W16 H8 It\nFRAME\n" + RandomBytes(192, 1)},
    StdoutCase{"Y4m422", "--to rgb565", "raw",
               "YUV4MPEG2 W16 H8 C422\nFRAME\n" + RandomBytes(256, 2) + "FRAME\n" + RandomBytes(256, 3)},
    StdoutCase{"Y4m444", "--to rgb24 --scale 8x4", "raw", "YUV4MPEG2 W16 H8 C444\nFRAME\n" + RandomBytes(384, 4)}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

// A pipe (here with a reader already waiting) gets the data itself: no temporary file is renamed over it.
TEST(Output, APipeIsWrittenInPlaceNotReplaced) {
    TempDir dir;
    ASSERT_EQ(mkfifo(dir.file("pipe").c_str(), 0600), 0);
    const int reader = open(dir.file("pipe").c_str(), O_RDWR | O_NONBLOCK);
    RunOk(dir, "--size 16x8 --to nv12 @/pipe");
    char data[512];
    EXPECT_EQ(read(reader, data, sizeof data), 16 * 8 * 3 / 2);
    close(reader);
    EXPECT_TRUE(std::filesystem::is_fifo(dir.file("pipe")));
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"pipe"});
}

// ---- PNG --------------------------------------------------------------------------------------------

struct PngCase {
    const char* format;
    const char* extra;  // more options
};
void PrintTo(const PngCase& c, std::ostream* os) { *os << c.format << c.extra; }
class PngOfEveryFormat : public ::testing::TestWithParam<PngCase> {};
// The PNG shows the converted picture: the 4:2:0 source decoded, exactly for the YCbCr outputs (the
// samples only move) and within the RGB formats' precision otherwise. ARGB carries --alpha; RGB555
// pixels whose own Y and block's Cb, Cr equal the colour key are transparent.
TEST_P(PngOfEveryFormat, ShowsThePicture) {
    const PngCase& c = GetParam();
    const FormatInfo& f = *FindFormat(c.format);
    TempDir dir;
    RunOk(dir, std::string("--size 64x48 --to ") + c.format + c.extra + " @/out.png");
    const RgbaImage png = LoadPng(dir.file("out.png"));
    ASSERT_EQ(png.width, 64);
    ASSERT_EQ(png.height, 48);
    const Frame source = PatternFrame("i420", 64, 48);
    RgbaImage expected;
    DecodeFrame(source, expected);
    const int tolerance = f.family != Family::kRgb ? 0 : f.bytesPerPixel == 2 ? 10 : 3;
    int keyed = 0;
    for (int32_t y = 0; y < 48; ++y)
        for (int32_t x = 0; x < 64; ++x) {
            const Rgba a = png.at(x, y), e = expected.at(x, y);
            int alpha = f.code == QV_FORMAT_ARGB32 ? 77 : 255;
            if (f.code == QV_FORMAT_RGB555 && source.row(0, y)[x] == 16 && source.row(1, y / 2)[x / 2] == 128 &&
                source.row(2, y / 2)[x / 2] == 128)
                alpha = 0, ++keyed;
            ASSERT_TRUE(Far(a, e) <= tolerance && a.a == alpha) << x << "," << y << ": " << a << " for " << e;
        }
    EXPECT_EQ(keyed > 0, f.code == QV_FORMAT_RGB555);  // the black bar and label match the key
}
INSTANTIATE_TEST_SUITE_P(Formats, PngOfEveryFormat,
                         ::testing::Values(PngCase{"i420", ""}, PngCase{"nv12", ""}, PngCase{"yuy2", ""},
                                           PngCase{"uyvy", ""}, PngCase{"rgb565", ""},
                                           PngCase{"rgb555", " --colour-key 16,128,128"}, PngCase{"rgb24", ""},
                                           PngCase{"argb", " --alpha 77"}),
                         [](const auto& info) { return std::string(info.param.format); });

TEST(Png, InputIsFedToTheLibrary) {
    TempDir dir;
    RgbaImage image;
    DrawPattern(image, 32, 16, 5, false);
    WriteFile(dir.file("in.png"), PngBytes(image));
    // Fed as 4:2:0 through the copy route: the tool's own encoding comes out.
    RunOk(dir, "--from i420 --to i420 @/in.png @/out.raw");
    EXPECT_EQ(ReadFile(dir.file("out.raw")), Bytes(PatternFrame("i420", 32, 16, 5)));
    // Without --from the picture goes in as RGB (turned through the library's own planes); a Y4M output
    // asks for 4:2:0.
    const auto run = RunOk(dir, "-r 90 @/in.png @/out.y4m");
    EXPECT_NE(run.err.find("argb -> 16x32 i420, rotate 90"), std::string::npos) << run.err;
}

TEST(Png, OneFilePerFrameWithANumberedName) {
    TempDir dir;
    RunOk(dir, "--size 16x8 --frames 3 @/f-%02d.png");
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"f-01.png", "f-02.png", "f-03.png"}));
}

// ---- rotation, colour adjustment, deinterlacing, start-up ----------------------------------------

struct Turn {
    const char* name;  // as a user types it
    int code;          // the library's rotation code
};
void PrintTo(const Turn& t, std::ostream* os) { *os << t.name; }
class Rotation : public ::testing::TestWithParam<Turn> {};
// 90 is clockwise: (x, y) lands at row x, column H-1-y; 270 at row W-1-x, column y; 180 at row H-1-y,
// column W-1-x; mirror at row y, column W-1-x; flip at row H-1-y, column x. The --scale size is the
// picture before the turn: a quarter turn of a 48x32 scaling is a 32x48 picture.
TEST_P(Rotation, LumaLandsWhereTheTurnPutsItAndScaledSizesTurn) {
    const int code = GetParam().code;
    const bool quarter = code == QV_ROTATE_90_CCW || code == QV_ROTATE_90_CW;
    const int32_t W = 32, H = 16, outW = quarter ? H : W;
    TempDir dir;
    RunOk(dir, std::string("--size 32x16 --to i420 --rotate ") + GetParam().name + " @/out.raw");
    const std::string out = ReadFile(dir.file("out.raw"));
    ASSERT_EQ(out.size(), static_cast<size_t>(W * H * 3 / 2));
    const Frame source = PatternFrame("i420", W, H);
    for (int32_t y = 0; y < H; ++y)
        for (int32_t x = 0; x < W; ++x) {
            const int32_t rows[] = {y, W - 1 - x, x, H - 1 - y, y, H - 1 - y};
            const int32_t cols[] = {x, y, H - 1 - y, W - 1 - x, W - 1 - x, x};
            ASSERT_EQ(static_cast<uint8_t>(out[static_cast<size_t>(rows[code] * outW + cols[code])]),
                      source.row(0, y)[x])
                << "source " << x << "," << y;
        }
    const auto run = RunOk(dir, std::string("--size 64x48 --scale=48x32 --interp nearest -r ") + GetParam().name +
                                    " --to rgb565 @/out.png");
    // Turned and reduced, the route has one filter whatever --interp asks for.
    EXPECT_NE(run.err.find("--interp nearest has no effect on i420 -> rgb565 at this size: it scales bilinear luma"),
              std::string::npos)
        << run.err;
    const RgbaImage png = LoadPng(dir.file("out.png"));
    EXPECT_EQ(std::pair(png.width, png.height), quarter ? std::pair(32, 48) : std::pair(48, 32));
}
INSTANTIATE_TEST_SUITE_P(Turns, Rotation,
                         ::testing::Values(Turn{"270", 1}, Turn{"90", 2}, Turn{"180", 3}, Turn{"mirror", 4},
                                           Turn{"flip", 5}),
                         [](const auto& info) { return "code" + std::to_string(info.param.code); });

TEST(Adjust, SaturationZeroFlattensChromaAndKeepsLuma) {
    TempDir dir;
    RunOk(dir, "--size 64x48 --to i420 --saturation 0 @/out.raw");
    const std::string source = Bytes(PatternFrame("i420", 64, 48));
    EXPECT_EQ(ReadFile(dir.file("out.raw")), source.substr(0, 64 * 48) + std::string(2 * 32 * 24, '\x80'));
}

// Discard keeps the top field of every plane and writes each of its lines twice.
TEST(Deinterlace, DiscardDoublesTheTopFieldOfEveryPlane) {
    TempDir dir;
    const std::string frame = RandomBytes(32 * 16 * 3 / 2, 9);
    RunOk(dir, "--deinterlace discard - @/out.raw", "YUV4MPEG2 W32 H16 It\nFRAME\n" + frame);
    std::string expected;
    for (const auto& [at, width, rows] : {std::tuple{0, 32, 16}, {512, 16, 8}, {640, 16, 8}})
        for (int r = 0; r < rows; ++r) expected += frame.substr(at + (r & ~1) * width, width);
    EXPECT_EQ(ReadFile(dir.file("out.raw")), expected);
    RunOk(dir, "--size 64x48 pattern:interlaced @/p.raw");  // its bottom field moves half a frame later
    EXPECT_NE(ReadFile(dir.file("p.raw")), Bytes(PatternFrame("i420", 64, 48)));
}

// A 9x7 i420 frame as ffmpeg writes it: 9x7 luma, 5x4 Cb and Cr (103 bytes). The 4:2:0 copy gives
// the 8x4 crop by default, and with --pad the 12x8 picture whose last column and row repeat.
TEST(Size, OddRawFramesAreCroppedOrPadded) {
    TempDir dir;
    const std::string in = RandomBytes(103, 3) + RandomBytes(103, 4);
    WriteFile(dir.file("in.yuv"), in);
    auto picture = [&](int32_t w, int32_t h) {  // frame 2, each plane read at clamped positions
        std::string out;
        for (const auto& [at, pw, ph, ow, oh] : {std::tuple{103, 9, 7, w, h}, {103 + 63, 5, 4, w / 2, h / 2},
                                                   {103 + 83, 5, 4, w / 2, h / 2}})
            for (int r = 0; r < oh; ++r)
                for (int c = 0; c < ow; ++c) out += in[static_cast<size_t>(at + std::min(r, ph - 1) * pw + std::min(c, pw - 1))];
        return out;
    };
    const auto run = RunOk(dir, "--from yuv420p --size 9x7 @/in.yuv @/crop.i420");
    EXPECT_NE(run.err.find("planes of 9x7, 5x4, 5x4 bytes"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("cropped to 8x4"), std::string::npos) << run.err;
    EXPECT_EQ(ReadFile(dir.file("crop.i420")).substr(48), picture(8, 4));
    RunOk(dir, "--from i420 --size 9x7 --pad @/in.yuv @/pad.i420");
    EXPECT_EQ(ReadFile(dir.file("pad.i420")).substr(144), picture(12, 8));
}

// A link is written through to its target; a read-only file is replaced only with --force.
TEST(Output, LinksAreFollowedAndForceReplacesReadOnly) {
    TempDir dir;
    RunOk(dir, "--size 16x8 @/direct.raw");
    WriteFile(dir.file("target.raw"), "old");
    std::filesystem::create_symlink("target.raw", dir.file("link.raw"));
    RunOk(dir, "--size 16x8 @/link.raw");
    EXPECT_TRUE(std::filesystem::is_symlink(dir.file("link.raw")));
    EXPECT_EQ(ReadFile(dir.file("target.raw")), ReadFile(dir.file("direct.raw")));
    WriteFile(dir.file("ro.raw"), "old");
    std::filesystem::permissions(dir.file("ro.raw"), std::filesystem::perms::owner_read);
    RunOk(dir, "--force --size 16x8 @/ro.raw");
    EXPECT_EQ(ReadFile(dir.file("ro.raw")), ReadFile(dir.file("direct.raw")));
}

TEST(Launch, LibraryFoundBesideTheProgramVersionAndHelp) {
    TempDir dir;
    EXPECT_EQ(RunTool(dir, "--size 16x8 @/out.raw", {}, false).exitCode, 0);
    EXPECT_EQ(RunOk(dir, "--version").out.rfind("qv-convert ", 0), 0u);
    EXPECT_NE(RunOk(dir, "--help").out.find("--rotate"), std::string::npos);
}

}  // namespace
