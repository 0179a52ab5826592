#include "convert.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <memory>

#include "colour.h"
#include "fileio.h"
#include "formats.h"
#include "media.h"

namespace qvc {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t kMaxSide = 16384;

ConvertResult Usage(std::string message) { return {ExitCode::kUsage, std::move(message)}; }
ConvertResult Failure(std::string message) { return {ExitCode::kFailed, std::move(message)}; }

// A size the library takes as it is, or the message saying what it would make of it.
std::string CheckSize(const std::string& what, int32_t w, int32_t h, bool multipleOf4 = true) {
    if (w < 4 || h < 4 || w > kMaxSide || h > kMaxSide)
        return what + " is " + SizeText(w, h) + "; sizes from 4x4 to " + SizeText(kMaxSide, kMaxSide) + " work";
    if (multipleOf4 && (w % 4 != 0 || h % 4 != 0))
        return what + " is " + SizeText(w, h) +
               ", not a multiple of 4 in both directions; the library would round it down to " +
               SizeText(w & ~3, h & ~3) + " and convert only that much";
    return {};
}

// The position of a frame-number field such as %d or %04d in an output name, and its width.
bool FrameNumberField(const std::string& name, size_t* at, size_t* length, int* width) {
    const size_t p = name.find('%');
    if (p == std::string::npos) return false;
    size_t q = p + 1;
    int w = 0;
    while (q < name.size() && q - p < 4 && std::isdigit(static_cast<unsigned char>(name[q]))) w = w * 10 + (name[q++] - '0');
    if (q >= name.size() || name[q] != 'd') return false;
    *at = p;
    *length = q + 1 - p;
    *width = w;
    return true;
}

std::string NumberedName(const std::string& name, int64_t number) {
    size_t at = 0, length = 0;
    int width = 0;
    if (!FrameNumberField(name, &at, &length, &width)) return name;
    std::string digits = std::to_string(number);
    if (static_cast<int>(digits.size()) < width) digits.insert(0, static_cast<size_t>(width) - digits.size(), '0');
    return name.substr(0, at) + digits + name.substr(at + length);
}

const FormatInfo* DefaultDestination(const FormatInfo& source, const std::string& container) {
    std::vector<const char*> preferred;
    if (container == "y4m") preferred = {"i420"};
    else if (container == "png") preferred = {"rgb24", "rgb565", "argb", "i420"};
    else preferred = {source.name, "i420", "rgb565"};
    for (const char* name : preferred)
        if (OperationOf(source.code, FindFormat(name)->code).exists) return FindFormat(name);
    return FindFormat(preferred[0]);  // the library will say it cannot
}

// The format a PNG picture is fed to the library as, when --from does not say.
const FormatInfo* PngFeedFormat(const FormatInfo* destination, const std::string& container) {
    for (const char* name : {"rgb24", "argb", "rgb565", "abgr"}) {
        const FormatInfo* feed = FindFormat(name);
        const FormatInfo* to = destination != nullptr ? destination : DefaultDestination(*feed, container);
        if (OperationOf(feed->code, to->code).exists) return feed;
    }
    return FindFormat("argb");
}

class ProgressBar {
public:
    ProgressBar(bool enabled, int64_t total) : enabled_(enabled), total_(total), start_(Clock::now()) {}
    ~ProgressBar() { Finish(); }

    // Redrawn at most ten times a second, and always for the last frame.
    void Update(int64_t done) {
        if (!enabled_) return;
        done_ = done;
        const Clock::time_point now = Clock::now();
        if (drawn_ && now - last_ < std::chrono::milliseconds(100) && done != total_ && !finishing_) return;
        last_ = now;
        drawn_ = true;
        const double seconds = std::chrono::duration<double>(now - start_).count();
        const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
        char tail[64];
        if (total_ > 0) {
            const int width = 30;
            const int filled = static_cast<int>(done * width / total_);
            const double eta = rate > 0 ? static_cast<double>(total_ - done) / rate : 0;
            std::snprintf(tail, sizeof tail, ", %.1f frames/s, ETA %d:%02d", rate, static_cast<int>(eta) / 60,
                          static_cast<int>(eta) % 60);
            std::fprintf(stderr, "\r[%s%s] %lld/%lld frames%s\033[K",
                         std::string(static_cast<size_t>(filled), '#').c_str(),
                         std::string(static_cast<size_t>(width - filled), '.').c_str(), static_cast<long long>(done),
                         static_cast<long long>(total_), tail);
        } else {
            std::snprintf(tail, sizeof tail, ", %.1f frames/s", rate);
            std::fprintf(stderr, "\r%lld frames%s\033[K", static_cast<long long>(done), tail);
        }
        std::fflush(stderr);
    }

