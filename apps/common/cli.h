// Command lines, with the same manners in all programs.
#ifndef KX_APPS_COMMON_CLI_H
#define KX_APPS_COMMON_CLI_H

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>

#include "common/fault.h"
#include "common/program.h"

namespace kxapp {

// Reads the command line into the options of `app`, --version ("NAME VERSION") added to them.
// Returns nothing when the program is to go on. Otherwise it is to end with the status returned:
// --help and --version have been answered on standard output, or a mistake has been told in one
// line on standard error.
std::optional<int> ReadCommandLine(CLI::App& app, const char* version, int argc, char** argv);

// A check for options: a whole decimal number from `lowest` to `highest`.
CLI::Validator WholeNumber(std::uint64_t lowest, std::uint64_t highest);

// Adds --fault KIND[:COUNT] to the options: each occurrence appends to the plan.
void AddFaultOption(CLI::App& app, FaultPlan& plan, const std::string& occasion);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_CLI_H
