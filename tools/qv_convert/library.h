// Loading libqv_imageproc.so as any host does (dlopen, GetDllInterface) and driving one context.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "formats.h"
#include "qv_imageproc.h"

namespace qvc {

class Library {
public:
    Library() = default;
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library();

    // Loads `explicitPath`, or when it is empty the first of: beside this program (or one directory
    // up, as in a build tree), the installed library directory relative to it, and
    // libqv_imageproc.so.1 through the loader's path.
    std::string Load(const std::string& explicitPath);
    const QvImageProcFunctions* functions() const { return functions_; }
    const std::string& path() const { return path_; }

private:
    void* handle_ = nullptr;
    const QvImageProcFunctions* functions_ = nullptr;
    std::string path_;
};

// "E_NOTIMPL" for QV_E_NOTIMPL and so on; unknown codes as hexadecimal.
std::string ResultName(QvResult result);

// Runs `body` with standard output going to a temporary file and returns what it printed, lines
// joined with "; ". The library prints its diagnostics on standard output; this keeps them off a
// data stream and lets the tool quote them in its own message.
std::string CaptureStdout(const std::function<void()>& body);

// One processing context.
class Context {
public:
    explicit Context(const QvImageProcFunctions* functions) : fn_(functions) {}
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context();

    // Creates the context; `printed` receives what the library printed meanwhile.
    QvResult Create(const QvCreateParams& params, std::string* printed);
    QvResult Process(const Frame& source, Frame& destination, uint32_t deinterlaceMode);
    QvResult SetColourAdjust(int32_t brightness, int32_t contrast, int32_t saturation);
    QvResult GetColourAdjust(int32_t values[3]);
    QvResult SetColourValue(uint32_t value);

private:
    const QvImageProcFunctions* fn_;
    QvHandle handle_ = nullptr;
};

}  // namespace qvc
