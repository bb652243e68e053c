#include "kxemgr/console/feed.h"

#include <utility>

namespace kxemgr::console {

std::string EventText(std::string_view name, std::string_view data) {
    std::string text = "event: ";
    text.append(name).append("\ndata: ").append(data).append("\n\n");
    return text;
}

Feed::Client::~Client() {
    const std::lock_guard lock(m_feed.m_mutex);
    --m_feed.m_clients;
}

std::optional<std::string> Feed::Client::next(std::chrono::milliseconds patience) {
    Feed& feed = m_feed;
    std::unique_lock lock(feed.m_mutex);
    const auto end = [&feed] { return feed.m_first + feed.m_events.size(); };
    (void)feed.m_changed.wait_for(lock, patience,
                                  [&] { return feed.m_closed || m_position < end(); });
    if (feed.m_closed || m_position < feed.m_first) {
        return std::nullopt;
    }
    std::string text;
    for (; m_position < end(); ++m_position) {
        text += feed.m_events[static_cast<std::size_t>(m_position - feed.m_first)];
    }
    return text;
}

std::shared_ptr<Feed::Client> Feed::join() {
    const std::lock_guard lock(m_mutex);
    if (m_closed || m_clients == kMostClients) {
        return nullptr;
    }
    std::shared_ptr<Client> client(new Client(*this, m_first + m_events.size()));
    ++m_clients;
    return client;
}

void Feed::publish(std::string event) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_clients == 0) {
            // Nobody missed the ones before, and a new reader begins behind them.
            m_first += m_events.size();
            m_events.clear();
            return;
        }
        m_events.push_back(std::move(event));
        if (m_events.size() > kMostEvents) {
            m_events.pop_front();
            ++m_first;
        }
    }
    m_changed.notify_all();
}

void Feed::close() {
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
    }
    m_changed.notify_all();
}

std::size_t Feed::client_count() const {
    const std::lock_guard lock(m_mutex);
    return m_clients;
}

}  // namespace kxemgr::console
