// net_config.ini, which other processes write too, and a host that is killed while it writes.
#include <csignal>
#include <filesystem>

#include "conversation.h"

namespace kxtest {
namespace {

using SharedFile = ConversationTest;

constexpr char kForeign[] = "; kept by others\n[proxy]\nport=8080\n";

TEST_F(SharedFile, LosesNothingOfAnyOfItsWriters) {
    installation().write("config/net_config.ini", kForeign);
    StartCentre();
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    Program first(Neighbour(), {"count", "first", "100"});
    Program second(Neighbour(), {"count", "second", "100"});
    EXPECT_EQ(RunToEnd(Peer(), {"notify", "100"}).status, 0);
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    EXPECT_TRUE(WaitUntil([&] { return CountInLog(kWritten) == 101; })) << installation().log();

    const std::string file = MirrorFile();
    EXPECT_THAT(file, testing::StartsWith(kForeign + MirrorOf("127.0.0.1")));
    EXPECT_THAT(file, testing::HasSubstr("[first]\nnumber=100\n"));
    EXPECT_THAT(file, testing::HasSubstr("[second]\nnumber=100\n"));
    EXPECT_EQ(CountOf(file, "\n"), 10U) << file;
}

TEST_F(SharedFile, IsWholeWheneverTheHostIsKilled) {
    const std::string whole = kForeign + MirrorOf("127.0.0.1");
    installation().write("config/net_config.ini", whole);
    StartCentre();
    for (std::size_t round = 1; round <= 8; ++round) {
        Program& host = StartHost();
        ASSERT_TRUE(WaitUntil([&] { return CountInLog("upload gap is ") == round; }));
        const std::size_t before = CountInLog(kWritten);
        const Program notifier(Peer(), {"notify", "500"});
        ASSERT_TRUE(WaitUntil([&] { return CountInLog(kWritten) > before + round; }));
        host.signal(SIGKILL);
        EXPECT_EQ(host.wait(), 128 + SIGKILL);
        EXPECT_EQ(MirrorFile(), whole) << round;
    }
    // Whoever was killed left neither a lock nor a broken file to the next.
    SetAddress("192.0.2.77");
    StartHost();
    EXPECT_TRUE(WaitUntil([&] { return MirrorFile() == kForeign + MirrorOf("192.0.2.77"); }))
        << installation().log();
}

}  // namespace
}  // namespace kxtest
