// What grows, each measured at several sizes and reported.
#ifndef KXEPINFO_BENCH_GROWTH_GROWTH_H
#define KXEPINFO_BENCH_GROWTH_GROWTH_H

// Network adapters: 2 to 5000 interfaces with an IPv4 and an IPv6 address each, and as many IPv4
// addresses on one interface. Needs the right to make network namespaces. Writes
// "@/../var/connect.ini" and
// "@/../config/server_port.ini".
void MeasureAdapters();

// Records in the login accounting file: a thousand to a million.
void MeasureLogins();

// Manager addresses in the configuration's answer: 0 to 50. Writes "@/../config/net_config.ini".
void MeasureManagerAddresses();

#endif  // KXEPINFO_BENCH_GROWTH_GROWTH_H
