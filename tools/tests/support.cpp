#include "support.h"

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

extern char** environ;

namespace qvtest {
namespace {

void RemoveTree(const std::string& path) {
    if (DIR* dir = opendir(path.c_str())) {
        while (dirent* e = readdir(dir)) {
            const std::string name = e->d_name;
            if (name == "." || name == "..") continue;
            const std::string child = path + "/" + name;
            struct stat st;
            if (lstat(child.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) RemoveTree(child);
            else unlink(child.c_str());
        }
        closedir(dir);
    }
    rmdir(path.c_str());
}

}  // namespace

std::vector<std::string> RunResult::errLines() const {
    std::vector<std::string> lines;
    std::istringstream in(err);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

RunResult RunTool(const std::vector<std::string>& args, const std::string& input, bool passLibrary) {
    TempDir io;
    WriteFile(io.file("in"), input);
    std::vector<std::string> argv = {QV_CONVERT_PATH};
    if (passLibrary) {
        argv.push_back("--library");
        argv.push_back(QV_LIBRARY_PATH);
    }
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> raw;
    for (std::string& a : argv) raw.push_back(a.data());
    raw.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, io.file("in").c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, io.file("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, io.file("err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    RunResult result;
    pid_t pid = 0;
    if (posix_spawn(&pid, raw[0], &actions, nullptr, raw.data(), environ) == 0) {
        int status = 0;
        waitpid(pid, &status, 0);
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    posix_spawn_file_actions_destroy(&actions);
    result.out = ReadFile(io.file("out"));
    result.err = ReadFile(io.file("err"));
    return result;
}

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/qv-convert-test-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    if (mkdtemp(name.data()) != nullptr) path_ = name.data();
}

TempDir::~TempDir() {
    if (!path_.empty()) RemoveTree(path_);
}

std::vector<std::string> TempDir::entries() const {
    std::vector<std::string> names;
    if (DIR* dir = opendir(path_.c_str())) {
        while (dirent* e = readdir(dir)) {
            const std::string name = e->d_name;
            if (name != "." && name != "..") names.push_back(name);
        }
        closedir(dir);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream data;
    data << in.rdbuf();
    return data.str();
}

void WriteFile(const std::string& path, const std::string& data) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(data.data(), static_cast<std::streamsize>(data.size()));
}

bool FileExists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

}  // namespace qvtest
