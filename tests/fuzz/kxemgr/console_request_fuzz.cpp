// The input is what decides of a request: host, authorization and cookie, one a line. Whoever shows
// neither token nor session gets nothing, a foreign name never does; and as a label the input
// forges no line of the metrics.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "kxemgr/console/access.h"
#include "kxemgr/console/address.h"
#include "kxemgr/console/metrics.h"

namespace {

using kxemgr::console::Judge;
using kxemgr::console::Verdict;

constexpr char kToken[] = "0123456789abcdef";
constexpr char kSession[] = "fedcba9876543210";

void Require(bool fact) {
    if (!fact) {
        std::abort();
    }
}

std::string_view TakeLine(std::string_view& rest) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
}

void CheckLabel(std::string_view input) {
    const std::string label = kxemgr::console::EscapeLabel(input);
    Require(label.find('\n') == std::string::npos && label.find('\0') == std::string::npos);
    for (std::size_t i = 0; i < label.size(); ++i) {
        if (label[i] == '\\') {
            ++i;
            Require(i < label.size() &&
                    std::string_view("\\\"n").find(label[i]) != std::string_view::npos);
        } else {
            Require(label[i] != '"');
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    CheckLabel(input);
    std::string_view rest = input;
    kxemgr::console::Credentials credentials{"GET", TakeLine(rest), "", "", "", false};
    credentials.authorization = TakeLine(rest);
    credentials.cookie = TakeLine(rest);
    const Verdict verdict = Judge({{}, kToken, kSession}, credentials, false);
    const bool ours = kxemgr::console::IsHostAllowed(credentials.host, {});
    Require(ours == (verdict != Verdict::kForeign));
    if (verdict == Verdict::kAllowedByToken) {
        Require(credentials.authorization.ends_with(kToken));
    } else if (verdict == Verdict::kAllowed) {
        Require(credentials.cookie.find(kSession) != std::string_view::npos);
    }
    if (const auto address = kxemgr::console::ParseListenAddress(credentials.host)) {
        Require(kxemgr::console::UrlOf(*address).starts_with("http://"));
    }
    return 0;
}
