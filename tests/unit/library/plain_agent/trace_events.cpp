#include "trace_events.h"

#include <mutex>

namespace {

std::mutex mutex;
std::vector<plain::TraceEvent> events;

}  // namespace

namespace plain {

void AddTraceEvent(const TraceEvent& event) {
    const std::lock_guard lock(mutex);
    events.push_back(event);
}

std::vector<TraceEvent> TraceEvents() {
    const std::lock_guard lock(mutex);
    return events;
}

void ResetTraceEvents() {
    const std::lock_guard lock(mutex);
    events.clear();
}

}  // namespace plain
