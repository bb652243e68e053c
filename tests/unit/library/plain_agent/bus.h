// The other side of the plain bus: peers whose answers the test decides on beforehand. Any thread.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_BUS_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_BUS_H

#include <string>
#include <vector>

#pragma GCC visibility push(default)
namespace plain {

// What the module sent to a peer.
struct Request {
    std::string to;
    unsigned type;
    std::string data;
};

// What the module answered to the request of that number.
struct Response {
    unsigned request_id;
    unsigned type;
    std::string data;
};

// How a peer answers: with bytes, or, when the status is an error, not at all.
struct Answer {
    int status = 0;
    unsigned type = 0;
    std::string data{};
};

// Every request to that peer is answered so from now on. Nobody is there before.
void AnswerRequestsTo(const std::string& peer, const Answer& answer);

// Oldest first.
std::vector<Request> RequestsTo(const std::string& peer);

// A request to the module and a one-way message; lost when it does not listen. Ask gives back the
// request's number.
unsigned Ask(unsigned type, const std::string& data);
void Notify(unsigned type, const std::string& data);

std::vector<Response> Responses();

void ResetBus();

}  // namespace plain
#pragma GCC visibility pop

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_BUS_H
