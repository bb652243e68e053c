// A module that leaves nothing of its host alone. What cannot tell it from a good one proves
// nothing.
#include <fcntl.h>
#include <locale.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cfenv>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

void Leak() {
    constexpr std::size_t kMegabyte = std::size_t{1} << 20;
    (void)!open("/dev/null", O_RDONLY | O_CLOEXEC);
    std::memset(std::malloc(kMegabyte), 1, kMegabyte);
    std::thread([] { pause(); }).detach();
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int kxepinfo_init() {
    Leak();
    signal(SIGHUP, SIG_IGN);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    setlocale(LC_ALL, "C");
    setenv("KX_BAD", "1", 1);
    umask(0);
    (void)!chdir("/");
    const itimerval none{};
    setitimer(ITIMER_REAL, &none, nullptr);
    fcntl(STDOUT_FILENO, F_SETFL, fcntl(STDOUT_FILENO, F_GETFL) | O_NONBLOCK);
    rlimit core{};
    getrlimit(RLIMIT_CORE, &core);
    core.rlim_cur = core.rlim_max;
    setrlimit(RLIMIT_CORE, &core);
    std::fesetround(FE_TONEAREST);
    return 0;
}

extern "C" __attribute__((visibility("default"))) int kxepinfo_uninit() {
    return 0;
}
