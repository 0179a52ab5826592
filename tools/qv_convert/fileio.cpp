#include "fileio.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <vector>

namespace qvc {
namespace {

FILE* gDataStdout = nullptr;              // standard output's data stream after UseStdoutForData
volatile sig_atomic_t gHaveTemp = 0;      // the interrupt handler removes gTempPath when set
char gTempPath[4096];

void OnInterrupt(int signal) {
    if (gHaveTemp) unlink(gTempPath);
    ::signal(signal, SIG_DFL);
    raise(signal);
}

std::string Reason() { return std::strerror(errno); }

constexpr size_t kBufferBytes = size_t{1} << 20;

}  // namespace

std::string ExtensionOf(const std::string& name) {
    const size_t dot = name.rfind('.');
    const size_t slash = name.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
    std::string ext = name.substr(dot + 1);
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

void UseStdoutForData() {
    if (gDataStdout != nullptr) return;
    std::fflush(stdout);
    const int data = dup(STDOUT_FILENO);
    if (data < 0) return;
    gDataStdout = fdopen(data, "wb");
    if (gDataStdout == nullptr) {
        close(data);
        return;
    }
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

void InstallInterruptCleanup() {
    for (int s : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) ::signal(s, OnInterrupt);
}

InputStream::~InputStream() {
    if (owned_ && file_ != nullptr) std::fclose(file_);
}

std::string InputStream::Open(const std::string& path) {
    name_ = path == "-" ? "standard input" : path;
    if (path == "-") {
        file_ = stdin;
    } else {
        file_ = std::fopen(path.c_str(), "rb");
        if (file_ == nullptr) return "cannot read " + path + ": " + Reason();
        owned_ = true;
    }
    // Frames are read a plane at a time; a large buffer keeps the row-by-row reads few too.
    std::setvbuf(file_, nullptr, _IOFBF, kBufferBytes);
    struct stat st;
    if (fstat(fileno(file_), &st) == 0) {
        if (S_ISDIR(st.st_mode)) return "cannot read " + path + ": it is a directory";
        if (S_ISREG(st.st_mode)) size_ = static_cast<int64_t>(st.st_size);
    }
    return {};
}

std::string InputStream::Peek(size_t count) {
    while (peeked_.size() < count) {
        char buffer[64];
        const size_t n = std::fread(buffer, 1, std::min(sizeof buffer, count - peeked_.size()), file_);
        if (n == 0) break;
        peeked_.append(buffer, n);
    }
    return peeked_.substr(0, count);
}

size_t InputStream::Read(void* data, size_t count) {
    auto* out = static_cast<char*>(data);
    size_t done = std::min(count, peeked_.size());
    std::memcpy(out, peeked_.data(), done);
    peeked_.erase(0, done);
    while (done < count) {
        const size_t n = std::fread(out + done, 1, count - done, file_);
        if (n == 0) break;
        done += n;
    }
    return done;
}

std::string OutputFile::Open(const std::string& path, bool force) {
    std::string error = OpenStream(path, force);
    if (error.empty() && file_ != nullptr) std::setvbuf(file_, nullptr, _IOFBF, kBufferBytes);
    return error;
}

std::string OutputFile::OpenStream(const std::string& path, bool force) {
    path_ = path;
    if (path == "-") {
        UseStdoutForData();
        file_ = gDataStdout != nullptr ? gDataStdout : stdout;
        toStdout_ = true;
        return {};
    }
    // A symbolic link is written through: its target gets the new file, the link stays.
    std::string target = path;
    struct stat st;
    for (int links = 0; lstat(target.c_str(), &st) == 0 && S_ISLNK(st.st_mode); ++links) {
        std::vector<char> to(4096);
        const ssize_t n = readlink(target.c_str(), to.data(), to.size() - 1);
        if (n < 0 || links == 40) return "cannot write " + path + ": " + (n < 0 ? Reason() : "too many links");
        std::string next(to.data(), static_cast<size_t>(n));
        const size_t slash = target.rfind('/');
        if (next[0] != '/' && slash != std::string::npos) next = target.substr(0, slash + 1) + next;
        target = next;
    }
    const bool exists = stat(target.c_str(), &st) == 0;
    if (exists && S_ISDIR(st.st_mode)) return "cannot write " + path + ": it is a directory";
    if (exists && !S_ISREG(st.st_mode)) {
        // A device or a pipe (/dev/null, a FIFO) is written in place: renaming over it would replace it.
        file_ = std::fopen(target.c_str(), "wb");
        if (file_ == nullptr) return "cannot write " + path + ": " + Reason();
        direct_ = true;
        return {};
    }
    // No write permission, or none for anyone (root may write anything).
    if (exists && ((st.st_mode & 0222) == 0 || access(target.c_str(), W_OK) != 0) && !force)
        return "cannot write " + path + ": the file is read-only (--force replaces it)";
    finalPath_ = target;
    const size_t slash = target.rfind('/');
    const std::string dir = slash == std::string::npos ? "" : target.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
    tempPath_ = dir + "." + base + ".partial-XXXXXX";
    if (tempPath_.size() >= sizeof gTempPath) return "cannot write " + path + ": the name is too long";
    std::vector<char> name(tempPath_.begin(), tempPath_.end());
    name.push_back('\0');
    const int fd = mkstemp(name.data());
    if (fd < 0) {
        tempPath_.clear();
        return "cannot write " + path + ": " + Reason();
    }
    tempPath_ = name.data();
    std::memcpy(gTempPath, tempPath_.c_str(), tempPath_.size() + 1);
    gHaveTemp = 1;
    // mkstemp makes the file private; the finished file gets the replaced file's permissions, or
    // the usual ones.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd, exists ? st.st_mode & 07777 : 0666 & ~mask);
    file_ = fdopen(fd, "wb");
    if (file_ == nullptr) {
        close(fd);
        Abort();
        return "cannot write " + path + ": " + Reason();
    }
    return {};
}

std::string OutputFile::WriteError() const {
    const std::string reason = errno != 0 ? Reason() : "write failed";
    return "cannot write " + (toStdout_ ? std::string("standard output") : path_) + ": " + reason;
}

std::string OutputFile::Commit() {
    if (file_ == nullptr) return "cannot write " + path_ + ": not open";
    errno = 0;
    if (toStdout_) {
        const bool ok = std::fflush(file_) == 0;
        file_ = nullptr;
        return ok ? std::string() : WriteError();
    }
    if (direct_) {
        const bool ok = std::fflush(file_) == 0 && std::ferror(file_) == 0;
        const bool closed = std::fclose(file_) == 0;
        file_ = nullptr;
        return ok && closed ? std::string() : WriteError();
    }
    const bool flushed = std::fflush(file_) == 0 && std::ferror(file_) == 0;
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    if (!flushed || !closed) {
        const std::string error = WriteError();
        Abort();
        return error;
    }
    if (std::rename(tempPath_.c_str(), finalPath_.c_str()) != 0) {
        const std::string error = "cannot write " + path_ + ": " + Reason();
        Abort();
        return error;
    }
    gHaveTemp = 0;
    tempPath_.clear();
    return {};
}

void OutputFile::Abort() {
    if (direct_) {
        if (file_ != nullptr) std::fclose(file_);
        file_ = nullptr;
        return;
    }
    if (toStdout_) {
        if (file_ != nullptr) std::fflush(file_);
        file_ = nullptr;
        return;
    }
    if (file_ != nullptr) {
        std::fclose(file_);
        file_ = nullptr;
    }
    if (!tempPath_.empty()) {
        gHaveTemp = 0;
        unlink(tempPath_.c_str());
        tempPath_.clear();
    }
}

}  // namespace qvc
