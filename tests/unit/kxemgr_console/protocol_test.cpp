// HTTP on one connection, over a pair of sockets.
#include "kxemgr/console/protocol.h"

#include <gmock/gmock.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <thread>

#include "common/descriptor.h"

namespace kxtest {
namespace {

using kxapp::Descriptor;
using kxemgr::console::Answer;
using kxemgr::console::Feed;
using kxemgr::console::Protocol;
using kxemgr::console::Question;
using kxemgr::console::Stream;
using std::chrono_literals::operator""ms;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ConsoleProtocol : public ::testing::Test {
  protected:
    ConsoleProtocol() {
        std::array<int, 2> sockets{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()), 0);
        mine = Descriptor(sockets[0]);
        theirs = Descriptor(sockets[1]);
        limits.idle = 60'000ms;
        limits.request = 60'000ms;
        limits.write = 60'000ms;
    }
    ~ConsoleProtocol() override { EndServing(); }

    void Serve() {
        thread = std::thread([this] {
            protocol.serve(theirs.number(), limits);
            (void)shutdown(theirs.number(), SHUT_RDWR);
        });
    }
    void EndServing() {
        (void)shutdown(mine.number(), SHUT_RDWR);
        if (thread.joinable()) {
            thread.join();
        }
    }
    void Send(const std::string& text) const {
        std::size_t sent = 0;
        while (sent < text.size()) {
            const ssize_t count =
                send(mine.number(), text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) {
                return;  // the other side has had enough
            }
            sent += static_cast<std::size_t>(count);
        }
    }
    // What comes until it ends with `end`, or the other side closes.
    std::string Receive(const std::string& end = "\n\n\n") const {
        std::string text;
        std::array<char, 4096> bytes{};
        while (!text.ends_with(end)) {
            const ssize_t count = recv(mine.number(), bytes.data(), bytes.size(), 0);
            if (count <= 0) {
                break;
            }
            text.append(bytes.data(), static_cast<std::size_t>(count));
        }
        return text;
    }
    // The answer to one request that ends the connection.
    std::string Ask(const std::string& request) {
        Serve();
        Send(request);
        return Receive();
    }

