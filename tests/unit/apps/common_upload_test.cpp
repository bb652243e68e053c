#include "common/upload.h"

#include <gtest/gtest.h>

#include "common/frame.h"

using namespace std::string_view_literals;

namespace {

constexpr timespec kNow{1700000000, 5};

// `data` must outlive what it is read to.
std::optional<kxapp::Upload> Read(std::string_view data, std::string& fault) {
    return kxapp::ReadUpload({"agt_ei", 7, 0, data}, kNow, fault);
}

}  // namespace

TEST(ReadUpload, TakesOverTheFactsOfTheRequest) {
    std::string fault;
    const auto upload = Read(kxapp::MakeFrame("\x08\x02\x10\x2A"), fault);
    ASSERT_TRUE(upload.has_value());
    EXPECT_EQ(upload->received.tv_sec, 1700000000);
    EXPECT_EQ(upload->received.tv_nsec, 5);
    EXPECT_EQ(upload->from, "agt_ei");
    EXPECT_EQ(upload->request_id, 7U);
    EXPECT_EQ(upload->frame_bytes, 24U);
    EXPECT_EQ(upload->message.ShortDebugString(), "cmd: 2 agent_id: 42");
}

TEST(ReadUpload, TakesAnEmptyPayloadForAnEmptyMessage) {
    std::string fault;
    const auto upload = Read(kxapp::MakeFrame(""), fault);
    ASSERT_TRUE(upload.has_value());
    EXPECT_EQ(upload->message.ShortDebugString(), "");
}

TEST(ReadUpload, RefusesAFrameWithAFault) {
    std::string fault;
    EXPECT_EQ(Read("abc", fault), std::nullopt);
    EXPECT_EQ(fault, "frame of 3 bytes, shorter than its header of 20");
}

TEST(ReadUpload, RefusesAPayloadThatIsNoUpload) {
    std::string fault;
    EXPECT_EQ(Read(kxapp::MakeFrame("\x08"), fault), std::nullopt);
    EXPECT_EQ(fault, "payload of 1 bytes is no epinfo message");
}

TEST(ReadUpload, KeepsThePayloadAsItCame) {
    std::string fault;
    const std::string frame = kxapp::MakeFrame("\x08\x02\x2A\x05\x0A\x03\x12\x01\xFC");
    const auto upload = Read(frame, fault);
    ASSERT_TRUE(upload.has_value());
    EXPECT_EQ(upload->payload, "\x08\x02\x2A\x05\x0A\x03\x12\x01\xFC");
    EXPECT_EQ(upload->message.login_info().usr_info(0).login_name(), "\\xFC");
}

TEST(ReadUpload, RefusesMoreThanAnUploadMayHave) {
    std::string fault;
    // A text field that the schema does not know makes a sound message of any length.
    constexpr std::size_t kMost = 10 * 1024 * 1024;
    const std::string begin = "\x7A\xE7\xFF\xFF\x04";  // field 15, 10485735 bytes
    const std::string payload = begin + std::string(kMost - 20 - begin.size(), 'x');
    EXPECT_TRUE(Read(kxapp::MakeFrame(payload), fault).has_value()) << fault;
    EXPECT_EQ(Read(kxapp::MakeFrame(payload + "x"), fault), std::nullopt);
    EXPECT_EQ(fault, "frame of 10485761 bytes, more than the 10485760 that an upload may have");
}

TEST(ReadUpload, TakesTheAdaptersOfALargeMachine) {
    bf_kxepinfo::epinfo message;
    for (int i = 0; i < 10'000; ++i) {
        auto& adapter = *message.mutable_sys_info()->mutable_nw_info()->add_if_info();
        adapter.set_if_mac("00-1A-2B-3C-4D-5E");
        adapter.add_if_ipv4("255.255.255.255");
        adapter.add_if_ipv6(std::string(39, 'f'));
        adapter.add_if_ipv6(std::string(39, 'e'));
    }
    std::string fault;
    EXPECT_TRUE(Read(kxapp::MakeFrame(message.SerializeAsString()), fault).has_value()) << fault;
}

TEST(ReadUpload, RefusesMoreEntriesThanCanBeShown) {
    bf_kxepinfo::epinfo message;
    auto& adapter = *message.mutable_sys_info()->mutable_nw_info()->add_if_info();
    for (int i = 1; i < 100'000; ++i) {
        adapter.add_if_ipv4();
    }
    std::string fault;
    EXPECT_TRUE(Read(kxapp::MakeFrame(message.SerializeAsString()), fault).has_value()) << fault;
    adapter.add_if_ipv4();
    EXPECT_EQ(Read(kxapp::MakeFrame(message.SerializeAsString()), fault), std::nullopt);
    EXPECT_EQ(fault, "upload with more than 100000 entries in its lists");
}
