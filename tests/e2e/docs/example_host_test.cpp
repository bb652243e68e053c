// The host that docs/embedding.md shows, in an installation.
#include <signal.h>

#include "agent.h"

namespace kxtest {
namespace {

class ExampleHost : public AgentTest {
  protected:
    Program host{Install(), {}};

  private:
    std::filesystem::path Install() const {
        std::filesystem::copy_file(KX_EXAMPLE_HOST, installation().program("host"));
        return installation().program("host");
    }
};

TEST_F(ExampleHost, UploadsUntilItIsTerminated) {
    StartManager();
    EXPECT_NE(Upload(0), nullptr);
    EXPECT_NE(Upload(1), nullptr);
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(host.errors(), "");
    EXPECT_THAT(installation().log(), testing::HasSubstr("kxepinfo init"));
    EXPECT_THAT(installation().log(), testing::HasSubstr("thread exit ok"));
}

TEST_F(ExampleHost, StopsOnSigintToo) {
    ASSERT_TRUE(Logs("upload gap is 2"));
    host.signal(SIGINT);
    EXPECT_EQ(host.wait(), 0);
    EXPECT_THAT(installation().log(), testing::HasSubstr("thread exit ok"));
}

}  // namespace
}  // namespace kxtest
