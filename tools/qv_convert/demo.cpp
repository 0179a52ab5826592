#include "demo.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <algorithm>
#include <vector>

#include "fileio.h"

namespace qvc {
namespace {

struct Item {
    const char* title;
    std::string arguments;  // qv-convert arguments before the output name
};

struct Section {
    const char* heading;
    const char* note;
    std::vector<Item> items;
};

const char* const kBase = "--size 320x240";

std::vector<Section> Gallery() {
    const std::string base = kBase;
    std::vector<Section> sections;

    Section formats{"Output formats", "The 320x240 4:2:0 test pattern converted to each output format, shown as decoded.", {}};
    for (const char* to : {"i420", "nv12", "yuy2", "uyvy", "rgb565", "rgb24", "argb"})
        formats.items.push_back({to, base + " --to " + to});
    formats.items.push_back({"argb, alpha 128", base + " --to argb --alpha 128"});
    formats.items.push_back({"rgb555", base + " --to rgb555"});
    formats.items.push_back({"rgb555, black keyed out", base + " --to rgb555 --colour-key 16,128,128"});
    sections.push_back(formats);

    Section sources{"Other sources", "The pattern made in another format first, then converted by the library.", {}};
    const char* routes[][2] = {{"i422", "rgb565"}, {"i444", "rgb565"}, {"i444", "rgb24"},  {"i444", "argb"},
                               {"rgb565", "i420"}, {"rgb565", "rgb565"}, {"rgb565", "argb"}, {"rgb24", "rgb565"},
                               {"rgb24", "rgb24"}, {"argb", "i420"},   {"abgr", "i420"},   {"nv12", "i420"}};
    for (const auto& r : routes)
        sources.items.push_back({nullptr, base + " --from " + r[0] + " --to " + r[1]});
    sections.push_back(sources);

    Section rotation{"Rotation and mirroring", "90 is a clockwise quarter turn, 270 counter-clockwise.", {}};
    for (const char* to : {"rgb565", "i420"})
        for (const char* r : {"90", "270", "180", "mirror", "flip"})
            rotation.items.push_back({nullptr, base + " --to " + to + " --rotate " + r});
    rotation.items.push_back({nullptr, base + " --from rgb565 --to rgb565 --rotate 90"});
    rotation.items.push_back({nullptr, base + " --from argb --to i420 --rotate 90"});
    rotation.items.push_back({nullptr, base + " --to rgb24 --rotate 270"});
    rotation.items.push_back({nullptr, base + " --to argb --rotate 180"});
    sections.push_back(rotation);

    Section scaling{"Scaling", "Up, down and mixed scaling; 'fixed' lets the library take its fast fixed-ratio paths.", {}};
    const char* scales[][3] = {
        {"640x480", "bilinear", "rgb565"}, {"640x480", "nearest", "rgb565"},  {"640x480", "near-linear", "rgb565"},
        {"640x480", "fixed", "rgb565"},    {"800x480", "fixed", "rgb565"},    {"480x240", "fixed", "rgb565"},
        {"480x272", "fixed", "rgb565"},    {"160x120", "bilinear", "rgb565"}, {"480x180", "bilinear", "rgb565"},
        {"640x480", "bilinear", "rgb24"},  {"160x120", "bilinear", "rgb24"},  {"640x480", "bilinear", "argb"},
        {"800x480", "fixed", "argb"},      {"480x240", "fixed", "argb"},      {"160x120", "bilinear", "argb"},
        {"640x480", "bilinear", "i420"},   {"200x120", "bilinear", "i420"},
    };
    for (const auto& s : scales)
        scaling.items.push_back({nullptr, base + " --to " + s[2] + " --scale " + s[0] + " --interp " + s[1]});
    scaling.items.push_back({nullptr, base + " --to rgb565 --scale 480x360 --rotate 90"});
    scaling.items.push_back({nullptr, base + " --to i420 --scale 160x120 --rotate 270"});
    scaling.items.push_back({nullptr, base + " --from i444 --to rgb24 --scale 480x360"});
    scaling.items.push_back({nullptr, base + " --from rgb565 --to rgb565 --scale 160x120"});
    sections.push_back(scaling);

    Section colour{"Colour adjustment",
                   "Brightness, contrast and saturation (128 is neutral), each shown for 4:2:0 output and then for "
                   "RGB output. 4:2:0 output is adjusted through curves on Y, Cb and Cr, RGB output in the conversion "
                   "tables: the same values give visibly different pictures. This is the library's defined behaviour.",
                   {}};
    for (const char* a : {"--brightness 180", "--brightness 80", "--contrast 200", "--contrast 60", "--saturation 0",
                          "--saturation 230"})
        for (const char* to : {"i420", "rgb24"}) colour.items.push_back({nullptr, base + " --to " + to + " " + a});
    colour.items.push_back({nullptr, base + " --to rgb565 --scale 480x360 --saturation 200"});
    sections.push_back(colour);

    Section deinterlace{"Deinterlacing",
                        "The interlaced pattern: its odd lines show the ball half a frame later, and its chroma rows "
                        "alternate between the fields as the luma rows do. Each mode rebuilds a progressive picture "
                        "(4:2:0 copy route).",
                        {}};
    deinterlace.items.push_back({"interlaced input", base + " --to i420 pattern:interlaced"});
    for (const char* mode : {"fast", "discard", "bob", "blend", "mean", "linear", "x"})
        deinterlace.items.push_back({nullptr, base + " --to i420 --deinterlace " + mode + " pattern:interlaced"});
    deinterlace.items.push_back({nullptr, base + " --to rgb24 --deinterlace x pattern:interlaced"});
    sections.push_back(deinterlace);
    return sections;
}

std::vector<std::string> Split(const std::string& text) {
    std::vector<std::string> words;
    size_t pos = 0;
    while (pos < text.size()) {
        const size_t end = std::min(text.find(' ', pos), text.size());
        if (end > pos) words.push_back(text.substr(pos, end - pos));
        pos = end + 1;
    }
    return words;
}

std::string Html(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '&': out += "&amp;"; break;
            case '"': out += "&quot;"; break;
            default: out += c;
        }
    }
    return out;
}

