#include "shapes.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <random>
#include <utility>

namespace fs = std::filesystem;

namespace kxtest {
namespace {

constexpr std::uintmax_t kHugeSize = std::uintmax_t{1} << 30U;
constexpr std::size_t kRandomSize = 65536;

std::string Content(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Write(const fs::path& file, std::string_view content) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}

// The same in each run.
std::string RandomBytes() {
    std::mt19937 random(4711);
    std::string bytes(kRandomSize, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

void Make(const fs::path& path, Shape shape) {
    switch (shape) {
        case Shape::kDirectory:
            fs::create_directory(path);
            break;
        case Shape::kPipe:
        case Shape::kSilentPipe:
            (void)mkfifo(path.c_str(), 0600);
            break;
        case Shape::kLinkToItself:
            fs::create_symlink(path.filename(), path);
            break;
        case Shape::kLinkToEndless:
            fs::create_symlink("/dev/zero", path);
            break;
        case Shape::kDanglingLink:
            fs::create_symlink("is/nowhere", path);
            break;
        case Shape::kHuge:
            Write(path, "");
            fs::resize_file(path, kHugeSize);
            break;
        case Shape::kRandom:
            Write(path, RandomBytes());
            break;
        case Shape::kEmpty:
        case Shape::kChanging:
            Write(path, "");
            break;
        case Shape::kUnreadable:
            Write(path, "whatever");
            (void)chmod(path.c_str(), 0);
            break;
    }
}

}  // namespace

std::string_view NameOf(Shape shape) {
    constexpr std::string_view kNames[] = {
        "directory",     "pipe", "silent pipe", "link to itself", "link to /dev/zero",
        "dangling link", "huge", "random",      "empty",          "unreadable",
        "changing",
    };
    static_assert(std::size(kNames) == std::size(kAllShapes));
    return kNames[static_cast<std::size_t>(shape)];
}

void RespectModes() {
    (void)prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
    (void)prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
}

bool Place::Take(Shape shape) {
    Restore();
    std::string content;
    if (fs::exists(m_path)) {
        content = Content(m_path);
        fs::rename(m_path, aside());
    }
    m_taken = true;
    Make(m_path, shape);
    if (shape == Shape::kSilentPipe) {
        m_writer = open(m_path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
    } else if (shape == Shape::kChanging) {
        m_changer = std::jthread(
            [this, content](const std::stop_token& stop) { KeepChanging(stop, content); });
    }
    return true;
}

// A library is executed from the file: one that is cut while it is mapped ends any process with
// SIGBUS, whatever its code. It is only removed and replaced, as a package manager does it.
void Place::KeepChanging(const std::stop_token& stop, const std::string& content) const {
    const std::string whole = content.empty() ? RandomBytes() : content;
    const fs::path other = m_path.string() + ".other";
    while (!stop.stop_requested()) {
        std::error_code ignored;
        if (m_path.extension() != ".so") {
            Write(m_path, whole + whole);
            fs::resize_file(m_path, whole.size() / 2, ignored);
        }
        Write(other, whole);
        fs::rename(other, m_path, ignored);
        fs::remove(m_path, ignored);
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
}

void Place::Restore() {
    if (!std::exchange(m_taken, false)) {
        return;
    }
    m_changer = {};
    if (m_writer >= 0) {
        close(std::exchange(m_writer, -1));
    }
    fs::remove_all(m_path);
    if (fs::exists(aside())) {
        fs::rename(aside(), m_path);
    }
}

}  // namespace kxtest
