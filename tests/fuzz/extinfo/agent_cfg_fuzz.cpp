// The input is the content of agent_cfg.json.
#include <cstdlib>
#include <memory>

#include "collectors/versions.h"
#include "common/jsonowner.h"
#include "record_fields.h"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

_stExtInfo Defaults() {
    _stExtInfo versions;
    SetDefaultVersions("/opt/kx/edr/agent/config/agent_cfg.json", versions);
    return versions;
}

// The document written and parsed again.
JsonOwner Again(const json_t* document) {
    const std::unique_ptr<char, decltype(&std::free)> text(
        json_dumps(document, JSON_ENCODE_ANY | JSON_COMPACT), &std::free);
    Require(text != nullptr);
    return JsonOwner(json_loads(text.get(), JSON_DECODE_ANY, nullptr));
}

void CheckIsPlausible(const _stExtInfo& versions, bool filled) {
    if (!filled) {
        Require(kxtest::Fields(versions) == kxtest::Fields(Defaults()));
    }
    Require(versions.agent_version.find('\0') == std::string::npos);
    Require((versions.reserved_ext1 + versions.reserved_ext2 + versions.reserved_ext3).empty());
    Require(versions.mgr_addr.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    json_error_t error = {};
    const JsonOwner document(
        json_loadb(reinterpret_cast<const char*>(data), size, JSON_DECODE_ANY, &error));
    if (document == nullptr) {
        return 0;
    }
    _stExtInfo versions = Defaults();
    const bool filled = FillVersions(document.get(), versions);
    CheckIsPlausible(versions, filled);

    _stExtInfo again = Defaults();
    Require(FillVersions(Again(document.get()).get(), again) == filled);
    Require(kxtest::Fields(again) == kxtest::Fields(versions));
    return 0;
}
