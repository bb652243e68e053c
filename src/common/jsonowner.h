// Owns a reference to a JSON value.
#ifndef KXEPINFO_COMMON_JSONOWNER_H
#define KXEPINFO_COMMON_JSONOWNER_H

#include <jansson.h>

#include <memory>

struct ReleaseJson {
    void operator()(json_t* value) const { json_decref(value); }
};
using JsonOwner = std::unique_ptr<json_t, ReleaseJson>;

#endif  // KXEPINFO_COMMON_JSONOWNER_H
