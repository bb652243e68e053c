// The command line of kxemgr.
#ifndef KX_APPS_KXEMGR_ARGUMENTS_H
#define KX_APPS_KXEMGR_ARGUMENTS_H

#include <cstdint>
#include <optional>
#include <string>

#include "common/fault.h"
#include "kxemgr/answer.h"
#include "kxemgr/console/console.h"
#include "kxemgr/manager.h"

namespace kxemgr {

struct Arguments {
    Options options;
    kxapp::FaultPlan faults{FaultKinds()};
    std::string database;         // file name; empty: none
    std::uint64_t keep_days = 0;  // 0: for ever
    console::Settings console;    // no console where `listen` is empty
};

// As kxapp::ReadCommandLine.
std::optional<int> ReadArguments(const char* version, int argc, char** argv, Arguments& arguments);

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_ARGUMENTS_H
