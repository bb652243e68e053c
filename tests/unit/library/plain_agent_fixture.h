// The module with the plain agent: another implementation of every library of the agent that it
// calls. The test program is linked to five of them, which are therefore there before the module is
// loaded and taken for its own; the sixth lies in the installation.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_FIXTURE_H

#include <optional>
#include <string>

#include "installation.h"
#include "loaded_module.h"
#include "plain_agent/bus.h"

class PlainAgent : public kxtest::InstallationTest {
  protected:
    // An installation with every file that the module reads but the record of addresses, and no
    // upload but the first within a test's time.
    void SetUp() override;

    // No rule may have been broken, nothing may be out but the configuration centre's address of
    // each start, and no descriptor open that was not open before.
    void TearDown() override;

    // Starts the module and waits until it has nothing to do.
    void Start();
    void Stop();

    // One more cycle, by the timer.
    static void RunCycle();

    // The same, with a record of IPv4 addresses to which those of the machine are new: when the
    // upload before has failed, they go to the tracing SDK. What the module makes for that is never
    // released, not even when it is unloaded.
    static void RunCycleWithAddressRecord();

    // What the module says when it is asked: "1" online, "0" offline.
    static std::string OnlineState();

    static plain::Answer ManagerSays(const std::string& bytes) {
        return {.status = 0, .type = 0, .data = bytes};
    }
    // The configuration centre's answer, with 10.0.0.1 and 10.0.0.2.
    static plain::Answer TwoAddresses();

    // Whether the machine has an address of the kind that is told to the tracing SDK.
    static bool HasIpv4Address();

    std::optional<LoadedModule> module{std::in_place};
    int starts = 0;

  private:
    std::size_t m_descriptors = 0;
};

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_FIXTURE_H
