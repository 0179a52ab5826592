// Files in and out: an input stream that can peek at its first bytes, and an output file written
// under a temporary name and renamed into place only when complete.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace qvc {

class InputStream {
public:
    InputStream() = default;
    InputStream(const InputStream&) = delete;
    InputStream& operator=(const InputStream&) = delete;
    ~InputStream();

    std::string Open(const std::string& path);  // "-" is standard input
    // Reads up to `count` bytes; fewer only at the end of the stream or on an error (see error()).
    size_t Read(void* data, size_t count);
    // Looks at the first bytes without consuming them (only before the first Read).
    std::string Peek(size_t count);
    // Bytes in the file when it is a regular file, else -1.
    int64_t Size() const { return size_; }
    bool error() const { return file_ != nullptr && std::ferror(file_) != 0; }
    FILE* file() { return file_; }
    const std::string& name() const { return name_; }

private:
    FILE* file_ = nullptr;
    bool owned_ = false;
    int64_t size_ = -1;
    std::string name_;
    std::string peeked_;
};

class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() { Abort(); }

    // Opens a temporary file beside `path` ("-" writes to standard output, see UseStdoutForData;
    // devices and pipes are written directly).
    // A symbolic link is written through to its target; an existing read-only file is refused
    // unless `force`.
    std::string Open(const std::string& path, bool force = false);
    FILE* stream() { return file_; }
    // Flushes, closes and renames the temporary file to the final name.
    std::string Commit();
    // Removes the temporary file (nothing reaches the final name).
    void Abort();
    // The message for a failed write, with the system's reason.
    std::string WriteError() const;
    const std::string& path() const { return path_; }

private:
    std::string OpenStream(const std::string& path, bool force);

    FILE* file_ = nullptr;
    bool toStdout_ = false;
    bool direct_ = false;  // a device or pipe, written without a temporary file
    std::string path_;
    std::string finalPath_;  // the file renamed into place: path_, or the target of a link
    std::string tempPath_;
};

// Data bound for standard output goes to a duplicate of it, and descriptor 1 is pointed at standard
// error, so that nothing else printed on standard output (the library's diagnostics among it) can
// mix with the data. Called once, before anything is written.
void UseStdoutForData();

// The lower-case extension of a file name ("png" for "a/b.PNG"), "" when there is none.
std::string ExtensionOf(const std::string& name);

// Removes the temporary output file when the process is interrupted.
void InstallInterruptCleanup();

}  // namespace qvc
