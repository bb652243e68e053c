#include "kxectl/setting_value.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "common/number.h"

namespace kxectl {

namespace {

constexpr char kDefaultInterval[] = "40";
constexpr char kDefaultLogLevel[] = "3";

// The timer takes milliseconds that fit into 31 bits.
constexpr int kSmallestInterval = 2;
constexpr int kLongestInterval = 2147483;

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool IsGroup(std::string_view text) {
    const auto number = kxapp::ReadNumber(Trimmed(text));
    return number && *number < std::numeric_limits<std::uint32_t>::max();
}

}  // namespace

ValueInEffect ReadInterval(const Written& written) {
    if (!written) {
        return {kDefaultInterval, true, ""};
    }
    // As the module does it: up to the first other character, and the low 32 bits of that.
    const int seconds = static_cast<int>(std::strtol(written->c_str(), nullptr, 10));
    if (seconds < kSmallestInterval) {
        return {kDefaultInterval, true, "is no number from 2: 40 counts"};
    }
    const std::string value = std::to_string(seconds);
    if (seconds > kLongestInterval) {
        return {value, false, "is above 2147483: after the first upload none may follow"};
    }
    return {value, false, value == *written ? "" : "is read as " + value};
}

ValueInEffect ReadLogLevel(const Written& written) {
    if (!written) {
        return {kDefaultLogLevel, true, ""};
    }
    if (written->size() == 1 && (*written)[0] >= '1' && (*written)[0] <= '4') {
        return {*written, false, ""};
    }
    return {kDefaultLogLevel, true, "is none of 1, 2, 3 and 4: 3 counts"};
}

ValueInEffect ReadGroups(const Written& written) {
    if (!written) {
        return {"", true, ""};
    }
    std::string groups;
    bool complete = true;
    std::string_view rest = *written;
    while (!rest.empty()) {
        const std::string_view part = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
        if (Trimmed(part).empty()) {
            continue;
        }
        if (IsGroup(part)) {
            groups += (groups.empty() ? "" : ",") + std::string(Trimmed(part));
        } else {
            complete = false;
        }
    }
    return {groups, false,
            complete ? "" : "is no list of group numbers: what is no number lets nobody in"};
}

ValueInEffect ReadManager(const Written& written) {
    return written ? ValueInEffect{*written, false, ""}
                   : ValueInEffect{"", true, "is missing: uploads name no manager"};
}

ValueInEffect ReadLocalAddress(const Written& written) {
    if (!written) {
        return {"", true, "is missing: an error is logged in every cycle"};
    }
    return {*written, false,
            *written == "127.0.0.1" ? "is the loop-back address: an error is logged in every cycle"
                                    : ""};
}

}  // namespace kxectl
