// The /proc files that a test lays down, and the sleep between two samples.
#ifndef KXEPINFO_TESTS_UNIT_AGENTRES_FAKE_PROC_H
#define KXEPINFO_TESTS_UNIT_AGENTRES_FAKE_PROC_H

#include <string>
#include <vector>

struct FakeProc {
    // One text for each time the file is opened; once they are used up it cannot be opened.
    std::vector<std::string> stat;
    std::vector<std::string> meminfo;
    int open_error = 2;               // errno of a file that cannot be opened
    std::vector<std::string> events;  // "open PATH" and "sleep SECONDS", in order
};

FakeProc& Proc();

#endif  // KXEPINFO_TESTS_UNIT_AGENTRES_FAKE_PROC_H
