// Texts in the form in which tests compare them.
#ifndef KXEPINFO_TESTS_SUPPORT_TEXT_H
#define KXEPINFO_TESTS_SUPPORT_TEXT_H

#include <sstream>
#include <string>

namespace kxtest {

// For an INI file: where empty lines stand in it is the INI library's business.
inline std::string WithoutEmptyLines(const std::string& text) {
    std::string lines;
    std::istringstream all(text);
    for (std::string line; std::getline(all, line);) {
        lines += line.empty() ? "" : line + "\n";
    }
    return lines;
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_TEXT_H
