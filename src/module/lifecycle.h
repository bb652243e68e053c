// The worker's handle.
#ifndef KXEPINFO_MODULE_LIFECYCLE_H
#define KXEPINFO_MODULE_LIFECYCLE_H

#include <pthread.h>

// The worker, 0 when there is none. The host's thread only.
extern pthread_t s_workThread;

#endif  // KXEPINFO_MODULE_LIFECYCLE_H
