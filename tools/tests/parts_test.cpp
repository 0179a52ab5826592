// The pieces of qv-convert on their own: the display decoder and encoder of every format, Y4M
// headers and source frames.
#include <string>
#include <vector>

#include "core/routes.h"
#include "library.h"
#include "support.h"

namespace qvc {
namespace {

// ---- display decoding and encoding of every format ----------------------------------------------

struct FormatCase {
    const char* format;
    std::vector<std::vector<uint8_t>> planes;     // a 2 x 2 picture, plane after plane, rows tight
    std::vector<std::pair<size_t, Rgba>> pixels;  // what some of its pixels show
    int tolerance;
};

void PrintTo(const FormatCase& c, std::ostream* os) { *os << c.format; }
class EveryFormat : public ::testing::TestWithParam<FormatCase> {};
// Hand-written bytes decode to their colour; flat 2x2 blocks of colour survive encoding and
// decoding within the format's precision.
TEST_P(EveryFormat, DecodesBytesAndRoundTripsBlocks) {
    const FormatCase& c = GetParam();
    const FormatInfo& f = *FindFormat(c.format);
    Frame frame;
    AllocateFrame(frame, f, 2, 2, Padding::kTight);
    for (size_t p = 0; p < c.planes.size(); ++p) {
        ASSERT_EQ(c.planes[p].size(), frame.storage[p].size()) << "plane " << p;
        std::copy(c.planes[p].begin(), c.planes[p].end(), frame.storage[p].begin());
    }
    RgbaImage image, back;
    DecodeFrame(frame, image);
    for (const auto& [i, want] : c.pixels) {
        EXPECT_LE(qvtest::Far(image.pixels[i], want), c.tolerance) << "pixel " << i << ": " << image.pixels[i];
        EXPECT_EQ(image.pixels[i].a, want.a) << "pixel " << i;
    }

    const Rgba colours[4] = {{200, 30, 60, 255}, {20, 180, 90, 255}, {250, 250, 250, 255}, {60, 60, 200, 255}};
    image.resize(8, 4);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 8; ++x) image.at(x, y) = colours[(x / 2 + y / 2) % 4];
    AllocateFrame(frame, f, 8, 4, Padding::kSource);
    EncodeImage(image, frame);
    DecodeFrame(frame, back);
    for (size_t i = 0; i < image.pixels.size(); ++i)
        EXPECT_LE(qvtest::Far(back.pixels[i], image.pixels[i]), f.family == Family::kRgb ? 8 : 2)
            << "block pixel " << i << ": " << back.pixels[i] << " for " << image.pixels[i];
}
// Video-range white is Y 235 and black Y 16, chroma 128. BT.601 video-range primaries: red (81, 90,
// 240), green (145, 54, 34), blue (41, 240, 110). rgb565: little-endian words 0xF800 red, 0x07E0 green,
// 0x001F blue, 0xFFFF white. rgb555: 0xF801 red with the mask bit, 0xF800 the same red keyed, 0x0000
// keyed, 0x07C1 green. The second row of 4:2:2 keeps its own chroma.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat, ::testing::Values(
    FormatCase{"rgb565", {{0x00, 0xF8, 0xE0, 0x07, 0x1F, 0x00, 0xFF, 0xFF}},
               {{0, {255, 0, 0, 255}}, {1, {0, 255, 0, 255}}, {2, {0, 0, 255, 255}}, {3, {255, 255, 255, 255}}}, 0},
    FormatCase{"rgb555", {{0x01, 0xF8, 0x00, 0xF8, 0x00, 0x00, 0xC1, 0x07}},
               {{0, {255, 0, 0, 255}}, {1, {255, 0, 0, 0}}, {2, {0, 0, 0, 0}}, {3, {0, 255, 0, 255}}}, 0},
    FormatCase{"rgb24", {{10, 20, 30, 0, 0, 0, 0, 0, 0, 0, 0, 0}}, {{0, {30, 20, 10, 255}}}, 0},  // B G R
    FormatCase{"argb", {{1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}}, {{0, {3, 2, 1, 4}}}, 0},  // B G R A
    FormatCase{"abgr", {{1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}}, {{0, {1, 2, 3, 4}}}, 0},  // R G B A
    FormatCase{"yuy2", {{235, 128, 16, 128, 16, 128, 235, 128}},
               {{0, {255, 255, 255, 255}}, {1, {0, 0, 0, 255}}, {2, {0, 0, 0, 255}}, {3, {255, 255, 255, 255}}}, 0},
    FormatCase{"uyvy", {{128, 16, 128, 235, 128, 235, 128, 16}}, {{0, {0, 0, 0, 255}}, {1, {255, 255, 255, 255}}}, 0},
    FormatCase{"i420", {{81, 81, 81, 81}, {90}, {240}}, {{3, {255, 0, 0, 255}}}, 3},
    FormatCase{"nv12", {{145, 145, 145, 145}, {54, 34}}, {{0, {0, 255, 0, 255}}}, 3},
    FormatCase{"i444", {{41, 41, 41, 41}, {240, 240, 240, 240}, {110, 110, 110, 110}}, {{1, {0, 0, 255, 255}}}, 3},
    FormatCase{"i422", {{41, 41, 145, 145}, {240, 54}, {110, 34}}, {{0, {0, 0, 255, 255}}, {2, {0, 255, 0, 255}}}, 3}),
    [](const auto& info) { return std::string(info.param.format); });
