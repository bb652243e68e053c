// A second library that carries the module's wire schema, as other modules of the agent do.
#include <string>

#include "epinfo.pb.h"

// The cmd of an upload that has been encoded and decoded; 0 when either failed.
extern "C" __attribute__((visibility("default"))) unsigned neighbour_round_trip(unsigned cmd) {
    bf_kxepinfo::epinfo msg;
    msg.set_cmd(cmd);
    msg.mutable_sys_info()->mutable_base_info()->set_host_node("neighbour");
    bf_kxepinfo::epinfo decoded;
    const bool done = decoded.ParseFromString(msg.SerializeAsString()) &&
                      decoded.sys_info().base_info().host_node() == "neighbour";
    return done ? decoded.cmd() : 0;
}
