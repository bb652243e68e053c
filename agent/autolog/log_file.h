// The log file of one directory, with its rotation.
#ifndef AUTOLOG_LOG_FILE_H
#define AUTOLOG_LOG_FILE_H

#include <spdlog/sinks/rotating_file_sink.h>
#include <sys/types.h>

#include <memory>
#include <string>

namespace autolog {

inline constexpr char kLogName[] = "kxepinfo.log";
inline constexpr std::size_t kMostFileBytes = std::size_t{10} << 20;

// What stands before the text of each line, in spdlog's notation.
inline constexpr char kPattern[] = "%Y-%m-%d %H:%M:%S.%e%z %L %P/%t %v";

// DIRECTORY/kxepinfo.log and, as it grew full, kxepinfo.1.log (the youngest) and so on. May be open
// or not; a failed write closes it. Errors come back as errno values. Not for two threads at once.
class LogFile {
  public:
    // Nothing is touched yet. `files` counts the one that is written to as well; at least 1.
    LogFile(std::string directory, int files);
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    bool IsFor(const std::string& directory, int files) const;
    bool IsOpen() const { return sink_ != nullptr; }

    // Makes the directory with its parents (0750) and opens the file, each unless it is there. 0,
    // or why the file is not open.
    int Start();

    // Opens the file in a directory that is there, when it is not open, or when the name stands for
    // another file by now or for none: someone removed or moved it. The directory is not made
    // again; where an installation was removed nothing of it must come back.
    void Recover();

    // Writes one line. When that fails the line is lost and the file is closed.
    void Write(const spdlog::details::log_msg& message);

  private:
    int Open();
    // What the open file is, seen at each opening and so after each rotation as well.
    void Opened(std::FILE* stream);
    bool IsInPlace() const;

    const std::string directory_;
    const std::string path_;
    const int files_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    std::unique_ptr<spdlog::sinks::rotating_file_sink_st> sink_;
};

}  // namespace autolog

#endif  // AUTOLOG_LOG_FILE_H