// clang-format on

// ---- the operations the tool offers --------------------------------------------------------------

// The tool keeps its own list of operations; it must say what the library's route table says.
TEST(Operations, MatchTheLibrarysRouteTable) {
    for (const FormatInfo& s : AllFormats())
        for (const FormatInfo& d : AllFormats()) {
            SCOPED_TRACE(std::string(s.name) + " to " + d.name);
            const OperationInfo info = OperationOf(s.code, d.code);
            const qv::Route* route = qv::FindRoute(QV_OPERATION(s.code, d.code));
            ASSERT_EQ(info.exists, route != nullptr);
            if (route == nullptr) continue;
            EXPECT_EQ(info.rotates, route->rotations == qv::Rotations::kPlaced);
            EXPECT_EQ(info.scales, !route->neverScales());
            EXPECT_EQ(info.refusesRotateScale, route->rotations == qv::Rotations::kOnlyNone);
        }
}

// ffmpeg's pixel-format names mean the same memory order here.
TEST(Formats, FfmpegNamesKeepFfmpegsMeaning) {
    const std::pair<const char*, int> names[] = {
        {"yuv420p", QV_FORMAT_YCBCR420}, {"yuv422p", QV_FORMAT_YCBCR422}, {"yuv444p", QV_FORMAT_YCBCR444},
        {"rgb565le", QV_FORMAT_RGB565},  {"bgr24", QV_FORMAT_RGB888},     {"bgra", QV_FORMAT_ARGB32},
        {"rgba", QV_FORMAT_ABGR32},      {"yuyv422", QV_FORMAT_YUY2},     {"uyvy422", QV_FORMAT_UYVY},
        {"nv12", QV_FORMAT_NV12}};
    for (const auto& [name, code] : names) EXPECT_EQ(FindFormat(name)->code, code) << name;
}

