// No memory for a serializer.
#include <gmock/gmock.h>

#include <memory>
#include <new>

#include "log_capture.h"
#include "msghandler/msgbase.h"

namespace {
bool no_memory = false;
}

// In front of the C++ library's.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return no_memory ? nullptr : ::operator new(size);
}

TEST(SerializerMemory, FailureGivesNullAndIsLogged) {
    kxtest::ClearLog();
    CMsgBase* made = reinterpret_cast<CMsgBase*>(&no_memory);  // any address but null
    no_memory = true;
    const bool created = InitMsgSerializer(&made, MSG_SERIALIZER_PROTOBUF);
    no_memory = false;
    EXPECT_FALSE(created);
    EXPECT_EQ(made, nullptr);
    EXPECT_THAT(kxtest::LoggedLines(), ::testing::ElementsAre(kxtest::LogLine{
                                           2, "kxepinfo", "new serializer for protobuf failed\n"}));
}

TEST(SerializerMemory, EnoughOfItGivesASerializer) {
    CMsgBase* made = nullptr;
    EXPECT_TRUE(InitMsgSerializer(&made, MSG_SERIALIZER_PROTOBUF));
    const std::unique_ptr<CMsgBase> serializer(made);
    EXPECT_NE(serializer, nullptr);
}
