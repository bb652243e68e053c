#include "kxectl/process.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "common/number.h"

namespace kxectl {

namespace {

std::string Content(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Folder(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

}  // namespace

std::optional<std::uint64_t> StartTicks(std::string_view stat) {
    constexpr int kFieldsBehindName = 20;  // the 22nd of all, of which two are the id and the name
    const std::size_t name_end = stat.rfind(") ");
    if (name_end == std::string_view::npos) {
        return std::nullopt;
    }
    std::istringstream fields{std::string(stat.substr(name_end + 2))};
    std::string field;
    for (int i = 0; i < kFieldsBehindName; ++i) {
        fields >> field;
    }
    return fields ? kxapp::ReadNumber(field) : std::nullopt;
}

std::optional<std::uint64_t> BootTime(std::string_view stat) {
    constexpr std::string_view kKey = "\nbtime ";
    const std::size_t key = stat.find(kKey);
    if (key == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view rest = stat.substr(key + kKey.size());
    return kxapp::ReadNumber(rest.substr(0, rest.find('\n')));
}

std::optional<std::time_t> StartTime(pid_t pid) {
    const auto ticks = StartTicks(Content(Folder(pid) + "/stat"));
    const auto boot = BootTime(Content("/proc/stat"));
    const long ticks_a_second = sysconf(_SC_CLK_TCK);
    if (!ticks || !boot || ticks_a_second <= 0) {
        return std::nullopt;
    }
    return static_cast<std::time_t>(*boot + *ticks / static_cast<std::uint64_t>(ticks_a_second));
}

std::string ProgramOf(pid_t pid) {
    std::error_code unknown;
    return std::filesystem::read_symlink(Folder(pid) + "/exe", unknown).string();
}

std::string ReplacedFile(std::string_view maps, const std::filesystem::path& root) {
    constexpr std::string_view kGone = " (deleted)";  // the kernel's word behind the path
    const std::string folder = root.string() + "/";
    std::istringstream lines{std::string(maps)};
    for (std::string line; std::getline(lines, line);) {
        const std::size_t path = line.find('/');  // no field before it holds one
        if (path != std::string::npos && line.compare(path, folder.size(), folder) == 0 &&
            line.ends_with(kGone)) {
            return line.substr(path, line.size() - path - kGone.size());
        }
    }
    return {};
}

std::string ReplacedFileOf(pid_t pid, const std::filesystem::path& root) {
    return ReplacedFile(Content(Folder(pid) + "/maps"), root);
}

std::string UtcText(std::time_t time) {
    std::tm parts{};
    char text[64];
    if (gmtime_r(&time, &parts) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts) == 0) {
        return "?";
    }
    return text;
}

}  // namespace kxectl
