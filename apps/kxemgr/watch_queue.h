// The uploads that wait for one watcher.
#ifndef KX_APPS_KXEMGR_WATCH_QUEUE_H
#define KX_APPS_KXEMGR_WATCH_QUEUE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "common/watch.h"

namespace kxemgr {

// Numbers uploads from 1 and keeps them until the watcher has confirmed them. Beyond a bound the
// oldest go, which shows in the numbers; the newest always stays, so that this is told.
class WatchQueue {
  public:
    static constexpr std::size_t kMostUploads = 1024;
    static constexpr std::size_t kMostBytes = std::size_t{4} << 20U;

    // `upload` is packed (common/watch.h); watchers share it.
    void push(std::shared_ptr<const std::string> upload);

    // The watcher has all up to the number `after`, which may be any.
    void confirm(std::uint64_t after);

    bool empty() const { return m_uploads.empty(); }

    // The oldest that go into one answer; none when there is none.
    kxapp::WatchAnswer next() const;

  private:
    void drop_oldest();

    std::deque<std::shared_ptr<const std::string>> m_uploads;
    std::uint64_t m_first = 1;  // number of the oldest; of the next one when there is none
    std::size_t m_bytes = 0;
};

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_WATCH_QUEUE_H
