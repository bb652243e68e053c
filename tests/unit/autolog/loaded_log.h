// The log library as a process that loads it sees it, anew for each test.
#ifndef KXEPINFO_TESTS_LOADED_LOG_H
#define KXEPINFO_TESTS_LOADED_LOG_H

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "autolog.h"
#include "installation.h"

// Standard error goes into memory while this lives.
class ErrorStreamCapture {
  public:
    ErrorStreamCapture();
    ~ErrorStreamCapture();
    ErrorStreamCapture(const ErrorStreamCapture&) = delete;
    ErrorStreamCapture& operator=(const ErrorStreamCapture&) = delete;

    // What was written so far.
    std::string Text() const;

  private:
    int before_;
    int memory_;
};

class LogTest : public kxtest::InstallationTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    void Load();
    void Unload();

    static std::filesystem::path Directory();
    static std::filesystem::path File(const char* name = "kxepinfo.log");
    static void SetLevel(const std::string& value);

    // The lines of the file without time, level and ids: "tag:line text".
    static std::vector<std::string> Texts(const std::string& content);
    static std::vector<std::string> LoggedTexts() { return Texts(kxtest::ReadFile(File())); }

    // Calls `done` again and again until it is true; false when that took far too long.
    static bool WaitUntil(const std::function<bool()>& done);

    decltype(&autolog_init) init = nullptr;
    decltype(&error_output_check) check = nullptr;
    decltype(&error_output) output = nullptr;

  private:
    void* library_ = nullptr;
};

#endif  // KXEPINFO_TESTS_LOADED_LOG_H
