// The clocks that the log library reads, and how often it looks at its level file.
#ifndef KXEPINFO_TESTS_FAKE_SYSTEM_H
#define KXEPINFO_TESTS_FAKE_SYSTEM_H

#include <chrono>

// Moves all clocks of this process forward.
void PassTime(std::chrono::milliseconds time);

// How often a file named log.ini was asked for its status, and opened, so far.
int StatusLooks();
int Openings();

#endif  // KXEPINFO_TESTS_FAKE_SYSTEM_H
