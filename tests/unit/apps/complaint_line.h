// What the programs' complaints look like on standard error.
#ifndef KX_TESTS_APPS_COMPLAINT_LINE_H
#define KX_TESTS_APPS_COMPLAINT_LINE_H

#include <cerrno>
#include <string>

// The whole line of the complaint `text` of this program.
inline std::string Line(const std::string& text) {
    return std::string(program_invocation_short_name) + ": " + text + "\n";
}

#endif  // KX_TESTS_APPS_COMPLAINT_LINE_H
