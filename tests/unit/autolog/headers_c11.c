/* The header is C and stands for itself. */
#include "autolog.h"

int HeaderWorksInC(void);

int HeaderWorksInC(void) {
    return autolog_init("", 1);
}