    Descriptor mine;
    Descriptor theirs;
    Stream::Limits limits;
    std::function<Answer(const Question&)> answerer = [](const Question&) {
        return Answer{200, "application/json", {}, "{}\n", {}, nullptr};
    };
    std::atomic<int> questions{0};
    Protocol protocol{[this](const Question& question) {
        ++questions;
        return answerer(question);
    }};
    std::thread thread;
};

constexpr char kClose[] = "Connection: close\r\n\r\n";

TEST_F(ConsoleProtocol, PassesARequestOn) {
    answerer = [](const Question& question) {
        EXPECT_EQ(question.path, "/api/a b");
        EXPECT_EQ(question.parameters,
                  (std::map<std::string, std::string>{{"from", "1"}, {"to", "<2>"}}));
        EXPECT_EQ(question.credentials.method, "GET");
        EXPECT_EQ(question.credentials.host, "localhost:1");
        EXPECT_EQ(question.credentials.fetch_site, "none");
        EXPECT_EQ(question.credentials.authorization, "Bearer t");
        EXPECT_EQ(question.credentials.cookie, "a=b");
        EXPECT_FALSE(question.credentials.has_body);
        return Answer{200, "application/json", {}, "{}\n", {}, nullptr};
    };
    const std::string response =
        Ask("GET /api/a%20b?from=1&to=%3C2%3E HTTP/1.1\r\nHost: localhost:1\r\nSec-Fetch-Site: "
            "none\r\nAuthorization: Bearer t\r\nCookie: a=b\r\nContent-Length: 0\r\n" +
            std::string(kClose));
    EXPECT_THAT(response, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(response, EndsWith("\r\n\r\n{}\n"));
    EXPECT_EQ(questions, 1);
}

TEST_F(ConsoleProtocol, EveryAnswerKeepsThePageToItself) {
    const std::string response = Ask("GET / HTTP/1.1\r\nHost: a\r\n" + std::string(kClose));
    for (const char* header :
         {"\r\nContent-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
          "img-src 'self'; connect-src 'self'; base-uri 'none'; form-action 'none'; "
          "frame-ancestors 'none'\r\n",
          "\r\nX-Content-Type-Options: nosniff\r\n", "\r\nReferrer-Policy: no-referrer\r\n",
          "\r\nCross-Origin-Resource-Policy: same-origin\r\n", "\r\nCache-Control: no-store\r\n"}) {
        EXPECT_THAT(response, HasSubstr(header));
    }
    EXPECT_THAT(response, Not(HasSubstr("Access-Control")));
}

TEST_F(ConsoleProtocol, HeadHasNoBody) {
    const std::string response = Ask("HEAD / HTTP/1.1\r\nHost: a\r\n" + std::string(kClose));
    EXPECT_THAT(response, HasSubstr("\r\nContent-Length: 3\r\n"));
    EXPECT_THAT(response, EndsWith("\r\n\r\n"));
}

TEST_F(ConsoleProtocol, SeveralRequestsOnOneConnection) {
    Serve();
    for (int i = 0; i < 3; ++i) {
        Send("GET / HTTP/1.1\r\nHost: a\r\n\r\n");
        EXPECT_THAT(Receive("{}\n"), StartsWith("HTTP/1.1 200 OK\r\n"));
    }
    EXPECT_EQ(questions, 3);
}

TEST_F(ConsoleProtocol, NothingBehindARequestWithABodyIsRead) {
    answerer = [](const Question& question) {
        EXPECT_TRUE(question.credentials.has_body);
        return Answer{400, "text/plain", {}, "no\n", {}, nullptr};
    };
    const std::string response =
        Ask("GET / HTTP/1.1\r\nHost: a\r\nContent-Length: 36\r\n\r\nGET /hidden HTTP/1.1\r\nHost: "
            "a\r\n\r\n");
    EXPECT_THAT(response, StartsWith("HTTP/1.1 400 Bad Request\r\n"));
    EXPECT_THAT(response, EndsWith("no\n"));
    EXPECT_EQ(questions, 1);
}

TEST_F(ConsoleProtocol, AnswersAreNeitherCutNorPacked) {
    const std::string response =
        Ask("GET / HTTP/1.1\r\nHost: a\r\nRange: bytes=0-0\r\nAccept-Encoding: gzip, br\r\n" +
            std::string(kClose));
    EXPECT_THAT(response, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(response, Not(HasSubstr("Content-Encoding")));
    EXPECT_THAT(response, EndsWith("\r\n\r\n{}\n"));
}

TEST_F(ConsoleProtocol, ALineWithoutEndIsCutOff) {
    limits.request_bytes = 4096;
    (void)Ask("GET /" + std::string(1'000'000, 'x'));
    EXPECT_EQ(questions, 0);
}

TEST_F(ConsoleProtocol, HeadersWithoutEndAreCutOff) {
    limits.request_bytes = 4096;
    std::string request = "GET / HTTP/1.1\r\nHost: a\r\n";
    for (int i = 0; i < 1000; ++i) {
        request += "X" + std::to_string(i) + ": y\r\n";
    }
    (void)Ask(request + "\r\n");
    EXPECT_EQ(questions, 0);
}

TEST_F(ConsoleProtocol, ARequestThatDoesNotComeIsNotWaitedForLong) {
    limits.idle = 1ms;
    EXPECT_EQ(Ask(""), "");
}

TEST_F(ConsoleProtocol, ARequestThatDripsIsNotWaitedForLong) {
    limits.request = 1ms;
    (void)Ask("GET / HT");
    EXPECT_EQ(questions, 0);
}

TEST_F(ConsoleProtocol, AReaderThatTakesNothingIsNotWaitedForLong) {
    limits.write = 1ms;
    answerer = [](const Question&) {
        return Answer{200, "text/plain", {}, std::string(10'000'000, 'x'), {}, nullptr};
    };
    Serve();
    Send("GET / HTTP/1.1\r\nHost: a\r\n\r\n");
    thread.join();
    EXPECT_LT(Receive().size(), 10'000'000U);
}

TEST_F(ConsoleProtocol, RubbishIsABadRequest) {
    EXPECT_THAT(Ask("rubbish\r\n\r\n"), StartsWith("HTTP/1.1 400 Bad Request\r\n"));
    EXPECT_EQ(questions, 0);
}

TEST_F(ConsoleProtocol, RefusalsTellWhatWouldBeRight) {
    answerer = [](const Question& question) {
        return Answer{question.path == "/a" ? 401 : 405, "text/plain", {}, "no\n", {}, nullptr};
    };
    Serve();
    Send("GET /a HTTP/1.1\r\nHost: a\r\n\r\n");
    EXPECT_THAT(Receive("no\n"), HasSubstr("\r\nWWW-Authenticate: Bearer\r\n"));
    Send("GET /b HTTP/1.1\r\nHost: a\r\n\r\n");
    EXPECT_THAT(Receive("no\n"), HasSubstr("\r\nAllow: GET, HEAD\r\n"));
}

TEST_F(ConsoleProtocol, ASessionSetsItsCookie) {
    answerer = [](const Question&) { return Answer{200, "text/plain", {}, "x\n", "a=b", nullptr}; };
    EXPECT_THAT(Ask("GET / HTTP/1.1\r\nHost: a\r\n" + std::string(kClose)),
                HasSubstr("\r\nSet-Cookie: a=b\r\n"));
}

class ConsoleEvents : public ConsoleProtocol {
  protected:
    ConsoleEvents() {
        answerer = [this](const Question&) {
            return Answer{200, "text/event-stream", {}, "first\n\n", {}, feed.join()};
        };
    }
    Feed feed;
};

TEST_F(ConsoleEvents, ComeAsTheyHappen) {
    Serve();
    Send("GET / HTTP/1.1\r\nHost: a\r\n\r\n");
    EXPECT_THAT(Receive("first\n\n\r\n"), HasSubstr("\r\nTransfer-Encoding: chunked\r\n"));
    feed.publish("one\n\n");
    EXPECT_EQ(Receive("one\n\n\r\n"), "5\r\none\n\n\r\n");
    feed.publish("two\n\n");
    EXPECT_EQ(Receive("two\n\n\r\n"), "5\r\ntwo\n\n\r\n");
    feed.close();
    EXPECT_EQ(Receive("0\r\n\r\n"), "0\r\n\r\n");
}

TEST_F(ConsoleEvents, EndWhenTheReaderIsGone) {
    Serve();
    Send("GET / HTTP/1.1\r\nHost: a\r\n\r\n");
    (void)Receive("first\n\n\r\n");
    mine = Descriptor();
    feed.publish("one\n\n");
    thread.join();
    EXPECT_EQ(feed.client_count(), 0U);
}

TEST_F(ConsoleEvents, HeadOfThemTakesNoPlace) {
    EXPECT_THAT(Ask("HEAD / HTTP/1.1\r\nHost: a\r\n" + std::string(kClose)),
                StartsWith("HTTP/1.1 200 OK\r\n"));
    EndServing();
    EXPECT_EQ(feed.client_count(), 0U);
}

}  // namespace
}  // namespace kxtest
