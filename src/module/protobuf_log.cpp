#include "module/protobuf_log.h"

#include <google/protobuf/stubs/logging.h>

#include <atomic>
#include <string>

#include "common/log.h"

namespace {

constexpr char kLogTag[] = "kxepproto";

using google::protobuf::LogHandler;

thread_local bool is_worker = false;

// Null: the process wants to hear nothing.
std::atomic<LogHandler*> handler_before{nullptr};

void Handle(google::protobuf::LogLevel level, const char* file, int line,
            const std::string& message) {
    if (is_worker) {
        // Behind a fatal message the runtime throws or aborts.
        const bool fatal = level == google::protobuf::LOGLEVEL_FATAL;
        EP_LOG(fatal ? kLogCritical : kLogError, "%s", message.c_str());
        return;
    }
    if (LogHandler* const before = handler_before) {
        before(level, file, line, message);
    }
}

}  // namespace

ProtobufLog::ProtobufLog() {
    is_worker = true;
    handler_before = google::protobuf::SetLogHandler(Handle);
}

ProtobufLog::~ProtobufLog() {
    LogHandler* const current = google::protobuf::SetLogHandler(handler_before);
    if (current != Handle) {
        // Somebody else has set a handler since: it is theirs to keep.
        (void)google::protobuf::SetLogHandler(current);
    }
    is_worker = false;
}
