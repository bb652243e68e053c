#include "ipc/cfgrequest.h"

#include <cstdint>
#include <string>

#include "ipc/cfgparser.h"
#include "ipc/heapbuffer.h"
#include "ipc_fixture.h"
#include "short_memory.h"

using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::Packed;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const LogLine kParameterError{2, "kxepinfo", "param error"};
const LogLine kBuildFailed{2, "kxepinfo", "BuildReqDataEx failed"};
const LogLine kRequestFailed{2, "kxepinfo", "request global cfgc failed"};
const LogLine kInvalidSection{2, "cfgparser", "invalid cmd to get module config"};

class ConfigurationRequest : public kxtest::IpcTest {
  protected:
    void SetUp() override {
        IpcTest::SetUp();
        ASSERT_EQ(endpoint.IpcInit(), 0);
    }

    void ExpectOneRequestForGlobal() {
        ASSERT_EQ(bus.requests.size(), 1U);
        const kxtest::SentRequest& sent = bus.requests.front();
        EXPECT_EQ(sent.to, bus.ConfigurationCentre());
        EXPECT_EQ(sent.type, 1004U);
        EXPECT_EQ(sent.data, Packed("global", {{"module", "global"}}));
        EXPECT_EQ(sent.callback, &IpcOnCfgcResponse);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(sent.user), 2U);
        EXPECT_EQ(sent.timeout_s, 5);
        EXPECT_THAT(LoggedLines(), IsEmpty());
    }

    CEpInfoIpc endpoint;
};

class RequestData : public kxtest::IpcTest {
  protected:
    // The request as bytes, or a text that says there is none.
    std::string Build(unsigned modules) {
        length = 4711;
        const HeapBuffer data(BuildReqCfgXmsgData(modules, length));
        return data == nullptr ? "none" : std::string(data.get(), static_cast<std::size_t>(length));
    }

    void ExpectNone(const LogLine& line) {
        EXPECT_EQ(length, 0);
        EXPECT_THAT(LoggedLines(), ElementsAre(line));
        EXPECT_EQ(messages.Count(), 0);
    }

    int length = 0;
    const kxtest::LiveMessages messages;
};

}  // namespace

TEST_F(ConfigurationRequest, AsksForTheGlobalSection) {
    ReqCfgBySubModuleEx(&endpoint, 2);
    ExpectOneRequestForGlobal();
}

TEST_F(ConfigurationRequest, ForNoSectionIsAnError) {
    ReqCfgBySubModuleEx(&endpoint, 0);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kParameterError));
}

TEST_F(ConfigurationRequest, WithoutAnEndpointIsAnError) {
    ReqCfgBySubModuleEx(nullptr, 2);
    EXPECT_THAT(LoggedLines(), ElementsAre(kParameterError));
}

TEST_F(ConfigurationRequest, ForAnUnknownSectionAloneIsSilentlyNotMade) {
    ReqCfgBySubModuleEx(&endpoint, 1);
    ReqCfgBySubModuleEx(&endpoint, 0xFFFFFFFD);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

// The bit leads to a request, but a request names exactly one section.
TEST_F(ConfigurationRequest, ForTheGlobalAndAnUnknownSectionFails) {
    ReqCfgBySubModuleEx(&endpoint, 3);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalidSection, kBuildFailed, kRequestFailed));
}

TEST_F(ConfigurationRequest, OfOneSectionIsHandedToTheEndpoint) {
    EXPECT_TRUE(ReqCfgBySubModule(&endpoint, 2));
    ExpectOneRequestForGlobal();
}

TEST_F(ConfigurationRequest, OfOneSectionIsTrueWhateverTheEndpointMakesOfIt) {
    CEpInfoIpc fresh;
    EXPECT_TRUE(ReqCfgBySubModule(&fresh, 2));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "epinfoipc",
                                    "IPC has not initialized, please initilize before using"}));
}

TEST_F(ConfigurationRequest, OfOneSectionNeedsAnEndpoint) {
    EXPECT_FALSE(ReqCfgBySubModule(nullptr, 2));
    EXPECT_THAT(LoggedLines(), ElementsAre(kParameterError));
}

TEST_F(ConfigurationRequest, OfOneSectionNeedsASection) {
    EXPECT_FALSE(ReqCfgBySubModule(&endpoint, 0));
    EXPECT_THAT(LoggedLines(), ElementsAre(kParameterError));
}

TEST_F(ConfigurationRequest, OfOneSectionNeedsAKnownSection) {
    EXPECT_FALSE(ReqCfgBySubModule(&endpoint, 1));
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalidSection, kBuildFailed));
}

TEST_F(ConfigurationRequest, ThatCannotBeBuiltIsNotMade) {
    Agent().xmsg_new = [](const char*) { return nullptr; };
    ReqCfgBySubModuleEx(&endpoint, 2);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "cfgparser", "xmsg_new for global failed"},
                                           kBuildFailed, kRequestFailed));
}

TEST_F(RequestData, NamesTheGlobalSection) {
    EXPECT_EQ(Build(2), Packed("global", {{"module", "global"}}));
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_EQ(messages.Count(), 0);
}

TEST_F(RequestData, IsForExactlyOneKnownSection) {
    for (const unsigned modules : {0U, 1U, 3U, 4U, 0xFFFFFFFFU}) {
        kxtest::ClearLog();
        EXPECT_EQ(Build(modules), "none") << modules;
        ExpectNone(kInvalidSection);
    }
}

TEST_F(RequestData, NeedsAMessage) {
    Agent().xmsg_new = [](const char*) { return nullptr; };
    EXPECT_EQ(Build(2), "none");
    ExpectNone({2, "cfgparser", "xmsg_new for global failed"});
}

TEST_F(RequestData, NeedsItsKey) {
    Agent().xmsg_add = [](xmsg*, const char*, uint16_t, const char*, uint32_t) { return 12; };
    EXPECT_EQ(Build(2), "none");
    ExpectNone({2, "cfgparser", "xmsg_add module key [module] => value [global] failed "});
}

TEST_F(RequestData, NeedsMemory) {
    {
        const kxtest::ShortMemory short_memory;
        EXPECT_EQ(Build(2), "none");
    }
    ExpectNone({2, "cfgparser", "out of memory"});
}

TEST_F(RequestData, NeedsPackingToWriteSomething) {
    Agent().xmsg_pack = [](const xmsg*, char*, uint32_t) { return 0; };
    EXPECT_EQ(Build(2), "none");
    ExpectNone({2, "cfgparser", "xmsg_pack failed."});
}

TEST_F(RequestData, DoesNotTakeANegativeResultOfPackingForALength) {
    Agent().xmsg_pack = [](const xmsg*, char*, uint32_t) { return -1; };
    EXPECT_EQ(Build(2), "none");
    ExpectNone({2, "cfgparser", "xmsg_pack failed."});
}

TEST_F(RequestData, IsAsLongAsPackingSays) {
    Agent().xmsg_pack_size = [](const xmsg*) { return 8U; };
    Agent().xmsg_pack = [](const xmsg*, char* buffer, uint32_t) {
        buffer[0] = 'p';
        return 2;
    };
    EXPECT_EQ(Build(2), std::string("p\0", 2));
}
