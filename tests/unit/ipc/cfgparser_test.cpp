// The change notification.
#include "ipc/cfgparser.h"

#include <string>

#include "ipc_fixture.h"

using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::Packed;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ChangeNotification : public kxtest::IpcTest {
  protected:
    bool Read(const std::string& bytes) {
        return GetNotifyCfgModlues(bytes.data(), kxtest::Size(bytes), modules);
    }

    unsigned modules = 4711;
    const kxtest::LiveMessages messages;
};

}  // namespace

TEST_F(ChangeNotification, NamesTheGlobalSectionWhateverItsValue) {
    for (const char* value : {"", "0", "anything"}) {
        modules = 4711;
        EXPECT_TRUE(Read(Packed("change", {{"other", "x"}, {"global", value}}))) << value;
        EXPECT_EQ(modules, 2U) << value;
    }
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ChangeNotification, OfOtherSectionsLeavesTheResultAlone) {
    EXPECT_FALSE(Read(Packed("change", {{"globa", "1"}, {"global2", "1"}, {"Global", "1"}})));
    EXPECT_EQ(modules, 4711U);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ChangeNotification, NeedsData) {
    EXPECT_FALSE(GetNotifyCfgModlues(nullptr, 7, modules));
    EXPECT_EQ(modules, 4711U);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "cfgparser", "msg null"}));
}

TEST_F(ChangeNotification, NeedsALength) {
    EXPECT_FALSE(GetNotifyCfgModlues("x", 0, modules));
    EXPECT_EQ(modules, 4711U);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "cfgparser", "msg null"}));
}

TEST_F(ChangeNotification, ThatDoesNotUnpackLeavesTheResultAlone) {
    EXPECT_FALSE(Read("garbage"));
    EXPECT_EQ(modules, 4711U);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "cfgparser", "xmsg_unpack failed"}));
}

TEST_F(ChangeNotification, ReleasesItsMessage) {
    (void)Read(Packed("change", {{"global", "1"}}));
    (void)Read(Packed("change", {}));
    EXPECT_EQ(messages.Count(), 0);
}
