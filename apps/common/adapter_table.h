// An agent's network adapters for people.
#ifndef KX_APPS_COMMON_ADAPTER_TABLE_H
#define KX_APPS_COMMON_ADAPTER_TABLE_H

#include <string>

#include "epinfo.pb.h"

namespace kxapp {

// An aligned table, a line ends with '\n':
//
//   adapter  MAC                IPv4      IPv6
//   link     00-1A-2B-3C-4D-5E  10.0.0.5  fe80::1
//                               10.0.0.6
//            00-1A-2B-3C-4D-5F  10.1.0.5
//
// An adapter takes as many rows as its longer list of addresses. The first one is marked: the agent
// puts the adapter, and the address, first that links it to its manager. An agent bound to a
// manager on its own machine, or whose link address no adapter holds, puts nothing first, and the
// mark then only says which adapter came first. "adapter  none" without any.
std::string AdapterTable(const bf_kxepinfo::epinfo_msg_nw& network);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_ADAPTER_TABLE_H
