// The facts of one upload, each read as directly as it can be.
#ifndef KXEPINFO_BENCH_FLOOR_FACTS_H
#define KXEPINFO_BENCH_FLOOR_FACTS_H

#include <sys/utsname.h>
#include <utmp.h>

#include <string>

#include "epinfo.pb.h"

// Each ends the program when the machine or the installation cannot be read.

// The first line of /proc/stat, into a place of the caller's.
struct LoadCounters {
    unsigned long long used = 0;
    unsigned long long idle = 0;
};
LoadCounters ReadLoad();

void AddResources(const LoadCounters& first, const LoadCounters& second,
                  bf_kxepinfo::epinfo& upload);

// Interfaces that are up, with the requests that the module makes for each entry.
void AddAdapters(bf_kxepinfo::epinfo& upload);

// Kernel, processors, the machine's number, and what the two programs tell. `root` is an
// installation.
void AddSystem(const std::string& root, bf_kxepinfo::epinfo& upload);

// Reads the three files of settings.
void AddVersions(const std::string& root, bf_kxepinfo::epinfo& upload);

// The last record of the login accounting file, when it has one.
void AddLogin(bf_kxepinfo::epinfo& upload);

#endif  // KXEPINFO_BENCH_FLOOR_FACTS_H
