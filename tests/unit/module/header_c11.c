/* The header is C: it can stand first in a C11 source file. */
#include "kxepinfo.h"

int HeaderWorksInC(void);

/* Starts and stops the module; 1 when it did and the link state is as it is at load. */
int HeaderWorksInC(void) {
    return kxepinfo_init() == 0 && kxepinfo_uninit() == 0 && g_preOnlineState == 1 &&
           Attempt_Times == 0;
}
