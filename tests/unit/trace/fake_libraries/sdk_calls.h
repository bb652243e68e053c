// What a fake SDK was called with. Each loading of the library starts with a zeroed one, exported
// as fake_sdk_calls.
#ifndef KXEPINFO_TESTS_UNIT_TRACE_FAKE_LIBRARIES_SDK_CALLS_H
#define KXEPINFO_TESTS_UNIT_TRACE_FAKE_LIBRARIES_SDK_CALLS_H

struct SdkCalls {
    int inits;
    int uninits;
    int traces;        // of kxe_bp_trace_utf8
    int others;        // of any other function
    int owner;         // what fake_sdk_owner gave at the start: the SDK's own gives 1
    char header[212];  // of the last trace, like the two below
    char format[16];
    char text[1U << 20U];  // the argument for "%s"
};

#endif  // KXEPINFO_TESTS_UNIT_TRACE_FAKE_LIBRARIES_SDK_CALLS_H
