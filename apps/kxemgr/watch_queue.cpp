#include "kxemgr/watch_queue.h"

#include <utility>

namespace kxemgr {

void WatchQueue::push(std::shared_ptr<const std::string> upload) {
    m_uploads.push_back(std::move(upload));
    m_bytes += m_uploads.back()->size();
    while (m_uploads.size() > kMostUploads || (m_uploads.size() > 1 && m_bytes > kMostBytes)) {
        drop_oldest();
    }
}

void WatchQueue::confirm(std::uint64_t after) {
    while (!m_uploads.empty() && m_first <= after) {
        drop_oldest();
    }
}

kxapp::WatchAnswer WatchQueue::next() const {
    kxapp::WatchAnswer answer;
    answer.first = m_first;
    std::size_t bytes = 0;
    for (const auto& upload : m_uploads) {
        bytes += upload->size();
        if (answer.uploads.size() == kxapp::kMostWatchedAtOnce ||
            (!answer.uploads.empty() && bytes > kxapp::kMostWatchedBytes)) {
            break;
        }
        answer.uploads.push_back(*upload);
    }
    return answer;
}

void WatchQueue::drop_oldest() {
    m_bytes -= m_uploads.front()->size();
    m_uploads.pop_front();
    ++m_first;
}

}  // namespace kxemgr
