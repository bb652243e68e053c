// The parts of spdlog that the log stands on, compiled here once. Everywhere else its headers only
// declare: formatting and rotation take longer to compile than the rest of the library.
#include <spdlog/details/null_mutex.h>
// clang-format off: each file stands on those before it.
#include <spdlog/common-inl.h>
#include <spdlog/details/file_helper-inl.h>
#include <spdlog/details/log_msg-inl.h>
#include <spdlog/details/os-inl.h>
#include <spdlog/pattern_formatter-inl.h>
#include <spdlog/sinks/base_sink-inl.h>
#include <spdlog/sinks/rotating_file_sink-inl.h>
#include <spdlog/sinks/sink-inl.h>
// clang-format on

template class spdlog::sinks::base_sink<spdlog::details::null_mutex>;
template class spdlog::sinks::rotating_file_sink<spdlog::details::null_mutex>;
