#include "kxecfgc/answer.h"

#include <gtest/gtest.h>

#include "common/keyvalue.h"

using kxapp::Delivery;
using kxapp::FindInMessage;
using kxecfgc::MakeAnswer;

namespace {

const kxecfgc::Addresses kTwo{"192.0.2.1", "192.0.2.2"};

std::string Count(std::string_view fault) {
    return FindInMessage(MakeAnswer(fault, kTwo).data, "count").value.value_or("(none)");
}

// The addresses under ip0, ip1, ... until one is absent.
kxecfgc::Addresses List(std::string_view fault) {
    const auto list = FindInMessage(MakeAnswer(fault, kTwo).data, "multi_ip").value.value_or("");
    kxecfgc::Addresses addresses;
    while (const auto found = FindInMessage(list, "ip" + std::to_string(addresses.size())).value) {
        addresses.push_back(*found);
    }
    return addresses;
}

}  // namespace

TEST(CentreRequest, ForTheGlobalSectionIsUnderstood) {
    EXPECT_EQ(kxecfgc::FaultOfRequest(1004, kxapp::PackMessage("global", {{"module", "global"}})),
              "");
}

TEST(CentreRequest, OfAnotherKindIsNot) {
    EXPECT_EQ(kxecfgc::FaultOfRequest(1005, kxapp::PackMessage("global", {{"module", "global"}})),
              "of type 1005 instead of 1004");
    EXPECT_EQ(kxecfgc::FaultOfRequest(1004, "abc"), "whose 3 bytes are no message");
    EXPECT_EQ(kxecfgc::FaultOfRequest(1004, kxapp::PackMessage("global", {})),
              "without the key module");
    EXPECT_EQ(kxecfgc::FaultOfRequest(1004, kxapp::PackMessage("global", {{"module", "ui"}})),
              "for the unknown section 'ui'");
}

TEST(CentreAnswer, HoldsCountAndList) {
    const kxapp::Reply reply = MakeAnswer("", kTwo);
    EXPECT_EQ(reply.delivery, Delivery::kNow);
    EXPECT_EQ(reply.type, 1004U);
    EXPECT_EQ(Count(""), "2");
    EXPECT_EQ(List(""), kTwo);
}

TEST(CentreAnswer, MayBeEmpty) {
    const kxapp::Reply reply = MakeAnswer("", {});
    EXPECT_EQ(FindInMessage(reply.data, "count").value, "0");
    const auto list = FindInMessage(reply.data, "multi_ip").value;
    ASSERT_TRUE(list.has_value());
    EXPECT_TRUE(FindInMessage(*list, "ip0").is_message);
}

TEST(CentreAnswer, HoldsAsManyAddressesAsAFileMayHave) {
    const kxecfgc::Addresses most(kxecfgc::kMostAddresses, std::string(63, 'a'));
    EXPECT_EQ(FindInMessage(MakeAnswer("", most).data, "count").value, "1024");
}

TEST(CentreFault, DecidesWhenTheAnswerGoesOut) {
    EXPECT_EQ(MakeAnswer("silent", kTwo).delivery, Delivery::kNever);
    EXPECT_EQ(MakeAnswer("close", kTwo).delivery, Delivery::kClose);
    EXPECT_EQ(MakeAnswer("slow", kTwo).delivery, Delivery::kLate);
    EXPECT_EQ(MakeAnswer("slow", kTwo).data, MakeAnswer("", kTwo).data);
}

TEST(CentreFault, EmptyHasNoData) {
    EXPECT_EQ(MakeAnswer("empty", kTwo).data, "");
    EXPECT_EQ(MakeAnswer("empty", kTwo).delivery, Delivery::kNow);
}

TEST(CentreFault, GarbageAndCutAreNoMessages) {
    EXPECT_EQ(MakeAnswer("garbage", kTwo).data.size(), 64U);
    EXPECT_FALSE(FindInMessage(MakeAnswer("garbage", kTwo).data, "count").is_message);
    const std::string whole = MakeAnswer("", kTwo).data;
    EXPECT_EQ(MakeAnswer("cut", kTwo).data, whole.substr(0, whole.size() / 2));
    EXPECT_FALSE(FindInMessage(MakeAnswer("cut", kTwo).data, "count").is_message);
}

TEST(CentreFault, Type1005ChangesOnlyTheType) {
    EXPECT_EQ(MakeAnswer("type1005", kTwo).type, 1005U);
    EXPECT_EQ(MakeAnswer("type1005", kTwo).data, MakeAnswer("", kTwo).data);
}

TEST(CentreFault, NoCountHasOnlyTheList) {
    EXPECT_EQ(Count("no-count"), "(none)");
    EXPECT_EQ(List("no-count"), kTwo);
}

TEST(CentreFault, NoListHasOnlyTheCount) {
    EXPECT_EQ(Count("no-list"), "2");
    EXPECT_EQ(FindInMessage(MakeAnswer("no-list", kTwo).data, "multi_ip").value, std::nullopt);
}

TEST(CentreFault, BadListIsNoMessage) {
    EXPECT_EQ(Count("bad-list"), "2");
    EXPECT_EQ(FindInMessage(MakeAnswer("bad-list", kTwo).data, "multi_ip").value,
              "no message at all");
}

TEST(CentreFault, MissingIpCountsOneTooMany) {
    EXPECT_EQ(Count("missing-ip"), "3");
    EXPECT_EQ(List("missing-ip"), kTwo);
}

TEST(CentreFault, LongValueAddsAnAddressOf64Characters) {
    EXPECT_EQ(Count("long-value"), "3");
    EXPECT_EQ(List("long-value"),
              (kxecfgc::Addresses{"192.0.2.1", "192.0.2.2", std::string(64, '1')}));
}

TEST(CentreFault, OddCountsKeepTheList) {
    EXPECT_EQ(Count("zero-count"), "0");
    EXPECT_EQ(Count("negative-count"), "-1");
    EXPECT_EQ(Count("text-count"), "many");
    EXPECT_EQ(Count("huge-count"), "4611686018427387904");
    for (const char* fault : {"zero-count", "negative-count", "text-count", "huge-count"}) {
        EXPECT_EQ(List(fault), kTwo) << fault;
    }
}

TEST(CentreFault, EveryKindDoesSomething) {
    const kxapp::Reply right = MakeAnswer("", kTwo);
    for (const kxapp::FaultKind& kind : kxecfgc::FaultKinds()) {
        const kxapp::Reply reply = MakeAnswer(kind.name, kTwo);
        EXPECT_TRUE(reply.delivery != right.delivery || reply.type != right.type ||
                    reply.data != right.data)
            << kind.name;
    }
}

TEST(CentreNotification, HasTheKeyGlobal) {
    EXPECT_TRUE(FindInMessage(kxecfgc::MakeNotification(), "global").value.has_value());
}
