#include "kxectl/watched_text.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>

#include "common/frame.h"
#include "common/json_line.h"
#include "common/keyvalue.h"
#include "common/watch.h"

using bf_kxepinfo::epinfo_msg_respone;
using testing::HasSubstr;

namespace {

const std::string kWatchedFrame = kxapp::MakeFrame("\x08\x02\x10\x2A");

kxapp::Upload WatchedUpload() {
    std::string fault;
    return kxapp::ReadUpload({"agt_ei", 7, 0, kWatchedFrame}, {1700000000, 5'000'000}, fault)
        .value();
}

epinfo_msg_respone PlainAcceptance() {
    epinfo_msg_respone answer;
    answer.set_status(1);
    answer.set_cmd_type(2);
    return answer;
}

std::string TextForPeople(const std::string& fault_played, const epinfo_msg_respone& answer) {
    setenv("TZ", "UTC", 1);
    tzset();
    std::string fault;
    return kxectl::ShowWatched(kxapp::PackWatched(WatchedUpload(), fault_played, answer), false,
                               fault)
        .value_or(fault);
}

std::string FaultShown(const kxapp::Entries& entries) {
    std::string fault;
    const auto text = kxectl::ShowWatched(kxapp::PackMessage("mgr_ei", entries), true, fault);
    return text.value_or(fault);
}

}  // namespace

TEST(WatchedText, IsTheBlockWithTheAnswer) {
    EXPECT_EQ(TextForPeople("", PlainAcceptance()),
              "2023-11-14 22:13:20.005  agent 42 (agt_ei)  resources\n  accepted\n");
}

TEST(WatchedText, TellsARefusalADuplicateAndTheFaultPlayed) {
    epinfo_msg_respone answer = PlainAcceptance();
    answer.set_duplicate(1);
    EXPECT_THAT(TextForPeople("", answer), HasSubstr("\n  duplicate: this agent id belongs"));
    answer.set_status(0);
    answer.set_res_msg("no\nroom");
    EXPECT_THAT(TextForPeople("silent", answer),
                HasSubstr("\n  refused: no\\x0Aroom\n  fault silent\n"));
}

TEST(WatchedText, IsTheManagersLineInJson) {
    std::string fault;
    const auto line = kxectl::ShowWatched(
        kxapp::PackWatched(WatchedUpload(), "slow", PlainAcceptance()), true, fault);
    EXPECT_EQ(line, kxapp::JsonLine(WatchedUpload(), "slow", PlainAcceptance()));
}

TEST(WatchedText, DisturbsNoTerminal) {
    EXPECT_THAT(TextForPeople("si\033[2Jlent", PlainAcceptance()),
                HasSubstr("  fault si\\x1B[2Jlent\n"));
}

TEST(WatchedText, IsNotMadeOfWhatIsNoUpload) {
    const std::pair<std::string, std::string> received{"received", "1"};
    const std::pair<std::string, std::string> id{"request_id", "1"};
    EXPECT_EQ(FaultShown({}), "no received");
    EXPECT_EQ(FaultShown({received, id, {"frame", "short"}, {"answer", ""}}),
              "frame of 5 bytes, shorter than its header of 20");
    EXPECT_EQ(FaultShown({received, id, {"frame", kWatchedFrame}, {"answer", "\xff\xff"}}),
              "an answer that is no epinfo_msg_respone message");
}
