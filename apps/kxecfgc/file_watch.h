// Noticing that a file has changed.
#ifndef KX_APPS_KXECFGC_FILE_WATCH_H
#define KX_APPS_KXECFGC_FILE_WATCH_H

#include <functional>
#include <string>

#include "common/loop_handle.h"

namespace kxecfgc {

// Calls back, from the thread's event loop, when the file of a path may have changed: written,
// replaced by renaming another over it, removed, made. It is the directory that is watched, since a
// watch on the file would stay with the old file when a new one takes its place.
class FileWatch {
  public:
    // The directory must be there; throws std::runtime_error when it cannot be watched. `on_change`
    // must not throw.
    FileWatch(const std::string& path, std::function<void()> on_change);
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

  private:
    // A write is often several events, and an editor empties a file before it fills it: the call
    // comes when nothing has happened for this long.
    static constexpr unsigned kSettleMs = 100;

    static void OnEvent(uv_fs_event_t* handle, const char* name, int events, int status);
    static void OnSettled(uv_timer_t* timer);

    std::string m_directory;
    std::string m_name;
    std::function<void()> m_on_change;
    kxapp::LoopHandle<uv_fs_event_t> m_events;
    kxapp::LoopHandle<uv_timer_t> m_timer;
};

}  // namespace kxecfgc

#endif  // KX_APPS_KXECFGC_FILE_WATCH_H
