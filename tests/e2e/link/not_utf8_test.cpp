// Texts of the machine that are not UTF-8, which nothing keeps them from being.
#include "link.h"

namespace kxtest {
namespace {

using testing::ElementsAre;

class NotUtf8 : public LinkTest {
  protected:
    // The complaint about a text when a section with it goes out.
    static std::string Complaint(const std::string& field) {
        return "String field 'bf_kxepinfo." + field +
               "' contains invalid UTF-8 data when serializing a protocol buffer.";
    }
    std::size_t Complaints(const std::string& text) const {
        return CountOf(installation().log(), text);
    }
    // The first upload was accepted, the next one goes on, and the host has printed nothing.
    void ExpectAllIsWell() {
        EXPECT_EQ(NextCycle(), "online, 0 failed");
        EXPECT_THAT(Commands(), ElementsAre(14, 2));
        EXPECT_EQ(host().stop(), 0);
        EXPECT_EQ(host().output(), "");
        EXPECT_EQ(host().errors(), "");
    }
};

TEST_F(NotUtf8, HostNameIsUploadedAsItIs) {
    ASSERT_TRUE(EnterOwnHostName("r\xe9seau-7"));
    StartManager();
    EXPECT_EQ(FirstCycle(), "online, 0 failed");
    const Json upload = Upload(0);
    EXPECT_EQ(Text(upload.get(), "epinfo.sys_info.base_info.host_node"), "r\\xE9seau-7");
    EXPECT_EQ(json_array_size(Member(upload.get(), "not_utf8")), 1U);
    EXPECT_EQ(Complaints(Complaint("epinfo_msg_base.host_node")), 1U);
    EXPECT_EQ(Complaints("invalid UTF-8"), 1U);
    ExpectAllIsWell();
}

TEST_F(NotUtf8, LoginIsUploadedAsItIs) {
    AddLogin(USER_PROCESS, "j\xf6rg", "b\xfcro", 1700000100);
    StartManager();
    EXPECT_EQ(FirstCycle(), "online, 0 failed");
    const Json upload = Upload(0);
    const std::string login = "epinfo.login_info.usr_info.0.";
    EXPECT_EQ(Text(upload.get(), login + "login_name"), "j\\xF6rg" + std::string(28, '\0'));
    EXPECT_EQ(Text(upload.get(), login + "login_ip"), "b\\xFCro" + std::string(252, '\0'));
    EXPECT_EQ(json_array_size(Member(upload.get(), "not_utf8")), 2U);
    EXPECT_EQ(Complaints(Complaint("epinfo_msg_usr.login_name")), 1U);
    EXPECT_EQ(Complaints(Complaint("epinfo_msg_usr.login_ip")), 1U);
    EXPECT_EQ(Complaints("invalid UTF-8"), 2U);
    ExpectAllIsWell();
}

// It is the same text in every cycle, so it is no change; only uploads that carry it tell it.
TEST_F(NotUtf8, IsNoChangeInItself) {
    ASSERT_TRUE(EnterOwnHostName("\xff\xfe"));
    StartManager();
    FirstCycle();
    for (int cycle = 0; cycle < 4; ++cycle) {
        NextCycle();
    }
    EXPECT_THAT(Commands(), ElementsAre(14, 2, 2, 2, 2));
    EXPECT_EQ(Complaints("invalid UTF-8"), 1U);
}

}  // namespace
}  // namespace kxtest
