#include "kxemgr/console/access.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "common/descriptor.h"
#include "kxemgr/console/address.h"

namespace kxemgr::console {

namespace {

constexpr std::string_view kCookieName = "kxemgr_session";
constexpr std::string_view kBearer = "Bearer ";

// The first line, or an empty one when it is longer than a token may be.
std::string FirstLine(int descriptor) {
    std::array<char, kMostTokenBytes + 2> bytes{};
    const ssize_t count = read(descriptor, bytes.data(), bytes.size());
    const std::string_view text(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    std::string_view line = text.substr(0, text.find('\n'));
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line.size() <= kMostTokenBytes ? std::string(line) : std::string();
}

bool IsToken(std::string_view text) {
    const auto printable = [](char byte) { return byte > ' ' && byte <= '~'; };
    return text.size() >= kLeastTokenBytes && std::all_of(text.begin(), text.end(), printable);
}

// The value of the session's cookie in "a=1; kxemgr_session=...; b=2".
std::string_view SessionIn(std::string_view cookies) {
    while (!cookies.empty()) {
        const std::size_t end = std::min(cookies.find(';'), cookies.size());
        std::string_view cookie = cookies.substr(0, end);
        cookie.remove_prefix(std::min(cookie.find_first_not_of(' '), cookie.size()));
        if (cookie.starts_with(kCookieName) && cookie.substr(kCookieName.size()).starts_with('=')) {
            return cookie.substr(kCookieName.size() + 1);
        }
        cookies.remove_prefix(std::min(end + 1, cookies.size()));
    }
    return {};
}

}  // namespace

std::optional<std::string> ReadTokenFile(const std::string& file, std::string& fault) {
    const kxapp::Descriptor descriptor(
        open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (descriptor.number() < 0) {
        const int error = errno;
        fault = std::strerror(error);
        return std::nullopt;
    }
    struct stat status {};
    if (fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        fault = "it is not a plain file";
        return std::nullopt;
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        fault = "others than its owner may read or change it; it needs mode 0600";
        return std::nullopt;
    }
    std::string token = FirstLine(descriptor.number());
    if (!IsToken(token)) {
        fault = "its first line is not a token of " + std::to_string(kLeastTokenBytes) + " to " +
                std::to_string(kMostTokenBytes) + " printable characters without blanks";
        return std::nullopt;
    }
    return token;
}

bool IsSameSecret(std::string_view secret, std::string_view given) {
    if (secret.empty()) {
        return false;
    }
    // As many steps as `given` has bytes, whatever they are.
    unsigned difference = secret.size() == given.size() ? 0 : 1;
    for (std::size_t i = 0; i < given.size(); ++i) {
        const auto one = static_cast<unsigned char>(secret[i % secret.size()]);
        const auto other = static_cast<unsigned char>(given[i]);
        difference |= static_cast<unsigned>(one ^ other);
    }
    return difference == 0;
}

std::string MakeSessionKey() {
    std::array<unsigned char, 32> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("the kernel gives no random bytes");
    }
    constexpr char kDigits[] = "0123456789abcdef";
    std::string key;
    for (const unsigned char byte : bytes) {
        key += kDigits[byte >> 4U];
        key += kDigits[byte & 0xFU];
    }
    return key;
}

Verdict Judge(const Rules& rules, const Credentials& credentials, bool open) {
    if (credentials.method != "GET" && credentials.method != "HEAD") {
        return Verdict::kBadMethod;
    }
    if (credentials.has_body) {
        return Verdict::kBadRequest;
    }
    const std::string_view site = credentials.fetch_site;
    const bool foreign_page = site == "cross-site" || site == "same-site";
    if (!IsHostAllowed(credentials.host, rules.host_names) || (foreign_page && !open)) {
        return Verdict::kForeign;
    }
    if (open || rules.token.empty()) {
        return Verdict::kAllowed;
    }
    if (credentials.authorization.starts_with(kBearer) &&
        IsSameSecret(rules.token, credentials.authorization.substr(kBearer.size()))) {
        return Verdict::kAllowedByToken;
    }
    return IsSameSecret(rules.session_key, SessionIn(credentials.cookie)) ? Verdict::kAllowed
                                                                          : Verdict::kNeedsToken;
}

std::string SessionCookie(const Rules& rules) {
    return std::string(kCookieName) + "=" + rules.session_key +
           "; Path=/; HttpOnly; SameSite=Strict";
}

}  // namespace kxemgr::console
