// From the configuration's answer to the file that mirrors its manager addresses, beside a bare
// replacement of the same file by the same text.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "bare_replacement.h"
#include "child.h"
#include "growth.h"
#include "ipc/cfgrequest.h"
#include "processor_time.h"
#include "report.h"
#include "xmsg.h"

namespace fs = std::filesystem;

namespace {

constexpr int kCounts[] = {0, 1, 10, 50};
constexpr int kRounds = 7;
constexpr int kCalls = 50;
constexpr unsigned kConfigurationRequest = 1004;
constexpr std::uintptr_t kGlobalSection = 2;

class Message {
  public:
    Message() : message_(xmsg_new("global")) {}

    void Add(const std::string& key, const std::string& value) {
        if (xmsg_add(message_.get(), key.data(), static_cast<std::uint16_t>(key.size()),
                     value.data(), static_cast<std::uint32_t>(value.size())) != 0) {
            kxbench::Fail("cannot make a message");
        }
    }

    std::string Packed() const {
        std::string bytes(xmsg_pack_size(message_.get()), '\0');
        (void)xmsg_pack(message_.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        return bytes;
    }

  private:
    struct Release {
        void operator()(xmsg* message) const { xmsg_release(message); }
    };
    std::unique_ptr<xmsg, Release> message_;
};

std::string AnswerWith(int count) {
    Message addresses;
    for (int i = 0; i < count; ++i) {
        addresses.Add("ip" + std::to_string(i), "192.0.2." + std::to_string(i));
    }
    Message answer;
    answer.Add("count", std::to_string(count));
    answer.Add("multi_ip", addresses.Packed());
    return answer.Packed();
}

void HandOver(const std::string& answer) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the section's number, as the request carries it
    IpcOnCfgcResponse(0, kConfigurationRequest, answer.data(), static_cast<unsigned>(answer.size()),
                      reinterpret_cast<void*>(kGlobalSection));
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Measure(int count) {
    const fs::path root = kxbench::OwnInstallation();
    const std::string answer = AnswerWith(count);
    HandOver(answer);
    const std::string text = ReadFile(root / "config/net_config.ini");
    if (text.find("counts=" + std::to_string(count) + "\n") == std::string::npos) {
        kxbench::Fail("the manager addresses were not written");
    }
    const fs::path bare = root / "var/bare";
    fs::create_directories(bare);
    const kxbench::Compared time = kxbench::CompareProcessorTime(
        [&] { HandOver(answer); }, [&] { ReplaceBarely(bare, "net_config.ini", text); }, kRounds,
        kCalls);
    kxbench::Report({.name = std::to_string(count) + " manager addresses: from answer to file",
                     .unit = "us",
                     .samples = time.work,
                     .floor = "the file replaced barely",
                     .floor_samples = time.reference});
}

}  // namespace

void MeasureManagerAddresses() {
    for (const int count : kCounts) {
        Measure(count);
    }
}
