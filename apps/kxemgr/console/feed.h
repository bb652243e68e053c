// Events from the manager's thread to those who read /api/events.
#ifndef KX_APPS_KXEMGR_CONSOLE_FEED_H
#define KX_APPS_KXEMGR_CONSOLE_FEED_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace kxemgr::console {

// "event: NAME", "data: DATA" and an empty line; neither may hold a line end.
std::string EventText(std::string_view name, std::string_view data);

// A window over the latest events. Publishing takes the time to append a text, whoever reads and
// however slowly; a reader that has fallen out of the window is sent away, and comes back for the
// whole state. All functions from any thread.
class Feed {
  public:
    static constexpr std::size_t kMostClients = 32;
    static constexpr std::size_t kMostEvents = 1024;

    // One reader, while it lives; the feed lives longer.
    class Client {
      public:
        ~Client();
        Client(const Client&) = delete;
        Client& operator=(const Client&) = delete;

        // All events that have come since the last call, as EventText each; an empty text when none
        // has come for `patience`. Nothing when the reader has to go: it was too slow, or the feed
        // is closed.
        std::optional<std::string> next(std::chrono::milliseconds patience);

      private:
        friend class Feed;
        Client(Feed& feed, std::uint64_t position) : m_feed(feed), m_position(position) {}

        Feed& m_feed;
        std::uint64_t m_position;  // number of the next event to read
    };

    // Reads what is published from now on. Null when there are too many readers, or the feed is
    // closed.
    std::shared_ptr<Client> join();

    void publish(std::string event);
    // Sends every reader away; no other comes.
    void close();

    std::size_t client_count() const;

  private:
    mutable std::mutex m_mutex;  // guards all below
    std::condition_variable m_changed;
    std::deque<std::string> m_events;
    std::uint64_t m_first = 0;  // number of the first one in the window
    std::size_t m_clients = 0;
    bool m_closed = false;
};

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_FEED_H
