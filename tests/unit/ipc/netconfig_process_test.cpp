// The mirror's file between processes: several that write it, and one that is killed while it does.
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "child_process.h"
#include "ipc/cfgparser.h"
#include "ipc_fixture.h"
#include "net_config.h"
#include "text.h"

namespace fs = std::filesystem;
using kxtest::ExitOf;
using kxtest::InChild;

namespace {

using Values = std::vector<std::string>;

const std::string kForeign = "; kept\n[proxy]\nport=1\n";

bool Mirror(const std::string& answer) {
    return ParseCfgcGlobalIp(answer.data(), kxtest::Size(answer));
}

// The section as it stands in the file.
std::string SectionOf(const Values& addresses) {
    std::map<std::string, std::string> entries;
    for (const std::string& address : addresses) {
        entries.emplace("ip" + std::to_string(entries.size()), address);
    }
    std::string section = "[multi_ip]\ncounts=" + std::to_string(entries.size()) + "\n";
    for (const auto& [key, address] : entries) {
        section.append(key).append("=").append(address).append("\n");
    }
    return section;
}

std::string AnswerWith(const Values& addresses) {
    return kxtest::PackedAddresses(std::to_string(addresses.size()), addresses);
}

class NetConfigProcess : public kxtest::IpcTest {
  protected:
    std::string Content() const { return kxtest::WithoutEmptyLines(kxtest::ReadFile(file)); }

    void ExpectLockIsFree() {
        kxe_glock* lock = nullptr;
        ASSERT_EQ(kxe_glock_init(kxtest::kNetConfigLock, &lock), 0);
        EXPECT_EQ(kxe_glock_acquire_timeout(lock, 0), 0);
        kxe_glock_destroy(lock);
    }

    const fs::path file = kxtest::InstallationRoot() / "config/net_config.ini";
};

// Runs `work` in a child up to its system call of that number, and kills it before the call is
// made. True when the child had ended before, by itself and well.
bool EndsBeforeSystemCall(int number, const std::function<int()>& work) {
    const pid_t child = InChild([&] {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0 || raise(SIGSTOP) != 0) {
            return 1;
        }
        return work();
    });
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    // The child stops where it enters a system call and where it leaves it.
    for (int stops = 0; WIFSTOPPED(status) && stops < 2 * number - 1; ++stops) {
        EXPECT_EQ(ptrace(PTRACE_SYSCALL, child, nullptr, nullptr), 0);
        EXPECT_EQ(waitpid(child, &status, 0), child);
    }
    if (!WIFSTOPPED(status)) {
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the work failed";
        return true;
    }
    kill(child, SIGKILL);
    EXPECT_EQ(ExitOf(child), -SIGKILL);
    return false;
}

}  // namespace

// Killed before its first system call, before its second, and so on, until it comes to its end.
TEST_F(NetConfigProcess, AWriterThatIsKilledAnywhereLeavesTheOldFileOrTheNew) {
    const Values addresses = {"10.0.0.1", "fe80::1"};
    const std::string answer = AnswerWith(addresses);
    const std::string before = kForeign + SectionOf({"old"});
    const std::string after = kForeign + SectionOf(addresses);
    int left_old = 0;
    int left_new = 0;
    for (int number = 1;; ++number) {
        kxtest::WriteFile("config/net_config.ini", before);
        const bool ended = EndsBeforeSystemCall(number, [&] { return Mirror(answer) ? 0 : 1; });
        const std::string left = Content();
        ASSERT_TRUE(left == before || left == after) << number << ":\n" << left;
        ExpectLockIsFree();
        ++(left == before ? left_old : left_new);
        if (ended) {
            break;
        }
    }
    EXPECT_GT(left_old, 0);
    EXPECT_GT(left_new, 1);  // also by a writer that was killed
    EXPECT_EQ(Content(), after);
}

TEST_F(NetConfigProcess, AWriterThatIsKilledWhileItMakesTheFileLeavesNoneOrAnEmptyOneOrTheNew) {
    const std::string answer = AnswerWith({"10.0.0.1"});
    const std::string after = SectionOf({"10.0.0.1"});
    int left_empty = 0;
    for (int number = 1;; ++number) {
        kxtest::ClearInstallation();
        fs::create_directory(kxtest::InstallationRoot() / "config");
        const bool ended = EndsBeforeSystemCall(number, [&] { return Mirror(answer) ? 0 : 1; });
        const std::string left = Content();
        ASSERT_TRUE(left.empty() || left == after) << number << ":\n" << left;
        left_empty += fs::exists(file) && left.empty() ? 1 : 0;
        if (ended) {
            break;
        }
        ASSERT_TRUE(Mirror(answer)) << "after a kill before system call " << number;
        ASSERT_EQ(Content(), after);
    }
    EXPECT_GT(left_empty, 0);
}

// Two that mirror different lists, and two that change sections of their own, all at once.
TEST_F(NetConfigProcess, WritersUnderTheLockLoseNothingOfEachOther) {
    constexpr int kTurns = 50;
    const std::vector<Values> lists = {{"10.0.0.1"}, {"fe80::1", "fe80::2", "fe80::3"}};
    const std::vector<std::string> sections = {"first", "second"};
    kxtest::WriteFile("config/net_config.ini", "; of the first\n[first]\nnumber=0\n" + kForeign +
                                                   "[second]\nnumber=0\n" + SectionOf(lists[0]));
    std::vector<pid_t> children;
    for (const Values& list : lists) {
        children.push_back(InChild([&] {
            const std::string answer = AnswerWith(list);
            int done = 0;
            while (done < kTurns && Mirror(answer)) {
                ++done;
            }
            return done == kTurns ? 0 : 1;
        }));
    }
    for (const std::string& section : sections) {
        children.push_back(InChild([&] {
            kxe_glock* lock = nullptr;
            int done = kxe_glock_init(kxtest::kNetConfigLock, &lock) == 0 ? 0 : kTurns + 1;
            while (done < kTurns && kxtest::AddOne(lock, file.c_str(), section.c_str())) {
                ++done;
            }
            return done == kTurns ? 0 : 1;
        }));
    }
    for (const pid_t child : children) {
        EXPECT_EQ(ExitOf(child), 0);
    }
    const std::string left = Content();
    const std::string number = "number=" + std::to_string(kTurns) + "\n";
    const std::string rest =
        "; of the first\n[first]\n" + number + kForeign + "[second]\n" + number;
    EXPECT_THAT(left, testing::AnyOf(rest + SectionOf(lists[0]), rest + SectionOf(lists[1])));
}

// Until each of the two lists has been seen often.
TEST_F(NetConfigProcess, AReaderWithoutTheLockSeesAWholeListAtAnyMoment) {
    const std::string sections[] = {SectionOf({"10.0.0.1"}), SectionOf(Values(40, "fe80::1"))};
    kxtest::WriteFile("config/net_config.ini", sections[0]);
    const pid_t writer = InChild([&] {
        const std::string answers[] = {AnswerWith({"10.0.0.1"}), AnswerWith(Values(40, "fe80::1"))};
        unsigned turn = 1;
        while (Mirror(answers[turn % 2])) {
            ++turn;
        }
        return 1;
    });
    int seen[] = {0, 0};
    while (seen[0] < 20 || seen[1] < 20) {
        const std::string content = Content();
        ASSERT_TRUE(content == sections[0] || content == sections[1]) << content;
        ++seen[content == sections[0] ? 0 : 1];
    }
    kill(writer, SIGKILL);
    EXPECT_EQ(ExitOf(writer), -SIGKILL);
}
