// The module's endpoint on the real bus, with its peers in the same process.
#ifndef KXEPINFO_TESTS_UNIT_IPC_REAL_BUS_H
#define KXEPINFO_TESTS_UNIT_IPC_REAL_BUS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ipc_fixture.h"

namespace kxtest {

struct Leave {
    void operator()(nox_ipc_st* ipc) const { nox_ipc_destroy(ipc); }
    void operator()(nox_addr_st* address) const { nox_addr_destroy(address); }
};
using Member = std::unique_ptr<nox_ipc_st, Leave>;
using Address = std::unique_ptr<nox_addr_st, Leave>;

// Lets the bus work until something has happened; the test's time limit guards it.
void RunUntil(const std::function<bool()>& happened);

// A peer that answers every request with the same bytes, at once.
class Answerer {
  public:
    Answerer(const char* name, unsigned type, std::string answer);

    std::string received;
    int count = 0;

  private:
    static void Answer(nox_ipc_st* ipc, const nox_addr_st* from, unsigned id, unsigned type,
                       const char* data, unsigned len, void* self);

    const unsigned answer_type;
    const std::string bytes;
    const Member member;
};

// A peer that remembers the requests that come and answers them when it is told to.
class Ponderer {
  public:
    explicit Ponderer(const char* name);

    // The request of that number, the first being 0, in the order in which they came.
    void Answer(std::size_t number, unsigned type, const std::string& answer);
    std::size_t Count() const { return requests.size(); }

  private:
    struct Request {
        Address from;
        unsigned id;
    };
    static void Remember(nox_ipc_st* ipc, const nox_addr_st* from, unsigned id, unsigned type,
                         const char* data, unsigned len, void* self);

    std::vector<Request> requests;
    const Member member;
};

// What a peer of the module got as its answer.
struct Outcome {
    bool happened = false;
    int status = 0;
    unsigned type = 0;
    std::string data;

    static void Receive(int status, unsigned type, const char* data, unsigned len, void* self);
};

// Every test starts with an empty installation and an endpoint that is on the bus and listens.
class RealBus : public InstallationTest {
  protected:
    void SetUp() override;

    // Tells the module that the global section has changed.
    void Notify();

    std::string NetConfig() const;

    CEpInfoIpc endpoint;

  private:
    Member notifier;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_IPC_REAL_BUS_H
