// Makes the module believe that the host's executable lies somewhere else.
#ifndef KXEPINFO_TESTS_UNIT_EXTINFO_INSTALLED_AT_H
#define KXEPINFO_TESTS_UNIT_EXTINFO_INSTALLED_AT_H

#include <functional>
#include <string>

// Runs `function` on a thread for which "@" paths begin with `directory`.
void RunInstalledAt(const std::string& directory, const std::function<void()>& function);

#endif  // KXEPINFO_TESTS_UNIT_EXTINFO_INSTALLED_AT_H
