#include "kxecfgc/addresses.h"

#include <cstring>
#include <memory>

#include "kxe_ini.h"

namespace kxecfgc {

namespace {

constexpr char kSection[] = "multi_ip";

struct Free {
    void operator()(kxe_ini_file* file) const { kxe_ini_file_free(file); }
};

// Empty when nothing is wrong with the address.
std::string FaultOf(const std::string& key, const std::string& address) {
    if (address.empty()) {
        return key + " is empty";
    }
    if (address.size() > kLongestAddress) {
        return key + " is longer than " + std::to_string(kLongestAddress) + " bytes";
    }
    return {};
}

}  // namespace

std::optional<Addresses> ReadAddresses(const std::string& path, std::string& fault) {
    const std::unique_ptr<kxe_ini_file, Free> file(kxe_ini_file_load(path.c_str()));
    if (file == nullptr) {
        fault = "cannot be opened or is no INI file";
        return std::nullopt;
    }
    Addresses addresses;
    for (std::size_t number = 0; number < kMostAddresses; ++number) {
        const std::string key = "ip" + std::to_string(number);
        const char* address = kxe_ini_file_get(file.get(), kSection, key.c_str());
        if (address == nullptr) {
            continue;
        }
        fault = FaultOf(key, address);
        if (fault.empty() && number != addresses.size()) {
            fault = key + " is there, but not ip" + std::to_string(addresses.size());
        }
        if (!fault.empty()) {
            return std::nullopt;
        }
        addresses.emplace_back(address);
    }
    return addresses;
}

}  // namespace kxecfgc
