// An agent whose id cannot be had, and one that gets it later.
#include "link.h"

namespace kxtest {
namespace {

using testing::ElementsAre;

constexpr char kUnknownId[] = "get id of this agent failed while transform proto to string";

class WithoutAnId : public LinkTest {
  protected:
    // A directory where the file with the id should be: it can be neither read nor replaced.
    void SetUp() override {
        LinkTest::SetUp();
        std::filesystem::remove(installation().path("config/agent_id"));
        installation().write("config/agent_id/in_the_way", "");
    }
    void ClearTheWay() { std::filesystem::remove_all(installation().path("config/agent_id")); }
    // The agent id of each upload.
    std::vector<long long> Ids() {
        std::vector<long long> ids;
        for (std::size_t number = 0; number < UploadCount(); ++number) {
            ids.push_back(Number(Upload(number).get(), "epinfo.agent_id"));
        }
        return ids;
    }
    long long KeptId() const { return std::atoll(installation().read("config/agent_id").c_str()); }
};

TEST_F(WithoutAnId, AnEmptyUploadGoesOutEachTime) {
    StartManager();
    FirstCycle();
    NextCycle();
    NextCycle();
    EXPECT_THAT(Commands(), ElementsAre(0, 0, 0));
    EXPECT_EQ(Number(Upload(0).get(), "frame.payload_length"), 0);
    EXPECT_EQ(CountOf(installation().log(), kUnknownId), 3U);
    EXPECT_EQ(CountOf(installation().log(), "Failed to do message serialization"), 3U);
}

TEST_F(WithoutAnId, TheNextUploadHasTheIdThatBecameKnown) {
    StartManager();
    FirstCycle();
    ClearTheWay();
    NextCycle();
    NextCycle();
    EXPECT_GT(KeptId(), 0);
    EXPECT_THAT(Ids(), ElementsAre(0, KeptId(), KeptId()));
    EXPECT_EQ(CountOf(installation().log(), kUnknownId), 1U);
}

TEST_F(WithoutAnId, EverythingIsToldAtOnceSinceTheEmptyUploadWasRefused) {
    StartManager();
    EXPECT_EQ(FirstCycle(), "online, 1 failed");
    EXPECT_TRUE(Logs("to mgr failed with error: the upload names no agent"));
    ClearTheWay();
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_THAT(Commands(), ElementsAre(0, 14));
    EXPECT_THAT(Ids(), ElementsAre(0, KeptId()));
}

}  // namespace
}  // namespace kxtest