    // The bar stays, showing the last frame, on its own line.
    void Finish() {
        if (enabled_ && drawn_) {
            finishing_ = true;
            Update(done_);
            std::fputs("\n", stderr);
        }
        drawn_ = false;
        enabled_ = false;
    }

private:
    bool enabled_;
    int64_t total_;
    Clock::time_point start_;
    int64_t done_ = 0;
    bool finishing_ = false;
    bool drawn_ = false;
    Clock::time_point last_;
};

// Everything decided before the first frame.
struct Plan {
    std::string container;        // raw, y4m or png
    bool pngSequence = false;     // one PNG a frame, the output name holding %d
    const FormatInfo* src = nullptr;
    const FormatInfo* dst = nullptr;
    int32_t inW = 0, inH = 0;     // the input's picture
    int32_t W = 0, H = 0;         // source as the library takes it: cropped or extended to multiples of 4
    int32_t DW = 0, DH = 0;       // destination before rotation, as the library takes it
    int32_t outW = 0, outH = 0;   // the written picture
    std::string route;            // "i420 -> rgb565"
    std::string settings;         // ", scale bilinear, rotate 90"
    std::vector<std::string> notes;
};

// The output's kind, and how many frames it can hold.
ConvertResult PlanOutput(const Options& o, Plan& plan, int64_t& frameLimit) {
    plan.container = o.container;
    if (plan.container.empty()) {
        const std::string ext = ExtensionOf(o.output);
        plan.container = ext == "y4m" || ext == "png" ? ext : "raw";
    }
    size_t at = 0, length = 0;
    int width = 0;
    plan.pngSequence = plan.container == "png" && FrameNumberField(o.output, &at, &length, &width);
    frameLimit = o.frames;
    if (plan.container == "png" && !plan.pngSequence) {
        if (o.frames > 1)
            return Usage(o.output + " holds one picture; name the output like out-%03d.png for " +
                         std::to_string(o.frames) + " frames");
        frameLimit = 1;
    }
    return {};
}

// Formats, sizes and the checks for what the library would refuse or silently ignore.
ConvertResult PlanRoute(const Options& o, FrameSource& source, Plan& plan) {
    if (source.sizeFromInput && !o.size.empty() && (o.size.width != source.width || o.size.height != source.height))
        return Usage(source.description + " is " + SizeText(source.width, source.height) +
                     "; --size describes raw input and the pattern (--scale resizes)");
    if (std::string error = CheckSize(source.description, source.width, source.height, false); !error.empty())
        return Failure(error);
    plan.inW = source.width;
    plan.inH = source.height;
    plan.W = o.pad ? (plan.inW + 3) & ~3 : plan.inW & ~3;
    plan.H = o.pad ? (plan.inH + 3) & ~3 : plan.inH & ~3;
    if (plan.W != plan.inW || plan.H != plan.inH)
        plan.notes.push_back(source.description + " is " + SizeText(plan.inW, plan.inH) +
                             (o.pad ? ", extended by repeating its edges to " : ", cropped to ") +
                             SizeText(plan.W, plan.H) + " (the library takes multiples of 4" +
                             (o.pad ? ")" : "; --pad extends instead)"));
    const FormatInfo* destination = o.to.empty() ? nullptr : FindFormat(o.to);
    if (destination == nullptr && plan.container == "raw") destination = FindFormat(ExtensionOf(o.output));
    if (source.format == nullptr) source.format = PngFeedFormat(destination, plan.container);
    if (destination == nullptr) destination = DefaultDestination(*source.format, plan.container);
    const FormatInfo& src = *source.format;
    const FormatInfo& dst = *destination;
    plan.src = &src;
    plan.dst = &dst;
    plan.route = std::string(src.name) + " -> " + dst.name;
    if (src.code == QV_FORMAT_RGB555) return Usage("rgb555 is an output format only; it cannot be a source");
    if (plan.container == "y4m" && Y4mChromaTag(dst) == nullptr)
        return Usage("Y4M files hold YCbCr pictures (i420, nv12, yuy2, uyvy); write " + std::string(dst.name) +
                     " as a raw file or a PNG");

    plan.DW = plan.W;
    plan.DH = plan.H;
    if (!o.scale.empty()) {
        if (std::string error = CheckSize("the --scale size", o.scale.width, o.scale.height); !error.empty())
            return Usage(error);
        plan.DW = o.scale.width;
        plan.DH = o.scale.height;
    }
    const bool scaling = plan.DW != plan.W || plan.DH != plan.H;
    const OperationInfo op = OperationOf(src.code, dst.code);
    if (op.exists && !op.refusesRotateScale) {
        if (o.rotation != QV_ROTATE_NONE && !op.rotates)
            return Failure(plan.route + " cannot rotate: the library ignores the rotation for this conversion");
        if (scaling && !op.scales)
            return Failure(plan.route + " cannot scale: the library writes the source size (" +
                           SizeText(plan.W, plan.H) + ") for this conversion");
    }
    if (o.deinterlace != 0) {
        if (src.family != Family::kPlanarYuv)
            return Failure("--deinterlace needs a planar YCbCr source (i420, i422 or i444), not " +
                           std::string(src.name));
        if (src.code == QV_FORMAT_YCBCR444 && o.deinterlace >= QV_DEINTERLACE_DISCARD &&
            o.deinterlace <= QV_DEINTERLACE_MEAN)
            return Failure(std::string("--deinterlace ") + DeinterlaceName(o.deinterlace) +
                           " leaves 4:4:4 pictures unwritten; use fast, linear or x for i444");
    }
    if (o.colourKey && dst.code != QV_FORMAT_RGB555)
        return Usage("--colour-key applies to rgb555 output only, not " + std::string(dst.name));

    const Scaling filter = ScalingOf(src.code, dst.code, o.rotation, o.interpolation, plan.W, plan.H, plan.DW, plan.DH);
    if (filter != Scaling::kNone) plan.settings += std::string(", scale ") + ScalingName(filter);
    if (o.interpolationGiven && (filter == Scaling::kNone || !Honours(filter, o.interpolation)))
        plan.notes.push_back("--interp " + std::string(InterpolationName(o.interpolation)) + " has no effect on " +
                             plan.route +
                             (filter == Scaling::kNone ? " without scaling"
                                                       : std::string(" at this size: it scales ") + ScalingName(filter)));
    if (o.rotation != QV_ROTATE_NONE) plan.settings += std::string(", rotate ") + RotationName(o.rotation);
    if (o.deinterlace != 0) plan.settings += std::string(", deinterlace ") + DeinterlaceName(o.deinterlace);
    // The destination size is the picture before rotation: a quarter turn writes DH columns, DW rows.
    const bool quarterTurn = o.rotation == QV_ROTATE_90_CW || o.rotation == QV_ROTATE_90_CCW;
    plan.outW = quarterTurn ? plan.DH : plan.DW;
    plan.outH = quarterTurn ? plan.DW : plan.DH;
    return {};
}

// What a run allocates before its first frame: the context's work planes (4 x P x H, P the width
// rounded up to 16, zero-filled by Create), its line buffers when it scales, the frames and the
// source's own pictures.
struct Allocation {
    int64_t context = 0, frames = 0;
    int64_t total() const { return context + frames; }
};
Allocation Planned(const Options& o, const Plan& plan, const FrameSource& source) {
    Allocation a;
    a.context = 4 * ((int64_t{plan.W} + 15) & ~int64_t{15}) * plan.H;
    if (plan.DW != plan.W || plan.DH != plan.H) {
        const int64_t widest = std::max(plan.W, plan.DW);
        a.context += 4 * (o.interpolation == QV_INTERP_NEAR_LINEAR ? 8 * widest + 32 : 4 * widest + 16);
    }
    a.frames = FrameAllocationBytes(*plan.src, plan.W, plan.H, Padding::kSource) +
               FrameAllocationBytes(*plan.dst, plan.outW, plan.outH, Padding::kTight) + source.PictureBytes();
    return a;
}

std::string GiB(int64_t bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f GiB", static_cast<double>(bytes) / (int64_t{1} << 30));
    return text;
}

// Create, then the properties: colour adjustment (Set, and Get to learn whether the route uses it)
// and the colour key.
ConvertResult SetUpContext(const Options& o, Plan& plan, Context& context, ConvertReport& report) {
    QvCreateParams params = {};
    params.structSize = sizeof params;
    params.operation = QV_OPERATION(plan.src->code, plan.dst->code);
    params.rotation = o.rotation;
    params.interpolation = o.interpolation;
    params.srcWidth = plan.W;
    params.srcHeight = plan.H;
    params.dstWidth = plan.DW;
    params.dstHeight = plan.DH;
    params.alpha = o.alpha;
    // A key whose top byte is set never matches, so without --colour-key no pixel is keyed.
    params.colourValue = o.colourKey.value_or(0xFF000000u);

    const QvResult created = context.Create(params, &report.libraryPrinted);
    if (created != QV_S_OK) {
        std::string message = "the library cannot do " + plan.route + plan.settings + ": Create returned " +
                              ResultName(created);
        if (!report.libraryPrinted.empty()) message += " (it printed \"" + report.libraryPrinted + "\")";
        if (!OperationOf(plan.src->code, plan.dst->code).exists)
            message += "; " + std::string(plan.src->name) + " converts to " + DestinationsOf(*plan.src);
        return Failure(message);
    }
    if (!report.libraryPrinted.empty()) report.notes.push_back("the library printed: " + report.libraryPrinted);
    if (o.brightness || o.contrast || o.saturation) {
        const int32_t b = o.brightness.value_or(128), c = o.contrast.value_or(128), s = o.saturation.value_or(128);
        if (const QvResult r = context.SetColourAdjust(b, c, s); r != QV_S_OK)
            return Failure("setting the colour adjustment failed: Set returned " + ResultName(r));
        int32_t values[3] = {0, 0, 0};
        if (const QvResult r = context.GetColourAdjust(values); r != QV_S_OK)
            return Failure("colour adjustment does not apply to " + plan.route + ": Get returned " + ResultName(r));
        plan.settings += ", brightness " + std::to_string(b) + " contrast " + std::to_string(c) + " saturation " +
                         std::to_string(s);
    }
    if (o.colourKey) {
        if (const QvResult r = context.SetColourValue(*o.colourKey); r != QV_S_OK)
            return Failure("setting the colour key failed: Set returned " + ResultName(r));
        char key[32];
        std::snprintf(key, sizeof key, ", key 0x%06X", *o.colourKey);
        plan.settings += key;
    }
    return {};
}

std::string WriteY4mStreamHeader(const Options& o, const Plan& plan, const FrameSource& source, FILE* file) {
    Y4mHeader header = source.stream;
    header.width = plan.outW;
    header.height = plan.outH;
    header.format = plan.dst;
    if (o.deinterlace != 0) header.interlace = 'p';
    if (plan.outW != plan.DW) {  // a quarter turn turns the pixel aspect too
        const size_t colon = header.aspect.find(':');
        header.aspect = header.aspect.substr(colon + 1) + ":" + header.aspect.substr(0, colon);
    }
    return std::fputs(FormatY4mHeader(header).c_str(), file) == EOF ? "write failed" : "";
}

// The frame loop: read, convert, write, one frame at a time.
ConvertResult RunFrames(const Options& o, const Plan& plan, FrameSource& source, Context& context,
                        bool showProgress, ConvertReport& report) {
    Frame in, out;
    // Room for the larger of the input's picture and the library's; the frame reads the input's.
    AllocateFrame(in, *plan.src, std::max(plan.W, plan.inW), std::max(plan.H, plan.inH), Padding::kSource);
    in.width = plan.inW;
    in.height = plan.inH;
    const bool extend = plan.W > plan.inW || plan.H > plan.inH;
    AllocateFrame(out, *plan.dst, plan.outW, plan.outH, Padding::kTight);

    OutputFile file;
    if (!plan.pngSequence) {
        if (std::string error = file.Open(o.output, o.force); !error.empty()) return Failure(error);
    }
    if (plan.container == "y4m" && !WriteY4mStreamHeader(o, plan, source, file.stream()).empty())
        return Failure(file.WriteError());

    ProgressBar progress(showProgress && isatty(STDERR_FILENO) != 0 && source.frameCount != 1, source.frameCount);
    const Clock::time_point start = Clock::now();
    bool allBlank = true;
    RgbaImage picture;
    for (;;) {
        bool got = false;
        if (std::string error = source.Read(in, &got); !error.empty()) return Failure(error);
        if (!got) break;
        if (extend) ExtendEdges(in, plan.W, plan.H);
        const Clock::time_point before = Clock::now();
        const QvResult r = context.Process(in, out, o.deinterlace);
        report.librarySeconds += std::chrono::duration<double>(Clock::now() - before).count();
        if (r != QV_S_OK)
            return Failure("frame " + std::to_string(report.frames + 1) + " of " + plan.route + plan.settings +
                           ": ProcessFrame returned " + ResultName(r));
        allBlank = allBlank && IsBlack(out);
        ++report.frames;
        if (plan.container == "png") {
            DecodeFrame(out, picture);
            OutputFile numbered;
            if (plan.pngSequence) {
                if (std::string error = numbered.Open(NumberedName(o.output, report.frames), o.force); !error.empty())
                    return Failure(error);
            }
            OutputFile& target = plan.pngSequence ? numbered : file;
            if (std::string error = WritePng(target.stream(), picture, ShowsAlpha(*plan.dst)); !error.empty())
                return Failure(target.path() + ": " + error);
            if (plan.pngSequence) {
                if (std::string error = numbered.Commit(); !error.empty()) return Failure(error);
            }
        } else {
            const bool written = plan.container == "y4m" ? WriteY4mFrame(file.stream(), out)
                                                         : WriteRawFrame(file.stream(), out);
            if (!written) return Failure(file.WriteError());
        }
        progress.Update(report.frames);
    }
    progress.Finish();
    if (report.frames == 0) return Failure(source.description + " holds no frames");
    if (!plan.pngSequence) {
        if (std::string error = file.Commit(); !error.empty()) return Failure(error);
    }
    report.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    report.outputBlank = allBlank;
    return {};
}

}  // namespace

