#include "common/listener.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "bus_ends.h"
#include "installation.h"

using kxapp::FindListener;
using kxapp::Listener;
using kxtest::InstallationRoot;

namespace {

class ListenerTest : public kxtest::InstallationTest {};

}  // namespace

TEST_F(ListenerTest, IsTheProcessThatHasTheName) {
    kxapp::Service service("agt_ei", [](const kxapp::Request&) { return kxapp::Reply{}; });
    ASSERT_TRUE(service.open());
    const Listener listener = FindListener(InstallationRoot(), "agt_ei");
    EXPECT_EQ(listener.failure, 0);
    EXPECT_EQ(listener.pid, getpid());
    EXPECT_EQ(listener.user, geteuid());
}

TEST_F(ListenerTest, IsNobodyWithoutABusAndMakesNone) {
    EXPECT_EQ(FindListener(InstallationRoot(), "agt_ei").failure, ENOENT);
    EXPECT_FALSE(std::filesystem::exists(InstallationRoot() / "var"));
}

TEST_F(ListenerTest, IsNobodyWhereASocketWasLeftBehind) {
    kxapp::Service service("mgr_ei", [](const kxapp::Request&) { return kxapp::Reply{}; });
    ASSERT_TRUE(service.open());
    EXPECT_EQ(FindListener(InstallationRoot(), "agt_ei").failure, ENOENT);
    kxtest::WriteFile("var/run/ipc/agt_ei.sock", "");
    EXPECT_EQ(FindListener(InstallationRoot(), "agt_ei").failure, ECONNREFUSED);
}

TEST_F(ListenerTest, HasNoNameThatIsTooLong) {
    kxtest::WriteFile("var/run/ipc/x", "");
    EXPECT_EQ(FindListener(InstallationRoot(), std::string(200, 'x')).failure, ENAMETOOLONG);
}
