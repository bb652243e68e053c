#include "collectors/hypervisor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <string_view>

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

// What lscpu of util-linux calls the hypervisor of this machine; empty when it finds none.
std::string VendorByLscpu() {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(
        popen("LC_ALL=C lscpu | sed -n 's/^Hypervisor vendor: *//p'", "re"), pclose);
    char line[64] = {};
    if (pipe == nullptr || std::fgets(line, sizeof line, pipe.get()) == nullptr) {
        return "";
    }
    return std::string(line, std::strcspn(line, "\n"));
}

TEST(HypervisorOfThisMachine, IsTheOneThatLscpuTells) {
    const std::map<std::string, std::string> signatures = {
        {"KVM", "KVMKVMKVM"},    {"Microsoft", "Microsoft Hv"}, {"VMware", "VMwareVMware"},
        {"Xen", "XenVMMXenVMM"}, {"Parallels", "prl hyperv  "}, {"Oracle", "VBoxVBoxVBox"},
    };
    const std::string vendor = VendorByLscpu();
    int result = 77;
    IsInVirtualEnv(result);
    if (const auto known = signatures.find(vendor); known != signatures.end()) {
        EXPECT_EQ(ReadHypervisorVendor(), Vendor(known->second));
        EXPECT_EQ(result, 1);
    } else {
        EXPECT_EQ(result, 0) << "lscpu says '" << vendor << "'";
    }
}
