// What the plain tracing SDK was told. It is apart from the SDK, which is loaded at run time: tests
// must not need it. Any thread.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_TRACE_EVENTS_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_TRACE_EVENTS_H

#include <string>
#include <vector>

#pragma GCC visibility push(default)
namespace plain {

struct TraceEvent {
    std::string module;
    std::string event;
    std::string product;
    std::string version;
    std::string host_id;
    std::string text;
};

void AddTraceEvent(const TraceEvent& event);
std::vector<TraceEvent> TraceEvents();
void ResetTraceEvents();

}  // namespace plain
#pragma GCC visibility pop

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_TRACE_EVENTS_H
