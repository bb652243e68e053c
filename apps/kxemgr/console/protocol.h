// HTTP on one connection: requests to questions, answers to responses.
#ifndef KX_APPS_KXEMGR_CONSOLE_PROTOCOL_H
#define KX_APPS_KXEMGR_CONSOLE_PROTOCOL_H

#include <httplib.h>

#include <chrono>
#include <cstddef>
#include <functional>

#include "kxemgr/console/site.h"
#include "kxemgr/console/stream.h"

namespace kxemgr::console {

// The library parses requests and writes responses. Listening, threads and limits are ours
// (server.h, stream.h): the library's have no bound on a request's size, nor on its time.
class Protocol : private httplib::Server {
  public:
    using Answerer = std::function<Answer(const Question& question)>;

    // Requests of one connection. A browser opens the next one without being told.
    static constexpr int kMostRequests = 1000;
    // After so long without an event its readers get a comment, by which a dead one is noticed.
    static constexpr std::chrono::seconds kHeartbeat{15};

    explicit Protocol(Answerer answerer);

    // Serves a connection to its end, on the calling thread; several threads may.
    void serve(int socket, const Stream::Limits& limits);

  private:
    void respond(const httplib::Request& request, httplib::Response& response) const;

    Answerer m_answerer;
};

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_PROTOCOL_H
