#include "kxectl/doctor.h"

#include <unistd.h>

#include <new>

#include "common/json.h"
#include "common/text.h"
#include "kxectl/agent.h"
#include "kxectl/checks.h"
#include "kxectl/online.h"

namespace kxectl {

namespace {

// Nothing is wrong with the agent's answer when this is empty.
std::string WhyNotOnline(const Outcome& outcome) {
    if (!outcome.arrived) {
        return "was not waited for: interrupted";
    }
    if (outcome.status != 0) {
        return std::string("gives no answer: ") + nox_ipc_strerror(outcome.status);
    }
    std::string fault;
    const auto online = ReadOnlineState(outcome.type, outcome.data, fault);
    if (!online) {
        return "gives " + fault;
    }
    return *online ? "" : "is offline";
}

void CheckAgent(int timeout_s, Findings& findings) {
    Agent agent(timeout_s);
    if (!agent.join()) {
        findings.push_back({"the bus cannot be joined", "the agent cannot be asked anything",
                            "see the complaint on standard error"});
        return;
    }
    if (const std::string trouble = WhyNotOnline(agent.ask_online()); !trouble.empty()) {
        findings.push_back({"the agent " + trouble,
                            "uploads do not reach the manager, or the module is stuck",
                            "see the log for what fails (docs/operations.md)"});
    }
}

// The user that the host runs as; this process's while there is none.
uid_t HostUser(const kxapp::Listener& agent) {
    return agent.failure == 0 ? agent.user : geteuid();
}

}  // namespace

Findings Examine(const std::filesystem::path& root, int timeout_s) {
    Findings findings;
    const kxapp::Listener agent = kxapp::FindListener(root, "agt_ei");
    CheckFiles(root, findings);
    CheckModule(root, findings);
    CheckPermissions(root, HostUser(agent), findings);
    CheckFlags(root, findings);
    CheckSettings(ReadSettings(root), findings);
    CheckState(root, findings);
    CheckLogDirectory(root, findings);
    CheckSpace(root, findings);
    CheckClock(root, std::time(nullptr), findings);
    JudgeListener("agt_ei", agent, findings);
    if (agent.failure == 0) {
        CheckRunningFiles(root, agent.pid, findings);
        CheckAgent(timeout_s, findings);
    }
    for (const char* const name : {"mgr_ei", "agt_cfgc"}) {
        JudgeListener(name, kxapp::FindListener(root, name), findings);
    }
    return findings;
}

std::string FindingsForPeople(const Findings& findings) {
    if (findings.empty()) {
        return "nothing found\n";
    }
    std::string text;
    int number = 0;
    for (const Finding& finding : findings) {
        text += std::to_string(++number) + ". " + kxapp::Printable(finding.what) + "\n";
        text += "   matters: " + kxapp::Printable(finding.why) + "\n";
        text += "   to do:   " + kxapp::Printable(finding.remedy) + "\n";
    }
    return text;
}

std::string FindingsAsJson(const Findings& findings) {
    kxapp::Json array(json_array());
    for (const Finding& finding : findings) {
        kxapp::Json object(json_object());
        kxapp::SetMember(object.get(), "what", kxapp::JsonString(finding.what));
        kxapp::SetMember(object.get(), "why", kxapp::JsonString(finding.why));
        kxapp::SetMember(object.get(), "remedy", kxapp::JsonString(finding.remedy));
        if (json_array_append_new(array.get(), object.release()) != 0) {
            throw std::bad_alloc();
        }
    }
    kxapp::Json whole(json_object());
    kxapp::SetMember(whole.get(), "findings", std::move(array));
    return kxapp::ToText(whole.get(), 2);
}

}  // namespace kxectl
