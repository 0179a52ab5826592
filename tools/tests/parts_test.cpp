// The pieces of qv-convert on their own: option parsing, format geometry, the display decoder of
// every format, Y4M headers and the pattern.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "args.h"
#include "colour.h"
#include "formats.h"
#include "media.h"
#include "pattern.h"
#include "qv_imageproc.h"

namespace qvc {
namespace {

std::string Parse(std::vector<std::string_view> args, Options& options) { return ParseArguments(args, options); }

// ---- options -------------------------------------------------------------------------------------

struct NamedCode {
    const char* name;
    uint32_t code;
};

class RotationNames : public ::testing::TestWithParam<NamedCode> {};
TEST_P(RotationNames, MapToTheLibraryCodes) {
    uint32_t code = 99;
    ASSERT_TRUE(ParseRotation(GetParam().name, code));
    EXPECT_EQ(code, GetParam().code);
}
// 90 is a clockwise quarter turn (code 2), 270 counter-clockwise (code 1).
INSTANTIATE_TEST_SUITE_P(All, RotationNames,
                         ::testing::Values(NamedCode{"90", 2}, NamedCode{"cw", 2}, NamedCode{"270", 1},
                                           NamedCode{"ccw", 1}, NamedCode{"180", 3}, NamedCode{"mirror", 4},
                                           NamedCode{"flip", 5}, NamedCode{"none", 0}));

class DeinterlaceNames : public ::testing::TestWithParam<NamedCode> {};
TEST_P(DeinterlaceNames, MapToModeNumbers) {
    uint32_t mode = 99;
    ASSERT_TRUE(ParseDeinterlace(GetParam().name, mode));
    EXPECT_EQ(mode, GetParam().code);
}
INSTANTIATE_TEST_SUITE_P(All, DeinterlaceNames,
                         ::testing::Values(NamedCode{"fast", 1}, NamedCode{"discard", 2}, NamedCode{"bob", 3},
                                           NamedCode{"blend", 4}, NamedCode{"mean", 5}, NamedCode{"linear", 6},
                                           NamedCode{"x", 7}, NamedCode{"5", 5}, NamedCode{"7", 7},
                                           NamedCode{"BOB", 3}));

TEST(Options, RejectsBadValues) {
    uint32_t v = 0;
    EXPECT_FALSE(ParseRotation("45", v));
    EXPECT_FALSE(ParseDeinterlace("8", v));
    EXPECT_FALSE(ParseDeinterlace("-1", v));
    EXPECT_FALSE(ParseInterpolation("cubic", v));
    Size s;
    EXPECT_FALSE(ParseSize("640", s));
    EXPECT_FALSE(ParseSize("640x", s));
    EXPECT_FALSE(ParseSize("0x480", s));
    EXPECT_FALSE(ParseSize("-640x480", s));
    EXPECT_TRUE(ParseSize("642X482", s));
    EXPECT_EQ(s.width, 642);
    EXPECT_EQ(s.height, 482);
}

TEST(Options, InterpolationNamesMapToTheLibraryCodes) {
    uint32_t v = 99;
    ASSERT_TRUE(ParseInterpolation("nearest", v));
    EXPECT_EQ(v, 0u);
    ASSERT_TRUE(ParseInterpolation("fixed", v));
    EXPECT_EQ(v, 1u);
    ASSERT_TRUE(ParseInterpolation("bilinear", v));
    EXPECT_EQ(v, 2u);
    ASSERT_TRUE(ParseInterpolation("near-linear", v));
    EXPECT_EQ(v, 3u);
}

TEST(Options, ColourKeyAsTripleOrNumber) {
    uint32_t key = 0;
    ASSERT_TRUE(ParseColourKey("16,128,128", key));
    EXPECT_EQ(key, 0x108080u);
    ASSERT_TRUE(ParseColourKey("0x108080", key));
    EXPECT_EQ(key, 0x108080u);
    EXPECT_FALSE(ParseColourKey("300,0,0", key));
    EXPECT_FALSE(ParseColourKey("1,2", key));
}

TEST(Options, FullCommandLine) {
    Options o;
    ASSERT_EQ(Parse({"--scale=320x240", "--rotate", "90", "-f", "yuv420p", "--to", "NV12", "--deinterlace", "bob",
                     "--brightness", "-20", "--frames", "3", "in.yuv", "out.raw"},
                    o),
              "");
    EXPECT_EQ(o.scale.width, 320);
    EXPECT_EQ(o.scale.height, 240);
    EXPECT_EQ(o.rotation, 2u);
    EXPECT_EQ(o.from, "i420");
    EXPECT_EQ(o.to, "nv12");
    EXPECT_EQ(o.deinterlace, 3u);
    EXPECT_EQ(o.brightness.value_or(0), -20);
    EXPECT_EQ(o.frames, 3);
    EXPECT_EQ(o.input, "in.yuv");
    EXPECT_EQ(o.output, "out.raw");
}

TEST(Options, OneNameIsTheOutputAndContainersGoThroughTo) {
    Options o;
    ASSERT_EQ(Parse({"--to", "y4m", "--to", "yuy2", "-"}, o), "");
    EXPECT_EQ(o.input, "");
    EXPECT_EQ(o.output, "-");
    EXPECT_EQ(o.container, "y4m");
    EXPECT_EQ(o.to, "yuy2");
}

TEST(Options, ErrorsNameTheCulprit) {
    Options o;
    EXPECT_NE(Parse({"--bogus", "x"}, o).find("--bogus"), std::string::npos);
    EXPECT_NE(Parse({"--to", "i421", "x"}, o).find("i421"), std::string::npos);
    EXPECT_NE(Parse({"--scale"}, o).find("needs a value"), std::string::npos);
    EXPECT_NE(Parse({"a", "b", "c"}, o).find("too many"), std::string::npos);
    EXPECT_NE(Parse({"--alpha", "256", "x"}, o).find("0 to 255"), std::string::npos);
    EXPECT_NE(Parse({"--quiet=1", "x"}, o).find("takes no value"), std::string::npos);
}

TEST(Options, HelpHasOneLinePerOption) {
    std::vector<std::string> optionLines;
    const std::string help = HelpText();
    for (size_t start = 0, end; start < help.size(); start = end + 1) {
        end = help.find('\n', start);
        const std::string line = help.substr(start, end - start);
        if (line.rfind("  -", 0) == 0) optionLines.push_back(line);
    }
    for (const char* option : {"--from", "--to", "--size", "--scale", "--rotate", "--interp", "--brightness",
                               "--contrast", "--saturation", "--alpha", "--colour-key", "--deinterlace", "--frames",
                               "--library", "--demo", "--help", "--version"}) {
        int lines = 0;
        for (const std::string& line : optionLines)
            lines += line.find(std::string(option) + " ") != std::string::npos ||
                     line.find(std::string(option) + ",") != std::string::npos;
        EXPECT_EQ(lines, 1) << option;
    }
}

// ---- formats -------------------------------------------------------------------------------------

TEST(Formats, FrameBytesOfA640x480Picture) {
    const std::pair<const char*, int64_t> expected[] = {
        {"i420", 460800},   {"i422", 614400}, {"i444", 921600}, {"nv12", 460800},  {"yuy2", 614400}, {"uyvy", 614400},
        {"rgb565", 614400}, {"rgb555", 614400}, {"rgb24", 921600}, {"argb", 1228800}, {"abgr", 1228800}};
    for (const auto& [name, bytes] : expected) EXPECT_EQ(FrameBytes(*FindFormat(name), 640, 480), bytes) << name;
}

TEST(Formats, NamesAndCodesAgreeWithTheHeader) {
    EXPECT_EQ(FindFormat("i420")->code, QV_FORMAT_YCBCR420);
    EXPECT_EQ(FindFormat("rgb24")->code, QV_FORMAT_RGB888);
    EXPECT_EQ(FindFormat("argb")->code, QV_FORMAT_ARGB32);
    EXPECT_EQ(FindFormat("abgr")->code, QV_FORMAT_ABGR32);
    EXPECT_EQ(FindFormat("rgb555")->code, QV_FORMAT_RGB555);
    EXPECT_EQ(FindFormat("NV12")->code, QV_FORMAT_NV12);
    EXPECT_EQ(FindFormat("yuyv"), FindFormat("yuy2"));
    EXPECT_EQ(FindFormat("i421"), nullptr);
}

class SourcePadding : public ::testing::TestWithParam<std::tuple<const char*, int, int>> {};
// Source planes keep two luma rows and one chroma row readable below the picture and rows readable
// to a multiple of 16 bytes.
TEST_P(SourcePadding, LeavesRoomBelowAndBesideThePicture) {
    const auto [name, w, h] = GetParam();
    const FormatInfo& f = *FindFormat(name);
    Frame frame;
    AllocateFrame(frame, f, w, h, Padding::kSource);
    for (int p = 0; p < f.planes; ++p) {
        const PlaneShape s = frame.shape(p);
        EXPECT_EQ(frame.strides[p] % 16, 0);
        EXPECT_GE(frame.strides[p], s.rowBytes);
        const size_t readable = static_cast<size_t>(frame.strides[p]) * static_cast<size_t>(s.rows + (p == 0 ? 2 : 1));
        EXPECT_GE(frame.storage[p].size(), readable + 16) << name << " plane " << p;
    }
    EXPECT_TRUE(IsBlack(frame));
    frame.row(0, h - 1)[0] ^= 0xFF;
    EXPECT_FALSE(IsBlack(frame));
}
INSTANTIATE_TEST_SUITE_P(All, SourcePadding,
                         ::testing::Combine(::testing::Values("i420", "i422", "i444", "nv12", "rgb565", "rgb24",
                                                              "argb", "abgr"),
                                            ::testing::Values(4, 20), ::testing::Values(4, 12)));

TEST(Formats, OperationTableMatchesTheLibraryRoutes) {
    auto op = [](const char* s, const char* d) { return OperationOf(FindFormat(s)->code, FindFormat(d)->code); };
    EXPECT_TRUE(op("i420", "rgb565").rotates);
    EXPECT_TRUE(op("i420", "rgb565").scales);
    EXPECT_FALSE(op("i420", "yuy2").rotates);
    EXPECT_FALSE(op("i420", "nv12").scales);
    EXPECT_FALSE(op("i422", "rgb565").rotates);  // 4:2:2 sources ignore the rotation
    EXPECT_TRUE(op("i422", "rgb565").scales);
    EXPECT_TRUE(op("argb", "i420").rotates);     // through temporary planes
    EXPECT_FALSE(op("argb", "i420").scales);     // always the source size
    EXPECT_TRUE(op("i420", "rgb555").refusesRotateScale);
    EXPECT_FALSE(op("rgb24", "nv12").exists);
    EXPECT_FALSE(op("yuy2", "i420").exists);
}

// ---- display decoding of every format ----------------------------------------------------------

struct Pixel {
    uint8_t r, g, b, a;
};

// Decodes a 2 x 2 frame of `format` whose planes hold `bytes` (plane after plane, rows tight).
std::vector<Pixel> Decode2x2(const char* format, const std::vector<std::vector<uint8_t>>& planes) {
    Frame frame;
    AllocateFrame(frame, *FindFormat(format), 2, 2, Padding::kTight);
    for (size_t p = 0; p < planes.size(); ++p) {
        EXPECT_EQ(planes[p].size(), frame.storage[p].size()) << format << " plane " << p;
        std::copy(planes[p].begin(), planes[p].end(), frame.storage[p].begin());
    }
    RgbaImage image;
    DecodeFrame(frame, image);
    std::vector<Pixel> out;
    for (const Rgba& c : image.pixels) out.push_back({c.r, c.g, c.b, c.a});
    return out;
}

void ExpectPixel(const Pixel& p, int r, int g, int b, int a, int tolerance, const char* what) {
    EXPECT_NEAR(p.r, r, tolerance) << what;
    EXPECT_NEAR(p.g, g, tolerance) << what;
    EXPECT_NEAR(p.b, b, tolerance) << what;
    EXPECT_EQ(p.a, a) << what;
}

TEST(Decode, Rgb565FieldsWiden) {
    // Little-endian words 0xF800 (red), 0x07E0 (green), 0x001F (blue), 0xFFFF (white).
    const auto px = Decode2x2("rgb565", {{0x00, 0xF8, 0xE0, 0x07, 0x1F, 0x00, 0xFF, 0xFF}});
    ExpectPixel(px[0], 255, 0, 0, 255, 0, "red");
    ExpectPixel(px[1], 0, 255, 0, 255, 0, "green");
    ExpectPixel(px[2], 0, 0, 255, 255, 0, "blue");
    ExpectPixel(px[3], 255, 255, 255, 255, 0, "white");
}

TEST(Decode, Rgb555MaskBitClearIsTransparent) {
    // 0xF801 red with the mask bit; 0xF800 the same colour keyed; 0x0000 keyed; 0x07C1 green.
    const auto px = Decode2x2("rgb555", {{0x01, 0xF8, 0x00, 0xF8, 0x00, 0x00, 0xC1, 0x07}});
    ExpectPixel(px[0], 255, 0, 0, 255, 0, "red");
    EXPECT_EQ(px[1].a, 0);
    EXPECT_EQ(px[2].a, 0);
    ExpectPixel(px[3], 0, 255, 0, 255, 0, "green");
}

TEST(Decode, ByteOrdersOfRgb24ArgbAbgr) {
    const auto rgb24 = Decode2x2("rgb24", {{10, 20, 30, 0, 0, 0, 0, 0, 0, 0, 0, 0}});
    ExpectPixel(rgb24[0], 30, 20, 10, 255, 0, "rgb24 is blue, green, red in memory");
    const auto argb = Decode2x2("argb", {{1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}});
    ExpectPixel(argb[0], 3, 2, 1, 4, 0, "argb bytes are B G R A");
    const auto abgr = Decode2x2("abgr", {{1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}});
    ExpectPixel(abgr[0], 1, 2, 3, 4, 0, "abgr bytes are R G B A");
}

TEST(Decode, PackedYuvByteOrders) {
    // Video-range white is Y 235 and black Y 16, chroma 128.
    const auto yuy2 = Decode2x2("yuy2", {{235, 128, 16, 128, 16, 128, 235, 128}});
    ExpectPixel(yuy2[0], 255, 255, 255, 255, 0, "yuy2 Y0");
    ExpectPixel(yuy2[1], 0, 0, 0, 255, 0, "yuy2 Y1");
    ExpectPixel(yuy2[2], 0, 0, 0, 255, 0, "yuy2 second row Y0");
    const auto uyvy = Decode2x2("uyvy", {{128, 16, 128, 235, 128, 235, 128, 16}});
    ExpectPixel(uyvy[0], 0, 0, 0, 255, 0, "uyvy Y0");
    ExpectPixel(uyvy[1], 255, 255, 255, 255, 0, "uyvy Y1");
}

TEST(Decode, PlanarAndSemiPlanarBt601Primaries) {
    // BT.601 video-range primaries: red (81, 90, 240), green (145, 54, 34), blue (41, 240, 110).
    const auto red = Decode2x2("i420", {{81, 81, 81, 81}, {90}, {240}});
    ExpectPixel(red[3], 255, 0, 0, 255, 3, "i420 red");
    const auto green = Decode2x2("nv12", {{145, 145, 145, 145}, {54, 34}});
    ExpectPixel(green[0], 0, 255, 0, 255, 3, "nv12 green");
    const auto blue = Decode2x2("i444", {{41, 41, 41, 41}, {240, 240, 240, 240}, {110, 110, 110, 110}});
    ExpectPixel(blue[1], 0, 0, 255, 255, 3, "i444 blue");
    const auto i422 = Decode2x2("i422", {{41, 41, 145, 145}, {240, 54}, {110, 34}});
    ExpectPixel(i422[0], 0, 0, 255, 255, 3, "i422 first row blue");
    ExpectPixel(i422[2], 0, 255, 0, 255, 3, "i422 second row keeps its own chroma");
}

TEST(Colour, VideoRangeEndPoints) {
    const Yuv white = YuvFromRgb({255, 255, 255, 255});
    EXPECT_EQ(white.y, 235);
    EXPECT_EQ(white.cb, 128);
    EXPECT_EQ(white.cr, 128);
    const Yuv black = YuvFromRgb({0, 0, 0, 255});
    EXPECT_EQ(black.y, 16);
    EXPECT_EQ(black.cb, 128);
    EXPECT_EQ(black.cr, 128);
}

class EncodeDecode : public ::testing::TestWithParam<const char*> {};
// Flat 2x2 blocks of colour survive encoding and decoding in every format within its precision.
TEST_P(EncodeDecode, RoundTripsFlatBlocks) {
    const FormatInfo& f = *FindFormat(GetParam());
    RgbaImage image;
    image.resize(8, 4);
    const Rgba colours[4] = {{200, 30, 60, 255}, {20, 180, 90, 255}, {250, 250, 250, 255}, {60, 60, 200, 255}};
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 8; ++x) image.at(x, y) = colours[(x / 2 + y / 2) % 4];
    Frame frame;
    AllocateFrame(frame, f, 8, 4, Padding::kSource);
    EncodeImage(image, frame);
    RgbaImage back;
    DecodeFrame(frame, back);
    const int tolerance = f.family == Family::kRgb ? 8 : 3;
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 8; ++x) {
            EXPECT_NEAR(back.at(x, y).r, image.at(x, y).r, tolerance) << x << "," << y;
            EXPECT_NEAR(back.at(x, y).g, image.at(x, y).g, tolerance) << x << "," << y;
            EXPECT_NEAR(back.at(x, y).b, image.at(x, y).b, tolerance) << x << "," << y;
        }
}
INSTANTIATE_TEST_SUITE_P(All, EncodeDecode,
                         ::testing::Values("i420", "i422", "i444", "nv12", "yuy2", "uyvy", "rgb565", "rgb555", "rgb24",
                                           "argb", "abgr"));

