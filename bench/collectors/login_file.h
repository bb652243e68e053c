// A login accounting file of usual size in the place of the machine's own, which may be empty or
// have any size.
#ifndef KXEPINFO_BENCH_COLLECTORS_LOGIN_FILE_H
#define KXEPINFO_BENCH_COLLECTORS_LOGIN_FILE_H

#include <string>

// Writes a thousand records, the last one a login. From now on this program finds them when it
// opens /var/log/wtmp. Ends the program when it cannot be written.
void LayDownLogins(const std::string& path);

#endif  // KXEPINFO_BENCH_COLLECTORS_LOGIN_FILE_H
