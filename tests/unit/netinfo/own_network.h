// A network namespace of the test's own, built and read with the ip program.
#ifndef KXEPINFO_TESTS_UNIT_NETINFO_OWN_NETWORK_H
#define KXEPINFO_TESTS_UNIT_NETINFO_OWN_NETWORK_H

#include <string>
#include <vector>

#include "common/records.h"

namespace kxtest {

// Puts the calling thread, and the programs it starts from now on, into a new network with nothing
// but "lo", which is down. False when this process may not.
bool EnterOwnNetwork();

// Runs `ip` for each line of `commands` up to the first that fails; returns what it printed about
// that one, or empty text.
std::string Ip(const std::string& commands);

// The adapters according to `ip -json addr`, under the rules of GetNetInfo.
std::vector<_stAdapterInfo> AdaptersOfIp();

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_NETINFO_OWN_NETWORK_H