// ---- Y4M headers ---------------------------------------------------------------------------------

TEST(Y4m, ParsesAFullHeader) {
    Y4mHeader h;
    ASSERT_EQ(ParseY4mHeader("YUV4MPEG2 W320 H240 F30000:1001 It A10:11 C420mpeg2 XYSCSS=420MPEG2", h), "");
    EXPECT_EQ(h.width, 320);
    EXPECT_EQ(h.height, 240);
    EXPECT_EQ(h.rateNum, 30000);
    EXPECT_EQ(h.rateDen, 1001);
    EXPECT_EQ(h.interlace, 't');
    EXPECT_EQ(h.aspect, "10:11");
    EXPECT_EQ(h.format, FindFormat("i420"));
}

TEST(Y4m, ChromaTags) {
    Y4mHeader h;
    ASSERT_EQ(ParseY4mHeader("YUV4MPEG2 W16 H16", h), "");
    EXPECT_EQ(h.format, FindFormat("i420"));  // the default
    ASSERT_EQ(ParseY4mHeader("YUV4MPEG2 W16 H16 C422", h), "");
    EXPECT_EQ(h.format, FindFormat("i422"));
    ASSERT_EQ(ParseY4mHeader("YUV4MPEG2 C444 W16 H16", h), "");
    EXPECT_EQ(h.format, FindFormat("i444"));
}

