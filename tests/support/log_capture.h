// What the code under test logs, instead of the agent's log library.
#ifndef KXEPINFO_TESTS_SUPPORT_LOG_CAPTURE_H
#define KXEPINFO_TESTS_SUPPORT_LOG_CAPTURE_H

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

namespace kxtest {

struct LogLine {
    int level;
    std::string tag;
    std::string text;  // formatted, as handed over: a trailing newline is still there
    bool operator==(const LogLine&) const = default;
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

// Every line logged since the last ClearLog, oldest first. Lines may come from any thread.
std::vector<LogLine> LoggedLines();

// The same without level 4, which tells details that most tests do not care for.
std::vector<LogLine> LoggedLinesUpTo(int level);

void ClearLog();

// Levels up to this one are enabled; 4 unless set. 0 disables all.
void EnableLogLevels(int highest);

// How often error_output was called, enabled or not: shows that disabled levels format nothing.
int LogCalls();

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_LOG_CAPTURE_H
