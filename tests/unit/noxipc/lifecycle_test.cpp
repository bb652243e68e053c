// Joining and leaving the bus.
#include <malloc.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <memory>
#include <new>
#include <thread>

#include "open_files.h"
#include "server.h"

namespace fs = std::filesystem;

namespace {

using noxipc::Address;

class LifecycleTest : public BusTest {
  protected:
    static mode_t Mode(const fs::path& path) {
        struct stat status = {};
        EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
        return status.st_mode & 07777U;
    }
    static std::vector<kxtest::LogLine> Errors() { return kxtest::LoggedLinesUpTo(2); }
    static kxtest::LogLine CannotJoin(const std::string& name, const std::string& why) {
        return {2, "noxipc", "cannot join the bus as \"" + name + "\": " + why};
    }
};

TEST_F(LifecycleTest, JoiningMakesTheDirectoryWithItsParentsForThisUserAlone) {
    const mode_t before = umask(0);
    const Instance instance = Join("server");
    umask(before);
    ASSERT_NE(nullptr, instance);
    EXPECT_EQ(mode_t{0700}, Mode(BusPath("")));
    EXPECT_EQ(mode_t{0600}, Mode(BusPath("server.sock")));
    EXPECT_EQ(mode_t{0755}, Mode(kxtest::InstallationRoot() / "var/run"));
}

TEST_F(LifecycleTest, JoiningClosesADirectoryThatWasOpenToOthers) {
    fs::create_directories(BusPath(""));
    fs::permissions(BusPath(""), fs::perms(0777));
    const Instance instance = Join("server");
    EXPECT_EQ(mode_t{0700}, Mode(BusPath("")));
}

TEST_F(LifecycleTest, AnInvalidNameIsRefused) {
    EXPECT_EQ(nullptr, nox_ipc_create("../server", 0));
    EXPECT_EQ(nullptr, nox_ipc_create("", 0));
    EXPECT_EQ(nullptr, nox_ipc_create(nullptr, 0));
    EXPECT_THAT(Errors(), testing::ElementsAre(CannotJoin("../server", "Invalid argument"),
                                               CannotJoin("", "Invalid argument"),
                                               CannotJoin("", "Invalid argument")));
}

TEST_F(LifecycleTest, ANameOf64CharactersWorks) {
    const std::string name(64, 'n');
    const Instance server = Join(name.c_str());
    ASSERT_NE(nullptr, server);
    ASSERT_EQ(0, nox_ipc_on_request(server.get(), EchoRequest, nullptr));
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf(name.c_str()), "x", &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
}

TEST_F(LifecycleTest, ANameIsTakenOnlyOnceInAProcess) {
    const Instance first = Join("server");
    EXPECT_EQ(nullptr, Join("server"));
    EXPECT_THAT(Errors(), testing::ElementsAre(CannotJoin("server", "the name is taken")));
}

TEST_F(LifecycleTest, ANameThatAnotherProcessHasIsRefused) {
    const Child child(Echoing("server"));
    EXPECT_EQ(nullptr, Join("server"));
    EXPECT_THAT(Errors(), testing::ElementsAre(CannotJoin("server", "the name is taken")));
    const Instance client = Join("client");  // and the one who has it is not disturbed
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
}

TEST_F(LifecycleTest, WhatACrashedInstanceLeftIsTakenOver) {
    Child child(Echoing("server"));
    child.Kill(SIGKILL);
    child.Wait();
    ASSERT_TRUE(fs::exists(BusPath("server.sock")));
    const Instance server = Join("server");
    ASSERT_NE(nullptr, server);
    ASSERT_EQ(0, nox_ipc_on_request(server.get(), EchoRequest, nullptr));
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(Errors(), testing::IsEmpty());
}

TEST_F(LifecycleTest, NobodyListensUnderTheNameOfACrashedInstance) {
    Child child(Echoing("server"));
    child.Kill(SIGKILL);
    child.Wait();
    const Instance client = Join("client");
    Outcome outcome;
    ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome, 3600));
    RunUntil([&] { return outcome.done(); });
    EXPECT_EQ(ECONNREFUSED, outcome.status);
}

// Shared by several processes.
struct Count {
    std::atomic<int> holders{0};
    std::atomic<int> joined{0};
    std::atomic<int> conflicts{0};
};

// Joins and leaves again and again.
int ComeAndGo(Count* count) {
    for (int round = 0; round < 300; ++round) {
        const Instance instance = Join("server");
        if (instance != nullptr) {
            count->conflicts += ++count->holders == 1 ? 0 : 1;
            ++count->joined;
            std::this_thread::yield();
            --count->holders;
        }
    }
    return 0;
}

