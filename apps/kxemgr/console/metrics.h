// The manager for a monitoring system: the Prometheus text exposition format, version 0.0.4.
#ifndef KX_APPS_KXEMGR_CONSOLE_METRICS_H
#define KX_APPS_KXEMGR_CONSOLE_METRICS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "kxemgr/console/api.h"
#include "kxemgr/console/counters.h"

namespace kxemgr::console {

inline constexpr char kMetricsType[] = "text/plain; version=0.0.4; charset=utf-8";

// Agents' text in a label's value: backslash, quote and line feed are escaped, and zero bytes,
// which the format knows no way to write, become U+FFFD. `text` is UTF-8.
std::string EscapeLabel(std::string_view text);

// docs/console.md lists the metrics.
std::string MetricsText(const std::vector<AgentSummary>& agents, const Clock& clock,
                        const Counters& counters, std::size_t event_clients,
                        std::string_view version);

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_METRICS_H
