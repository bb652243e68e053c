// Files that grow full.
#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "loaded_log.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kFull = std::size_t{10} << 20;

class Rotation : public LogTest {
  protected:
    // Logs numbered lines of 8 kB until `megabytes` were written; returns the last number.
    int Log(std::size_t megabytes) {
        const std::string filler(8000, 'x');
        const int lines = static_cast<int>((megabytes << 20) / filler.size());
        for (int i = 1; i <= lines; ++i) {
            output(3, "t", i, "%s", filler.c_str());
        }
        return lines;
    }
    static std::set<std::string> Names() {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(Directory())) {
            names.insert(entry.path().filename());
        }
        return names;
    }
    // The numbers of the lines in a file.
    static std::vector<int> Numbers(const char* name) {
        std::vector<int> numbers;
        for (const std::string& text : Texts(kxtest::ReadFile(File(name)))) {
            numbers.push_back(std::stoi(text.substr(2)));
        }
        return numbers;
    }
};

}  // namespace

TEST_F(Rotation, AFileIsPutAsideBeforeItGrowsPastTheLimit) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    Log(11);
    EXPECT_EQ(Names(), (std::set<std::string>{"kxepinfo.log", "kxepinfo.1.log"}));
    EXPECT_LE(fs::file_size(File("kxepinfo.1.log")), kFull);
    EXPECT_GT(fs::file_size(File("kxepinfo.1.log")), kFull - 8192);
}

TEST_F(Rotation, SoManyFilesAreKept) {
    ASSERT_EQ(init(Directory().c_str(), 3), 0);
    const int last = Log(45);
    EXPECT_EQ(Names(), (std::set<std::string>{"kxepinfo.log", "kxepinfo.1.log", "kxepinfo.2.log"}));
    std::vector<int> kept = Numbers("kxepinfo.2.log");
    for (const char* const name : {"kxepinfo.1.log", "kxepinfo.log"}) {
        const std::vector<int> more = Numbers(name);
        kept.insert(kept.end(), more.begin(), more.end());
    }
    // The youngest lines, none of them missing.
    std::vector<int> expected;
    for (int i = last - static_cast<int>(kept.size()) + 1; i <= last; ++i) {
        expected.push_back(i);
    }
    EXPECT_EQ(kept, expected);
}

TEST_F(Rotation, OneFileIsBegunAnew) {
    ASSERT_EQ(init(Directory().c_str(), 1), 0);
    const int last = Log(11);
    EXPECT_EQ(Names(), std::set<std::string>{"kxepinfo.log"});
    const std::vector<int> kept = Numbers("kxepinfo.log");
    EXPECT_LT(fs::file_size(File()), kFull);
    ASSERT_FALSE(kept.empty());
    EXPECT_EQ(kept.back(), last);
}

TEST_F(Rotation, AFileThatWasFullBeforeIsPutAside) {
    fs::create_directories(Directory());
    kxtest::WriteFile("var/log/agent/kxepinfo/kxepinfo.log", "");
    fs::resize_file(File(), kFull);
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    output(3, "t", 1, "x");
    EXPECT_EQ(LoggedTexts(), std::vector<std::string>{"t:1 x"});
    // The newline ends what was no line.
    EXPECT_EQ(fs::file_size(File("kxepinfo.1.log")), kFull + 1);
}

TEST_F(Rotation, TheNewFileHasTheModeOfTheOld) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    Log(11);
    for (const char* const name : {"kxepinfo.log", "kxepinfo.1.log"}) {
        struct stat status = {};
        ASSERT_EQ(stat(File(name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0640U) << name;
    }
}

TEST_F(Rotation, AfterARotationTheFileIsStillKnownToBeInPlace) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    Log(11);
    fs::remove(File());
    EXPECT_TRUE(WaitUntil([&] {
        output(3, "t", 1, "x");
        return !LoggedTexts().empty();
    }));
    EXPECT_EQ(LoggedTexts(), std::vector<std::string>{"t:1 x"});
}

// Whatever is logged, and for however long: so many files of that size.
TEST_F(Rotation, TheDirectoryNeverGrowsPastAllFilesTogether) {
    constexpr int kFiles = 5;  // as the module keeps
    ASSERT_EQ(init(Directory().c_str(), kFiles), 0);
    std::uintmax_t largest = 0;
    for (int part = 0; part < 65; ++part) {
        Log(1);
        std::uintmax_t size = 0;
        for (const auto& entry : fs::directory_iterator(Directory())) {
            size += entry.file_size();
        }
        largest = std::max(largest, size);
    }
    EXPECT_LE(largest, kFiles * kFull);
    EXPECT_GT(largest, kFiles * kFull - (std::size_t{2} << 20));
}
