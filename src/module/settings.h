// What an operator sets: the upload interval, and two flag files that count by being there.
#ifndef KXEPINFO_MODULE_SETTINGS_H
#define KXEPINFO_MODULE_SETTINGS_H

// The upload interval in seconds, at least 2 and without an upper bound: key "value" of section
// "flushgap" in "@/../config/kxepinfocfg.ini", as a decimal number that ends at the first other
// character. 40 when the file or key is missing or the value is below 2. The worker reads it once.
int GetFlushGap();

// True while "@/kxepinfo_flag.txt" exists. Looked at anew on every call, as is the next.
bool IsAutoTestEnbaled();

// True while "@/uninstalling" exists: the agent is being removed and nothing is sent any more.
bool IsUninstalling();

#endif  // KXEPINFO_MODULE_SETTINGS_H
