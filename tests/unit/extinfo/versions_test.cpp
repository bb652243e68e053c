// From the parsed document to the versions.
#include "collectors/versions.h"

#include <gmock/gmock.h>

#include "common/jsonowner.h"
#include "log_capture.h"
#include "record_fields.h"

using kxtest::Fields;
using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const LogLine kInvalid{2, "extinfo", "version parameter is invalid"};
const LogLine kNoComponents{2, "extinfo", "component version  parameter is invalid!"};
const LogLine kNoPlus{3, "extinfo", "component has no plus version"};
const LogLine kNoVirus{2, "extinfo", "db version parameter is invalid!"};
const LogLine kNoPatch{2, "extinfo", "Invalid patch version"};
const LogLine kNoIoa{2, "extinfo", "Invalid ioa version"};
const LogLine kNoIoc{2, "extinfo", "Invalid ioc version"};

// A record in which nothing is a default.
_stExtInfo Earlier() {
    _stExtInfo versions;
    versions.agent_version = "a";
    versions.virus_version = "v";
    versions.patchdb_version = "p";
    versions.ioadb_version = "ioa";
    versions.iocdb_version = "ioc";
    versions.reserved_ext1 = "r1";
    versions.reserved_ext2 = "r2";
    versions.reserved_ext3 = "r3";
    versions.mgr_addr = "10.0.0.1";
    return versions;
}

_stExtInfo Fill(const char* text, bool expected_result = true) {
    kxtest::ClearLog();
    const JsonOwner document(json_loads(text, JSON_DECODE_ANY, nullptr));
    EXPECT_NE(document, nullptr) << text;
    _stExtInfo versions = Earlier();
    EXPECT_EQ(FillVersions(document.get(), versions), expected_result) << text;
    return versions;
}

void ExpectInvalid(const char* text) {
    EXPECT_EQ(Fields(Fill(text, false)), Fields(Earlier())) << text;
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid)) << text;
}

_stExtInfo Defaults(std::string_view path) {
    _stExtInfo versions = Earlier();
    SetDefaultVersions(path, versions);
    return versions;
}

void ExpectDefaults(std::string_view path, const char* agent, const char* virus,
                    const char* patch) {
    _stExtInfo expected = Earlier();
    expected.agent_version = agent;
    expected.virus_version = virus;
    expected.patchdb_version = patch;
    expected.ioadb_version = "0";
    expected.iocdb_version = "0.0";
    EXPECT_EQ(Fields(Defaults(path)), Fields(expected)) << path;
}

void ExpectReleaseDefaults(std::string_view path) {
    ExpectDefaults(path, "3.2.10.100", "20190220222616", "20190227112530");
}

void ExpectZeroDefaults(std::string_view path) {
    ExpectDefaults(path, "0.0.0", "0", "0");
}

}  // namespace

TEST(DefaultVersions, InTheProductsOwnDirectoriesAreThoseOfTheRelease) {
    ExpectReleaseDefaults("/opt/kx/edr/agent/bin/../config/agent_cfg.json");
    ExpectReleaseDefaults("/opt/velmora/edr/agent/bin/../config/agent_cfg.json");
}

TEST(DefaultVersions, ElsewhereAreZeros) {
    ExpectZeroDefaults("/opt/agent/bin/../config/agent_cfg.json");
    ExpectZeroDefaults("");
    ExpectZeroDefaults("/");
}

TEST(DefaultVersions, LookForTheDirectoryAnywhereInThePath) {
    ExpectReleaseDefaults("kx/edr/agent");
    ExpectReleaseDefaults("velmora/edr/agent");
    ExpectReleaseDefaults("/srv/kx/edr/agent");
    ExpectReleaseDefaults("/srv/oldkx/edr/agents/bin");
    ExpectReleaseDefaults("/a/kx/edr/kx/edr/agent");
}

TEST(DefaultVersions, LookForTheWholeDirectory) {
    ExpectZeroDefaults("/opt/kx/edr/agen");
    ExpectZeroDefaults("x/edr/agent");
    ExpectZeroDefaults("/opt/kx/edr//agent");
    ExpectZeroDefaults("/opt/KX/EDR/AGENT");
    ExpectZeroDefaults("/opt/elmora/edr/agent");
    ExpectZeroDefaults("/opt/velmora/edr/agen");
}

TEST(Versions, AreTakenFromTheirMembers) {
    const _stExtInfo versions =
        Fill(R"({"version": {"components": "6.0.1", "plus": "R2", "virusdbs": "1",
                             "patchdbs": "2", "ioadbs": "3", "iocdbs": "4.4"}})");
    _stExtInfo expected = Earlier();
    expected.agent_version = "6.0.1 R2";
    expected.virus_version = "1";
    expected.patchdb_version = "2";
    expected.ioadb_version = "3";
    expected.iocdb_version = "4.4";
    EXPECT_EQ(Fields(versions), Fields(expected));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST(Versions, DoNotDependOnTheOrderOfTheMembers) {
    EXPECT_EQ(Fill(R"({"version": {"plus": "R2", "components": "6.0.1"}})").agent_version,
              "6.0.1 R2");
}

