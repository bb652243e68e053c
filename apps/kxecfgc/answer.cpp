#include "kxecfgc/answer.h"

#include "common/keyvalue.h"
#include "common/misbehave.h"

namespace kxecfgc {

namespace {

constexpr char kSectionName[] = "global";
constexpr unsigned kOtherType = 1005;

constexpr kxapp::FaultKind kFaultKinds[] = {
    kxapp::kSilent,
    kxapp::kSlow,
    kxapp::kClose,
    {"empty", "answers without any data"},
    kxapp::kGarbage,
    {"cut", "answers with the first half of the message"},
    {"type1005", "answers with type 1005 instead of 1004"},
    {"no-count", "leaves the key \"count\" out"},
    {"no-list", "leaves the key \"multi_ip\" out"},
    {"bad-list", "sends text as \"multi_ip\" that is no message"},
    {"missing-ip", "counts one address more than the list has"},
    {"long-value", "adds an address of 64 characters, which the module leaves out"},
    {"zero-count", "says that there are 0 addresses"},
    {"negative-count", "says that there are -1 addresses"},
    {"text-count", "says that there are \"many\" addresses, which reads as 0"},
    {"huge-count", "says that there are 4611686018427387904 addresses"},
};

std::string CountUnder(std::string_view fault, std::size_t count) {
    if (fault == "zero-count") {
        return "0";
    }
    if (fault == "negative-count") {
        return "-1";
    }
    if (fault == "text-count") {
        return "many";
    }
    if (fault == "huge-count") {
        return "4611686018427387904";
    }
    return std::to_string(fault == "missing-ip" ? count + 1 : count);
}

std::string List(const Addresses& addresses) {
    kxapp::Entries entries;
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        entries.emplace_back("ip" + std::to_string(i), addresses[i]);
    }
    return kxapp::PackMessage("multi_ip", entries);
}

std::string Message(std::string_view fault, Addresses addresses) {
    if (fault == "long-value") {
        addresses.emplace_back(kLongestAddress + 1, '1');
    }
    kxapp::Entries entries;
    if (fault != "no-count") {
        entries.emplace_back("count", CountUnder(fault, addresses.size()));
    }
    if (fault != "no-list") {
        entries.emplace_back("multi_ip",
                             fault == "bad-list" ? "no message at all" : List(addresses));
    }
    return kxapp::PackMessage(kSectionName, entries);
}

std::string SpoiltMessage(std::string_view fault, const Addresses& addresses) {
    if (fault == "empty") {
        return {};
    }
    if (fault == kxapp::kGarbage.name) {
        return kxapp::Garbage();
    }
    std::string message = Message(fault, addresses);
    return fault == "cut" ? message.substr(0, message.size() / 2) : message;
}

}  // namespace

std::span<const kxapp::FaultKind> FaultKinds() {
    return kFaultKinds;
}

std::string FaultOfRequest(unsigned type, std::string_view data) {
    if (type != kRequestType) {
        return "of type " + std::to_string(type) + " instead of " + std::to_string(kRequestType);
    }
    const kxapp::FoundValue module = kxapp::FindInMessage(data, "module");
    if (!module.is_message) {
        return "whose " + std::to_string(data.size()) + " bytes are no message";
    }
    if (!module.value) {
        return "without the key module";
    }
    return *module.value == kSectionName ? "" : "for the unknown section '" + *module.value + "'";
}

kxapp::Reply MakeAnswer(std::string_view fault, const Addresses& addresses) {
    return {kxapp::DeliveryUnder(fault), fault == "type1005" ? kOtherType : kRequestType,
            SpoiltMessage(fault, addresses)};
}

std::string MakeNotification() {
    return kxapp::PackMessage("agt_cfgc", {{kSectionName, "1"}});
}

}  // namespace kxecfgc
