// The configuration centre's messages, packed xmsg all of them, and the file that mirrors them.
// Runs on the worker; keeps nothing between calls.
#ifndef KXEPINFO_IPC_CFGPARSER_H
#define KXEPINFO_IPC_CFGPARSER_H

#include <cstddef>
#include <map>
#include <string>

// The one section of the configuration that the module knows, as a bit in a mask of sections.
inline constexpr unsigned kCfgGlobal = 2;

// The request for the section `modules`, which must be exactly 2: a message "global" with the key
// "module" = "global". Returns memory that the caller gives to free(), and its size in `len`; or
// null, and `len` 0.
char* BuildReqCfgXmsgData(unsigned modules, int& len);

// Reads a change notification: true, and `modules` 2, when it has the key "global". Otherwise
// false, and `modules` is left as it is.
bool GetNotifyCfgModlues(const char* data, unsigned len, unsigned& modules);

// Reads the answer for "global": "count", decimal, and "multi_ip", a nested message with the
// manager addresses under the keys "ip0" to "ip<count - 1>". Adds them to `ips` under these keys; a
// key that is there keeps its value, and a value of 64 bytes or more is left out. True when all
// were there; a count below 1 is a valid empty list. False at the first one that is absent: those
// before it have been added.
bool GetIpConfInfo(const char* data, unsigned len, std::map<std::string, std::string>& ips);

// Reads the answer for "global" and replaces the section [multi_ip] of "@/../config/net_config.ini"
// by its addresses: "counts", their number, and each under the key it had. Keys therefore have gaps
// where a value was left out. The file is made when it is missing, and written under the agent's
// machine-wide lock, which is waited for at most 10 s. True when it was saved; after an answer that
// cannot be read, or without the lock, the file is untouched.
bool ParseCfgcGlobalIp(const char* data, unsigned len);

// Inner part of GetIpConfInfo. The key of the address at `index`: "ip" and the number, cut to nine
// characters, so that an index above 9999999 has the key of its first seven digits.
inline constexpr std::size_t kIpKeySize = 10;
void FormatIpKey(long index, char (&key)[kIpKeySize]);

#endif  // KXEPINFO_IPC_CFGPARSER_H
