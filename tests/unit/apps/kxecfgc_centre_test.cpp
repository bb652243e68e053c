#include "kxecfgc/centre.h"

#include <filesystem>

#include "common/keyvalue.h"
#include "complaint_line.h"
#include "installation.h"
#include "kxecfgc/answer.h"

using kxapp::Delivery;

namespace {

class CentreTest : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        options.addresses = write("[multi_ip]\nip0=192.0.2.1\n");
    }

    static std::string write(std::string_view content) {
        return kxtest::WriteFile("config/cfgc.ini", content);
    }

    kxapp::FaultPlan faults{kxecfgc::FaultKinds()};
    kxecfgc::Options options;
    const std::string request = kxapp::PackMessage("global", {{"module", "global"}});
};

}  // namespace

TEST_F(CentreTest, AnswersWithTheAddressesOfTheFile) {
    kxecfgc::Centre centre(options, faults);
    ASSERT_TRUE(centre.load());
    const kxapp::Reply reply = centre.handle({"agt_ei", 1, 1004, request});
    EXPECT_EQ(reply.data, kxecfgc::MakeAnswer("", {"192.0.2.1"}).data);
}

TEST_F(CentreTest, NeedsAFileToBeginWith) {
    std::filesystem::remove(options.addresses);
    kxecfgc::Centre centre(options, faults);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(centre.load());
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Line("address file " + options.addresses + ": cannot be opened or is no INI file"));
}

TEST_F(CentreTest, NoticesOtherAddresses) {
    kxecfgc::Centre centre(options, faults);
    ASSERT_TRUE(centre.load());
    write("; only the comment is new\n[multi_ip]\nip0=192.0.2.1\n");
    EXPECT_FALSE(centre.reload());
    write("[multi_ip]\nip0=192.0.2.9\n");
    EXPECT_TRUE(centre.reload());
    EXPECT_EQ(centre.handle({"agt_ei", 1, 1004, request}).data,
              kxecfgc::MakeAnswer("", {"192.0.2.9"}).data);
}

TEST_F(CentreTest, KeepsTheAddressesWhenTheFileCannotBeUsed) {
    kxecfgc::Centre centre(options, faults);
    ASSERT_TRUE(centre.load());
    write("[multi_ip]\nip1=192.0.2.9\n");
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(centre.reload());
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Line("address file " + options.addresses + ": ip1 is there, but not ip0"));
    EXPECT_EQ(centre.handle({"agt_ei", 1, 1004, request}).data,
              kxecfgc::MakeAnswer("", {"192.0.2.1"}).data);
}

TEST_F(CentreTest, LeavesARequestThatIsNotUnderstoodUnanswered) {
    options.count = 1;
    ASSERT_EQ(faults.add("close:1"), "");
    kxecfgc::Centre centre(options, faults);
    ASSERT_TRUE(centre.load());
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(centre.handle({"agt_ei", 1, 7, request}).delivery, Delivery::kNever);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Line("request from agt_ei of type 7 instead of 1004 is not understood"));
    EXPECT_FALSE(centre.done());
    EXPECT_EQ(centre.handle({"agt_ei", 1, 1004, request}).delivery, Delivery::kClose);
    EXPECT_TRUE(centre.done());
}

TEST_F(CentreTest, EndsAfterTheWantedRequests) {
    options.count = 1;
    kxecfgc::Centre centre(options, faults);
    ASSERT_TRUE(centre.load());
    EXPECT_EQ(centre.handle({"agt_ei", 1, 1004, request}).delivery, Delivery::kNow);
    EXPECT_TRUE(centre.done());
    EXPECT_EQ(centre.handle({"agt_ei", 2, 1004, request}).delivery, Delivery::kNever);
}

TEST_F(CentreTest, TellsWhatItDoesOnlyWhenAsked) {
    for (const bool verbose : {false, true}) {
        options.verbose = verbose;
        kxecfgc::Centre centre(options, faults);
        ASSERT_TRUE(centre.load());
        ::testing::internal::CaptureStdout();
        (void)centre.handle({"agt_ei", 1, 1004, request});
        EXPECT_EQ(::testing::internal::GetCapturedStdout(),
                  verbose ? "request from agt_ei, addresses: 1\n" : "");
    }
}