TEST(Y4m, MalformedHeadersSayWhy) {
    Y4mHeader h;
    EXPECT_NE(ParseY4mHeader("YUV4MPEG W16 H16", h).find("YUV4MPEG2"), std::string::npos);
    EXPECT_NE(ParseY4mHeader("YUV4MPEG2 W16", h).find("no height"), std::string::npos);
    EXPECT_NE(ParseY4mHeader("YUV4MPEG2 Wabc H16", h).find("Wabc"), std::string::npos);
    EXPECT_NE(ParseY4mHeader("YUV4MPEG2 W16 H16 Cmono", h).find("mono"), std::string::npos);
    EXPECT_NE(ParseY4mHeader("YUV4MPEG2 W16 H16 C420p10", h).find("420p10"), std::string::npos);
    EXPECT_NE(ParseY4mHeader("YUV4MPEG2 W16 H16 Iz", h).find("Iz"), std::string::npos);
    EXPECT_NE(ParseY4mHeader("YUV4MPEG2 W16 H16 F30:0", h).find("F30:0"), std::string::npos);
}

TEST(Y4m, WrittenHeaderParsesBack) {
    Y4mHeader h;
    h.width = 48;
    h.height = 32;
    h.format = FindFormat("yuy2");
    h.interlace = 'b';
    Y4mHeader back;
    const std::string line = FormatY4mHeader(h);
    ASSERT_EQ(line.back(), '\n');
    ASSERT_EQ(ParseY4mHeader(line.substr(0, line.size() - 1), back), "");
    EXPECT_EQ(back.width, 48);
    EXPECT_EQ(back.height, 32);
    EXPECT_EQ(back.interlace, 'b');
    EXPECT_EQ(back.format, FindFormat("i422"));  // packed 4:2:2 is written as planar 4:2:2
}

// ---- the pattern ---------------------------------------------------------------------------------

TEST(Pattern, InterlacedFramesKeepEvenLinesAndMoveOddOnes) {
    RgbaImage progressive, interlaced;
    DrawPattern(progressive, 160, 120, 3, false);
    DrawPattern(interlaced, 160, 120, 3, true);
    bool oddDiffers = false;
    for (int32_t y = 0; y < 120; ++y)
        for (int32_t x = 0; x < 160; ++x) {
            const Rgba a = progressive.at(x, y), b = interlaced.at(x, y);
            const bool same = a.r == b.r && a.g == b.g && a.b == b.b;
            if (y % 2 == 0) ASSERT_TRUE(same) << x << "," << y;
            else oddDiffers = oddDiffers || !same;
        }
    EXPECT_TRUE(oddDiffers);
}

TEST(Pattern, SmallestSizeDrawsWithinBounds) {
    RgbaImage image;
    DrawPattern(image, 4, 4, 1000, true);
    EXPECT_EQ(image.pixels.size(), 16u);
}

}  // namespace
}  // namespace qvc
