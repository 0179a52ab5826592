// One conversion from options to an output file: the part of qv-convert that drives the library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "args.h"
#include "library.h"

namespace qvc {

struct ConvertReport {
    int64_t frames = 0;
    double seconds = 0;          // the whole run: reading, converting, writing
    double librarySeconds = 0;   // inside ProcessFrame
    std::string summary;         // "640x480 i420 -> 320x240 rgb565, rotate 90"
    int32_t width = 0, height = 0;  // the written picture
    bool outputBlank = false;    // every output picture was still the untouched black fill
    std::string libraryPrinted;  // what the library printed while creating the context
    std::vector<std::string> notes;  // things about the output a user should know
};

enum class ExitCode { kOk = 0, kFailed = 1, kUsage = 2 };

struct ConvertResult {
    ExitCode code = ExitCode::kOk;
    std::string message;  // one line when code is not kOk
};

// Runs the conversion the options describe. `showProgress` draws a bar on standard error.
ConvertResult Convert(const Options& options, const Library& library, bool showProgress, ConvertReport& report);

// The --formats listing.
std::string FormatsListing();

}  // namespace qvc
