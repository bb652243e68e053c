// Every function that the module and the agent's libraries call, failing at one call after another.
// KX_ALL_FAULTS in the environment lets no call out.
#include <cerrno>
#include <ostream>
#include <vector>

#include "faults.h"

namespace kxtest {
namespace {

struct Subject {
    const char* name;
    std::vector<Fault> faults;
};

void PrintTo(const Subject& subject, std::ostream* out) {
    *out << subject.name;
}

const Subject kWhileRunning[] = {
    {"Opening",
     {{"open", EIO},
      {"open", EMFILE},
      {"openat", EMFILE},
      {"fdopen", ENOMEM},
      {"fcntl", EIO},
      {"flock", ENOLCK},
      {"access", EACCES}}},
    {"Reading",
     {{"read", EIO},
      {"read", EINTR},
      {"fread", EIO},
      {"fgets", EIO},
      {"fseek", EIO},
      {"ftell", EIO},
      {"stat", EIO},
      {"fstat", EIO},
      {"fstatat", EIO},
      {"readlink", EIO, Reach::kWorker}}},
    {"Writing",
     {{"write", EIO},
      {"write", ENOSPC},
      {"write", EINTR},
      {"fwrite", ENOSPC},
      {"fflush", ENOSPC},
      {"fclose", EIO},
      {"fsync", EIO},
      {"rename", EIO},
      {"unlink", EIO},
      {"unlinkat", EIO},
      {"mkdir", ENOSPC},
      {"fchmod", EPERM},
      {"fchown", EPERM},
      {"fchmodat", EPERM}}},
    {"Sockets",
     {{"socket", EMFILE},
      {"bind", EADDRINUSE},
      {"listen", EADDRINUSE},
      {"connect", ECONNREFUSED},
      {"connect", EINTR},
      {"accept4", EMFILE},
      {"accept4", ECONNABORTED},
      {"send", ENOBUFS},
      {"send", EINTR},
      {"receive", ECONNRESET},
      {"receive", EINTR},
      {"getsockopt", ENOBUFS},
      {"setsockopt", ENOBUFS},
      {"ioctl", EIO}}},
    {"Loop",
     {{"poll", EINTR},
      {"epoll_create1", EMFILE},
      {"epoll_ctl", ENOMEM, Reach::kHost},
      {"epoll_wait", EINTR},
      {"eventfd", EMFILE},
      {"pipe2", EMFILE},
      {"pthread_create", EAGAIN}}},
    {"Machine",
     {{"getifaddrs", ENOMEM},
      {"inet_ntop", ENOSPC},
      {"uname", EFAULT},
      {"sysconf", EINVAL},
      {"getrandom", EAGAIN},
      {"posix_spawn", ENOMEM},
      {"adddup2", ENOMEM},
      {"waitpid", ECHILD},
      {"waitpid", EINTR}}},
    {"Shortage",
     {{"open", EMFILE, Reach::kFromHere},
      {"socket", EMFILE, Reach::kFromHere},
      {"accept4", EMFILE, Reach::kFromHere},
      {"pipe2", EMFILE, Reach::kFromHere},
      {"posix_spawn", ENOMEM, Reach::kFromHere},
      {"write", ENOSPC, Reach::kFromHere},
      {"fwrite", ENOSPC, Reach::kFromHere}}},
#ifndef KX_SANITIZED
    {"Memory", {{"malloc", ENOMEM}}},
#ifndef KX_COUNTED  // what counts lines needs memory at the end
    {"NoMemory", {{"malloc", ENOMEM, Reach::kFromHere}}},
#endif
#endif
};

const Subject kAtStart[] = {
    {"Files",
     {{"open", EMFILE},
      {"openat", EIO},
      {"read", EIO},
      {"write", ENOSPC},
      {"fsync", EIO},
      {"rename", EIO},
      {"renameat", EIO},
      {"unlinkat", EIO},
      {"mkdir", ENOSPC},
      {"stat", EIO},
      {"fstat", EIO},
      {"fchmod", EPERM},
      {"readlink", EIO, Reach::kWorker}}},
    {"Libraries",
     {{"dlopen", ENOENT},
      {"pipe2", EMFILE, Reach::kHost},
      {"epoll_create1", EMFILE},
      {"eventfd", EMFILE},
      {"pthread_create", EAGAIN},
      {"getrandom", EAGAIN},
      {"localtime_r", EOVERFLOW}}},
#ifndef KX_SANITIZED
    {"Memory", {{"malloc", ENOMEM}}},
#endif
};

class AfterAFault : public FaultTest, public testing::WithParamInterface<Subject> {};

TEST_P(AfterAFault, TheModuleGoesOn) {
    for (const Fault& fault : GetParam().faults) {
        Walk(fault, [this](long nth) { return Restart(nth); });
    }
    StopHost();
}

class AtStart : public FaultTest, public testing::WithParamInterface<Subject> {};

TEST_P(AtStart, AFaultLeavesFilesWhole) {
    for (const Fault& fault : GetParam().faults) {
        Walk(fault, [this](long nth) { return Launch(nth); });
    }
}

std::string NameOf(const testing::TestParamInfo<Subject>& subject) {
    return subject.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, AfterAFault, testing::ValuesIn(kWhileRunning), NameOf);
INSTANTIATE_TEST_SUITE_P(Of, AtStart, testing::ValuesIn(kAtStart), NameOf);

}  // namespace
}  // namespace kxtest
