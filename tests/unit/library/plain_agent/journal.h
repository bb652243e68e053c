// What the module said to the plain log. Any thread.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_JOURNAL_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_JOURNAL_H

#include <string>
#include <vector>

#pragma GCC visibility push(default)
namespace plain {

// Each line as "LEVEL TAG: TEXT", the text as it was handed over, with a newline at its end or not.
std::vector<std::string> Journal();

void ResetJournal();

}  // namespace plain
#pragma GCC visibility pop

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_JOURNAL_H
