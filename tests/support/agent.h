// A whole agent: an installation of its own and the programs that run in it.
#ifndef KXEPINFO_TESTS_SUPPORT_AGENT_H
#define KXEPINFO_TESTS_SUPPORT_AGENT_H

#include <gmock/gmock.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "e2e.h"

namespace kxtest {

// The shortest interval that the module accepts, and every detail in the log.
class Agent {
  public:
    explicit Agent(const std::string& installation = "agent") : m_installation(installation) {
        m_installation.set_interval(2);
        m_installation.set_log_level(4);
    }

    const AgentInstallation& installation() const { return m_installation; }

    Program& StartHost(std::vector<std::string> arguments = {},
                       const Program::Options& options = {}) {
        return Start(m_host, "kxehost", std::move(arguments), options);
    }
    // With time running twenty times faster: an upload every tenth of a second.
    Program& StartQuickHost() { return StartHost({}, QuickTime()); }
    // With time that the test moves: an upload at once, then one for each StepToNextCycle, of which
    // the next must not come before that upload.
    Program& StartSteppedHost() { return StartHost({}, SteppedTime()); }
    static Program::Options QuickTime() {
        const char* const options = std::getenv("ASAN_OPTIONS");
        const std::string asan = options == nullptr ? "" : std::string(options) + ":";
        return {
            {{"LD_PRELOAD", KX_QUICK_TIME}, {"ASAN_OPTIONS", asan + "verify_asan_link_order=0"}},
            ""};
    }
    Program::Options SteppedTime() const {
        Program::Options options = QuickTime();
        options.environment["KX_TIME_STEPS"] = m_installation.path("step");
        return options;
    }
    void StepToNextCycle() const { m_installation.write("step", ""); }
    // With --json, listening when this returns.
    Program& StartManager(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), "--json");
        RemoveSocket("mgr_ei");
        Program& manager = Start(m_manager, "kxemgr", std::move(arguments), {});
        EXPECT_TRUE(m_installation.wait_for_bus("mgr_ei"));
        return manager;
    }
    Program& StartCentre(std::vector<std::string> arguments = {}) {
        RemoveSocket("agt_cfgc");
        Program& centre = Start(m_centre, "kxecfgc", std::move(arguments), {});
        EXPECT_TRUE(m_installation.wait_for_bus("agt_cfgc"));
        return centre;
    }
    Finished Ctl(std::vector<std::string> arguments, const Program::Options& options = {}) const {
        return RunToEnd(m_installation.program("kxectl"), std::move(arguments), options);
    }

    Program& manager() { return *m_manager; }

    // How many uploads the manager has printed so far.
    std::size_t UploadCount() { return m_manager->wait_for_lines(0).size(); }

    // The upload of that number, the first being 0, as kxemgr prints it.
    Json Upload(std::size_t number) {
        const std::vector<std::string> lines = m_manager->wait_for_lines(number + 1);
        return number < lines.size() ? ParseJson(lines[number]) : nullptr;
    }

    testing::AssertionResult Logs(std::string_view text) const {
        if (m_installation.wait_for_log(text)) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "no such line in the log:\n" << m_installation.log();
    }

  private:
    // One that a killed program left behind could be taken for the next one's.
    void RemoveSocket(const std::string& name) const {
        std::filesystem::remove(m_installation.path("var/run/ipc/" + name + ".sock"));
    }

    Program& Start(std::optional<Program>& slot, const char* name,
                   std::vector<std::string> arguments, const Program::Options& options) {
        return slot.emplace(m_installation.program(name), std::move(arguments), options);
    }

    AgentInstallation m_installation;
    std::optional<Program> m_manager;
    std::optional<Program> m_centre;
    std::optional<Program> m_host;
};

// With one agent.
class AgentTest : public ::testing::Test, protected Agent {
  protected:
    using Agent::Agent;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_AGENT_H