ConvertResult Convert(const Options& o, const Library& library, bool showProgress, ConvertReport& report) {
    report = ConvertReport{};
    if (o.output.empty()) return Usage("no output given (qv-convert [options] [INPUT] OUTPUT; see --help)");
    Plan plan;
    int64_t frameLimit = -1;
    if (ConvertResult r = PlanOutput(o, plan, frameLimit); r.code != ExitCode::kOk) return r;

    SourceRequest request;
    request.input = o.input.empty() ? "pattern" : o.input;
    request.format = o.from.empty() ? nullptr : FindFormat(o.from);
    request.width = o.size.width;
    request.height = o.size.height;
    request.frames = frameLimit;
    std::unique_ptr<FrameSource> source;
    if (std::string error = OpenSource(request, source); !error.empty()) return Failure(error);
    if (ConvertResult r = PlanRoute(o, *source, plan); r.code != ExitCode::kOk) return r;
    // Memory follows the input: nothing large is allocated before the first frame is known to be whole.
    bool any = false;
    if (std::string error = source->ReadAhead(&any); !error.empty()) return Failure(error);
    if (!any) return Failure(source->description + " holds no frames");
    if (const Allocation a = Planned(o, plan, *source); a.total() > (int64_t{1} << 30) && !o.quiet)
        std::fprintf(stderr, "qv-convert: allocating %s for %s %s (library work planes %s, frames and pictures %s)\n",
                     GiB(a.total()).c_str(), SizeText(plan.W, plan.H).c_str(), plan.route.c_str(),
                     GiB(a.context).c_str(), GiB(a.frames).c_str());

    Context context(library.functions());
    if (ConvertResult r = SetUpContext(o, plan, context, report); r.code != ExitCode::kOk) return r;
    report.notes.insert(report.notes.begin(), plan.notes.begin(), plan.notes.end());
    if (!source->layoutNote.empty()) report.notes.insert(report.notes.begin(), source->layoutNote);
    if ((plan.dst->code == QV_FORMAT_YUY2 || plan.dst->code == QV_FORMAT_UYVY) && plan.W % 8 != 0)
        report.notes.push_back(plan.route + " writes whole groups of 8 pixels: the last " +
                               std::to_string(plan.W % 8) + " columns of each row stay black");
    if (o.deinterlace == 0 && (source->stream.interlace == 't' || source->stream.interlace == 'b') &&
        plan.src->family == Family::kPlanarYuv)
        report.notes.push_back("the input is interlaced; --deinterlace MODE makes it progressive");
    report.width = plan.outW;
    report.height = plan.outH;
    report.summary = SizeText(plan.W, plan.H) + " " + plan.src->name + " -> " + SizeText(plan.outW, plan.outH) +
                     " " + plan.dst->name + plan.settings;
    return RunFrames(o, plan, *source, context, showProgress, report);
}

std::string FormatsListing() {
    std::string text = "pixel formats (name, layout, what the library converts it to):\n";
    for (const FormatInfo& f : AllFormats()) {
        std::string name = std::string("  ") + f.name;
        name.resize(10, ' ');
        text += name + f.description + "\n";
        bool source = false;
        for (const FormatInfo& to : AllFormats()) source = source || OperationOf(f.code, to.code).exists;
        if (source) text += "          -> " + DestinationsOf(f) + "\n";
    }
    return text;
}

}  // namespace qvc
