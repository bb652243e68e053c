// The handler of the configuration centre's answer, apart from what the answer says.
#include <cerrno>
#include <cstdint>
#include <new>
#include <string>

#include "ipc/cfgrequest.h"
#include "ipc_fixture.h"

using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The context of a request is a number in a pointer's place.
void* Section(uintptr_t number) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): never used as an address
    return reinterpret_cast<void*>(number);
}

class ConfigurationAnswer : public kxtest::IpcTest {
  protected:
    void Receive(unsigned type, uintptr_t section, const std::string& bytes) {
        IpcOnCfgcResponse(0, type, bytes.data(), kxtest::Size(bytes), Section(section));
    }

    const std::string answer = kxtest::PackedAddresses("1", std::vector<std::string>{"10.0.0.1"});
};

}  // namespace

TEST_F(ConfigurationAnswer, AnErrorOfTheBusIsLogged) {
    IpcOnCfgcResponse(ECONNREFUSED, 1004, answer.data(), kxtest::Size(answer), Section(2));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo",
                                    "send msg to local cfg failed with error msg: text of 111"}));
}

TEST_F(ConfigurationAnswer, NeedsData) {
    IpcOnCfgcResponse(0, 1004, nullptr, 5, Section(2));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo",
                                    "send msg to local cfg failed with error msg: text of 0"}));
}

TEST_F(ConfigurationAnswer, NeedsALength) {
    IpcOnCfgcResponse(0, 1004, answer.data(), 0, Section(2));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo",
                                    "send msg to local cfg failed with error msg: text of 0"}));
}

TEST_F(ConfigurationAnswer, OfAnotherTypeIsSilentlyIgnored) {
    Receive(1005, 2, answer);
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_FALSE(exists(kxtest::InstallationRoot() / "config/net_config.ini"));
}

TEST_F(ConfigurationAnswer, ToARequestForAnotherSectionIsNotWritten) {
    Receive(1004, 3, answer);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo", "parse global cfgc failed Type = 3"}));
    EXPECT_FALSE(exists(kxtest::InstallationRoot() / "config/net_config.ini"));
}

TEST_F(ConfigurationAnswer, TellsTheWholeContextAsASignedNumber) {
    Receive(1004, 0x100000002, answer);
    Receive(1004, UINTPTR_MAX, answer);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo", "parse global cfgc failed Type = 4294967298"},
                            LogLine{2, "kxepinfo", "parse global cfgc failed Type = -1"}));
}

TEST_F(ConfigurationAnswer, ThatCannotBeReadIsLoggedAtEveryStep) {
    Receive(1004, 2, "garbage");
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "cfgparser", "xmsg_unpack pXmsgData failed"},
                            LogLine{2, "cfgparser", "get ip from cfgc failed"},
                            LogLine{2, "kxepinfo", "parse global cfgc failed Type = 2"}));
}

TEST_F(ConfigurationAnswer, WantOfMemoryWhileReadingIsAFailedAnswer) {
    kxtest::Agent().dirutils_path_transform = [](const char*, char*, size_t) {
        throw std::bad_alloc();
    };
    Receive(1004, 2, answer);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{1, "kxepinfo",
                                    "the configuration's answer ended early: std::bad_alloc"},
                            LogLine{2, "kxepinfo", "parse global cfgc failed Type = 2"}));
}
