#include "kxecfgc/file_watch.h"

#include <stdexcept>
#include <utility>

namespace kxecfgc {

FileWatch::FileWatch(const std::string& path, std::function<void()> on_change)
    : m_on_change(std::move(on_change)),
      m_events(kxapp::MakeLoopHandle<uv_fs_event_t>(uv_fs_event_init)),
      m_timer(kxapp::MakeLoopHandle<uv_timer_t>(uv_timer_init)) {
    const std::size_t slash = path.rfind('/');
    m_directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    m_name = slash == std::string::npos ? path : path.substr(slash + 1);
    m_events->data = this;
    m_timer->data = this;
    const int failure = uv_fs_event_start(m_events.get(), OnEvent, m_directory.c_str(), 0);
    if (failure != 0) {
        throw std::runtime_error("cannot watch the directory " + m_directory + ": " +
                                 uv_strerror(failure));
    }
}

// `name` is null when the system does not say which file of the directory it was.
void FileWatch::OnEvent(uv_fs_event_t* handle, const char* name, int, int) {
    FileWatch& self = *static_cast<FileWatch*>(handle->data);
    if (name == nullptr || self.m_name == name) {
        (void)uv_timer_start(self.m_timer.get(), OnSettled, kSettleMs, 0);
    }
}

void FileWatch::OnSettled(uv_timer_t* timer) {
    static_cast<FileWatch*>(timer->data)->m_on_change();
}

}  // namespace kxecfgc
