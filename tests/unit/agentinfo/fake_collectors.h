// The collectors and comparisons that the aggregate stands on, as a test lays them down.
#ifndef KXEPINFO_TESTS_UNIT_AGENTINFO_FAKE_COLLECTORS_H
#define KXEPINFO_TESTS_UNIT_AGENTINFO_FAKE_COLLECTORS_H

#include <set>
#include <string>
#include <vector>

#include "common/records.h"

struct FakeCollectors {
    std::vector<_stAdapterInfo> adapters;
    int net_result = 0;
    _stExtInfo ext_info;
    int ext_result = 0;
    _stSysInfo sys_info;
    int sys_result = 0;

    bool net_changed = false;
    bool ext_changed = false;
    bool sys_changed = false;
    std::set<std::string> added;  // what RecordIpv4Addresses hands back

    // What the comparisons were given.
    struct Compared {
        const void* previous = nullptr;
        const void* current = nullptr;
        bool operator==(const Compared&) const = default;
    };
    Compared net_compared;
    Compared ext_compared;
    Compared sys_compared;

    // Names of the functions called, in order; the report with its addresses.
    std::vector<std::string> calls;
};

FakeCollectors& Fake();

#endif  // KXEPINFO_TESTS_UNIT_AGENTINFO_FAKE_COLLECTORS_H