// A lock file that vanishes while others open it must not let two of them in.
TEST_F(LifecycleTest, OfManyWhoComeAndGoOnlyOneHasTheNameAtATime) {
    void* const shared =
        mmap(nullptr, sizeof(Count), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, shared);
    auto* const count = new (shared) Count;
    std::vector<std::unique_ptr<Child>> children;
    for (int i = 0; i < 4; ++i) {
        children.push_back(std::make_unique<Child>([count](const std::function<void()>& ready) {
            ready();
            return ComeAndGo(count);
        }));
    }
    for (auto& child : children) {
        EXPECT_EQ(0, child->Wait());
    }
    EXPECT_EQ(0, count->conflicts);
    EXPECT_GE(count->joined, 4);
    EXPECT_TRUE(fs::is_empty(BusPath("")));
    EXPECT_EQ(0, munmap(shared, sizeof(Count)));
}

TEST_F(LifecycleTest, ANameIsFreeAtOnceWhenItsInstanceIsDestroyed) {
    for (int round = 0; round < 10; ++round) {
        const Instance instance = Join("server");
        ASSERT_NE(nullptr, instance) << round;
    }
    EXPECT_EQ(nullptr, nox_ipc_create("a/b", 0));
    EXPECT_TRUE(fs::is_empty(BusPath("")));
}

TEST_F(LifecycleTest, TheSuccessorOfADestroyedInstanceIsReached) {
    const Instance client = Join("client");
    for (int round = 0; round < 10; ++round) {
        const Instance server = Join("server");
        ASSERT_EQ(0, nox_ipc_on_request(server.get(), EchoRequest, nullptr));
        Outcome outcome;
        // No pass of the loop has told the client that its old peer is gone.
        ASSERT_EQ(0, Ask(client, AddressOf("server"), std::to_string(round), &outcome));
        RunUntil([&] { return outcome.done(); });
        ASSERT_EQ(0, outcome.status);
        ASSERT_EQ(std::to_string(round), outcome.data);
    }
}

TEST_F(LifecycleTest, APeerThatRestartsIsReachedAgain) {
    const Instance client = Join("client");
    for (int round = 0; round < 3; ++round) {
        Child child(Echoing("server"));
        Outcome outcome;
        ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
        RunUntil([&] { return outcome.done(); });
        ASSERT_EQ(0, outcome.status);
        child.Kill(SIGKILL);
        child.Wait();
    }
}

TEST_F(LifecycleTest, LeavingDropsOpenRequestsWithoutACallback) {
    const Instance server = Join("server");
    Outcome open;
    Outcome refused;
    {
        const Instance client = Join("client");
        ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &open, 1));
        ASSERT_EQ(0, Ask(client, AddressOf("nobody"), "x", &refused));
    }
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(1200)) {
        RunWhatIsDue();
    }
    EXPECT_EQ(0, open.calls);
    EXPECT_EQ(0, refused.calls);
}

TEST_F(LifecycleTest, LeavingNullDoesNothing) {
    nox_ipc_destroy(nullptr);
    EXPECT_EQ(0, cl_event_loop_once());
}

// Destroys the instance that the user pointer leads to.
struct Leaver {
    nox_ipc_st* instance = nullptr;
    int calls = 0;
    void Leave() {
        ++calls;
        nox_ipc_destroy(instance);
    }
};

TEST_F(LifecycleTest, AResponseCallbackMayLeave) {
    const Instance server = Join("server");
    ASSERT_EQ(0, nox_ipc_on_request(server.get(), EchoRequest, nullptr));
    Leaver leaver{nox_ipc_create("client", 0)};
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(0, nox_ipc_make_request(
                         leaver.instance, AddressOf("server").get(), 1, "x", 1,
                         [](int, unsigned, const char*, unsigned, void* user) {
                             static_cast<Leaver*>(user)->Leave();
                         },
                         &leaver, 60));
    }
    RunUntil([&] { return leaver.calls > 0; });
    RunWhatIsDue();
    EXPECT_EQ(1, leaver.calls);
    EXPECT_NE(nullptr, Join("client"));
}

TEST_F(LifecycleTest, AFailureCallbackMayLeave) {
    Leaver leaver{nox_ipc_create("client", 0)};
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(0, nox_ipc_make_request(
                         leaver.instance, AddressOf("nobody").get(), 1, "x", 1,
                         [](int, unsigned, const char*, unsigned, void* user) {
                             static_cast<Leaver*>(user)->Leave();
                         },
                         &leaver, 60));
    }
    (void)cl_event_loop_once();
    EXPECT_EQ(1, leaver.calls);
    EXPECT_EQ(0, cl_event_loop_once());
}

