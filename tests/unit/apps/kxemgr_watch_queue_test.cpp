#include "kxemgr/watch_queue.h"

#include <gmock/gmock.h>

using kxemgr::WatchQueue;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

void PushUpload(WatchQueue& queue, std::string upload) {
    queue.push(std::make_shared<const std::string>(std::move(upload)));
}

}  // namespace

TEST(WatchQueue, NumbersFromOne) {
    WatchQueue queue;
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(queue.next().first, 1U);
    EXPECT_THAT(queue.next().uploads, IsEmpty());
    PushUpload(queue, "a");
    PushUpload(queue, "b");
    EXPECT_EQ(queue.next().state, kxapp::WatchState::kWatching);
    EXPECT_EQ(queue.next().first, 1U);
    EXPECT_THAT(queue.next().uploads, ElementsAre("a", "b"));
}

TEST(WatchQueue, KeepsWhatIsNotConfirmed) {
    WatchQueue queue;
    for (const char* const upload : {"a", "b", "c"}) {
        PushUpload(queue, upload);
    }
    queue.confirm(0);
    EXPECT_EQ(queue.next().first, 1U);
    queue.confirm(2);
    EXPECT_EQ(queue.next().first, 3U);
    EXPECT_THAT(queue.next().uploads, ElementsAre("c"));
    queue.confirm(1);
    EXPECT_THAT(queue.next().uploads, ElementsAre("c"));
}

TEST(WatchQueue, GoesOnBehindAnImpossibleConfirmation) {
    WatchQueue queue;
    PushUpload(queue, "a");
    queue.confirm(1'000'000);
    EXPECT_TRUE(queue.empty());
    PushUpload(queue, "b");
    EXPECT_EQ(queue.next().first, 2U);
    EXPECT_THAT(queue.next().uploads, ElementsAre("b"));
}

TEST(WatchQueue, DropsTheOldestBeyondItsNumber) {
    WatchQueue queue;
    for (std::size_t i = 1; i <= WatchQueue::kMostUploads + 3; ++i) {
        PushUpload(queue, std::to_string(i));
    }
    EXPECT_EQ(queue.next().first, 4U);
    EXPECT_EQ(queue.next().uploads.front(), "4");
}

TEST(WatchQueue, DropsTheOldestBeyondItsBytes) {
    WatchQueue queue;
    PushUpload(queue, std::string(WatchQueue::kMostBytes / 2, 'a'));
    PushUpload(queue, std::string(WatchQueue::kMostBytes / 2, 'b'));
    EXPECT_EQ(queue.next().first, 1U);
    PushUpload(queue, "c");
    EXPECT_EQ(queue.next().first, 2U);
    EXPECT_EQ(queue.next().uploads.front().front(), 'b');
}

TEST(WatchQueue, KeepsTheNewestHoweverLongItIs) {
    WatchQueue queue;
    PushUpload(queue, "a");
    PushUpload(queue, std::string(WatchQueue::kMostBytes + 1, 'b'));
    EXPECT_EQ(queue.next().first, 2U);
    EXPECT_THAT(queue.next().uploads, SizeIs(1));
    PushUpload(queue, "c");
    EXPECT_EQ(queue.next().first, 3U);
    EXPECT_THAT(queue.next().uploads, ElementsAre("c"));
}

TEST(WatchQueue, GivesNoMoreAtOnceThanAnAnswerMayHave) {
    WatchQueue queue;
    for (std::size_t i = 0; i <= kxapp::kMostWatchedAtOnce; ++i) {
        PushUpload(queue, "x");
    }
    EXPECT_THAT(queue.next().uploads, SizeIs(kxapp::kMostWatchedAtOnce));
    WatchQueue long_ones;
    for (int i = 0; i < 3; ++i) {
        PushUpload(long_ones, std::string(kxapp::kMostWatchedBytes / 2, 'x'));
    }
    EXPECT_THAT(long_ones.next().uploads, SizeIs(2));
}
