// Events: who gets which, and who has to go.
#include "kxemgr/console/feed.h"

#include <gmock/gmock.h>

#include <thread>
#include <vector>

using kxemgr::console::EventText;
using kxemgr::console::Feed;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""min;

TEST(Feed, AReaderGetsWhatComesAfterIt) {
    Feed feed;
    feed.publish("a");
    const auto one = feed.join();
    feed.publish("b");
    const auto other = feed.join();
    feed.publish("c");
    EXPECT_EQ(one->next(0ms), "bc");
    EXPECT_EQ(other->next(0ms), "c");
    EXPECT_EQ(one->next(0ms), "");
}

TEST(Feed, AReaderWaitsForTheNextEvent) {
    Feed feed;
    const auto client = feed.join();
    std::thread publisher([&feed] { feed.publish("a"); });
    EXPECT_EQ(client->next(1min), "a");
    publisher.join();
}

TEST(Feed, AReaderThatIsTooSlowHasToGo) {
    Feed feed;
    const auto slow = feed.join();
    for (std::size_t i = 0; i < Feed::kMostEvents; ++i) {
        feed.publish("x");
    }
    EXPECT_EQ(slow->next(0ms)->size(), Feed::kMostEvents);
    for (std::size_t i = 0; i < Feed::kMostEvents + 1; ++i) {
        feed.publish("x");
    }
    EXPECT_EQ(slow->next(0ms), std::nullopt);
}

TEST(Feed, ThereIsRoomForSoManyReaders) {
    Feed feed;
    std::vector<std::shared_ptr<Feed::Client>> clients;
    for (std::size_t i = 0; i < Feed::kMostClients; ++i) {
        clients.push_back(feed.join());
        EXPECT_NE(clients.back(), nullptr);
    }
    EXPECT_EQ(feed.client_count(), Feed::kMostClients);
    EXPECT_EQ(feed.join(), nullptr);
    clients.pop_back();
    EXPECT_NE(feed.join(), nullptr);
}

TEST(Feed, ClosingSendsEveryoneAway) {
    Feed feed;
    const auto client = feed.join();
    std::thread closer([&feed] { feed.close(); });
    EXPECT_EQ(client->next(1min), std::nullopt);
    closer.join();
    EXPECT_EQ(feed.join(), nullptr);
}

TEST(Feed, AnEventIsThreeLines) {
    EXPECT_EQ(EventText("upload", "{}"), "event: upload\ndata: {}\n\n");
}
