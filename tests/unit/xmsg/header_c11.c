/* The header is C: it can stand first in a C11 source file. */
#include "xmsg.h"

int HeaderWorksInC(void);

int HeaderWorksInC(void) {
    xmsg* const none = xmsg_unpack(0, 0);
    xmsg_release(none);
    return none == 0 && xmsg_pack_size(none) == 0;
}
