#include "args.h"

#include <cctype>
#include <charconv>
#include <cstring>

#include "formats.h"
#include "qv_imageproc.h"

namespace qvc {
namespace {

using Setter = std::string (*)(std::string_view value, Options& o);

struct OptionEntry {
    const char* name;     // "--scale"
    const char* alias;    // "-s" or nullptr
    const char* metavar;  // nullptr for a flag
    const char* help;
    Setter set;
};

std::string Lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

std::string Quoted(std::string_view s) {
    std::string quoted(1, '\'');
    quoted.append(s);
    quoted.push_back('\'');
    return quoted;
}

std::string SetFormat(std::string_view value, std::string& slot, const char* what) {
    if (FindFormat(value) == nullptr)
        return "unknown " + std::string(what) + " format " + Quoted(value) + " (known: " + FormatNames() + ")";
    slot = FindFormat(value)->name;
    return {};
}

std::string SetAdjust(std::string_view value, std::optional<int32_t>& slot, const char* option) {
    int64_t v = 0;
    if (!ParseInteger(value, v) || v < 0 || v > 255) return std::string(option) + " wants 0 to 255, not " + Quoted(value);
    slot = static_cast<int32_t>(v);
    return {};
}

const OptionEntry kOptions[] = {
    {"--from", "-f", "FORMAT", "source pixel format of a raw input or the pattern; how a PNG is fed (rgb24, argb, ...)",
     [](std::string_view v, Options& o) { return SetFormat(v, o.from, "source"); }},
    {"--to", "-t", "FORMAT", "output pixel format (i420, nv12, rgb565, ...), or the file type: raw, y4m, png",
     [](std::string_view v, Options& o) -> std::string {
         const std::string l = Lower(v);
         if (l == "raw" || l == "y4m" || l == "png") {
             o.container = l;
             return {};
         }
         return SetFormat(v, o.to, "output");
     }},
    {"--size", nullptr, "WxH", "picture size of a raw input or of the pattern (pattern default 640x480)",
     [](std::string_view v, Options& o) -> std::string {
         return ParseSize(v, o.size) ? "" : "--size wants WIDTHxHEIGHT, not " + Quoted(v);
     }},
    {"--scale", nullptr, "WxH", "scale to WxH (the picture before rotation: a quarter turn then gives HxW)",
     [](std::string_view v, Options& o) -> std::string {
         return ParseSize(v, o.scale) ? "" : "--scale wants WIDTHxHEIGHT, not " + Quoted(v);
     }},
    {"--rotate", "-r", "R", "90 (clockwise), 270 (counter-clockwise), 180, mirror (left-right) or flip (top-bottom)",
     [](std::string_view v, Options& o) -> std::string {
         return ParseRotation(v, o.rotation) ? "" : "--rotate wants 90, 270, 180, mirror or flip, not " + Quoted(v);
     }},
    {"--interp", nullptr, "M", "scaling filter: nearest, bilinear (default), near-linear or fixed (fast fixed ratios); most routes have "
     "one filter: the summary names the one used, and a note says when M has no effect",
     [](std::string_view v, Options& o) -> std::string {
         o.interpolationGiven = true;
         return ParseInterpolation(v, o.interpolation)
                    ? ""
                    : "--interp wants nearest, bilinear, near-linear or fixed, not " + Quoted(v);
     }},
    {"--pad", nullptr, nullptr, "extend a picture whose size is not a multiple of 4 by repeating its edges (default: crop)",
     [](std::string_view, Options& o) -> std::string {
         o.pad = true;
         return {};
     }},
    {"--brightness", nullptr, "N", "brightness 0-255, 128 is neutral (planar YCbCr sources; see below)",
     [](std::string_view v, Options& o) { return SetAdjust(v, o.brightness, "--brightness"); }},
    {"--contrast", nullptr, "N", "contrast 0-255, 128 is neutral",
     [](std::string_view v, Options& o) { return SetAdjust(v, o.contrast, "--contrast"); }},
    {"--saturation", nullptr, "N", "saturation 0-255, 128 is neutral, 0 is grey",
     [](std::string_view v, Options& o) { return SetAdjust(v, o.saturation, "--saturation"); }},
    {"--alpha", nullptr, "N", "alpha byte of ARGB output, 0-255 (default 255)",
     [](std::string_view v, Options& o) -> std::string {
         int64_t a = 0;
         if (!ParseInteger(v, a) || a < 0 || a > 255) return "--alpha wants 0 to 255, not " + Quoted(v);
         o.alpha = static_cast<uint32_t>(a);
         return {};
     }},
    {"--colour-key", "--color-key", "KEY", "RGB555 colour key as Y,Cb,Cr or 0xYYCBCR: matching pixels become 0",
     [](std::string_view v, Options& o) -> std::string {
         uint32_t key = 0;
         if (!ParseColourKey(v, key)) return "--colour-key wants Y,Cb,Cr (each 0-255) or a number, not " + Quoted(v);
         o.colourKey = key;
         return {};
     }},
    {"--deinterlace", nullptr, "MODE", "fast, discard, bob, blend, mean, linear or x (motion-adaptive), or 1-7",
     [](std::string_view v, Options& o) -> std::string {
         return ParseDeinterlace(v, o.deinterlace)
                    ? ""
                    : "--deinterlace wants fast, discard, bob, blend, mean, linear, x or 1-7, not " + Quoted(v);
     }},
    {"--frames", "-n", "N", "convert at most N frames (the pattern makes N frames, default 1)",
     [](std::string_view v, Options& o) -> std::string {
         int64_t n = 0;
         if (!ParseInteger(v, n) || n < 1) return "--frames wants a count of 1 or more, not " + Quoted(v);
         o.frames = n;
         return {};
     }},
    {"--library", nullptr, "PATH", "the libqv_imageproc.so to load (default: beside this program, then the loader path)",
     [](std::string_view v, Options& o) -> std::string {
         o.library = v;
         return {};
     }},
    {"--demo", nullptr, "DIR", "render the test pattern through a gallery of conversions into DIR/index.html",
     [](std::string_view v, Options& o) -> std::string {
         o.demoDir = v;
         return {};
     }},
    {"--formats", nullptr, nullptr, "list the pixel formats and what each converts to",
     [](std::string_view, Options& o) -> std::string {
         o.listFormats = true;
         return {};
     }},
    {"--force", nullptr, nullptr, "replace a read-only output file",
     [](std::string_view, Options& o) -> std::string {
         o.force = true;
         return {};
     }},
    {"--quiet", "-q", nullptr, "no progress bar and no summary line",
     [](std::string_view, Options& o) -> std::string {
         o.quiet = true;
         return {};
     }},
    {"--help", "-h", nullptr, "show this help",
     [](std::string_view, Options& o) -> std::string {
         o.help = true;
         return {};
     }},
    {"--version", nullptr, nullptr, "show the version",
     [](std::string_view, Options& o) -> std::string {
         o.version = true;
         return {};
     }},
};

const OptionEntry* FindOption(std::string_view name) {
    for (const OptionEntry& entry : kOptions)
        if (name == entry.name || (entry.alias != nullptr && name == entry.alias)) return &entry;
    return nullptr;
}

}  // namespace

bool ParseInteger(std::string_view text, int64_t& value) {
    int base = 10;
    bool negative = false;
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        negative = text[0] == '-';
        text.remove_prefix(1);
    }
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty()) return false;
    int64_t v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v, base);
    if (ec != std::errc() || end != text.data() + text.size()) return false;
    value = negative ? -v : v;
    return true;
}

