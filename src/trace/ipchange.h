// Tells the agent's tracing SDK of new addresses.
#ifndef KXEPINFO_TRACE_IPCHANGE_H
#define KXEPINFO_TRACE_IPCHANGE_H

#include <set>
#include <string>

// Reports IPv4 addresses that this machine did not have before, in the set's order, as one event.
// It is logged whether or not there is an SDK to send it to. An address that is not UTF-8 cannot
// stand in the event and is left out. Without memory for the event nothing is sent.
void ReportIpChangeTrace(const std::set<std::string>& addresses);

#endif  // KXEPINFO_TRACE_IPCHANGE_H
