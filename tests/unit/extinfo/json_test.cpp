// agent_cfg.json in every wrong shape.
#include <jansson.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "extinfo_fixture.h"

namespace fs = std::filesystem;
using namespace std::string_view_literals;
using kxtest::Fields;
using kxtest::LoggedLines;
using kxtest::WriteFile;
using testing::ElementsAre;

namespace {

constexpr std::size_t kMostBytes = std::size_t{4} << 20;

std::string Repeated(std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// A document of that size, padded with blanks.
std::string VersionsOfSize(std::size_t size) {
    std::string text = R"({"version": {"components": "6.0.1"}})";
    text.resize(size, ' ');
    return text;
}

class AgentCfg : public ExtInfo {
  protected:
    void ExpectDefaultsAnd(const std::string& complaint) {
        kxtest::ClearLog();
        EXPECT_EQ(Fields(Collect()), Fields(Zeros()));
        EXPECT_THAT(LoggedLines(), ElementsAre(Error(complaint)));
    }

    void ExpectRefused(const std::string& reason) {
        ExpectDefaultsAnd("json load file (" + json + ") failed with " + reason);
    }

    // What the parser says of the file, which is not JSON for it.
    std::string ParsersReason() const {
        json_error_t error = {};
        EXPECT_EQ(json_load_file(json.c_str(), JSON_DECODE_ANY, &error), nullptr);
        EXPECT_STRNE(error.text, "");
        return error.text;
    }

    void ExpectNotJson(std::string_view text) {
        WriteFile("config/agent_cfg.json", text);
        ExpectRefused(ParsersReason());
    }

    void ExpectJsonWithoutVersions(std::string_view text) {
        WriteFile("config/agent_cfg.json", text);
        ExpectDefaultsAnd("version parameter is invalid");
    }
};

}  // namespace

TEST_F(AgentCfg, ThatIsMissingIsToldWithTheParsersReason) {
    ExpectRefused(ParsersReason());
    EXPECT_THAT(ParsersReason(), testing::StartsWith("unable to open /"));
}

TEST_F(AgentCfg, ThatIsEmptyIsNotJson) {
    ExpectNotJson("");
    ExpectNotJson("\n");
}

TEST_F(AgentCfg, ThatIsNoTextIsNotJson) {
    ExpectNotJson(
        "\x7f"
        "ELF");
    ExpectNotJson(std::string(64, '\0'));
}

TEST_F(AgentCfg, ThatIsTruncatedIsNotJson) {
    const std::string text = R"({"version": {"components": "6.0.1"}})";
    for (std::size_t size = 0; size < text.size(); ++size) {
        ExpectNotJson(text.substr(0, size));
    }
}

TEST_F(AgentCfg, WithSomethingBehindTheDocumentIsNotJson) {
    ExpectNotJson(R"({"version": {"components": "6.0.1"}} x)");
    ExpectNotJson("{}{}");
}

TEST_F(AgentCfg, WithInvalidUtf8IsNotJson) {
    ExpectNotJson("{\"version\": {\"components\": \"\xff\"}}");
    ExpectNotJson("{\"version\": {\"components\": \"\xc3\"}}");
    ExpectNotJson("{\"version\": {\"components\": \"\xed\xa0\x80\"}}");
    ExpectNotJson("\xef\xbb\xbf{}");
}

TEST_F(AgentCfg, WithAZeroByteInAStringIsNotJson) {
    ExpectNotJson(R"({"version": {"components": "6\u0000.1"}})");
    ExpectNotJson("{\"version\": {\"components\": \"6\0.1\"}}"sv);
}

TEST_F(AgentCfg, ThatIsNestedTooDeepIsNotJson) {
    ExpectNotJson(Repeated("[", 100000));
    ExpectNotJson(Repeated("[", 2049) + Repeated("]", 2049));
    ExpectNotJson(Repeated(R"({"version":)", 2049) + "1" + Repeated("}", 2049));
}

TEST_F(AgentCfg, ThatIsNestedDeepIsJson) {
    ExpectJsonWithoutVersions(Repeated("[", 2048) + Repeated("]", 2048));
    ExpectJsonWithoutVersions(R"({"version":)" + Repeated("[", 2047) + Repeated("]", 2047) + "}");
}

TEST_F(AgentCfg, OfAnyValueIsJson) {
    for (const char* const text : {"[]", "{}", "1", "-1.5e300", R"("version")", "true", "null"}) {
        ExpectJsonWithoutVersions(text);
    }
}

TEST_F(AgentCfg, OfTheLargestSizeIsRead) {
    WriteFile("config/agent_cfg.json", VersionsOfSize(kMostBytes));
    EXPECT_EQ(Collect().agent_version, "6.0.1");
}

TEST_F(AgentCfg, OfMoreThanTheLargestSizeIsNotRead) {
    WriteFile("config/agent_cfg.json", VersionsOfSize(kMostBytes + 1));
    ExpectRefused("File too large");
}

TEST_F(AgentCfg, WithADirectoryInItsPlaceIsNotRead) {
    fs::create_directories(json);
    ExpectRefused("Is a directory");
}

TEST_F(AgentCfg, WithAPipeInItsPlaceIsNotWaitedFor) {
    fs::create_directories(config);
    ASSERT_EQ(mkfifo(json.c_str(), 0644), 0);
    ExpectRefused("Invalid argument");
}

TEST_F(AgentCfg, WithAnEndlessDeviceInItsPlaceIsNotRead) {
    fs::create_directories(config);
    ASSERT_EQ(symlink("/dev/zero", json.c_str()), 0);
    ExpectRefused("Invalid argument");
}

TEST_F(AgentCfg, ThatLeadsNowhereIsToldWithTheParsersReason) {
    fs::create_directories(config);
    ASSERT_EQ(symlink(json.c_str(), json.c_str()), 0);
    ExpectRefused(ParsersReason());
}

TEST_F(AgentCfg, BehindALinkIsRead) {
    const auto real = WriteFile("elsewhere.json", VersionsOfSize(100));
    fs::create_directories(config);
    ASSERT_EQ(symlink(real.c_str(), json.c_str()), 0);
    EXPECT_EQ(Collect().agent_version, "6.0.1");
}
