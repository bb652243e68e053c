// Records with a different value in every field.
#ifndef KXEPINFO_TESTS_UNIT_MSGHANDLER_SAMPLE_RECORDS_H
#define KXEPINFO_TESTS_UNIT_MSGHANDLER_SAMPLE_RECORDS_H

#include "common/records.h"

_stResmon SampleResmon();
_stAgentInfo SampleAgent();
_stUsrLogInfo SampleLogin();

#endif  // KXEPINFO_TESTS_UNIT_MSGHANDLER_SAMPLE_RECORDS_H
