// What the tests of the bus share: an installation of their own, the loop, and peers.
#ifndef TESTS_UNIT_NOXIPC_BUS_H
#define TESTS_UNIT_NOXIPC_BUS_H

#include <gtest/gtest.h>
#include <sys/types.h>
#include <uv.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "address.h"
#include "cl_ev.h"
#include "installation.h"
#include "log_capture.h"
#include "nox_ipc.h"

struct DestroyInstance {
    void operator()(nox_ipc_st* instance) const { nox_ipc_destroy(instance); }
};
using Instance = std::unique_ptr<nox_ipc_st, DestroyInstance>;

Instance Join(const char* name);
noxipc::Address AddressOf(const char* name);

// Runs the loop until the condition holds. What never comes true ends with the test's time limit.
void RunUntil(const std::function<bool()>& condition);

// Runs everything that is due now.
void RunWhatIsDue();

// Runs `work` in the loop every period_ms milliseconds, as long as this lives.
class Repeated {
  public:
    Repeated(uint64_t period_ms, std::function<void()> work);
    ~Repeated();
    Repeated(const Repeated&) = delete;
    Repeated& operator=(const Repeated&) = delete;

  private:
    std::function<void()> work_;
    uv_timer_t* timer_;  // its own owner, once it is closing
};

// Remembers the outcome of one request; give it as the user pointer.
struct Outcome {
    int calls = 0;
    int status = -1;
    unsigned type = 0;
    std::string data;
    bool data_was_null = false;
    static void Callback(int status, unsigned type, const char* data, unsigned len, void* user);
    bool done() const { return calls > 0; }
};

int Ask(const Instance& from, const noxipc::Address& to, const std::string& data, Outcome* outcome,
        int timeout_s = 60);

// Answers every request with its own type and data.
void EchoRequest(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id, unsigned type,
                 const char* data, unsigned len, void* user);

std::filesystem::path BusPath(const std::string& file);

// A process of its own, without the descriptors of this one. Ended when the object goes.
class Child {
  public:
    // Runs `body` in the child; it tells with ready() that the parent may go on, and its result is
    // the exit status. Returns when that was told, or when the child has ended before.
    explicit Child(std::function<int(const std::function<void()>& ready)> body);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void Kill(int signal) const;

    // Waits for the end; the status as waitpid gives it.
    int Wait();

    pid_t pid() const { return pid_; }

  private:
    pid_t pid_ = -1;
    bool waited_ = false;
};

// A child that joins the bus and echoes until it is killed.
std::function<int(const std::function<void()>&)> Echoing(std::string name);

// What a test destroyed is closed by the loop's next pass. The loop is the thread's, so the next
// test would find it there; and what is never closed fails the test that left it.
class BusTest : public kxtest::InstallationTest {
  protected:
    void SetUp() override;
    ~BusTest() override;  // and not TearDown: an instance may be a member of the test
};

#endif  // TESTS_UNIT_NOXIPC_BUS_H
