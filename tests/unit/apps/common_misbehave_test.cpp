#include "common/misbehave.h"

#include <gtest/gtest.h>

using kxapp::Delivery;
using kxapp::DeliveryUnder;

TEST(Misbehave, DecidesWhenAnAnswerGoesOut) {
    EXPECT_EQ(DeliveryUnder(""), Delivery::kNow);
    EXPECT_EQ(DeliveryUnder("garbage"), Delivery::kNow);
    EXPECT_EQ(DeliveryUnder("silent"), Delivery::kNever);
    EXPECT_EQ(DeliveryUnder("slow"), Delivery::kLate);
    EXPECT_EQ(DeliveryUnder("close"), Delivery::kClose);
}

TEST(Misbehave, GarbageIsOtherBytesEachTime) {
    const std::string first = kxapp::Garbage();
    const std::string second = kxapp::Garbage();
    EXPECT_EQ(first.size(), 64U);
    EXPECT_EQ(second.size(), 64U);
    EXPECT_NE(first, second);
}
