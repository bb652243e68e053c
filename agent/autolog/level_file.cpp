#include "level_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <ctime>
#include <memory>
#include <new>

namespace autolog {
namespace {

constexpr std::size_t kMostRead = std::size_t{64} << 10;

std::string_view Trim(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// False when the path would be cut.
bool FindPath(char (&path)[PATH_MAX]) {
    constexpr std::string_view kTail = "/../config/log/agent/kxepinfo/agent/log.ini";
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    const std::string_view link(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    // Without the link the root stands for the directory, here with the slash that kTail brings.
    const std::size_t slash = link.rfind('/');
    const std::size_t directory = slash == std::string_view::npos ? 0 : slash;
    if (link.size() == sizeof path || directory + kTail.size() >= sizeof path) {
        return false;
    }
    path[directory + kTail.copy(path + directory, kTail.size())] = '\0';
    return true;
}

// A named pipe in the file's place must not hold up the process, so nothing waits here.
int ReadLevel(const char* path) {
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) {
        return kDefaultLevel;
    }
    int level = kDefaultLevel;
    struct stat status = {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
        static_cast<std::uint64_t>(status.st_size) <= kMostRead) {
        // Not on the stack: threads that log may have a small one.
        const std::unique_ptr<char[]> text(new (std::nothrow) char[kMostRead]);
        const ssize_t length = text == nullptr ? -1 : read(file, text.get(), kMostRead);
        if (length > 0) {
            level = LevelIn({text.get(), static_cast<std::size_t>(length)});
        }
    }
    (void)close(file);  // only read from
    return level;
}

// Two changes within one tick of the file system's clock look the same, so a file is trusted to be
// unchanged only when its last change lies a while back.
bool IsRecent(const timespec& change) {
    timespec now = {};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    const time_t age = now.tv_sec - change.tv_sec;
    return age > -2 && age < 2;
}

}  // namespace

int LevelIn(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    int level = kDefaultLevel;
    bool in_section = false;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = Trim(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const std::size_t equals = line.find('=');
        const std::size_t bracket = line.find(']');
        if (line.starts_with('[')) {
            // A bracket that is never closed begins no section.
            in_section = bracket == std::string_view::npos
                             ? in_section
                             : Trim(line.substr(1, bracket - 1)) == "log";
        } else if (in_section && equals != std::string_view::npos &&
                   Trim(line.substr(0, equals)) == "level") {
            const std::string_view value = Trim(line.substr(equals + 1));
            const int digit = value.size() == 1 ? value[0] - '0' : 0;
            level = digit >= kLowestLevel && digit <= kHighestLevel ? digit : kDefaultLevel;
        }
    }
    return level;
}

int LevelFile::Look() {
    char path[PATH_MAX];
    struct stat now = {};
    if (!FindPath(path) || stat(path, &now) != 0) {
        known_ = false;
        level_ = kDefaultLevel;
    } else if (!known_ || !IsSame(now)) {
        known_ = !IsRecent(now.st_ctim);
        last_ = now;
        level_ = ReadLevel(path);
    }
    return level_;
}

bool LevelFile::IsSame(const struct stat& now) const {
    return now.st_dev == last_.st_dev && now.st_ino == last_.st_ino &&
           now.st_size == last_.st_size && now.st_ctim.tv_sec == last_.st_ctim.tv_sec &&
           now.st_ctim.tv_nsec == last_.st_ctim.tv_nsec;
}

}  // namespace autolog
