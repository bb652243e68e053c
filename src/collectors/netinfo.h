// Network adapters of the machine: which are up, with which addresses, and which of them links to
// the manager. All of it runs on the worker's thread. Sources: getifaddrs(3) and netdevice(7).
#ifndef KXEPINFO_COLLECTORS_NETINFO_H
#define KXEPINFO_COLLECTORS_NETINFO_H

#include <set>
#include <string>
#include <vector>

#include "common/records.h"

// Replaces the list by the adapters that are up and have an address, in the order in which the
// kernel tells their addresses (all of IPv4 before those of IPv6), then hands it to TransNetInfo.
// Not listed: the address 127.0.0.1, IPv6 on "lo", the address "::". An alias such as "eth0:1" is
// an adapter of its own. Of a hardware address that is not six bytes long the first six are
// formatted, zeros where there are fewer. What cannot be asked about an interface, which may vanish
// at any time, leaves out the address in question alone.
//
// Returns 0, or the errno of getifaddrs, and the list is empty then.
int GetNetInfo(std::vector<_stAdapterInfo>& adapters);

// Reads the address that links to the manager, "ip" of [connect] in "@/../var/connect.ini", into
// g_strCurConnectIp, and puts the first adapter that has it to the front of the list, and the
// address to the front of that adapter's. Nothing moves when no adapter has it.
//
// Returns 0; 1 when the address is 127.0.0.1; or the errno with which the file or the key could not
// be read. Other than with 0, list and g_strCurConnectIp are as they were.
int TransNetInfo(std::vector<_stAdapterInfo>& adapters);

// Whether the adapters, matched by name, differ in number, name, hardware address or addresses, of
// which the order does not count. Logs the first difference that is found.
//
// Sorts the address lists that it compares where they are, in both arguments: the address that
// links to the manager may no longer be the first one afterwards.
bool IsNetInfoChanged(std::vector<_stAdapterInfo>& previous, std::vector<_stAdapterInfo>& current);

// Sets `added` to the IPv4 addresses of `current` that the call before did not have. The first call
// compares with "ipv4" of [netinfo] in "@/../config/server_port.ini" instead, so that a restart
// makes no address new. When there are new ones all current addresses are written there, in byte
// order and joined by ','; text above 4095 bytes is cut, and what is lost in that way is new again
// after a restart.
//
// Does nothing, and leaves `added` empty, while the file cannot be loaded. A file that cannot be
// saved goes without notice: the addresses count as told all the same.
void RecordIpv4Addresses(const std::vector<_stAdapterInfo>& current, std::set<std::string>& added);

#endif  // KXEPINFO_COLLECTORS_NETINFO_H
