// Who may read the console. Pure functions, but for the token's file and the session's key.
#ifndef KX_APPS_KXEMGR_CONSOLE_ACCESS_H
#define KX_APPS_KXEMGR_CONSOLE_ACCESS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kxemgr::console {

inline constexpr std::size_t kLeastTokenBytes = 16;
inline constexpr std::size_t kMostTokenBytes = 256;

// The token in the first line of a file: kLeastTokenBytes to kMostTokenBytes of printable ASCII
// without blanks. The file must be a plain one that neither its group nor others may read or write.
// Nothing when it is not so; `fault` then tells why, in words, without a byte of the content.
std::optional<std::string> ReadTokenFile(const std::string& file, std::string& fault);

// Whether two texts are the same, in a time that tells how long `given` is and nothing of `secret`.
bool IsSameSecret(std::string_view secret, std::string_view given);

// 64 hexadecimal digits from the kernel's generator. Throws std::runtime_error without it.
std::string MakeSessionKey();

struct Rules {
    std::vector<std::string> host_names;  // besides addresses and "localhost"
    std::string token;                    // empty: who reaches the console may read it
    std::string session_key;              // what a browser shows instead of the token
};

// What of a request decides. Texts are empty where there is no such header.
struct Credentials {
    std::string_view method;
    std::string_view host;
    std::string_view fetch_site;     // Sec-Fetch-Site, which a page's script cannot forge
    std::string_view authorization;  // "Bearer TOKEN"
    std::string_view cookie;
    bool has_body = false;
};

enum class Verdict {
    kAllowed,
    kAllowedByToken,  // also: a session cookie is to be set
    kBadRequest,      // 400
    kNeedsToken,      // 401
    kForeign,         // 403: another site's page, or a host name that is not ours
    kBadMethod,       // 405: neither GET nor HEAD
};

// `open`: the page itself, which holds nothing to hide, so that it can ask for the token.
Verdict Judge(const Rules& rules, const Credentials& credentials, bool open);

// The Set-Cookie header of a session: not for scripts, not for requests from other sites, until the
// browser or the manager ends.
std::string SessionCookie(const Rules& rules);

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_ACCESS_H
