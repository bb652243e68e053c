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
    // A field of that many bytes, which the schema does not know, is a sound message.
    const std::string payload =
        "\x7A\xE6\xFF\xFF\x01" + std::string(4 * 1024 * 1024 - 20 - 5 - 1, 'x');
    EXPECT_EQ(Read(kxapp::MakeFrame(payload + "x"), fault), std::nullopt);
    EXPECT_EQ(fault, "payload of 4194284 bytes is no epinfo message");
    EXPECT_TRUE(
        Read(kxapp::MakeFrame("\x7A\xE7\xFF\xFF\x01" + std::string(4 * 1024 * 1024 - 20 - 5, 'x')),
             fault)
            .has_value());
    EXPECT_EQ(Read(kxapp::MakeFrame(std::string(4 * 1024 * 1024 - 19, 'x')), fault), std::nullopt);
    EXPECT_EQ(fault, "frame of 4194305 bytes, more than the 4194304 that an upload may have");
}
