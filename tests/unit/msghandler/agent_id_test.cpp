#include <gmock/gmock.h>

#include "fake_agent.h"
#include "msghandler/kxepproto.h"

// One test for the whole story: what is kept is kept for the process.
TEST(AgentId, IsAskedForUntilItIsKnownAndThenKept) {
    uint32_t id = 0;
    int asked = 0;
    kxtest::Agent().nox_get_hostid = [&] {
        ++asked;
        return id;
    };
    kxtest::Agent().kxe_time = [] { return uint64_t{1}; };
    bf_kxepinfo::epinfo msg;
    std::string bytes;
    EXPECT_FALSE(ProtoToString(msg, bytes));
    EXPECT_FALSE(ProtoToString(msg, bytes));
    EXPECT_EQ(asked, 2);

    id = 4711;
    EXPECT_TRUE(ProtoToString(msg, bytes));
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(msg.agent_id(), 4711U);

    id = 5;
    EXPECT_TRUE(ProtoToString(msg, bytes));
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(msg.agent_id(), 4711U);
    kxtest::ResetAgent();
}
