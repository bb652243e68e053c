/* The smallest host of the endpoint-information module: starts it, waits for SIGTERM or SIGINT,
 * stops it. The executable belongs into bin/ of an installation; docs/embedding.md tells how to
 * build it. */
#include <pthread.h>
#include <signal.h>
#include <stdio.h>

#include "autolog.h"
#include "kxe_base.h"
#include "kxepinfo.h"

int main(void) {
    /* Blocked before there is another thread, so that the signals wait for sigwait. */
    sigset_t awaited;
    sigemptyset(&awaited);
    sigaddset(&awaited, SIGTERM);
    sigaddset(&awaited, SIGINT);
    pthread_sigmask(SIG_BLOCK, &awaited, NULL);

    /* The worker does the same with the same arguments. Here it sends what the module says before,
     * and behind, into the log too, instead of to standard error. */
    char log_directory[4096];
    kxe_dirutils_path_transform("@/../var/log/agent/kxepinfo", log_directory, sizeof log_directory);
    autolog_init(log_directory, 5);

    const int failure = kxepinfo_init();
    if (failure != 0) {
        fprintf(stderr, "the module cannot start: error code %d\n", failure);
        return 1;
    }

    int number = 0;
    sigwait(&awaited, &number); /* here the host does its own work */

    kxepinfo_uninit(); /* waits for the worker, a good second at most as a rule */
    return 0;
}
