#include "kxemgr/machine.h"

#include <gmock/gmock.h>

using bf_kxepinfo::epinfo;
using kxemgr::Machine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const Machine kKnown{"alpha", {"00-00-00-00-00-01", "00-00-00-00-00-02"}, 7};

epinfo SystemUpload() {
    epinfo upload;
    upload.set_cmd(6);
    upload.mutable_sys_info()->mutable_base_info()->set_host_node("alpha");
    upload.mutable_sys_info()->mutable_base_info()->set_uvmid(18446744073709551615U);
    return upload;
}

void AddMac(epinfo& upload, const std::string& mac) {
    upload.mutable_sys_info()->mutable_nw_info()->add_if_info()->set_if_mac(mac);
}

struct Comparison {
    const char* name;
    Machine known;
    Machine reported;
    bool other;
};

std::ostream& operator<<(std::ostream& out, const Comparison& comparison) {
    return out << comparison.name;
}

class Comparisons : public testing::TestWithParam<Comparison> {};

}  // namespace

TEST_P(Comparisons, AreDecided) {
    EXPECT_EQ(kxemgr::IsOtherMachine(GetParam().known, GetParam().reported), GetParam().other);
    EXPECT_EQ(kxemgr::IsOtherMachine(GetParam().reported, GetParam().known), GetParam().other);
}

