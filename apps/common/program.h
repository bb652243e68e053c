// How programs end.
#ifndef KX_APPS_COMMON_PROGRAM_H
#define KX_APPS_COMMON_PROGRAM_H

namespace kxapp {

// Exit statuses that mean the same in every program.
inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 64;

// Runs a program's main part; an exception, such as memory running out, becomes one line on
// standard error and the exit status `failure`.
int RunProgram(int (*program)(int argc, char** argv), int argc, char** argv,
               int failure = kExitFailure) noexcept;

}  // namespace kxapp

#endif  // KX_APPS_COMMON_PROGRAM_H
