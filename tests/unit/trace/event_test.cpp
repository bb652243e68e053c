// The event as it is logged and as the SDK gets it.
#include <jansson.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>

#include "log_capture.h"
#include "trace/ipchange.h"
#include "trace_fixture.h"

using kxtest::CallsOf;
using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kTwo[] = R"({"type": 601, "ip": ["10.0.0.10", "10.0.0.2"]})";
const std::set<std::string> kTwoAddresses = {"10.0.0.2", "10.0.0.10"};

KxebpApi* instance = nullptr;
enum class Refused { kNothing, kObject, kArray, kText } refused = Refused::kNothing;
int values_released = 0;
std::size_t lines_before_get = 0;

class Event : public kxtest::TraceTest {
  protected:
    void SetUp() override {
        TraceTest::SetUp();
        refused = Refused::kNothing;
        values_released = 0;
    }
    void TearDown() override {
        instance = nullptr;
        TraceTest::TearDown();
    }

    void Begin(const std::string& sdk = "sdk") {
        kxtest::InstallSdk(sdk);
        BeginWithoutSdk();
    }
    void BeginWithoutSdk() {
        m_api.reset();
        m_api = kxtest::NewApi();
        instance = m_api.get();
    }
    const SdkCalls& Calls() const { return CallsOf(*m_api); }
    std::string Header() const { return {Calls().header, sizeof Calls().header}; }

  private:
    kxtest::Api m_api;
};

// `text` and zeros behind it.
std::string Field(std::string text, std::size_t size) {
    text.resize(size);
    return text;
}

}  // namespace

// In front of the functions, by the linker's --wrap.
KxebpApi* WrapGet() asm("__wrap__ZN8KxebpApi3getEv");
KxebpApi* WrapGet() {
    lines_before_get = LoggedLines().size();
    return instance;
}

extern "C" {

json_t* __real_json_object();
json_t* __wrap_json_object();
json_t* __real_json_array();
json_t* __wrap_json_array();
char* __real_json_dumps(const json_t* value, size_t flags);
char* __wrap_json_dumps(const json_t* value, size_t flags);
void __real_json_delete(json_t* value);
void __wrap_json_delete(json_t* value);

json_t* __wrap_json_object() {
    return refused == Refused::kObject ? nullptr : __real_json_object();
}

json_t* __wrap_json_array() {
    return refused == Refused::kArray ? nullptr : __real_json_array();
}

char* __wrap_json_dumps(const json_t* value, size_t flags) {
    return refused == Refused::kText ? nullptr : __real_json_dumps(value, flags);
}

void __wrap_json_delete(json_t* value) {
    ++values_released;
    __real_json_delete(value);
}

}  // extern "C"

TEST_F(Event, IsLoggedInTheSetsOrder) {
    Begin();
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{4, "kxepinfo", "trace ip 10.0.0.10"},
                            LogLine{4, "kxepinfo", "trace ip 10.0.0.2"},
                            LogLine{3, "kxepinfo", std::string("bp ip change :") + kTwo}));
}

TEST_F(Event, IsLoggedBeforeTheSdkIsAskedFor) {
    Begin();
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(lines_before_get, 3U);
}

TEST_F(Event, ReachesTheUtf8FunctionAlone) {
    Begin();
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(Calls().traces, 1);
    EXPECT_EQ(Calls().others, 0);
    EXPECT_EQ(Calls().uninits, 0);
}

TEST_F(Event, ReachesTheSdkAsAnArgumentOfAFixedFormat) {
    Begin();
    ReportIpChangeTrace({"%s%n"});
    EXPECT_STREQ(Calls().format, "%s");
    EXPECT_STREQ(Calls().text, R"({"type": 601, "ip": ["%s%n"]})");
}

TEST_F(Event, HasAHeaderOfTwoHundredAndTwelveBytes) {
    kxtest::InstallNoxipc("noxipc_4294967295");
    kxtest::WriteFile("config/agent_cfg.json", R"({"version": {"components": "6.0.1"}})");
    Begin();
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(Header(), Field("kxepinfo", 32) + Field("NewIPBPTrace", 64) + Field("EDR", 16) +
                            Field("6.0.1", 16) + Field("4294967295", 16) + Field("", 68));
    EXPECT_STREQ(Calls().text, kTwo);
}

TEST_F(Event, HeaderOfABareInstallation) {
    Begin();
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(Header(), Field("kxepinfo", 32) + Field("NewIPBPTrace", 64) + Field("EDR", 16) +
                            Field("3.7.2.20", 16) + Field("0000000000", 16) + Field("", 68));
}

TEST_F(Event, AnUnknownIdIsTenZerosInTheHeader) {
    kxtest::InstallNoxipc("noxipc_0");
    Begin();
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(Header().substr(128, 16), Field("0000000000", 16));
}

