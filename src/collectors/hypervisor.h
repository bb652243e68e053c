// Which hypervisor the processor says it is under.
#ifndef KXEPINFO_COLLECTORS_HYPERVISOR_H
#define KXEPINFO_COLLECTORS_HYPERVISOR_H

#include <array>

// EBX, ECX and EDX of CPUID leaf 0x40000000, which Intel and AMD leave to hypervisors; not
// terminated. A processor without that leaf answers with something unrelated there.
using HypervisorVendor = std::array<char, 12>;

// What this processor answers; zeros on an architecture without CPUID.
HypervisorVendor ReadHypervisorVendor();

// Whether all 12 bytes are the name of a known hypervisor, zeros behind a shorter name.
bool IsKnownHypervisor(const HypervisorVendor& vendor);

// 1 when this processor tells the name of a known hypervisor, else 0.
void IsInVirtualEnv(int& result);

#endif  // KXEPINFO_COLLECTORS_HYPERVISOR_H
