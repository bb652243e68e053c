// The two programs that the system facts come from, for comparison.
#ifndef KXEPINFO_BENCH_SUPPORT_COMMANDS_H
#define KXEPINFO_BENCH_SUPPORT_COMMANDS_H

#include <string>

namespace kxbench {

// Starts both with popen, one after the other, reads what they print and waits for their ends.
// `programs` is the bin directory of an installation. False when one fails or prints nothing.
bool RunSystemCommands(const std::string& programs);

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_COMMANDS_H