TEST_F(Event, AVersionOfTwentyBytesIsFifteenInTheHeader) {
    kxtest::WriteFile("config/agent_cfg.json",
                      R"({"version": {"components": "12345678901234567890"}})");
    Begin();
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(Header().substr(112, 16), Field("123456789012345", 16));
}

TEST_F(Event, FieldsOfTheInstanceAreCutToFifteenBytes) {
    Begin();
    std::fill_n(instance->host_id, sizeof instance->host_id - 1, '9');
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(Header().substr(128), Field(std::string(15, '9'), 16 + 68));
}

TEST_F(Event, IsSentEachTime) {
    Begin();
    ReportIpChangeTrace({"10.0.0.1"});
    ReportIpChangeTrace({"10.0.0.2"});
    EXPECT_EQ(Calls().traces, 2);
    EXPECT_STREQ(Calls().text, R"({"type": 601, "ip": ["10.0.0.2"]})");
}

TEST_F(Event, CarriesManyAddresses) {
    Begin();
    std::set<std::string> addresses;
    std::string list;
    for (int i = 10000; i < 20000; ++i) {
        addresses.insert(std::to_string(i));
        list += (list.empty() ? "\"" : ", \"") + std::to_string(i) + '"';
    }
    ReportIpChangeTrace(addresses);
    EXPECT_EQ(Calls().text, R"({"type": 601, "ip": [)" + list + "]}");
}

TEST_F(Event, OfNoAddressIsAnEmptyList) {
    Begin();
    ReportIpChangeTrace({});
    EXPECT_STREQ(Calls().text, R"({"type": 601, "ip": []})");
}

TEST_F(Event, LeavesOutAnAddressThatIsNoText) {
    Begin();
    ReportIpChangeTrace({"10.0.0.1", "10.0.0.2\xFF", "10.0.0.3"});
    EXPECT_STREQ(Calls().text, R"({"type": 601, "ip": ["10.0.0.1", "10.0.0.3"]})");
    EXPECT_EQ(LoggedLines()[1], (LogLine{4, "kxepinfo", "trace ip 10.0.0.2\xFF"}));
}

TEST_F(Event, IsSentWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    Begin();
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(Calls().traces, 1);
    EXPECT_EQ(kxtest::LogCalls(), 0);
}

TEST_F(Event, WithoutAnSdkIsLoggedAndNothingElse) {
    BeginWithoutSdk();
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{4, "kxepinfo", "trace ip 10.0.0.10"},
                            LogLine{4, "kxepinfo", "trace ip 10.0.0.2"},
                            LogLine{3, "kxepinfo", std::string("bp ip change :") + kTwo}));
}

TEST_F(Event, WithoutTheUtf8FunctionIsLoggedAndNothingElse) {
    Begin("sdk_without_kxe_bp_trace_utf8");
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(Calls().others, 0);
    EXPECT_EQ(LoggedLines().size(), 3U);
}

TEST_F(Event, WithoutAnInstanceIsLoggedAndNothingElse) {
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(LoggedLines().size(), 3U);
}

TEST_F(Event, IsSentByAnSdkWithoutTheOtherFunctions) {
    for (const char* name :
         {"kxe_bp_init", "kxe_bp_uninit", "kxe_bp_trace", "kxe_bp_trace_unicode", "kxe_bp_other"}) {
        kxtest::ClearInstallation();
        Begin(std::string("sdk_without_") + name);
        ReportIpChangeTrace(kTwoAddresses);
        EXPECT_EQ(Calls().traces, 1) << name;
    }
}

// Only the outermost value is deleted by the module's own hand; the rest goes with it.
TEST_F(Event, ReleasesItsJson) {
    Begin();
    values_released = 0;
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_EQ(values_released, 1);
}

TEST_F(Event, WithoutMemoryForTheObjectIsNeitherLoggedNorSent) {
    Begin();
    values_released = 0;
    refused = Refused::kObject;
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_EQ(Calls().traces, 0);
    EXPECT_EQ(values_released, 1);
}

TEST_F(Event, WithoutMemoryForTheListIsNeitherLoggedNorSent) {
    Begin();
    values_released = 0;
    refused = Refused::kArray;
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_EQ(Calls().traces, 0);
    EXPECT_EQ(values_released, 1);
}

TEST_F(Event, WithoutMemoryForTheTextIsNotSent) {
    Begin();
    values_released = 0;
    refused = Refused::kText;
    ReportIpChangeTrace(kTwoAddresses);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "kxepinfo", "trace ip 10.0.0.10"},
                                           LogLine{4, "kxepinfo", "trace ip 10.0.0.2"}));
    EXPECT_EQ(Calls().traces, 0);
    EXPECT_EQ(values_released, 1);
}
