// What the machine is and who logged in, as a test lays it down: in front of the collectors of
// agent facts and logins and of their comparisons (by the linker's --wrap). Each call is noted in
// the journal.
#ifndef KXEPINFO_TESTS_UNIT_MODULE_FIXED_COLLECTORS_H
#define KXEPINFO_TESTS_UNIT_MODULE_FIXED_COLLECTORS_H

#include <functional>

#include "common/records.h"

struct FixedCollectors {
    // Fill the record and give the collector's result: "collect agent", "collect login".
    std::function<int(_stAgentInfo&)> agent = [](_stAgentInfo&) { return 0; };
    std::function<int(_stUsrLogInfo&)> login = [](_stUsrLogInfo&) { return 0; };
    // Of the previous and the current record: "compare agent", "compare login".
    std::function<bool(_stAgentInfo&, _stAgentInfo&)> agent_changed =
        [](_stAgentInfo&, _stAgentInfo&) { return false; };
    std::function<bool(const _stUsrLogInfo&, const _stUsrLogInfo&)> login_changed =
        [](const _stUsrLogInfo&, const _stUsrLogInfo&) { return false; };
};

// Unless a test says otherwise nothing fails and nothing ever changes.
FixedCollectors& Collectors();

// Back to that, and to the module's state right after it was loaded.
void ResetCollectors();

#endif  // KXEPINFO_TESTS_UNIT_MODULE_FIXED_COLLECTORS_H
