// What the tests of the adapters share: an installation, a log and a state as after loading the
// module, and a connection file with an address that no adapter has.
#ifndef KXEPINFO_TESTS_UNIT_NETINFO_NETINFO_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_NETINFO_NETINFO_FIXTURE_H

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "common/state.h"
#include "fake_agent.h"
#include "fake_network.h"
#include "installation.h"
#include "log_capture.h"
#include "record_fields.h"

namespace kxtest {

using Texts = std::vector<std::string>;
using Adapters = std::vector<_stAdapterInfo>;

constexpr char kMac[] = "02-00-00-00-00-01";

inline _stAdapterInfo Adapter(const std::string& name, const Texts& ipv4, const Texts& ipv6 = {},
                              const std::string& mac = kMac) {
    return {.if_mac = mac, .if_name = name, .if_ipv4 = ipv4, .if_ipv6 = ipv6};
}

// All fields of all adapters, to compare and print.
inline auto List(const Adapters& adapters) {
    return Fields(adapters);
}

class NetInfoTest : public InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        ClearLog();
        ResetAgent();
        Network() = FakeNetwork{};
        g_strCurConnectIp = "before";
        s_recordedIpv4.clear();
        s_ipv4RecordRead = false;
        ConnectAddress("203.0.113.9");
    }

    static void ConnectAddress(const std::string& address) {
        WriteFile("var/connect.ini", "[connect]\nip=" + address + "\n");
    }
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_NETINFO_NETINFO_FIXTURE_H
