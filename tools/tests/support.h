// Helpers for the qv-convert tests: running the program, temporary directories, files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qvtest {

struct RunResult {
    int exitCode = -1;
    std::string out;  // standard output
    std::string err;  // standard error
    // Lines of standard error.
    std::vector<std::string> errLines() const;
};

// Runs qv-convert with `args`, feeding `input` on standard input. The library under test is named with
// --library unless `passLibrary` is false.
RunResult RunTool(const std::vector<std::string>& args, const std::string& input = {}, bool passLibrary = true);

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    // Names in the directory, sorted, without . and ..
    std::vector<std::string> entries() const;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& data);
bool FileExists(const std::string& path);

}  // namespace qvtest
