// The dump for automated tests on a live endpoint: while "@/kxepinfo_flag.txt" exists, every cycle
// that reaches its send leaves one line of text in "@/autotest_kxepinfo.proto". Nothing reads that
// file in production; it grows until the flag file is taken away.
#ifndef KXEPINFO_MODULE_AUTOTEST_H
#define KXEPINFO_MODULE_AUTOTEST_H

#include <ctime>
#include <string>

#include "common/records.h"

// Encodes each record on its own and logs which of them cannot be (the bytes are thrown away), then
// appends the line. A file that cannot be opened gets none, and nothing is logged. Always 0. Runs
// on the worker's thread and keeps no handle.
int DoAutoTest(_stResmon& resmon, _stAgentInfo& agent, _stUsrLogInfo& usr);

// The line with its end: time, then usage in percent with two decimals and memory in kB.
std::string AutoTestLine(const std::tm& local_time, const _stResmon& resmon);

#endif  // KXEPINFO_MODULE_AUTOTEST_H
