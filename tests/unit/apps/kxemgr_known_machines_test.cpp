#include "kxemgr/known_machines.h"

#include <gtest/gtest.h>

using bf_kxepinfo::epinfo;
using kxemgr::KnownMachines;

namespace {

// Host name "host N", one MAC and virtual machine's id made of N as well.
epinfo UploadOfMachine(std::uint32_t agent_id, int machine) {
    epinfo upload;
    upload.set_cmd(6);
    upload.set_agent_id(agent_id);
    auto& base = *upload.mutable_sys_info()->mutable_base_info();
    base.set_host_node("host " + std::to_string(machine));
    base.set_uvmid(static_cast<std::uint64_t>(machine));
    upload.mutable_sys_info()->mutable_nw_info()->add_if_info()->set_if_mac(
        "00-00-00-00-00-0" + std::to_string(machine));
    return upload;
}

}  // namespace

TEST(KnownMachines, AnIdBelongsToTheMachineThatUsedItFirst) {
    KnownMachines machines;
    EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(1, 1)));
    EXPECT_TRUE(machines.is_duplicate(UploadOfMachine(1, 2)));
    EXPECT_TRUE(machines.is_duplicate(UploadOfMachine(1, 3)));
    EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(1, 1)));
}

TEST(KnownMachines, EachIdHasItsOwn) {
    KnownMachines machines;
    EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(1, 1)));
    EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(2, 2)));
    EXPECT_TRUE(machines.is_duplicate(UploadOfMachine(2, 1)));
}

TEST(KnownMachines, AMachineMayChangeFactByFact) {
    KnownMachines machines;
    epinfo upload = UploadOfMachine(1, 1);
    EXPECT_FALSE(machines.is_duplicate(upload));
    upload.mutable_sys_info()->mutable_base_info()->set_host_node("renamed");
    EXPECT_FALSE(machines.is_duplicate(upload));
    upload.mutable_sys_info()->mutable_nw_info()->mutable_if_info(0)->set_if_mac(
        "00-00-00-00-00-09");
    EXPECT_FALSE(machines.is_duplicate(upload));
    upload.mutable_sys_info()->mutable_base_info()->set_uvmid(9);
    EXPECT_FALSE(machines.is_duplicate(upload));
    EXPECT_TRUE(machines.is_duplicate(UploadOfMachine(1, 1)));
}

TEST(KnownMachines, AMachineThatLosesItsNetworkKeepsItsIdentity) {
    KnownMachines machines;
    epinfo upload = UploadOfMachine(1, 1);
    EXPECT_FALSE(machines.is_duplicate(upload));
    upload.mutable_sys_info()->clear_nw_info();
    EXPECT_FALSE(machines.is_duplicate(upload));
    EXPECT_TRUE(machines.is_duplicate(UploadOfMachine(1, 2)));
}

TEST(KnownMachines, AnUploadWithoutAgentFactsDecidesNothing) {
    KnownMachines machines;
    epinfo upload = UploadOfMachine(1, 2);
    upload.set_cmd(2);
    EXPECT_FALSE(machines.is_duplicate(upload));
    EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(1, 1)));
    EXPECT_FALSE(machines.is_duplicate(upload));
    EXPECT_TRUE(machines.is_duplicate(UploadOfMachine(1, 2)));
}

TEST(KnownMachines, NoIdIsNobodys) {
    KnownMachines machines;
    EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(0, 1)));
    EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(0, 2)));
}

TEST(KnownMachines, ForgetTheAgentThatWasNotSeenForLongest) {
    KnownMachines machines;
    for (std::uint32_t id = 1; id <= KnownMachines::kMostAgents; ++id) {
        EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(id, 1)));
    }
    EXPECT_TRUE(machines.is_duplicate(UploadOfMachine(1, 2)));
    EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(1'000'000, 1)));
    EXPECT_TRUE(machines.is_duplicate(UploadOfMachine(1, 2)));
    EXPECT_FALSE(machines.is_duplicate(UploadOfMachine(2, 2)));
}