bool ParseSize(std::string_view text, Size& size) {
    const size_t x = text.find_first_of("xX");
    if (x == std::string_view::npos) return false;
    int64_t w = 0, h = 0;
    if (!ParseInteger(text.substr(0, x), w) || !ParseInteger(text.substr(x + 1), h)) return false;
    if (w < 1 || h < 1 || w > 1000000 || h > 1000000) return false;
    size = {static_cast<int32_t>(w), static_cast<int32_t>(h)};
    return true;
}

bool ParseRotation(std::string_view text, uint32_t& code) {
    const std::string t = Lower(text);
    if (t == "0" || t == "none") code = QV_ROTATE_NONE;
    else if (t == "90" || t == "cw" || t == "-270") code = QV_ROTATE_90_CW;
    else if (t == "270" || t == "ccw" || t == "-90") code = QV_ROTATE_90_CCW;
    else if (t == "180") code = QV_ROTATE_180;
    else if (t == "mirror" || t == "hflip") code = QV_MIRROR;
    else if (t == "flip" || t == "vflip") code = QV_FLIP;
    else return false;
    return true;
}

bool ParseInterpolation(std::string_view text, uint32_t& code) {
    const std::string t = Lower(text);
    if (t == "nearest") code = QV_INTERP_NEAREST;
    else if (t == "fixed" || t == "fixed-ratio") code = QV_INTERP_FIXED_RATIO;
    else if (t == "bilinear" || t == "linear") code = QV_INTERP_BILINEAR;
    else if (t == "near-linear" || t == "nearlinear") code = QV_INTERP_NEAR_LINEAR;
    else return false;
    return true;
}

namespace {
constexpr const char* kDeinterlaceNames[] = {"off", "fast", "discard", "bob", "blend", "mean", "linear", "x"};
}

bool ParseDeinterlace(std::string_view text, uint32_t& mode) {
    const std::string t = Lower(text);
    int64_t n = 0;
    if (ParseInteger(t, n)) {
        if (n < 0 || n > 7) return false;
        mode = static_cast<uint32_t>(n);
        return true;
    }
    for (uint32_t m = 0; m < 8; ++m)
        if (t == kDeinterlaceNames[m]) {
            mode = m;
            return true;
        }
    if (t == "none") mode = 0;
    else if (t == "adaptive" || t == "motion") mode = QV_DEINTERLACE_X;
    else return false;
    return true;
}

