// net_config.ini as another part of the agent writes it.
#ifndef KXEPINFO_TESTS_SUPPORT_NET_CONFIG_H
#define KXEPINFO_TESTS_SUPPORT_NET_CONFIG_H

#include <cstdlib>
#include <string>

#include "ini_file.h"
#include "kxe_glock.h"

namespace kxtest {

// Held by whoever writes the file.
inline constexpr char kNetConfigLock[] = "Global\\{C9580F9C-A601-4300-879D-F54133492687}";

// Adds one to the key "number" of a section, absent being 0, while it holds the lock. Two that do
// so and lose nothing of each other leave the sum. False when any step of it failed.
inline bool AddOne(kxe_glock* lock, const char* path, const char* section) {
    constexpr unsigned kLongMs = 120000;  // a guard against hanging
    if (kxe_glock_acquire_timeout(lock, kLongMs) != 0) {
        return false;
    }
    ini_file* const ini = ini_file_load(path);
    const char* const number = ini == nullptr ? nullptr : ini_file_get(ini, section, "number");
    const std::string next = std::to_string(number == nullptr ? 1 : std::atol(number) + 1);
    const bool saved = ini != nullptr && ini_file_set(ini, section, "number", next.c_str()) == 0 &&
                       ini_file_save(ini, path, 0) == 0;
    ini_file_free(ini);
    kxe_glock_release(lock);
    return saved;
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_NET_CONFIG_H
