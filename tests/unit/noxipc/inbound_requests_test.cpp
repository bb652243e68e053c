// The book of requests that wait for a response.
#include "inbound_requests.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using noxipc::Inbound;
using noxipc::InboundRequests;

// Only compared, never looked into.
Inbound* Connection(int number) {
    static int places[4];
    return reinterpret_cast<Inbound*>(&places[number]);
}

TEST(InboundRequests, AreFoundByTheirOwnId) {
    InboundRequests requests;
    const auto first = requests.Add(Connection(0), 10);
    const auto second = requests.Add(Connection(1), 10);
    ASSERT_NE(first, second);
    ASSERT_NE(nullptr, requests.Find(first));
    EXPECT_EQ(Connection(0), requests.Find(first)->connection);
    EXPECT_EQ(10U, requests.Find(first)->peer_id);
    ASSERT_NE(nullptr, requests.Find(second));
    EXPECT_EQ(Connection(1), requests.Find(second)->connection);
}

TEST(InboundRequests, HaveIdsOfTheirOwnWhateverThePeersCallThem) {
    InboundRequests requests;
    std::set<uint32_t> ids;
    for (int i = 0; i < 1000; ++i) {
        ids.insert(requests.Add(Connection(i % 4), 5));
    }
    EXPECT_EQ(1000U, ids.size());
    EXPECT_FALSE(ids.contains(0));
}

TEST(InboundRequests, AreGoneOnceRemoved) {
    InboundRequests requests;
    const auto id = requests.Add(Connection(0), 10);
    requests.Remove(id);
    EXPECT_EQ(nullptr, requests.Find(id));
    EXPECT_EQ(0U, requests.size());
    requests.Remove(id);
    EXPECT_EQ(0U, requests.size());
}

TEST(InboundRequests, OfAConnectionGoWithIt) {
    InboundRequests requests;
    const auto gone = requests.Add(Connection(0), 1);
    const auto stays = requests.Add(Connection(1), 1);
    requests.RemoveAll(Connection(0));
    EXPECT_EQ(nullptr, requests.Find(gone));
    EXPECT_NE(nullptr, requests.Find(stays));
    requests.RemoveAll(Connection(0));
    EXPECT_EQ(1U, requests.size());
}

TEST(InboundRequests, ForgetTheOldestOfAConnectionBeyondItsLimit) {
    InboundRequests requests;
    const auto other = requests.Add(Connection(1), 1);
    const auto first = requests.Add(Connection(0), 0);
    const auto second = requests.Add(Connection(0), 1);
    for (uint32_t i = 2; i < 1024; ++i) {
        (void)requests.Add(Connection(0), i);
    }
    EXPECT_NE(nullptr, requests.Find(first));
    (void)requests.Add(Connection(0), 1024);
    EXPECT_EQ(nullptr, requests.Find(first));
    EXPECT_NE(nullptr, requests.Find(second));
    EXPECT_NE(nullptr, requests.Find(other));
    EXPECT_EQ(1025U, requests.size());
}

TEST(InboundRequests, DoNotCountThoseThatWereAnswered) {
    InboundRequests requests;
    const auto first = requests.Add(Connection(0), 0);
    for (uint32_t i = 0; i < 5000; ++i) {
        requests.Remove(requests.Add(Connection(0), i));
    }
    EXPECT_NE(nullptr, requests.Find(first));
}

}  // namespace