bool ParseColourKey(std::string_view text, uint32_t& key) {
    const size_t comma = text.find(',');
    if (comma == std::string_view::npos) {
        int64_t v = 0;
        if (!ParseInteger(text, v) || v < 0 || v > 0xFFFFFFFFll) return false;
        key = static_cast<uint32_t>(v);
        return true;
    }
    const size_t comma2 = text.find(',', comma + 1);
    if (comma2 == std::string_view::npos) return false;
    int64_t y = 0, cb = 0, cr = 0;
    if (!ParseInteger(text.substr(0, comma), y) || !ParseInteger(text.substr(comma + 1, comma2 - comma - 1), cb) ||
        !ParseInteger(text.substr(comma2 + 1), cr))
        return false;
    if (y < 0 || y > 255 || cb < 0 || cb > 255 || cr < 0 || cr > 255) return false;
    key = static_cast<uint32_t>(y << 16 | cb << 8 | cr);
    return true;
}

const char* RotationName(uint32_t code) {
    switch (code) {
        case QV_ROTATE_NONE: return "none";
        case QV_ROTATE_90_CCW: return "270";
        case QV_ROTATE_90_CW: return "90";
        case QV_ROTATE_180: return "180";
        case QV_MIRROR: return "mirror";
        case QV_FLIP: return "flip";
        default: return "?";
    }
}

const char* InterpolationName(uint32_t code) {
    switch (code) {
        case QV_INTERP_NEAREST: return "nearest";
        case QV_INTERP_FIXED_RATIO: return "fixed";
        case QV_INTERP_NEAR_LINEAR: return "near-linear";
        default: return "bilinear";
    }
}

const char* DeinterlaceName(uint32_t mode) { return mode < 8 ? kDeinterlaceNames[mode] : "fast"; }

std::string ParseArguments(const std::vector<std::string_view>& args, Options& options) {
    std::vector<std::string_view> positional;
    bool onlyPositional = false;
    for (size_t i = 0; i < args.size(); ++i) {
        std::string_view arg = args[i];
        if (onlyPositional || arg == "-" || arg.empty() || arg[0] != '-') {
            positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            onlyPositional = true;
            continue;
        }
        std::string_view value;
        bool hasValue = false;
        const size_t eq = arg.find('=');
        if (arg.substr(0, 2) == "--" && eq != std::string_view::npos) {
            value = arg.substr(eq + 1);
            arg = arg.substr(0, eq);
            hasValue = true;
        }
        const OptionEntry* entry = FindOption(arg);
        if (entry == nullptr) return "unknown option " + Quoted(arg) + " (see --help)";
        if (entry->metavar == nullptr) {
            if (hasValue) return std::string(entry->name) + " takes no value";
        } else if (!hasValue) {
            if (i + 1 >= args.size()) return std::string(entry->name) + " needs a value: " + entry->metavar;
            value = args[++i];
        }
        const std::string error = entry->set(value, options);
        if (!error.empty()) return error;
    }
    if (positional.size() > 2) return "too many file names: give at most an input and an output";
    if (positional.size() == 2) {
        options.input = positional[0];
        options.output = positional[1];
    } else if (positional.size() == 1) {
        options.output = positional[0];
    }
    return {};
}

std::string HelpText() {
    std::string text =
        "usage: qv-convert [options] [INPUT] OUTPUT\n"
        "       qv-convert --demo DIR\n"
        "Converts pictures with libqv_imageproc. INPUT is a raw file (needs --from and --size), a .y4m file,\n"
        "a .png file, or 'pattern' / 'pattern:interlaced' (the default). OUTPUT is a raw file, a .y4m file,\n"
        "or a .png picture of the result (NAME%03d.png for one per frame); '-' is stdin / stdout.\n"
        "options:\n";
    for (const OptionEntry& entry : kOptions) {
        std::string left = "  ";
        if (entry.alias == nullptr) left += entry.name;
        else if (entry.alias[1] == '-') left += std::string(entry.name) + ", " + entry.alias;  // a spelling
        else left += std::string(entry.alias) + ", " + entry.name;
        if (entry.metavar != nullptr) left += std::string(" ") + entry.metavar;
        if (left.size() < 28) left.resize(28, ' ');
        else left += ' ';
        text += left + entry.help + "\n";
    }
    text += "formats (memory order; ffmpeg's -pix_fmt names are accepted too):\n";
    for (const FormatInfo& f : AllFormats()) {
        std::string name = std::string("  ") + f.name;
        name.resize(10, ' ');
        text += name + f.description + "\n";
    }
    text +=
        "A picture whose size is not a multiple of 4 is cropped to the largest one (or extended with --pad).\n"
        "Raw frames of odd sizes are read with chroma rounded up (641x479 i420: 321x240 chroma), as ffmpeg\n"
        "writes them.\n"
        "Colour adjustment differs by output: 4:2:0 output is adjusted through curves on Y, Cb and Cr, RGB\n"
        "output in the conversion tables, so the same values give visibly different pictures.\n";
    text += "exit status: 0 done, 1 the conversion failed, 2 bad arguments\n";
    return text;
}

const char* VersionText() { return "qv-convert 1.0.0"; }

}  // namespace qvc