TEST_F(LifecycleTest, ARequestCallbackMayLeave) {
    Leaver leaver{nox_ipc_create("server", 0)};
    ASSERT_EQ(0, nox_ipc_on_request(
                     leaver.instance,
                     [](nox_ipc_st*, const nox_addr_st* from, unsigned, unsigned, const char* data,
                        unsigned len, void* user) {
                         static_cast<Leaver*>(user)->Leave();
                         EXPECT_STREQ("client", nox_addr_name(from));
                         EXPECT_EQ("x", std::string(data, len));
                     },
                     &leaver));
    const Instance client = Join("client");
    Outcome outcomes[3];
    for (Outcome& outcome : outcomes) {
        ASSERT_EQ(0, Ask(client, AddressOf("server"), "x", &outcome));
    }
    RunUntil([&] { return outcomes[2].done(); });
    EXPECT_EQ(1, leaver.calls);
    EXPECT_EQ(ECONNRESET, outcomes[0].status);
    EXPECT_EQ(ECONNRESET, outcomes[2].status);
}

TEST_F(LifecycleTest, AMessageCallbackMayLeave) {
    Leaver leaver{nox_ipc_create("server", 0)};
    ASSERT_EQ(0, nox_ipc_msg_recv(
                     leaver.instance,
                     [](nox_ipc_st*, const nox_addr_st* from, unsigned, const char*, unsigned,
                        void* user) {
                         static_cast<Leaver*>(user)->Leave();
                         EXPECT_STREQ("client", nox_addr_name(from));
                     },
                     &leaver));
    const Instance client = Join("client");
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(0, nox_ipc_send_msg(client.get(), AddressOf("server").get(), 1, "x", 1));
    }
    RunUntil([&] { return leaver.calls > 0; });
    RunWhatIsDue();
    EXPECT_EQ(1, leaver.calls);
}

// One worker as a module runs it, with a peer in the same thread: a request answered, one open, one
// refused, one long one half written; the configuration centre's address never released.
void RunWorker() {
    pthread_t thread = {};
    const auto entry = [](void*) -> void* {
        const Instance server = Join("server");
        const Instance client = Join("client");
        EXPECT_EQ(0, nox_ipc_on_request(server.get(), EchoRequest, nullptr));
        (void)nox_addr_create("agt_cfgc", 0, 0);
        Outcome answered;
        EXPECT_EQ(0, Ask(client, AddressOf("server"), "x", &answered));
        while (!answered.done() && cl_event_loop_once() != 0) {
        }
        static Outcome ignored;
        EXPECT_EQ(0, Ask(client, AddressOf("server"), "open", &ignored));
        EXPECT_EQ(0, Ask(client, AddressOf("nobody"), "refused", &ignored));
        EXPECT_EQ(0, Ask(client, AddressOf("server"), std::string(1000000, 'l'), &ignored));
        return nullptr;
    };
    ASSERT_EQ(0, cl_ev_create_isolated_thread(&thread, 0, entry, nullptr));
    ASSERT_EQ(0, pthread_join(thread, nullptr));
}

TEST_F(LifecycleTest, AHundredStartsAndStopsLoseNoDescriptorAndNoByte) {
    kxtest::EnableLogLevels(0);  // captured lines take memory
    for (int warm_up = 0; warm_up < 10; ++warm_up) {
        RunWorker();
    }
    const auto descriptors = kxtest::OpenDescriptors();
    const auto bytes = mallinfo2().uordblks;
    for (int round = 0; round < 100; ++round) {
        RunWorker();
    }
    EXPECT_EQ(descriptors, kxtest::OpenDescriptors());
    // The allocator's own bookkeeping moves by a few blocks. A block lost in every round, of 24
    // bytes at least, would show. (Under AddressSanitizer, which has no such figure, its leak check
    // tells.)
    EXPECT_LT(mallinfo2().uordblks, bytes + std::size_t{100} * 24);
    EXPECT_TRUE(fs::is_empty(BusPath("")));
}

// The same tests again, of an installation whose sockets have no address of their own.
TEST_F(LifecycleTest, AnInstallationPathOf200CharactersWorks) {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    const std::string shorter = kxtest::InstallationRoot() / "";
    ASSERT_LT(shorter.size(), 150U);
    const fs::path root = shorter + std::string(200 - shorter.size(), 'p');
    ASSERT_EQ(200U, root.string().size());
    fs::create_directories(root / "bin");
    const fs::path inside = root / "bin" / program.filename();
    fs::create_hard_link(program, inside);
    const std::string command =
        inside.string() +
        " --gtest_filter='ExchangeTest.A*:LifecycleTest.*Crashed*:*ThatAnother*' 2>&1";
    std::FILE* const output = popen(command.c_str(), "re");
    ASSERT_NE(nullptr, output);
    std::string text;
    for (int c = 0; (c = std::fgetc(output)) != EOF;) {
        text += static_cast<char>(c);
    }
    EXPECT_EQ(0, pclose(output)) << text;
    EXPECT_NE(std::string::npos, text.find("[       OK ] ExchangeTest.ARequestIsAnswered")) << text;
}

}  // namespace