INSTANTIATE_TEST_SUITE_P(
    IsOtherMachine, Comparisons,
    testing::Values(
        Comparison{"AllDifferent", kKnown, {"beta", {"00-00-00-00-00-03"}, 8}, true},
        Comparison{"AllTheSame", kKnown, kKnown, false},
        Comparison{"OnlyTheNameDiffers", kKnown, {"beta", kKnown.macs, 7}, false},
        Comparison{"OnlyTheMacsDiffer", kKnown, {"alpha", {"00-00-00-00-00-03"}, 7}, false},
        Comparison{"OnlyTheVmDiffers", kKnown, {"alpha", kKnown.macs, 8}, false},
        Comparison{"TheSameName", kKnown, {"alpha", {"00-00-00-00-00-03"}, 8}, false},
        Comparison{"TheSameMacs", kKnown, {"beta", kKnown.macs, 8}, false},
        Comparison{"TheSameVm", kKnown, {"beta", {"00-00-00-00-00-03"}, 7}, false},
        // Two machines can share one MAC, such as that of a bridge: the sets count as a whole.
        Comparison{"OneMacInCommon", kKnown, {"beta", {"00-00-00-00-00-01"}, 8}, true},
        Comparison{"UpperCaseName", kKnown, {"ALPHA", {"00-00-00-00-00-03"}, 8}, true},
        Comparison{"NothingKnown", {}, kKnown, false},
        Comparison{"NothingOnEitherSide", {}, {}, false},
        Comparison{"NameUnknown", kKnown, {"", {"00-00-00-00-00-03"}, 8}, false},
        Comparison{"MacsUnknown", kKnown, {"beta", {}, 8}, false},
        Comparison{"VmUnknown", kKnown, {"beta", {"00-00-00-00-00-03"}, 0}, false},
        Comparison{"MacsUnknownOnBothSides", {"alpha", {}, 7}, {"beta", {}, 8}, false},
        Comparison{"VmUnknownOnBothSides",
                   {"alpha", {"00-00-00-00-00-01"}, 0},
                   {"beta", {"00-00-00-00-00-03"}, 0},
                   false}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(ReportedMachine, HoldsTheThreeFacts) {
    epinfo upload = SystemUpload();
    AddMac(upload, "00-1A-2B-3C-4D-5F");
    AddMac(upload, "00-1a-2b-3c-4d-5e");
    AddMac(upload, "00-1A-2B-3C-4D-5F");
    const auto machine = kxemgr::ReportedMachine(upload);
    ASSERT_TRUE(machine.has_value());
    EXPECT_EQ(machine->host_name, "alpha");
    EXPECT_THAT(machine->macs, ElementsAre("00-1A-2B-3C-4D-5F", "00-1a-2b-3c-4d-5e"));
    EXPECT_EQ(machine->vm_id, 18446744073709551615U);
}

TEST(ReportedMachine, IsNothingWhenTheCmdTellsOfNoAgentFacts) {
    epinfo upload = SystemUpload();
    upload.set_cmd(10);
    EXPECT_EQ(kxemgr::ReportedMachine(upload), std::nullopt);
}

TEST(ReportedMachine, IsUnknownWhenTheSectionIsMissing) {
    epinfo upload;
    upload.set_cmd(4);
    const auto machine = kxemgr::ReportedMachine(upload);
    ASSERT_TRUE(machine.has_value());
    EXPECT_EQ(machine->host_name, "");
    EXPECT_THAT(machine->macs, IsEmpty());
    EXPECT_EQ(machine->vm_id, 0U);
}

TEST(ReportedMachine, LeavesOutWhatIdentifiesNoAdapter) {
    epinfo upload = SystemUpload();
    for (const char* mac :
         {"", "00-00-00-00-00-00", "00:1A:2B:3C:4D:5E", "00-1A-2B-3C-4D", "00-1A-2B-3C-4D-5E-",
          "00-1A-2B-3C-4D-5E-6F", "00-1A-2B-3C-4D-5G", "00-1A-2B-3C-4D-5,"}) {
        AddMac(upload, mac);
    }
    EXPECT_THAT(kxemgr::ReportedMachine(upload).value_or(kKnown).macs, IsEmpty());
}

TEST(ReportedMachine, HoldsABoundedNumberOfMacsWhateverTheirOrder) {
    epinfo upload = SystemUpload();
    epinfo backwards = SystemUpload();
    constexpr int kCount = 1030;
    for (int i = 0; i < kCount; ++i) {
        char mac[18];
        (void)std::snprintf(mac, sizeof mac, "02-00-00-00-%02X-%02X", i / 256, i % 256);
        AddMac(upload, mac);
        (void)std::snprintf(mac, sizeof mac, "02-00-00-00-%02X-%02X", (kCount - 1 - i) / 256,
                            (kCount - 1 - i) % 256);
        AddMac(backwards, mac);
    }
    const auto macs = kxemgr::ReportedMachine(upload).value_or(kKnown).macs;
    EXPECT_EQ(macs.size(), 1024U);
    EXPECT_EQ(*macs.rbegin(), "02-00-00-00-03-FF");
    EXPECT_EQ(kxemgr::ReportedMachine(backwards).value_or(kKnown).macs, macs);
}

TEST(ReportedMachine, CutsALongHostName) {
    epinfo upload = SystemUpload();
    upload.mutable_sys_info()->mutable_base_info()->set_host_node(std::string(300, 'h'));
    EXPECT_EQ(kxemgr::ReportedMachine(upload).value_or(kKnown).host_name, std::string(255, 'h'));
}

TEST(Learn, TakesOverWhatIsReported) {
    Machine machine = kKnown;
    kxemgr::Learn(machine, {"beta", {"00-00-00-00-00-03"}, 8});
    EXPECT_EQ(machine.host_name, "beta");
    EXPECT_THAT(machine.macs, ElementsAre("00-00-00-00-00-03"));
    EXPECT_EQ(machine.vm_id, 8U);
}

TEST(Learn, KeepsWhatIsNotReported) {
    Machine machine = kKnown;
    kxemgr::Learn(machine, {});
    EXPECT_EQ(machine.host_name, "alpha");
    EXPECT_EQ(machine.macs, kKnown.macs);
    EXPECT_EQ(machine.vm_id, 7U);
}

TEST(JoinMacs, IsUndoneBySplit) {
    EXPECT_EQ(kxemgr::JoinMacs({}), "");
    EXPECT_EQ(kxemgr::JoinMacs(kKnown.macs), "00-00-00-00-00-01,00-00-00-00-00-02");
    EXPECT_THAT(kxemgr::SplitMacs(""), IsEmpty());
    EXPECT_EQ(kxemgr::SplitMacs(kxemgr::JoinMacs({"a"})), std::set<std::string>{"a"});
    EXPECT_EQ(kxemgr::SplitMacs(kxemgr::JoinMacs(kKnown.macs)), kKnown.macs);
}
