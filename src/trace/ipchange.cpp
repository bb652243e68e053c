#include "trace/ipchange.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "common/jsonowner.h"
#include "common/log.h"
#include "trace/kxebpapi.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";
constexpr int kNewAddresses = 601;

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};
using JsonText = std::unique_ptr<char, FreeText>;

// The field is zero before; at least its last byte remains so.
template <std::size_t size>
void Fill(char (&field)[size], std::string_view text) {
    std::copy_n(text.data(), std::min(text.size(), size - 1), field);
}

BpEventHeader HeaderOf(const KxebpApi& api) {
    BpEventHeader header = {};
    Fill(header.module, "kxepinfo");
    Fill(header.event, "NewIPBPTrace");
    Fill(header.product, "EDR");
    Fill(header.version, api.version);
    Fill(header.host_id, api.host_id);
    return header;
}

// The event's body as JSON; null when there is no memory for it.
JsonText BodyOf(const std::set<std::string>& addresses) {
    const JsonOwner body(json_object());
    JsonOwner list(json_array());
    if (body == nullptr || list == nullptr) {
        return nullptr;
    }
    (void)json_object_set_new(body.get(), "type", json_integer(kNewAddresses));
    for (const std::string& address : addresses) {
        (void)json_array_append_new(list.get(), json_string(address.c_str()));
        EP_LOG(kLogDebug, "trace ip %s", address.c_str());
    }
    (void)json_object_set_new(body.get(), "ip", list.release());
    return JsonText(json_dumps(body.get(), 0));
}

}  // namespace

void ReportIpChangeTrace(const std::set<std::string>& addresses) {
    const JsonText text = BodyOf(addresses);
    if (text == nullptr) {
        return;
    }
    EP_LOG(kLogInformation, "bp ip change :%s", text.get());
    const KxebpApi* const api = KxebpApi::get();
    if (api != nullptr && api->kxe_bp_trace_utf8 != nullptr) {
        const BpEventHeader header = HeaderOf(*api);
        (void)api->kxe_bp_trace_utf8(&header, "%s", text.get());
    }
}
