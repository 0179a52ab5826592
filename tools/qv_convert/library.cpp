#include "library.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <vector>

namespace qvc {
namespace {

// The SONAME (libqv_imageproc.so.1): a run-time install has it, not always the development link.
constexpr const char* kLibraryName = QV_LIBRARY_SONAME;

// The directory holding this program, from /proc/self/exe; "" when unknown.
std::string ProgramDirectory() {
    char buffer[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0) return {};
    std::string path(buffer, static_cast<size_t>(n));
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

bool Exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

}  // namespace

Library::~Library() {
    if (handle_ != nullptr) dlclose(handle_);
}

std::string Library::Load(const std::string& explicitPath) {
    std::vector<std::string> candidates;
    if (!explicitPath.empty()) {
        // A bare file name means the file here, not a search of the loader's path.
        candidates.push_back(explicitPath.find('/') == std::string::npos ? "./" + explicitPath : explicitPath);
    } else {
        const std::string dir = ProgramDirectory();
        for (const char* relative : {"/", "/../", "/" QV_BINDIR_TO_LIBDIR "/"}) {
            const std::string candidate = dir + relative + kLibraryName;
            if (!dir.empty() && Exists(candidate)) {
                candidates.push_back(candidate);
                break;
            }
        }
        candidates.push_back(kLibraryName);
    }
    std::string lastError;
    for (const std::string& candidate : candidates) {
        dlerror();
        handle_ = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle_ != nullptr) {
            path_ = candidate;
            break;
        }
        const char* e = dlerror();
        lastError = e != nullptr ? e : "unknown error";
    }
    if (handle_ == nullptr) {
        if (!explicitPath.empty()) return "cannot load the library: " + lastError;
        return "cannot load " + std::string(kLibraryName) + " (looked beside this program and in the loader path; " +
               "give --library PATH): " + lastError;
    }
    QvGetDllInterfaceFn get = nullptr;
    void* symbol = dlsym(handle_, "GetDllInterface");
    static_assert(sizeof symbol == sizeof get);
    std::memcpy(&get, &symbol, sizeof get);
    if (get == nullptr) return path_ + " is not the image library: it has no GetDllInterface";
    const QvResult r = get(&IID_QV_IMAGEPROC_C, &functions_);
    if (r != QV_S_OK || functions_ == nullptr)
        return path_ + ": GetDllInterface refused the interface (" + ResultName(r) + ")";
    return {};
}

std::string ResultName(QvResult result) {
    switch (result) {
        case QV_S_OK: return "S_OK";
        case QV_S_FALSE: return "S_FALSE";
        case QV_E_NOTIMPL: return "E_NOTIMPL";
        case QV_E_NOINTERFACE: return "E_NOINTERFACE";
        case QV_E_POINTER: return "E_POINTER";
        case QV_E_OUTOFMEMORY: return "E_OUTOFMEMORY";
        case QV_E_INVALIDARG: return "E_INVALIDARG";
        default: {
            char text[16];
            std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(result));
            return text;
        }
    }
}

std::string CaptureStdout(const std::function<void()>& body) {
    std::fflush(stdout);
    FILE* capture = std::tmpfile();
    const int saved = capture != nullptr ? dup(STDOUT_FILENO) : -1;
    if (saved < 0 || dup2(fileno(capture), STDOUT_FILENO) < 0) {
        // No way to divert it: let it through rather than lose the call.
        if (saved >= 0) close(saved);
        if (capture != nullptr) std::fclose(capture);
        body();
        return {};
    }
    body();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);

    std::string text;
    std::rewind(capture);
    char buffer[512];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, capture)) > 0) text.append(buffer, n);
    std::fclose(capture);

    std::string joined;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) line.pop_back();
        if (!line.empty()) joined += (joined.empty() ? "" : "; ") + line;
        start = end + 1;
    }
    return joined;
}

Context::~Context() {
    if (handle_ != nullptr) fn_->Destroy(handle_);
}

QvResult Context::Create(const QvCreateParams& params, std::string* printed) {
    QvResult result = QV_E_POINTER;
    const std::string text = CaptureStdout([&] { result = fn_->Create(&handle_, 0, &params); });
    if (printed != nullptr) *printed = text;
    if (result != QV_S_OK) handle_ = nullptr;
    return result;
}

QvResult Context::Process(const Frame& source, Frame& destination, uint32_t deinterlaceMode) {
    const uint8_t* const src[3] = {source.planes[0], source.planes[1], source.planes[2]};
    uint8_t* const dst[3] = {destination.planes[0], destination.planes[1], destination.planes[2]};
    QvFrameOptions options = {0, 0, deinterlaceMode};
    return fn_->ProcessFrame(handle_, src, source.strides, dst, destination.strides, &options);
}

QvResult Context::SetColourAdjust(int32_t brightness, int32_t contrast, int32_t saturation) {
    const int32_t values[3] = {brightness, contrast, saturation};
    return fn_->Set(handle_, QV_PROPERTY_COLOUR_ADJUST, values);
}

QvResult Context::GetColourAdjust(int32_t values[3]) {
    uint32_t size = 0;
    return fn_->Get(handle_, QV_PROPERTY_COLOUR_ADJUST, values, 0, &size);
}

QvResult Context::SetColourValue(uint32_t value) { return fn_->Set(handle_, QV_PROPERTY_COLOUR_VALUE, &value); }

}  // namespace qvc
