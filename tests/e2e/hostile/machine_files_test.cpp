// The files of the machine that the module and the agent's libraries read, each with something else
// in its place. The machine is the test's own, as far as its files go.
#include <sys/mount.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>

#include "agent_under_attack.h"
#include "namespaces.h"
#include "shapes.h"
#include "wtmp_file.h"

namespace kxtest {
namespace {

class MachineFile : public AgentUnderAttack {
  protected:
    void SetUp() override {
        if (!EnterOwnMounts() || !CoverDirectory("/var/log") || !CoverEtc()) {
            GTEST_SKIP() << "namespaces need root";
        }
        RespectModes();
        installation().write("config/cnapp", "");
        std::ofstream("/var/log/wtmp", std::ios::binary)
            << WtmpEntry(USER_PROCESS, "alice", "", 1700000000);
        StartAgent();
    }

    // A copy that is the test's to change.
    bool CoverEtc() const {
        const std::string copy = installation().path("etc");
        return std::system(("cp -a /etc " + copy).c_str()) == 0 &&
               mount(copy.c_str(), "/etc", nullptr, MS_BIND, nullptr) == 0;
    }

    // A few cycles with it and one without it, in each of the shapes that the file can have.
    template <class AnyPlace>
    void TryShapes(AnyPlace& place) {
        for (const Shape shape : kAllShapes) {
            SCOPED_TRACE(NameOf(shape));
            if (!place.Take(shape)) {
                continue;
            }
            Step();
            Step();
            place.Restore();
            CheckCalm();
            if (HasFailure()) {
                return;
            }
        }
        StopHost();
    }
};

// A file in whose place others can only be mounted.
class MountPlace {
  public:
    MountPlace(std::string path, const std::filesystem::path& store)
        : m_path(std::move(path)), m_other(store) {}
    ~MountPlace() { Restore(); }
    MountPlace(const MountPlace&) = delete;
    MountPlace& operator=(const MountPlace&) = delete;

    // False for what cannot be mounted on a file, or not be changed there.
    bool Take(Shape shape) {
        Restore();
        if (shape == Shape::kChanging) {
            return false;
        }
        m_other.Take(shape);
        struct stat status {};
        if (stat(m_other.path().c_str(), &status) != 0 || S_ISDIR(status.st_mode)) {
            return false;
        }
        m_mounted = mount(m_other.path().c_str(), m_path.c_str(), nullptr, MS_BIND, nullptr) == 0;
        EXPECT_TRUE(m_mounted) << m_path;
        return m_mounted;
    }
    void Restore() {
        if (std::exchange(m_mounted, false)) {
            EXPECT_EQ(umount2(m_path.c_str(), MNT_DETACH), 0) << m_path;
        }
        m_other.Restore();
    }

  private:
    std::string m_path;
    Place m_other;
    bool m_mounted = false;
};

class FileOnDisk : public MachineFile, public testing::WithParamInterface<const char*> {};

TEST_P(FileOnDisk, MayBeAnything) {
    Place place(GetParam());
    TryShapes(place);
}

class FileOfTheKernel : public MachineFile, public testing::WithParamInterface<const char*> {};

TEST_P(FileOfTheKernel, MayBeAnything) {
    std::string path = GetParam();
    if (const std::size_t at = path.find("PID"); at != std::string::npos) {
        path.replace(at, 3, std::to_string(host().pid()));
    }
    MountPlace place(path, installation().path("other"));
    TryShapes(place);
}

std::string NameOfFile(const testing::TestParamInfo<const char*>& file) {
    std::string name = std::filesystem::path(file.param).filename();
    for (char& c : name) {
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Each, FileOnDisk,
                         testing::Values("/var/log/wtmp", "/etc/os-release", "/etc/machine-id"),
                         NameOfFile);
INSTANTIATE_TEST_SUITE_P(Each, FileOfTheKernel,
                         testing::Values("/proc/stat", "/proc/meminfo", "/proc/PID/cgroup",
                                         "/proc/PID/mountinfo"),
                         NameOfFile);

}  // namespace
}  // namespace kxtest
