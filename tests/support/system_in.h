// What an upload tells about the machine, apart from what tells about the upload.
#ifndef KXEPINFO_TESTS_SUPPORT_SYSTEM_IN_H
#define KXEPINFO_TESTS_SUPPORT_SYSTEM_IN_H

#include <cstdlib>
#include <memory>
#include <string>

#include "e2e.h"

namespace kxtest {

// The members of a part of an upload that are sent again when they change; the manager's address
// and the order for a new id wait for the next regular upload. Empty when there is no such part.
inline std::string WhatIsSentAgain(const json_t* part) {
    const Json copy(json_deep_copy(part));
    (void)json_object_del(copy.get(), "mgr_addr");
    (void)json_object_del(copy.get(), "recal_timestamp");
    const std::unique_ptr<char, decltype(&std::free)> text(
        json_dumps(copy.get(), JSON_SORT_KEYS | JSON_INDENT(1)), std::free);
    return text == nullptr ? "" : text.get();
}

// Empty for an upload that tells nothing of it.
inline std::string SystemIn(const json_t* upload) {
    const json_t* const system = Member(upload, "epinfo.sys_info");
    std::string all;
    for (const char* part : {"base_info", "nw_info.if_info", "agent_info"}) {
        all += WhatIsSentAgain(Member(system, part));
    }
    return system == nullptr ? "" : all;
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_SYSTEM_IN_H
