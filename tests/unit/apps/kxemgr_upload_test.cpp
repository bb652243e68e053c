#include "kxemgr/upload.h"

#include <gtest/gtest.h>

#include "common/frame.h"

using namespace std::string_view_literals;

namespace {

constexpr timespec kNow{1700000000, 5};

std::optional<kxemgr::Upload> Read(std::string_view data, std::string& fault) {
    return kxemgr::ReadUpload({"agt_ei", 7, 0, data}, kNow, fault);
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

TEST(ReadUpload, RefusesMoreThanAnUploadMayHave) {
    std::string fault;
    // A text field that the schema does not know makes a sound message of any length.
    constexpr std::size_t kMost = 1024 * 1024;
    const std::string begin = "\x7A\xE8\xFF\x3F";  // field 15, 1048552 bytes
    const std::string payload = begin + std::string(kMost - 20 - begin.size(), 'x');
    EXPECT_TRUE(Read(kxapp::MakeFrame(payload), fault).has_value()) << fault;
    EXPECT_EQ(Read(kxapp::MakeFrame(payload + "x"), fault), std::nullopt);
    EXPECT_EQ(fault, "frame of 1048577 bytes, more than the 1048576 that an upload may have");
}
