#include "kxectl/last_upload.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace kxectl {

namespace {

constexpr off_t kMostRead = off_t{1} << 20;

// Takes the text up to the next blank away from the front of `rest`.
std::string_view TakeWord(std::string_view& rest) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(word.size() + 1, rest.size()));
    return word;
}

// A line is "DATE TIME LEVEL PROCESS/THREAD TAG:LINE MESSAGE". What others say stands in messages,
// so only a message's own beginning counts.
std::optional<LastUpload> ReadLine(std::string_view line) {
    const std::string_view date = TakeWord(line);
    const std::string_view time = TakeWord(line);
    for (int word = 0; word < 3; ++word) {
        (void)TakeWord(line);
    }
    const std::string when = std::string(date) + " " + std::string(time);
    if (!line.starts_with("send msg ")) {
        return std::nullopt;
    }
    if (line.starts_with("send msg <type: ") && line.ends_with("> to mgr success")) {
        return LastUpload{when, true, ""};
    }
    if (line.find("to mgr failed with error") != std::string_view::npos) {
        return LastUpload{when, false, std::string(line)};
    }
    return std::nullopt;
}

std::string ReadEnd(const std::filesystem::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0) {
        return {};
    }
    std::string text;
    struct stat status {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
        const off_t length = std::min(status.st_size, kMostRead);
        text.resize(static_cast<std::size_t>(length));
        const ssize_t got = pread(file, text.data(), text.size(), status.st_size - length);
        text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    }
    (void)close(file);  // only read from
    return text;
}

}  // namespace

std::optional<LastUpload> FindLastUpload(std::string_view log) {
    while (!log.empty()) {
        if (log.back() == '\n') {
            log.remove_suffix(1);
        }
        const std::size_t newline = log.rfind('\n');
        const std::size_t start = newline == std::string_view::npos ? 0 : newline + 1;
        if (auto found = ReadLine(log.substr(start))) {
            return found;
        }
        log = log.substr(0, start);
    }
    return std::nullopt;
}

std::filesystem::path LogFile(const std::filesystem::path& root) {
    return root / "var/log/agent/kxepinfo/kxepinfo.log";
}

std::optional<LastUpload> ReadLastUpload(const std::filesystem::path& root) {
    return FindLastUpload(ReadEnd(LogFile(root)));
}

}  // namespace kxectl
