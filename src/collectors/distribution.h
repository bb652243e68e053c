// The distribution's name and version, from the installation's script resmon_export.sh.
#ifndef KXEPINFO_COLLECTORS_DISTRIBUTION_H
#define KXEPINFO_COLLECTORS_DISTRIBUTION_H

#include <cstddef>

// Runs the script and writes the line it prints, without its newline, to `text` of `size` bytes.
// Returns 0, or -1, told in the log: with an empty text when the command failed (see RunCommand),
// and when the command was too long, which runs all the same. A script that is missing prints
// nothing, which is a success with an empty text.
int ReadDistribution(char* text, std::size_t size);

inline constexpr std::size_t kDistributionCommandSize = 4160;  // bytes

// Writes the shell command that runs the script of `directory` to `command`, cut to fit. The
// directory stands in it without quotes, so one with blanks does not work. Returns 0, or -1, told
// in the log, for a directory of more than 4114 characters; path expansion gives at most 4095.
int BuildDistributionCommand(const char* directory, char (&command)[kDistributionCommandSize]);

#endif  // KXEPINFO_COLLECTORS_DISTRIBUTION_H
