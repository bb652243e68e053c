#include "common/exitflag.h"

int s_exitFlag = 0;
