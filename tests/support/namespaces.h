// A machine of the test's own, seen by this process and the programs it starts from then on: other
// network interfaces, other files under the usual paths, another host name. Every function needs
// the right to make namespaces; without it it says false, and the test is to be skipped. Each one
// entered replaces the one of its kind before. The test program must not have started threads.
#ifndef KXEPINFO_TESTS_SUPPORT_NAMESPACES_H
#define KXEPINFO_TESTS_SUPPORT_NAMESPACES_H

#include <string>
#include <string_view>

namespace kxtest {

// A network with nothing but a loop-back interface that is up.
bool EnterOwnNetwork();

// Mounts from here on are the test's own.
bool EnterOwnMounts();

// An empty directory in place of `path`, which must exist. After EnterOwnMounts.
bool CoverDirectory(const std::string& path);

// A file of that content in place of `path`, which must exist (what a symbolic link leads to is
// replaced). The file `store` holds the content and outlives the test. After EnterOwnMounts.
bool CoverFile(const std::string& path, const std::string& store, std::string_view content);

bool EnterOwnHostName(const std::string& name);

// Runs a program of iproute2 with these arguments; false when it failed, for a kind of interface
// that the kernel lacks for instance. Its messages go to standard error.
bool Ip(const std::string& arguments);

// What such a program prints.
std::string IpOutput(const std::string& arguments);

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_NAMESPACES_H
