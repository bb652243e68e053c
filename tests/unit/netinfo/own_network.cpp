#include "own_network.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <jansson.h>
#include <sched.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "installation.h"

namespace kxtest {
namespace {

struct Release {
    void operator()(json_t* json) const { json_decref(json); }
};
using Json = std::unique_ptr<json_t, Release>;

struct Output {
    bool succeeded = false;
    std::string text;
};

Output Run(const std::string& command) {
    Output output;
    std::FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return output;
    }
    char piece[4096];
    while (const std::size_t size = std::fread(piece, 1, sizeof piece, pipe)) {
        output.text.append(piece, size);
    }
    output.succeeded = pclose(pipe) == 0;
    return output;
}

std::string Text(json_t* object, const char* key) {
    const char* const text = json_string_value(json_object_get(object, key));
    return text == nullptr ? "" : text;
}

bool IsUp(json_t* link) {
    std::size_t index = 0;
    json_t* flag = nullptr;
    json_array_foreach(json_object_get(link, "flags"), index, flag) {
        if (std::string("UP") == json_string_value(flag)) {
            return true;
        }
    }
    return false;
}

// A hardware address that ip shows as an IP address, as tunnels have them; zeros when there is
// none.
std::string MacOfBytes(int family, const std::string& text) {
    unsigned char bytes[16] = {};
    EXPECT_TRUE(text.empty() || inet_pton(family, text.c_str(), bytes) == 1) << text;
    char mac[18] = {};
    (void)std::snprintf(mac, sizeof mac, "%02X-%02X-%02X-%02X-%02X-%02X", bytes[0], bytes[1],
                        bytes[2], bytes[3], bytes[4], bytes[5]);
    return mac;
}

std::string Mac(json_t* link) {
    const std::string type = Text(link, "link_type");
    std::string address = Text(link, "address");
    if (type == "ether" || type == "loopback") {
        std::replace(address.begin(), address.end(), ':', '-');
        std::transform(address.begin(), address.end(), address.begin(), toupper);
        return address;
    }
    return MacOfBytes(type == "tunnel6" || type == "gre6" ? AF_INET6 : AF_INET, address);
}

_stAdapterInfo& Named(std::vector<_stAdapterInfo>& adapters, const std::string& name,
                      const std::string& mac) {
    for (_stAdapterInfo& adapter : adapters) {
        if (adapter.if_name == name) {
            return adapter;
        }
    }
    return adapters.emplace_back(
        _stAdapterInfo{.if_mac = mac, .if_name = name, .if_ipv4 = {}, .if_ipv6 = {}});
}

// The addresses of one family of one link. An IPv4 address has a label, which is its adapter's
// name.
void AddAddresses(json_t* link, const std::string& family, std::vector<_stAdapterInfo>& adapters) {
    const std::string link_name = Text(link, "ifname");
    std::size_t index = 0;
    json_t* entry = nullptr;
    json_array_foreach(json_object_get(link, "addr_info"), index, entry) {
        const std::string address = Text(entry, "local");
        if (Text(entry, "family") != family) {
            continue;
        }
        if (family == "inet" && address != "127.0.0.1") {
            Named(adapters, Text(entry, "label"), Mac(link)).if_ipv4.push_back(address);
        } else if (family == "inet6" && link_name != "lo") {
            Named(adapters, link_name, Mac(link)).if_ipv6.push_back(address);
        }
    }
}

}  // namespace

bool EnterOwnNetwork() {
    return unshare(CLONE_NEWNET) == 0;
}

std::string Ip(const std::string& commands) {
    const auto file = WriteFile("ip-commands", commands + "\n");
    const Output output = Run("ip -batch " + file.string() + " 2>&1");
    return output.succeeded ? "" : output.text;
}

std::vector<_stAdapterInfo> AdaptersOfIp() {
    const Output output = Run("ip -json addr");
    json_error_t error;
    const Json links(json_loads(output.text.c_str(), 0, &error));
    EXPECT_TRUE(output.succeeded && json_is_array(links.get())) << output.text;
    std::vector<_stAdapterInfo> adapters;
    // The kernel tells the addresses family by family.
    for (const char* family : {"inet", "inet6"}) {
        std::size_t index = 0;
        json_t* link = nullptr;
        json_array_foreach(links.get(), index, link) {
            if (IsUp(link)) {
                AddAddresses(link, family, adapters);
            }
        }
    }
    return adapters;
}

}  // namespace kxtest
