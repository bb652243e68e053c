// What is found under which path.
#ifndef KX_APPS_KXEMGR_CONSOLE_SITE_H
#define KX_APPS_KXEMGR_CONSOLE_SITE_H

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "kxemgr/console/access.h"
#include "kxemgr/console/counters.h"
#include "kxemgr/console/feed.h"
#include "kxemgr/console/store.h"

namespace kxemgr::console {

struct Question {
    std::string_view path;                          // decoded, without the query
    std::map<std::string, std::string> parameters;  // of the query
    Credentials credentials;
};

struct Answer {
    int status = 200;
    std::string type;
    std::string_view fixed;  // the body of an answer that never changes
    std::string body;        // otherwise
    std::string set_cookie;  // empty: none
    // The body goes on and on: these events, behind `body`.
    std::shared_ptr<Feed::Client> events;
};

// A file of the page, compiled in.
struct Asset {
    const char* path;
    const char* type;
    std::string_view content;
};

// Null when there is none.
const Asset* FindAsset(std::string_view path);

// Answers questions from any thread.
class Site {
  public:
    // All but the rules belong to somebody who lives longer.
    Site(Store& store, Feed& feed, const Counters& counters, Rules rules,
         std::int64_t offline_after_ms, std::string version);

    // Never throws: what goes wrong is a 5xx.
    Answer answer(const Question& question) const noexcept;

  private:
    Answer route(const Question& question) const;
    Answer agents() const;
    Answer agent(std::string_view rest, const Question& question) const;
    Answer history(std::uint32_t id, const Question& question) const;
    Answer events() const;
    Answer metrics() const;

    Store& m_store;
    Feed& m_feed;
    const Counters& m_counters;
    Rules m_rules;
    std::int64_t m_offline_after_ms;
    std::string m_version;
};

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_SITE_H
