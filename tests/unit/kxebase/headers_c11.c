/* The headers are C: each can stand first in a C11 source file, and in any order with the others.
 */
#include "ini_file.h"
#include "kxe_base.h"
#include "kxe_glock.h"
#include "kxe_ini.h"

int HeadersWorkInC(void);

int HeadersWorkInC(void) {
    char text[8];
    ini_file* const none = ini_file_load("");
    kxe_glock_release(NULL);
    return none == NULL && kxe_str_snprintf(text, sizeof text, "%d", 7) == 1 && text[0] == '7';
}
