// Helpers for the qv-convert tests: running the program, temporary directories, files and pictures.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "media.h"
#include "pattern.h"

extern char** environ;

namespace qvc {
inline std::ostream& operator<<(std::ostream& out, const Rgba& c) {
    return out << "rgba(" << int(c.r) << ", " << int(c.g) << ", " << int(c.b) << ", " << int(c.a) << ")";
}
}  // namespace qvc

namespace qvtest {

class TempDir {
public:
    TempDir() : path_((std::filesystem::temp_directory_path() / "qv-convert-test-XXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr) ADD_FAILURE() << "cannot make " << path_;
    }
    ~TempDir() { std::filesystem::remove_all(path_, ignored_); }
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }
    std::vector<std::string> entries() const {  // names in the directory, sorted
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(path_)) names.push_back(e.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::string path_;
    std::error_code ignored_;
};

inline std::string ReadFile(const std::string& path) {
    std::ostringstream data;
    data << std::ifstream(path, std::ios::binary).rdbuf();
    return data.str();
}
inline void WriteFile(const std::string& path, const std::string& data) {
    std::ofstream(path, std::ios::binary) << data;
}
inline size_t Lines(const std::string& text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

struct RunResult {
    int exitCode = -1;
    std::string out, err;  // standard output and standard error
    long peakKiB = 0;      // the largest resident set the run reached
};

// Runs qv-convert with the space-separated `args`, an "@" in them standing for `dir`'s path, and
// `input` (at most a pipe's 64 KiB) on standard input through a pipe. The library under test is named
// with --library unless `passLibrary` is false.
inline RunResult RunTool(const TempDir& dir, const std::string& args, const std::string& input = {},
                         bool passLibrary = true) {
    std::vector<std::string> argv = {QV_CONVERT_PATH};
    if (passLibrary) argv.insert(argv.end(), {"--library", QV_LIBRARY_PATH});
    std::istringstream words(args);
    for (std::string w; words >> w;) {
        if (const size_t at = w.find('@'); at != std::string::npos) w.replace(at, 1, dir.path());
        argv.push_back(w);
    }
    std::vector<char*> raw;
    for (std::string& a : argv) raw.push_back(a.data());
    raw.push_back(nullptr);
    int in[2] = {-1, -1};
    if (input.size() > 65536 || pipe2(in, O_CLOEXEC) != 0 ||
        write(in[1], input.data(), input.size()) != static_cast<ssize_t>(input.size()))
        ADD_FAILURE() << "cannot feed standard input";
    close(in[1]);
    TempDir io;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_addopen(&actions, 1, io.file("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, io.file("err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    RunResult result;
    pid_t pid = 0;
    if (posix_spawn(&pid, raw[0], &actions, nullptr, raw.data(), environ) == 0) {
        int status = 0;
        struct rusage usage {};
        wait4(pid, &status, 0, &usage);
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        result.peakKiB = usage.ru_maxrss;
    }
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    result.out = ReadFile(io.file("out"));
    result.err = ReadFile(io.file("err"));
    return result;
}

// RunTool for a run that should succeed.
inline RunResult RunOk(const TempDir& dir, const std::string& args, const std::string& input = {}) {
    RunResult run = RunTool(dir, args, input);
    EXPECT_EQ(run.exitCode, 0) << args << ": " << run.err;
    return run;
}

// The tight bytes of a picture, as a raw file holds them.
inline std::string Bytes(const qvc::Frame& frame) {
    std::string out;
    for (int p = 0; p < frame.format->planes; ++p)
        for (int32_t r = 0; r < frame.shape(p).rows; ++r)
            out.append(reinterpret_cast<const char*>(frame.row(p, r)), static_cast<size_t>(frame.shape(p).rowBytes));
    return out;
}

// The tool's test pattern encoded here as its pattern source makes it (kSource: with the room below
// the picture that the library's source frames need).
inline qvc::Frame PatternFrame(const char* format, int32_t w, int32_t h, int64_t index = 0,
                               qvc::Padding padding = qvc::Padding::kTight) {
    qvc::RgbaImage image;
    qvc::DrawPattern(image, w, h, index, false);
    qvc::Frame frame;
    qvc::AllocateFrame(frame, *qvc::FindFormat(format), w, h, padding);
    qvc::EncodeImage(image, frame);
    return frame;
}

// The largest difference of the red, green and blue channels.
inline int Far(const qvc::Rgba& a, const qvc::Rgba& b) {
    return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
}

inline std::string RandomBytes(size_t n, uint32_t seed) {
    std::string s(n, '\0');
    for (char& c : s) c = static_cast<char>((seed = seed * 1664525u + 1013904223u) >> 24);
    return s;
}

inline std::string PngBytes(const qvc::RgbaImage& image) {
    char* data = nullptr;
    size_t size = 0;
    FILE* f = open_memstream(&data, &size);
    EXPECT_EQ(qvc::WritePng(f, image, false), "");
    std::fclose(f);
    std::string bytes(data, size);
    std::free(data);
    return bytes;
}

inline qvc::RgbaImage LoadPng(const std::string& path) {
    qvc::RgbaImage image;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        EXPECT_EQ(qvc::ReadPng(f, path, image), "");
        std::fclose(f);
    }
    return image;
}

}  // namespace qvtest
