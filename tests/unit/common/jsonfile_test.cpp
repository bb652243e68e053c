#include "common/jsonfile.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "installation.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMostBytes = std::size_t{4} << 20U;

class JsonFile : public kxtest::InstallationTest {
  protected:
    JsonOwner Load(std::string_view content) {
        kxtest::WriteFile("file.json", content);
        return Load();
    }
    JsonOwner Load() { return LoadJsonFile(path.c_str(), error); }

    // The parser's own words on the same file.
    std::string ParsersReason() const {
        json_error_t reason = {};
        EXPECT_EQ(json_load_file(path.c_str(), JSON_DECODE_ANY, &reason), nullptr);
        return reason.text;
    }

    const fs::path path = kxtest::InstallationRoot() / "file.json";
    json_error_t error = {};
};

}  // namespace

TEST_F(JsonFile, GivesAnyValue) {
    EXPECT_TRUE(json_is_object(Load("{}").get()));
    EXPECT_TRUE(json_is_array(Load("[1]\n").get()));
    EXPECT_STREQ(json_string_value(Load("\"6.0.1\"").get()), "6.0.1");
    EXPECT_TRUE(json_is_null(Load("null").get()));
    EXPECT_STREQ(error.text, "");
}

TEST_F(JsonFile, SaysWhyThereIsNone) {
    for (const char* const text : {"", "{", "{}{}", "\"\xFF\"", "\"a\\u0000\"", "[1,]"}) {
        EXPECT_EQ(Load(text), nullptr);
        EXPECT_EQ(error.text, ParsersReason());
        EXPECT_STRNE(error.text, "");
    }
}

TEST_F(JsonFile, SaysWhyItCannotBeOpened) {
    EXPECT_EQ(Load(), nullptr);
    EXPECT_EQ(error.text, ParsersReason());
    EXPECT_THAT(error.text, testing::EndsWith("file.json: No such file or directory"));
}

TEST_F(JsonFile, TellsAsMuchOfALongPathAsTheParser) {
    for (const std::size_t length : {100U, 114U, 115U, 116U, 117U, 118U, 119U, 120U, 200U}) {
        const std::string long_path = '/' + std::string(length, 'd');
        json_error_t reason = {};
        EXPECT_EQ(json_load_file(long_path.c_str(), JSON_DECODE_ANY, &reason), nullptr);
        EXPECT_EQ(LoadJsonFile(long_path.c_str(), error), nullptr);
        EXPECT_STREQ(error.text, reason.text);
    }
}

TEST_F(JsonFile, ForgetsAnEarlierError) {
    EXPECT_EQ(Load(), nullptr);
    EXPECT_NE(Load("1"), nullptr);
    EXPECT_STREQ(error.text, "");
}

TEST_F(JsonFile, IsReadUpToFourMebibytes) {
    std::string text(kMostBytes, ' ');
    text[0] = '1';
    EXPECT_NE(Load(text), nullptr);
    EXPECT_EQ(Load(text + ' '), nullptr);
    EXPECT_STREQ(error.text, "File too large");
}

TEST_F(JsonFile, IsNoDirectory) {
    fs::create_directory(path);
    EXPECT_EQ(Load(), nullptr);
    EXPECT_STREQ(error.text, "Is a directory");
}

TEST_F(JsonFile, IsNoPipeThatWouldBeWaitedFor) {
    ASSERT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(Load(), nullptr);
    EXPECT_STREQ(error.text, "Invalid argument");
}

TEST_F(JsonFile, IsFoundThroughALink) {
    kxtest::WriteFile("elsewhere", "1");
    fs::create_symlink("elsewhere", path);
    EXPECT_NE(Load(), nullptr);
}
