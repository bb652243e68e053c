#include "loaded_log.h"

#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

ErrorStreamCapture::ErrorStreamCapture()
    : before_(dup(STDERR_FILENO)), memory_(memfd_create("standard error", MFD_CLOEXEC)) {
    EXPECT_GE(dup2(memory_, STDERR_FILENO), 0);
}

ErrorStreamCapture::~ErrorStreamCapture() {
    EXPECT_GE(dup2(before_, STDERR_FILENO), 0);
    close(before_);
    close(memory_);
}

std::string ErrorStreamCapture::Text() const {
    std::string text(static_cast<std::size_t>(lseek(memory_, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(memory_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

void LogTest::SetUp() {
    InstallationTest::SetUp();
    Load();
}

void LogTest::TearDown() {
    Unload();
}

void LogTest::Load() {
    library_ = dlopen(AUTOLOG_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr) << dlerror();
    init = reinterpret_cast<decltype(init)>(dlsym(library_, "autolog_init"));
    check = reinterpret_cast<decltype(check)>(dlsym(library_, "error_output_check"));
    output = reinterpret_cast<decltype(output)>(dlsym(library_, "error_output"));
    ASSERT_TRUE(init != nullptr && check != nullptr && output != nullptr);
}

void LogTest::Unload() {
    if (library_ != nullptr) {
        EXPECT_EQ(dlclose(library_), 0);
        library_ = nullptr;
        EXPECT_EQ(dlopen(AUTOLOG_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still there";
    }
}

fs::path LogTest::Directory() {
    return kxtest::InstallationRoot() / "var/log/agent/kxepinfo";
}

fs::path LogTest::File(const char* name) {
    return Directory() / name;
}

void LogTest::SetLevel(const std::string& value) {
    kxtest::WriteFile("config/log/agent/kxepinfo/agent/log.ini", "[log]\nlevel=" + value + "\n");
}

std::vector<std::string> LogTest::Texts(const std::string& content) {
    std::vector<std::string> texts;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);) {
        std::size_t begin = 0;
        for (int field = 0; field < 4; ++field) {
            begin = line.find(' ', begin) + 1;
        }
        texts.push_back(line.substr(begin));
    }
    return texts;
}

bool LogTest::WaitUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}