std::string ReadWhole(const std::string& path) {
    std::string bytes;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        char buffer[65536];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, f)) > 0;) bytes.append(buffer, n);
        std::fclose(f);
    }
    return bytes;
}

bool MakeDirectories(const std::string& path) {
    std::string partial;
    for (size_t i = 0; i <= path.size(); ++i) {
        if (i == path.size() || path[i] == '/') {
            if (!partial.empty() && mkdir(partial.c_str(), 0777) != 0 && errno != EEXIST) return false;
        }
        if (i < path.size()) partial += path[i];
    }
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

const char* kStyle =
    "body{font-family:sans-serif;margin:24px;background:#f4f4f4;color:#222}"
    "h2{margin-top:32px;border-bottom:1px solid #ccc}"
    ".grid{display:grid;grid-template-columns:repeat(auto-fill,336px);grid-auto-flow:dense;gap:16px;align-items:start}"
    "figure{margin:0;background:#fff;padding:8px;border-radius:6px;box-shadow:0 1px 3px #0003}"
    "figure img{display:block;max-width:100%;background:repeating-conic-gradient(#ddd 0 25%,#fff 0 50%) 0 0/16px 16px}"
    "figcaption{font-size:13px;margin-top:6px;overflow-wrap:anywhere}code{font-size:12px;color:#333}"
    "hr{border:0;border-top:1px dashed #ccc}"
    ".blank{color:#b60}.failed{color:#b00}";

}  // namespace

ConvertResult RunDemo(const std::string& directory, const Library& library, DemoSummary& summary) {
    summary = DemoSummary{};
    if (!MakeDirectories(directory))
        return {ExitCode::kFailed, "cannot make the gallery directory " + directory + ": " + std::strerror(errno)};
    std::string html = "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>qv-imageproc gallery</title><style>";
    html += kStyle;
    html += "</style></head><body>\n<h1>qv-imageproc gallery</h1>\n<p>Every picture was made by <code>qv-convert</code> "
            "through <code>" + Html(library.path()) + "</code>; the caption gives the command.</p>\n";

    int number = 0;
    for (const Section& section : Gallery()) {
        // A picture byte-identical to an earlier one of the section is shown once, under both captions.
        struct Figure {
            std::string picture, bytes;  // file name and contents ("" when the conversion failed)
            int32_t width = 0;
            std::string captions;
        };
        std::vector<Figure> figures;
        for (const Item& item : section.items) {
            char name[32];
            std::snprintf(name, sizeof name, "%03d.png", ++number);
            std::vector<std::string> words = Split(item.arguments);
            words.push_back(directory + "/" + name);
            std::vector<std::string_view> views(words.begin(), words.end());
            Options options;
            std::string error = ParseArguments(views, options);
            ConvertReport report;
            if (error.empty()) {
                options.quiet = true;
                error = Convert(options, library, false, report).message;
            }
            std::string caption = "<b>" + Html(item.title != nullptr ? item.title : report.summary) + "</b>";
            if (item.title != nullptr && !report.summary.empty()) caption += "<br>" + Html(report.summary);
            caption += "<br><code>" + Html("qv-convert " + item.arguments + " " + name) + "</code>";
            if (!error.empty()) {
                ++summary.failed;
                figures.push_back({"", "", 0, caption + "<br><span class=\"failed\">" + Html(error) + "</span>"});
                continue;
            }
            if (report.outputBlank) {
                ++summary.blank;
                caption += "<br><span class=\"blank\">the library left this output untouched (route not written yet)</span>";
            }
            std::string bytes = ReadWhole(directory + "/" + name);
            auto same = std::find_if(figures.begin(), figures.end(), [&](const Figure& f) { return f.bytes == bytes; });
            if (!bytes.empty() && same != figures.end()) {
                same->captions += "<hr><i>the same bytes:</i><br>" + caption;
                std::remove((directory + "/" + name).c_str());
                continue;
            }
            ++summary.pictures;
            figures.push_back({name, std::move(bytes), report.width, caption});
        }
        html += "<h2>" + Html(section.heading) + "</h2>\n<p>" + Html(section.note) + "</p>\n<div class=\"grid\">\n";
        for (const Figure& f : figures) {
            // Columns of 336 pixels; a wider picture spans as many as it needs.
            const int32_t span = std::min<int32_t>(3, (f.width + 16 + 16 + 351) / 352);
            html += span > 1 ? "<figure style=\"grid-column:span " + std::to_string(span) + "\">" : "<figure>";
            if (!f.picture.empty()) html += "<img src=\"" + f.picture + "\" alt=\"\">";
            html += "<figcaption>" + f.captions + "</figcaption></figure>\n";
        }
        html += "</div>\n";
    }
    html += "</body></html>\n";

    summary.index = directory + "/index.html";
    OutputFile index;
    if (std::string error = index.Open(summary.index); !error.empty()) return {ExitCode::kFailed, error};
    if (std::fputs(html.c_str(), index.stream()) == EOF) return {ExitCode::kFailed, index.WriteError()};
    if (std::string error = index.Commit(); !error.empty()) return {ExitCode::kFailed, error};
    return {};
}

}  // namespace qvc
