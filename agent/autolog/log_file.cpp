#include "log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <new>

namespace autolog {
namespace {

constexpr mode_t kDirectoryMode = 0750;
constexpr mode_t kFileMode = 0640;

class Descriptor {
  public:
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() {
        if (value_ >= 0) {
            (void)close(value_);  // at most a newline was written, unbuffered
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return value_; }

  private:
    int value_;
};

// 0, or the first reason why the directory is not there.
int MakeDirectories(const std::string& directory) {
    int reason = 0;
    std::size_t end = 0;
    do {
        end = directory.find('/', end + 1);
        const std::string part = directory.substr(0, end);
        if (mkdir(part.c_str(), kDirectoryMode) != 0 && errno != EEXIST && reason == 0) {
            reason = errno;
        }
    } while (end != std::string::npos);
    struct stat status = {};
    if (stat(directory.c_str(), &status) == 0) {
        return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
    }
    return reason != 0 ? reason : ENOENT;
}

// Ends a line that a full disk or a killed process left unfinished.
int EndLastLine(int file, off_t size) {
    char last = '\n';
    if (size > 0 && pread(file, &last, 1, size - 1) == 1 && last != '\n' &&
        write(file, "\n", 1) != 1) {
        return errno;
    }
    return 0;
}

// Makes the file and sees that it can be written to, before spdlog opens it: spdlog would make the
// directory, wait through several attempts, and tell less about a failure.
int Prepare(const std::string& path) {
    const Descriptor file(open(
        path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, kFileMode));
    struct stat status = {};
    if (file.Get() < 0 || fstat(file.Get(), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return EINVAL;
    }
    return EndLastLine(file.Get(), status.st_size);
}

}  // namespace

LogFile::LogFile(std::string directory, int files)
    : directory_(std::move(directory)), path_(directory_ + "/" + kLogName), files_(files) {}

bool LogFile::IsFor(const std::string& directory, int files) const {
    return directory_ == directory && files_ == files;
}

int LogFile::Start() {
    if (IsOpen() && IsInPlace()) {
        return 0;
    }
    sink_.reset();
    const int error = MakeDirectories(directory_);
    return error != 0 ? error : Open();
}

void LogFile::Recover() {
    if (!IsOpen() || !IsInPlace()) {
        sink_.reset();
        (void)Open();  // tried again at the next call
    }
}

void LogFile::Write(const spdlog::details::log_msg& message) {
    try {
        sink_->log(message);
        sink_->flush();
    } catch (const std::exception&) {
        sink_.reset();
    }
}

int LogFile::Open() {
    if (const int error = Prepare(path_); error != 0) {
        return error;
    }
    try {
        spdlog::file_event_handlers handlers;
        handlers.after_open = [this](const std::string&, std::FILE* stream) { Opened(stream); };
        const auto rotated = static_cast<std::size_t>(files_ - 1);
        sink_ = std::make_unique<spdlog::sinks::rotating_file_sink_st>(path_, kMostFileBytes,
                                                                       rotated, false, handlers);
        sink_->set_pattern(kPattern);
    } catch (const std::bad_alloc&) {
        sink_.reset();
        return ENOMEM;
    } catch (const std::exception&) {  // the file was there a moment ago
        sink_.reset();
        return EIO;
    }
    return 0;
}

void LogFile::Opened(std::FILE* stream) {
    struct stat status = {};
    if (fstat(fileno(stream), &status) == 0) {
        device_ = status.st_dev;
        inode_ = status.st_ino;
    }
    // Files that rotation makes get the mode that spdlog gives them. A file system without modes
    // refuses, and that is no reason not to write.
    (void)fchmod(fileno(stream), kFileMode);
}

bool LogFile::IsInPlace() const {
    struct stat status = {};
    return stat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}

}  // namespace autolog
