// The file that events are appended to. Nothing is kept between calls, so that the file may be
// removed or renamed by anybody at any time. Any thread; several processes may append at once.
#ifndef KX_BPSDK_TRACE_FILE_H
#define KX_BPSDK_TRACE_FILE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace bpsdk {

// No line takes the file beyond this, unless another process is renaming it at this moment.
inline constexpr std::int64_t kLargestFile = 10LL * 1024 * 1024;

// Makes @/../var and @/../var/trace when they are missing. 0 or an errno value.
int MakeTraceDirectory();

// Appends `line`, which ends with a newline, in one write. 0, or an errno value when not all of it
// was written.
int AppendLine(std::string_view line);

}  // namespace bpsdk

#endif  // KX_BPSDK_TRACE_FILE_H
