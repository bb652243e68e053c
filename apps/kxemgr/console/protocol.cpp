#include "kxemgr/console/protocol.h"

#include <unistd.h>

#include <utility>

namespace kxemgr::console {

namespace {

// The page loads nothing from elsewhere, runs no script but its files, and is no part of another.
constexpr std::pair<const char*, const char*> kHeaders[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
     "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Referrer-Policy", "no-referrer"},
    {"X-Content-Type-Options", "nosniff"},
    {"Cache-Control", "no-store"},
};

std::string Header(const httplib::Request& request, const char* name) {
    const auto found = request.headers.find(name);
    return found == request.headers.end() ? std::string() : found->second;
}

bool HasBody(const httplib::Request& request) {
    const std::string length = Header(request, "Content-Length");
    return (!length.empty() && length != "0") || request.headers.contains("Transfer-Encoding");
}

void WriteEvents(httplib::Response& response, Answer answer) {
    const auto provider = [first = std::move(answer.body), events = std::move(answer.events)](
                              std::size_t, httplib::DataSink& sink) mutable {
        std::string text = std::exchange(first, {});
        if (text.empty()) {
            auto next = events->next(Protocol::kHeartbeat);
            if (!next) {
                sink.done();
                return true;
            }
            text = next->empty() ? std::string(": nothing new\n\n") : std::move(*next);
        }
        return static_cast<bool>(sink.write(text.data(), text.size()));
    };
    response.set_chunked_content_provider(answer.type, provider);
}

}  // namespace

Protocol::Protocol(Answerer answerer) : m_answerer(std::move(answerer)) {
    // The library takes a server without a socket for one that is being stopped, and then writes no
    // events. The number is not used.
    svr_sock_ = STDERR_FILENO;
    // What the library tells the other side; it is ours that counts.
    set_keep_alive_max_count(kMostRequests);
    set_keep_alive_timeout(
        std::chrono::duration_cast<std::chrono::seconds>(Stream::Limits().idle).count());
    set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        respond(request, response);
        return HandlerResponse::Handled;
    });
}

void Protocol::serve(int socket, const Stream::Limits& limits) {
    Stream stream(socket, limits);
    bool last = false;
    for (int i = 1; !last && i <= kMostRequests && stream.await_request(); ++i) {
        bool closed = false;
        // What comes behind headers that are none is not looked at.
        last = true;
        const auto on_headers = [&last](httplib::Request& request) {
            // What comes behind these headers would be taken for the next request.
            last = HasBody(request);
            // Nothing is sent in parts or packed.
            request.ranges.clear();
            request.headers.erase("Accept-Encoding");
            request.headers.erase("Expect");
        };
        const bool served = process_request(stream, i == kMostRequests, closed, on_headers);
        last = last || closed || !served;
    }
}

void Protocol::respond(const httplib::Request& request, httplib::Response& response) const {
    const std::string host = Header(request, "Host");
    const std::string fetch_site = Header(request, "Sec-Fetch-Site");
    const std::string authorization = Header(request, "Authorization");
    const std::string cookie = Header(request, "Cookie");
    Question question{request.path,
                      {request.params.begin(), request.params.end()},
                      {request.method, host, fetch_site, authorization, cookie, HasBody(request)}};
    Answer answer = m_answerer(question);
    response.status = answer.status;
    for (const auto& [name, value] : kHeaders) {
        response.set_header(name, value);
    }
    if (answer.status == 405) {
        response.set_header("Allow", "GET, HEAD");
    } else if (answer.status == 401) {
        response.set_header("WWW-Authenticate", "Bearer");
    }
    if (!answer.set_cookie.empty()) {
        response.set_header("Set-Cookie", answer.set_cookie);
    }
    if (answer.events != nullptr) {
        WriteEvents(response, std::move(answer));
    } else if (answer.fixed.empty()) {
        response.set_content(answer.body, answer.type);
    } else {
        response.set_content(answer.fixed.data(), answer.fixed.size(), answer.type);
    }
}

}  // namespace kxemgr::console
