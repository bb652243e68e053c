// The agent's conversations besides the upload, between real processes.
#ifndef KXEPINFO_TESTS_E2E_CONVERSATIONS_CONVERSATION_H
#define KXEPINFO_TESTS_E2E_CONVERSATIONS_CONVERSATION_H

#include <sstream>
#include <string>
#include <vector>

#include "agent.h"
#include "text.h"

namespace kxtest {

class ConversationTest : public AgentTest {
  protected:
    static constexpr char kWritten[] = "write multi ip success";

    ConversationTest() {
        for (const char* file : {KX_PEER, KX_NEIGHBOUR}) {
            const std::filesystem::path program(file);
            std::filesystem::create_hard_link(program,
                                              installation().program(program.filename().string()));
        }
    }

    std::filesystem::path Peer() const { return installation().program("kx_peer"); }
    std::filesystem::path Neighbour() const { return installation().program("kx_neighbour"); }

    // With this address alone in the centre's file.
    void SetAddress(const std::string& address) {
        installation().write("config/cfgc.ini", "[multi_ip]\nip0=" + address + "\n");
    }

    // net_config.ini without empty lines.
    std::string MirrorFile() const {
        return WithoutEmptyLines(installation().read("config/net_config.ini"));
    }

    static std::string MirrorOf(const std::string& address) {
        return "[multi_ip]\ncounts=1\nip0=" + address + "\n";
    }

    std::size_t CountInLog(std::string_view text) const {
        return CountOf(installation().log(), text);
    }

    // What the module has logged of the configuration so far, each line as "LEVEL TAG TEXT".
    std::vector<std::string> ConfigurationLog() const {
        const auto is_one = [](const std::string& tag, const std::string& text) {
            return tag == "cfgparser" ||
                   (tag == "kxepinfo" && (text.find(" cfg") != std::string::npos ||
                                          text.find("multi ip") != std::string::npos));
        };
        std::istringstream all(installation().log());
        std::vector<std::string> lines;
        for (std::string date, time, level, ids, origin, text;
             all >> date >> time >> level >> ids >> origin && std::getline(all, text);) {
            const std::string tag = origin.substr(0, origin.find(':'));
            if (is_one(tag, text)) {
                lines.push_back(level + " " + tag + text);
            }
        }
        return lines;
    }

    // The same, as soon as it has that many lines.
    std::vector<std::string> ConfigurationLog(std::size_t count) const {
        WaitUntil([&] { return ConfigurationLog().size() >= count; });
        return ConfigurationLog();
    }
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_CONVERSATIONS_CONVERSATION_H