// The filter the tool names is checked against the library's pictures: two interpolation codes
// the tool gives the same filter make the same bytes, and different filters different bytes.
TEST(Operations, ScalingFilterNamedIsTheOneThatRuns) {
    Library library;
    ASSERT_EQ(library.Load(QV_LIBRARY_PATH), "");
    const int32_t sizes[][4] = {{32, 16, 48, 40}, {64, 48, 40, 24}, {64, 48, 48, 56}, {32, 16, 80, 32},
                                {32, 16, 64, 32}, {32, 16, 48, 8},  {320, 240, 480, 272}};
    for (const FormatInfo& s : AllFormats())
        for (const FormatInfo& d : AllFormats()) {
            if (!OperationOf(s.code, d.code).scales) continue;
            for (const auto& z : sizes)
                for (uint32_t rotation : {QV_ROTATE_NONE, QV_ROTATE_90_CW}) {
                    SCOPED_TRACE(std::string(s.name) + " to " + d.name + " " + SizeText(z[2], z[3]) + " rotation " +
                                 std::to_string(rotation));
                    const bool quarter = rotation == QV_ROTATE_90_CW;
                    if (quarter && !OperationOf(s.code, d.code).rotates) continue;
                    const Frame in = qvtest::PatternFrame(s.name, z[0], z[1], 0, Padding::kSource);
                    std::vector<std::pair<Scaling, std::string>> runs;
                    for (uint32_t interp = 0; interp < 4; ++interp) {
                        QvCreateParams params = {};
                        params.structSize = sizeof params;
                        params.operation = QV_OPERATION(s.code, d.code);
                        params.rotation = rotation;
                        params.interpolation = interp;
                        params.srcWidth = z[0];
                        params.srcHeight = z[1];
                        params.dstWidth = z[2];
                        params.dstHeight = z[3];
                        params.alpha = 255;
                        Context context(library.functions());
                        std::string printed;
                        ASSERT_EQ(context.Create(params, &printed), QV_S_OK);
                        Frame out;
                        AllocateFrame(out, d, quarter ? z[3] : z[2], quarter ? z[2] : z[3], Padding::kTight);
                        ASSERT_EQ(context.Process(in, out, 0), QV_S_OK);
                        runs.emplace_back(ScalingOf(s.code, d.code, rotation, interp, z[0], z[1], z[2], z[3]),
                                          qvtest::Bytes(out));
                    }
                    for (size_t a = 0; a < runs.size(); ++a)
                        for (size_t b = a + 1; b < runs.size(); ++b)
                            EXPECT_EQ(runs[a].first == runs[b].first, runs[a].second == runs[b].second)
                                << ScalingName(runs[a].first) << " (" << a << ") and " << ScalingName(runs[b].first)
                                << " (" << b << ")";
                }
        }
}

// ---- Y4M headers ---------------------------------------------------------------------------------

// Good headers are read end to end (cli_test); here every malformed field.
TEST(Y4mHeader, MalformedOnesSayWhy) {
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"YUV4MPEG W16 H16", "YUV4MPEG2"}, {"YUV4MPEG2 W16", "no height"}, {"YUV4MPEG2 H16", "no width"},
        {"YUV4MPEG2 Wabc H16", "Wabc"}, {"YUV4MPEG2 W0 H16", "W0"}, {"YUV4MPEG2 W16 H16 Cmono", "Cmono is not"},
        {"YUV4MPEG2 W16 H16 C420p10", "420p10"}, {"YUV4MPEG2 W16 H16 Iz", "Iz"}, {"YUV4MPEG2 W16 H16 F30:0", "F30:0"},
        {"YUV4MPEG2 W16 H16 A1/1", "A1/1"}};
    // clang-format on
    for (const auto& [line, says] : cases) {
        Y4mHeader h;
        const std::string error = ParseY4mHeader(line, h);
        EXPECT_NE(error.find(says), std::string::npos) << line << ": " << error;
    }
}

// ---- source frames ---------------------------------------------------------------------------

// Source planes keep rows readable below the picture (the library reads up to five rows below a
// plane, and a row to a multiple of 16 bytes), all black.
TEST(SourceFrames, LeaveRoomBelowAndBesideThePicture) {
    for (const FormatInfo& f : AllFormats())
        for (const auto& [w, h] : {std::pair{4, 4}, {20, 12}}) {
            Frame frame;
            AllocateFrame(frame, f, w, h, Padding::kSource);
            for (int p = 0; p < f.planes; ++p)
                EXPECT_GE(frame.storage[p].size(),
                          (frame.shape(p).rows + 5) * size_t((frame.shape(p).rowBytes + 15) & ~15) + 16)
                    << f.name << " plane " << p;
            EXPECT_TRUE(IsBlack(frame)) << f.name;
        }
}

}  // namespace
}  // namespace qvc
