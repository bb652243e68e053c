#include "fake_collectors.h"

FakeCollectors& Fake() {
    static FakeCollectors fake;
    return fake;
}

namespace {

template <class Value>
Value Called(const char* name, Value value) {
    Fake().calls.emplace_back(name);
    return value;
}

}  // namespace

// Under --wrap a function stands in for another by its mangled name.

extern "C" int __wrap__Z10GetNetInfoRSt6vectorI14_stAdapterInfoSaIS0_EE(
    std::vector<_stAdapterInfo>& adapters) {
    adapters = Fake().adapters;
    return Called("GetNetInfo", Fake().net_result);
}

extern "C" int __wrap__Z10GetExtInfoR10_stExtInfo(_stExtInfo& out) {
    // The collector leaves what it cannot find, so the record it gets tells in the result.
    out.agent_version += Fake().ext_info.agent_version;
    out.mgr_addr += Fake().ext_info.mgr_addr;
    out.reserved_ext3 += Fake().ext_info.reserved_ext3;
    return Called("GetExtInfo", Fake().ext_result);
}

extern "C" int __wrap__Z10GetSysInfoR10_stSysInfo(_stSysInfo& out) {
    out.host_node += Fake().sys_info.host_node;
    out.containerId += Fake().sys_info.containerId;
    out.cpu_core = Fake().sys_info.cpu_core;
    out.recal_timestamp = Fake().sys_info.recal_timestamp;
    return Called("GetSysInfo", Fake().sys_result);
}

extern "C" bool __wrap__Z16IsNetInfoChangedRSt6vectorI14_stAdapterInfoSaIS0_EES3_(
    std::vector<_stAdapterInfo>& previous, std::vector<_stAdapterInfo>& current) {
    Fake().net_compared = {&previous, &current};
    return Called("IsNetInfoChanged", Fake().net_changed);
}

extern "C" bool __wrap__Z12IsExtChangedRK10_stExtInfoS1_(const _stExtInfo& previous,
                                                         const _stExtInfo& current) {
    Fake().ext_compared = {&previous, &current};
    return Called("IsExtChanged", Fake().ext_changed);
}

extern "C" bool __wrap__Z12IsSysChangedRK10_stSysInfoS1_(const _stSysInfo& previous,
                                                         const _stSysInfo& current) {
    Fake().sys_compared = {&previous, &current};
    return Called("IsSysChanged", Fake().sys_changed);
}

extern "C" void
__wrap__Z19RecordIpv4AddressesRKSt6vectorI14_stAdapterInfoSaIS0_EERSt3setINSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEESt4lessISB_ESaISB_EE(
    const std::vector<_stAdapterInfo>& current, std::set<std::string>& added) {
    added = Fake().added;
    Fake().calls.push_back("RecordIpv4Addresses of " + std::to_string(current.size()));
}

extern "C" void
__wrap__Z19ReportIpChangeTraceRKSt3setINSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEESt4lessIS5_ESaIS5_EE(
    const std::set<std::string>& addresses) {
    std::string call = "ReportIpChangeTrace";
    for (const std::string& address : addresses) {
        call += " " + address;
    }
    Fake().calls.push_back(call);
}
