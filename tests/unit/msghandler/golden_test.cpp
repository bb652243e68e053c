// One upload with every field that the module sends, against the bytes that the Protocol Buffers
// compiler makes of golden/upload.txtpb when the test is built.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>

#include "fake_agent.h"
#include "msghandler/kxepproto.h"
#include "sample_records.h"

namespace {

std::string GoldenBytes() {
    std::ifstream file(KX_GOLDEN_UPLOAD, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string EncodedRecords() {
    kxtest::ResetAgent();
    kxtest::Agent().nox_get_hostid = [] { return std::numeric_limits<uint32_t>::max(); };
    kxtest::Agent().kxe_time = [] { return uint64_t{1700000000}; };
    _stResmon resources = SampleResmon();
    resources.mem_total = std::numeric_limits<uint32_t>::max();
    _stAgentInfo agent = SampleAgent();
    agent.sys_info.is_virtual = 0;  // physical 1: a 0 would not be on the wire
    agent.sys_info.cpu_core = -1;
    agent.sys_info.host_node = "node\xC3\xA4";
    bf_kxepinfo::epinfo msg;
    AddResmonToProto(resources, msg);
    AddAgentToProto(agent, msg);
    AddUsrLogToProto(SampleLogin(), msg);
    std::string bytes;
    EXPECT_TRUE(ProtoToString(msg, bytes));
    return bytes;
}

std::string Hexadecimal(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        char digits[4];
        (void)std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned char>(byte));
        text += digits;
    }
    return text;
}

}  // namespace

TEST(Golden, EveryFieldIsEncodedLikeAnIndependentEncoderDoes) {
    const std::string golden = GoldenBytes();
    ASSERT_FALSE(golden.empty());
    EXPECT_EQ(Hexadecimal(EncodedRecords()), Hexadecimal(golden));
}
