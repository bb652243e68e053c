#include "module/signals.h"

#include <csignal>
#include <initializer_list>

void BlockSignals() {
    sigset_t blocked;
    (void)sigfillset(&blocked);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS}) {
        (void)sigdelset(&blocked, fault);
    }
    (void)pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
}
