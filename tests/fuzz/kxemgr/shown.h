// What must hold of everything that is made of bytes from outside to be shown.
#ifndef KXEPINFO_TESTS_FUZZ_KXEMGR_SHOWN_H
#define KXEPINFO_TESTS_FUZZ_KXEMGR_SHOWN_H

#include <algorithm>
#include <cstdlib>
#include <string>

#include "common/json.h"
#include "common/text.h"

namespace kxtest {

inline void Require(bool fact) {
    if (!fact) {
        std::abort();
    }
}

// Disturbs no terminal.
inline void RequireHarmless(std::string block) {
    block.erase(std::remove(block.begin(), block.end(), '\n'), block.end());
    Require(kxapp::Printable(block) == block);
}

// Is one line of JSON.
inline void RequireJson(const std::string& line) {
    json_error_t error;
    Require(kxapp::Json(json_loadb(line.data(), line.size(), JSON_ALLOW_NUL, &error)) != nullptr);
    Require(std::count(line.begin(), line.end(), '\n') == 1 && line.back() == '\n');
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_FUZZ_KXEMGR_SHOWN_H