TEST(Versions, WithoutPlusAreTheComponentsAlone) {
    EXPECT_EQ(Fill(R"({"version": {"components": "6.0.1"}})").agent_version, "6.0.1");
}

TEST(Versions, WithPlusAndNoComponentsAppendToTheDefault) {
    EXPECT_EQ(Fill(R"({"version": {"plus": "R2"}})").agent_version, "a R2");
    EXPECT_EQ(Fill(R"({"version": {"components": 6, "plus": "R2"}})").agent_version, "a R2");
}

TEST(Versions, MayBeEmpty) {
    const _stExtInfo versions =
        Fill(R"({"version": {"components": "", "plus": "", "virusdbs": ""}})");
    EXPECT_EQ(versions.agent_version, " ");
    EXPECT_EQ(versions.virus_version, "");
}

TEST(Versions, ComplainOfEveryMissingMemberInOrder) {
    EXPECT_EQ(Fields(Fill(R"({"version": {}})")), Fields(Earlier()));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(kNoComponents, kNoPlus, kNoVirus, kNoPatch, kNoIoa, kNoIoc));
}

TEST(Versions, TakeNothingButStrings) {
    for (const char* const value : {"6", "6.1", "true", "false", "null", "[\"6\"]", "{}"}) {
        const std::string text = std::string(R"({"version": {"components": )") + value +
                                 R"(, "plus": )" + value + R"(, "virusdbs": )" + value +
                                 R"(, "patchdbs": )" + value + R"(, "ioadbs": )" + value +
                                 R"(, "iocdbs": )" + value + "}}";
        EXPECT_EQ(Fields(Fill(text.c_str())), Fields(Earlier())) << value;
        EXPECT_THAT(LoggedLines(),
                    ElementsAre(kNoComponents, kNoPlus, kNoVirus, kNoPatch, kNoIoa, kNoIoc));
    }
}

TEST(Versions, GoOnAfterARejectedMember) {
    const _stExtInfo versions =
        Fill(R"({"version": {"components": "6.0.1", "virusdbs": 1, "iocdbs": "4.4"}})");
    EXPECT_EQ(versions.agent_version, "6.0.1");
    EXPECT_EQ(versions.virus_version, "v");
    EXPECT_EQ(versions.iocdb_version, "4.4");
    EXPECT_THAT(LoggedLines(), ElementsAre(kNoPlus, kNoVirus, kNoPatch, kNoIoa));
}

TEST(Versions, AreNamedWithTheirExactLetters) {
    EXPECT_EQ(Fill(R"({"version": {"Components": "6", "components ": "6"}})").agent_version, "a");
    ExpectInvalid(R"({"Version": {}})");
}

TEST(Versions, KeepAnyText) {
    const _stExtInfo versions =
        Fill(R"({"version": {"components": " %s\n\"\u00e9\ud83d\ude00 ", "plus": " R "}})");
    EXPECT_EQ(versions.agent_version, " %s\n\"\xC3\xA9\xF0\x9F\x98\x80   R ");
}

TEST(Versions, OfAKeyThatOccursTwiceAreTheLast) {
    EXPECT_EQ(Fill(R"({"version": {"components": "1", "components": "2"}})").agent_version, "2");
    EXPECT_EQ(Fill(R"({"version": [], "version": {"components": "2"}})").agent_version, "2");
    ExpectInvalid(R"({"version": {"components": "2"}, "version": []})");
}

TEST(Versions, NeedAnObjectOfTheirOwn) {
    ExpectInvalid("{}");
    ExpectInvalid(R"({"components": "6.0.1"})");
    ExpectInvalid(R"({"version": []})");
    ExpectInvalid(R"({"version": [{"components": "6.0.1"}]})");
    ExpectInvalid(R"({"version": "6.0.1"})");
    ExpectInvalid(R"({"version": 6})");
    ExpectInvalid(R"({"version": null})");
}

TEST(Versions, NeedAnObjectAsTheDocument) {
    for (const char* const text :
         {"[]", R"([{"version": {}}])", "1", "-1.5", R"("version")", "true", "false", "null"}) {
        ExpectInvalid(text);
    }
}

TEST(Versions, NeedADocument) {
    kxtest::ClearLog();
    _stExtInfo versions = Earlier();
    EXPECT_FALSE(FillVersions(nullptr, versions));
    EXPECT_EQ(Fields(versions), Fields(Earlier()));
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid));
}

TEST(Versions, AreTakenTheSameWithTheLogDisabled) {
    kxtest::ClearLog();
    kxtest::EnableLogLevels(0);
    const JsonOwner document(json_loads(R"({"version": {"plus": "R2"}})", 0, nullptr));
    _stExtInfo versions = Earlier();
    EXPECT_TRUE(FillVersions(document.get(), versions));
    EXPECT_EQ(versions.agent_version, "a R2");
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
