// qv-convert: converts pictures and streams through libqv_imageproc, loaded as any host loads it.
#include <cstdio>
#include <string_view>
#include <vector>

#include "args.h"
#include "convert.h"
#include "demo.h"
#include "fileio.h"
#include "library.h"

int main(int argc, char** argv) {
    using namespace qvc;
    InstallInterruptCleanup();

    std::vector<std::string_view> args(argv + 1, argv + argc);
    Options options;
    if (const std::string error = ParseArguments(args, options); !error.empty()) {
        std::fprintf(stderr, "qv-convert: %s\n", error.c_str());
        return static_cast<int>(ExitCode::kUsage);
    }
    if (options.help) {
        std::fputs(HelpText().c_str(), stdout);
        return 0;
    }
    if (options.version) {
        std::printf("%s\n", VersionText());
        return 0;
    }
    if (options.listFormats) {
        std::fputs(FormatsListing().c_str(), stdout);
        return 0;
    }
    if (options.demoDir.empty() && options.output.empty()) {
        std::fprintf(stderr, "qv-convert: no output given (qv-convert [options] [INPUT] OUTPUT; see --help)\n");
        return static_cast<int>(ExitCode::kUsage);
    }

    Library library;
    if (const std::string error = library.Load(options.library); !error.empty()) {
        std::fprintf(stderr, "qv-convert: %s\n", error.c_str());
        return static_cast<int>(ExitCode::kFailed);
    }

    if (!options.demoDir.empty()) {
        DemoSummary summary;
        const ConvertResult result = RunDemo(options.demoDir, library, summary);
        if (result.code != ExitCode::kOk) {
            std::fprintf(stderr, "qv-convert: %s\n", result.message.c_str());
            return static_cast<int>(result.code);
        }
        std::printf("gallery: %s (%d pictures", summary.index.c_str(), summary.pictures);
        if (summary.blank > 0) std::printf(", %d left blank by the library", summary.blank);
        if (summary.failed > 0) std::printf(", %d conversions refused", summary.failed);
        std::printf(")\n");
        return 0;
    }

    ConvertReport report;
    const ConvertResult result = Convert(options, library, !options.quiet, report);
    if (result.code != ExitCode::kOk) {
        std::fprintf(stderr, "qv-convert: %s\n", result.message.c_str());
        return static_cast<int>(result.code);
    }
    if (!options.quiet) {
        for (const std::string& note : report.notes) std::fprintf(stderr, "qv-convert: note: %s\n", note.c_str());
        auto rate = [&](double seconds) { return seconds > 0 ? static_cast<double>(report.frames) / seconds : 0.0; };
        std::fprintf(stderr, "qv-convert: %lld frame%s (%s) in %.3f s, %.1f frames/s; the library took %.3f s, %.1f frames/s\n",
                     static_cast<long long>(report.frames), report.frames == 1 ? "" : "s", report.summary.c_str(),
                     report.seconds, rate(report.seconds), report.librarySeconds, rate(report.librarySeconds));
    }
    return 0;
}
