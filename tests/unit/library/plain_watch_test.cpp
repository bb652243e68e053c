// The plain agent notices when a rule is broken: what the tests around it rest on.
#include <gmock/gmock.h>

#include <cerrno>
#include <memory>
#include <optional>

#include "ini_file.h"
#include "installation.h"
#include "kxe_base.h"
#include "kxe_ini.h"
#include "plain_agent/guarded.h"
#include "plain_agent/handles.h"
#include "plain_agent/message.h"
#include "plain_agent/watch.h"
#include "xmsg.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StrEq;

namespace {

// Keeps the compiler from leaving the reading out.
char Read(const char* at) {
    return *static_cast<const volatile char*>(at);
}

// On a thread that counts as the worker.
class PlainWatch : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        plain::ResetWatch();
        plain::ResetHandles();
    }

    const plain::WorkerMark mark;
};

}  // namespace

TEST_F(PlainWatch, BehindGuardedBytesAreTheirZerosAndNothingElse) {
    const plain::GuardedBytes bytes("data", 1);
    EXPECT_THAT(bytes.data(), StrEq("data"));
    EXPECT_DEATH((void)Read(bytes.data() + 5), "");
}

TEST_F(PlainWatch, GuardedBytesAreGoneAfterTheirLife) {
    auto bytes = std::make_unique<plain::GuardedBytes>("data", 1);
    const char* const data = bytes->data();
    bytes.reset();
    EXPECT_DEATH((void)Read(data), "");
}

TEST_F(PlainWatch, AnIniValueDiesAtTheNextGet) {
    const auto path = kxtest::WriteFile("config/two.ini", "[section]\na=1\nb=2\n");
    kxe_ini_file* const file = kxe_ini_file_load(path.c_str());
    const char* const first = kxe_ini_file_get(file, "section", "a");
    EXPECT_THAT(first, StrEq("1"));
    EXPECT_DEATH(
        {
            (void)kxe_ini_file_get(file, "section", "b");
            (void)Read(first);
        },
        "");
    kxe_ini_file_free(file);
    EXPECT_THAT(plain::Breaches(), IsEmpty());
}

TEST_F(PlainWatch, AMessagesValuesDieWithIt) {
    const std::string packed = plain::Pack({{"key", "value"}});
    xmsg* const msg = xmsg_unpack(packed.data(), static_cast<uint32_t>(packed.size()));
    uint32_t length = 0;
    uint32_t flags = 0;
    const char* const value = xmsg_get(msg, "key", 3, &length, &flags);
    EXPECT_THAT(value, StrEq("value"));
    EXPECT_DEATH(
        {
            xmsg_release(msg);
            (void)Read(value);
        },
        "");
    xmsg_release(msg);
}

TEST_F(PlainWatch, WhatIsNotGivenBackIsOut) {
    xmsg* const msg = xmsg_new("name");
    EXPECT_THAT(plain::HandlesOut(), ElementsAre("message"));
    xmsg_release(msg);
    EXPECT_THAT(plain::HandlesOut(), IsEmpty());
}

TEST_F(PlainWatch, AHandleComesBackOnce) {
    xmsg* const msg = xmsg_new("name");
    xmsg_release(msg);
    xmsg_release(msg);
    EXPECT_THAT(plain::Breaches(),
                ElementsAre("xmsg_release gets what is no message, or not any more"));
}

TEST_F(PlainWatch, AHandleComesBackByTheFunctionOfItsFamily) {
    const auto path = kxtest::WriteFile("config/empty.ini", "");
    kxe_ini_file* const file = kxe_ini_file_load(path.c_str());
    ini_file_free(file);
    EXPECT_THAT(plain::Breaches(),
                ElementsAre("an INI file's free gets what is no ini_file, or not any more"));
    kxe_ini_file_free(file);
}

TEST(PlainWatchElsewhere, FunctionsOfTheWorkerBelongToIt) {
    plain::ResetWatch();
    (void)kxe_time();
    EXPECT_THAT(plain::Breaches(),
                ElementsAre("kxe_time is called on another thread than the worker"));
}

TEST_F(PlainWatch, ErrnoIsWorthlessAfterSuccessAndSaysWhyAfterFailure) {
    errno = 0;
    (void)kxe_time();
    EXPECT_EQ(errno, plain::Call::kWorthless);
    EXPECT_EQ(kxe_ini_file_load("/absent"), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(PlainWatch, OneCallFailsAndNoOther) {
    plain::LetFail("read_container_id", 2);
    char id[65];
    EXPECT_EQ(read_container_id(1, id, sizeof id), 0);
    EXPECT_FALSE(plain::HasFailed());
    EXPECT_EQ(read_container_id(1, id, sizeof id), -1);
    EXPECT_TRUE(plain::HasFailed());
    EXPECT_EQ(read_container_id(1, id, sizeof id), 0);
}

TEST_F(PlainWatch, MessagesThatLieAboutTheirLengthAreNone) {
    const std::string packed = plain::Pack({{"key", "value"}});
    EXPECT_EQ(plain::Unpack(packed + "x"), std::nullopt);
    for (std::size_t length = 0; length < packed.size(); ++length) {
        EXPECT_EQ(plain::PackedSize(packed.substr(0, length)), std::nullopt) << length;
    }
    EXPECT_EQ(plain::PackedSize(packed + "behind it"), packed.size());
}
