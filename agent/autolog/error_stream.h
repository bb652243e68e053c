// Standard error as a place for log lines, for as long as there is no file.
#ifndef AUTOLOG_ERROR_STREAM_H
#define AUTOLOG_ERROR_STREAM_H

#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/base_sink.h>

namespace autolog {

// Writes each line with one write(2), so that lines of several processes do not mix. A reader that
// went away costs the line: the signal SIGPIPE, which would end the host process, is held back.
// Not for two threads at once.
class ErrorStream final : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
  protected:
    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override {}
};

}  // namespace autolog

#endif  // AUTOLOG_ERROR_STREAM_H
