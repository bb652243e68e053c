// What the tests of the conversations share: a bus that records, messages, and a fresh link state.
#ifndef KXEPINFO_TESTS_UNIT_IPC_IPC_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_IPC_IPC_FIXTURE_H

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "fake_agent.h"
#include "installation.h"
#include "ipc/epinfoipc.h"
#include "log_capture.h"

namespace kxtest {

struct SentRequest {
    const nox_addr_st* to;
    unsigned type;
    std::string data;
    nox_ipc_response_cb callback;
    void* user;
    int timeout_s;
};

struct SentAnswer {
    nox_ipc_st* ipc;
    const nox_addr_st* to;
    unsigned request_id;
    unsigned type;
    std::string data;
    bool operator==(const SentAnswer&) const = default;
};

// A bus on which every call succeeds and is recorded. It hooks the bus functions of fake_agent.h; a
// test that wants one to fail replaces that hook. All hooks go with it.
class FakeBus {
  public:
    FakeBus();
    ~FakeBus() { ResetAgent(); }
    FakeBus(const FakeBus&) = delete;
    FakeBus& operator=(const FakeBus&) = delete;

    // The handles that nox_ipc_create and nox_addr_create give.
    nox_ipc_st* Instance() { return reinterpret_cast<nox_ipc_st*>(&instance); }
    nox_addr_st* Manager() { return reinterpret_cast<nox_addr_st*>(&manager); }
    nox_addr_st* ConfigurationCentre() { return reinterpret_cast<nox_addr_st*>(&centre); }
    nox_addr_st* Peer() { return reinterpret_cast<nox_addr_st*>(&peer); }  // one that sends to us

    std::vector<std::string> calls;  // handles made and released, with their arguments
    std::vector<SentRequest> requests;
    std::vector<SentAnswer> answers;

  private:
    char instance = 0;
    char manager = 0;
    char centre = 0;
    char peer = 0;
};

// Every test starts with an empty installation, an empty log, all levels enabled, the state of a
// module that was just loaded, and the fake bus, which outlives what a derived class adds.
class IpcTest : public InstallationTest {
  protected:
    void SetUp() override;

    FakeBus bus;
};

// A packed message of the real library.
using Entries = std::vector<std::pair<std::string, std::string>>;
std::string Packed(const std::string& name, const Entries& entries);

// The manager addresses as the configuration centre sends them.
std::string PackedAddresses(const std::string& count, const Entries& addresses);

// The same, and keys "ip0", "ip1" and so on: as many as there are values.
std::string PackedAddresses(const std::string& count, const std::vector<std::string>& values);

// Counts the messages made and not yet released, of all kinds.
class LiveMessages {
  public:
    LiveMessages();
    int Count() const { return count; }

  private:
    int count = 0;
};

inline unsigned Size(const std::string& bytes) {
    return static_cast<unsigned>(bytes.size());
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_IPC_IPC_FIXTURE_H
