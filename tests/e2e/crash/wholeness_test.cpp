// A check that finds nothing proves nothing.
#include "wholeness.h"

#include <gmock/gmock.h>

#include "traffic.h"

namespace kxtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr char kMirror[] =
    "; kept by others\n[proxy]\nport=8080\n\n\n[multi_ip]\ncounts=2\nip0=10.0.5.1\nip1=10.0.5.2\n";
constexpr char kLine[] = "2026-03-14 12:13:14.567+01:00 E 17/18 kxepinfo:101 something failed\n";

std::string Without(std::string text, const std::string& part) {
    return text.erase(text.find(part), part.size());
}

std::string FaultOfMirror(const std::string& text) {
    int number = 0;
    return kxtest::FaultOfMirror(text, number);
}

TEST(AMirror, OfOneConfigurationIsWhole) {
    int number = 0;
    EXPECT_EQ(kxtest::FaultOfMirror(kMirror, number), "");
    EXPECT_EQ(number, 5);
}

TEST(AMirror, IsToldByEveryConfigurationsNumber) {
    for (int number = 1; number < 1000; ++number) {
        const IniSection section = ParseIni(Configuration(number))["multi_ip"];
        std::vector<std::string> addresses;
        for (const auto& [key, address] : section) {
            addresses.push_back(address);
        }
        EXPECT_EQ(NumberOfConfiguration(addresses), number);
    }
}

TEST(AMirror, WithAPartOfAConfigurationIsNot) {
    EXPECT_THAT(FaultOfMirror(Without(kMirror, "ip1=10.0.5.2\n")), HasSubstr("one configuration"));
    EXPECT_THAT(FaultOfMirror(Without(kMirror, "ip0=10.0.5.1\n")), HasSubstr("one configuration"));
    EXPECT_THAT(FaultOfMirror(Without(kMirror, "counts=2\n")), HasSubstr("one configuration"));
    EXPECT_THAT(FaultOfMirror(std::string(kMirror) + "ip2=10.0.6.3\n"),
                HasSubstr("one configuration"));
}

TEST(AMirror, ThatHasLostWhatOthersKeepIsNot) {
    EXPECT_THAT(FaultOfMirror(Without(kMirror, "port=8080\n")), HasSubstr("others"));
    EXPECT_THAT(FaultOfMirror(Without(kMirror, "; kept by others\n")), HasSubstr("others"));
    EXPECT_NE(FaultOfMirror(""), "");
}

TEST(AMirror, ThatEndsInTheMiddleOfALineIsNot) {
    EXPECT_THAT(FaultOfMirror(std::string(kMirror) + "[oth"), StartsWith("a line that is none"));
    EXPECT_THAT(FaultOfMirror(std::string(kMirror) + "k=v"), StartsWith("a line that is none"));
    EXPECT_THAT(FaultOfMirror(std::string(kMirror) + "rest\n"), StartsWith("a line that is none"));
}

TEST(AnAddressRecord, HoldsAddressesAndItsComment) {
    const std::string head = "; State of the endpoint-information module: x\n[netinfo]\n";
    EXPECT_EQ(FaultOfAddressRecord(head), "");
    EXPECT_EQ(FaultOfAddressRecord(head + "ipv4=10.1.0.1,10.2.0.255\n"), "");
    EXPECT_NE(FaultOfAddressRecord(head + "ipv4=10.1.0.1,10.2.0\n"), "");
    EXPECT_NE(FaultOfAddressRecord(head + "ipv4=10.1.0.1"), "");
    EXPECT_NE(FaultOfAddressRecord("[netinfo]\n"), "");
    EXPECT_NE(FaultOfAddressRecord(""), "");
}

TEST(ALog, OfWholeLinesIsWhole) {
    int torn = 0;
    EXPECT_EQ(FaultOfLog(std::string(kLine) + kLine, torn), "");
    EXPECT_EQ(torn, 0);
}

TEST(ALog, MayHoldBeginningsOfLines) {
    for (std::size_t size = 1; size < sizeof kLine - 30; ++size) {
        int torn = 0;
        EXPECT_EQ(FaultOfLog(std::string(kLine) + std::string(kLine, size) + "\n" + kLine, torn),
                  "");
        EXPECT_EQ(torn, 1) << size;
    }
}

TEST(ALog, MustNotHoldEndsOfLinesNorTwoLinesInOne) {
    int torn = 0;
    EXPECT_THAT(FaultOfLog("failed\n", torn), StartsWith("no line"));
    EXPECT_THAT(FaultOfLog("\n", torn), StartsWith("no line"));
    EXPECT_THAT(FaultOfLog(std::string(kLine, 40) + kLine, torn), StartsWith("no line"));
}

TEST(JsonLines, AreJsonUpToTheLastLinesEnd) {
    EXPECT_EQ(FaultOfJsonLines("{}\n{\"a\":1}\n{\"a\""), "");
    EXPECT_THAT(FaultOfJsonLines("{}\n{\"a\"\n{}\n"), StartsWith("no JSON"));
}

}  // namespace
}  // namespace kxtest
