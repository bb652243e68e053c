#include "autolog.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>

#include "error_stream.h"
#include "level_file.h"
#include "line.h"
#include "log_file.h"

namespace {

constexpr int kMostFiles = 1000;
constexpr std::int64_t kLookPeriodMs = 1000;
constexpr int kInformation = 3;  // the last level that is worth standard error

struct Log {
    Log() { error_stream.set_pattern(autolog::kPattern); }
    std::optional<autolog::LogFile> file;  // there once autolog_init was called; open or not
    autolog::ErrorStream error_stream;
};

// Nothing here needs a destructor: at exit other threads may still log while the library's static
// objects go. The log itself is given up in CloseLog.
static_assert(std::is_trivially_destructible_v<std::mutex>);
constinit std::mutex mutex;  // guards level_file and log
constinit autolog::LevelFile level_file;
constinit Log* log = nullptr;
constinit std::atomic<int> enabled_level{autolog::kDefaultLevel};
constinit std::atomic<std::int64_t> next_look_ms{0};

// At unload and at exit. Unload comes when nobody logs any more; at exit a thread may be in the
// middle of a line, and the file is then left to the kernel. Lines that come later begin anew.
__attribute__((destructor)) void CloseLog() {
    const std::unique_lock lock(mutex, std::try_to_lock);
    if (lock.owns_lock()) {
        delete log;
        log = nullptr;
    }
}

class ErrnoKept {
  public:
    ErrnoKept() : value_(errno) {}
    ~ErrnoKept() { errno = value_; }
    ErrnoKept(const ErrnoKept&) = delete;
    ErrnoKept& operator=(const ErrnoKept&) = delete;

  private:
    int value_;
};

// Call with the mutex held.
Log& TheLog() {
    if (log == nullptr) {
        log = new Log;
    }
    return *log;
}

std::int64_t NowMs() {
    timespec now = {};
    (void)clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

// At most once a period, by whoever logs then: the level file, and whether the log file is still in
// its place.
void LookAround() {
    const std::int64_t now = NowMs();
    std::int64_t due = next_look_ms.load(std::memory_order_relaxed);
    if (now < due || !next_look_ms.compare_exchange_strong(due, now + kLookPeriodMs)) {
        return;
    }
    const std::lock_guard lock(mutex);
    enabled_level = level_file.Look();
    if (log != nullptr && log->file) {
        log->file->Recover();
    }
}

bool IsEnabled(int level) {
    return level >= autolog::kLowestLevel && level <= enabled_level.load(std::memory_order_relaxed);
}

spdlog::level::level_enum Translate(int level) {
    switch (level) {
        case 1:
            return spdlog::level::critical;
        case 2:
            return spdlog::level::err;
        case 3:
            return spdlog::level::info;
        default:
            return spdlog::level::debug;
    }
}

void Emit(int level, const std::string& text) {
    const std::lock_guard lock(mutex);
    Log& to = TheLog();
    const spdlog::details::log_msg message({}, Translate(level), text);
    if (to.file && to.file->IsOpen()) {
        to.file->Write(message);
    } else if (level <= kInformation) {
        to.error_stream.log(message);
    }
}

// "TAG:LINE MESSAGE"
std::string Compose(const char* tag, int line, const char* fmt, va_list arguments) {
    char text[autolog::kMostText + 1];
    int length = std::snprintf(text, sizeof text, "%s:%d ", tag == nullptr ? "?" : tag, line);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof text && fmt != nullptr) {
        const std::size_t used = static_cast<std::size_t>(length);
        const int more = std::vsnprintf(text + used, sizeof text - used, fmt, arguments);
        // A text that cannot be formed is worth a line with its format.
        length += more >= 0 ? more : std::snprintf(text + used, sizeof text - used, "%s", fmt);
    }
    const bool cut = length < 0 || static_cast<std::size_t>(length) >= sizeof text;
    return autolog::OneLine(text, cut);
}

int Initialise(const std::string& directory, int files) {
    const std::lock_guard lock(mutex);
    std::optional<autolog::LogFile>& file = TheLog().file;
    if (!file || !file->IsFor(directory, files)) {
        file.emplace(directory, files);
    }
    next_look_ms = 0;
    return file->Start();
}

}  // namespace

int autolog_init(const char* dir, int files) {
    if (dir == nullptr || dir[0] == '\0' || files < 1 || files > kMostFiles) {
        return EINVAL;
    }
    try {
        // The process may change its working directory later.
        return Initialise(std::filesystem::absolute(dir).string(), files);
    } catch (const std::filesystem::filesystem_error& no_working_directory) {
        return no_working_directory.code().value();
    } catch (...) {  // nothing else is thrown but std::bad_alloc
        return ENOMEM;
    }
}

int error_output_check(int level) {
    const ErrnoKept errno_kept;
    LookAround();
    return IsEnabled(level) ? 1 : 0;
}

void error_output(int level, const char* tag, int line, const char* fmt, ...) {
    const ErrnoKept errno_kept;
    va_list arguments;
    va_start(arguments, fmt);
    try {
        LookAround();
        if (IsEnabled(level)) {
            Emit(level, Compose(tag, line, fmt, arguments));
        }
    } catch (...) {
        // No memory for the line: it is lost, and the caller goes on.
    }
    va_end(arguments);
}
