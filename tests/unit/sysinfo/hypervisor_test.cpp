#include "collectors/hypervisor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "collectors/sysinfo.h"
#include "installation.h"

namespace {

// The name with zeros behind it.
HypervisorVendor Vendor(std::string_view name) {
    HypervisorVendor vendor{};
    EXPECT_LE(name.size(), vendor.size());
    std::copy(name.begin(), name.end(), vendor.begin());
    return vendor;
}

constexpr std::string_view kKnown[] = {"KVMKVMKVM",    "Microsoft Hv", "VMwareVMware",
                                       "XenVMMXenVMM", "prl hyperv  ", "VBoxVBoxVBox"};

}  // namespace

TEST(Hypervisor, SixNamesAreKnown) {
    for (const std::string_view name : kKnown) {
        EXPECT_TRUE(IsKnownHypervisor(Vendor(name))) << name;
    }
}

TEST(Hypervisor, EveryByteCounts) {
    for (const std::string_view name : kKnown) {
        for (std::size_t i = 0; i < HypervisorVendor{}.size(); ++i) {
            HypervisorVendor vendor = Vendor(name);
            vendor[i] = static_cast<char>(vendor[i] ^ 1);
            EXPECT_FALSE(IsKnownHypervisor(vendor)) << name << " with another byte " << i;
        }
    }
}

TEST(Hypervisor, CaseCounts) {
    EXPECT_FALSE(IsKnownHypervisor(Vendor("kvmkvmkvm")));
    EXPECT_FALSE(IsKnownHypervisor(Vendor("microsoft hv")));
}

TEST(Hypervisor, AShortNameIsFilledWithZerosNotBlanks) {
    EXPECT_FALSE(IsKnownHypervisor(Vendor("KVMKVMKVM   ")));
    EXPECT_FALSE(IsKnownHypervisor(Vendor("prl hyperv")));
}

TEST(Hypervisor, NamesBeginAtTheFirstByte) {
    EXPECT_FALSE(IsKnownHypervisor(Vendor(" KVMKVMKVM")));
    EXPECT_FALSE(IsKnownHypervisor(Vendor({"\0KVMKVMKVM", 10})));
}

TEST(Hypervisor, OtherHypervisorsAndNoneAreNotKnown) {
    EXPECT_FALSE(IsKnownHypervisor(Vendor("TCGTCGTCGTCG")));
    EXPECT_FALSE(IsKnownHypervisor(Vendor("bhyve bhyve ")));
    EXPECT_FALSE(IsKnownHypervisor(Vendor("ACRNACRNACRN")));
    EXPECT_FALSE(IsKnownHypervisor(Vendor("")));
}

TEST(HypervisorOfThisMachine, IsWhatTheRegistersSay) {
    int result = 77;
    IsInVirtualEnv(result);
    EXPECT_EQ(result, IsKnownHypervisor(ReadHypervisorVendor()) ? 1 : 0);
}

TEST(HypervisorOfThisMachine, IsNoneOnHardware) {
    const std::string cpuinfo = kxtest::ReadFile("/proc/cpuinfo");
    ASSERT_FALSE(cpuinfo.empty());
    if (cpuinfo.find(" hypervisor") != std::string::npos) {
        GTEST_SKIP() << "this is a virtual machine";
    }
    int result = 77;
    IsInVirtualEnv(result);
    EXPECT_EQ(result, 0);
}
