// How the programs tell people what went wrong.
#ifndef KX_APPS_COMMON_COMPLAIN_H
#define KX_APPS_COMMON_COMPLAIN_H

#include <string_view>

namespace kxapp {

// Writes one line to standard error: the program's name, a colon, the printf-style message. What
// could disturb a terminal or forge a line in the message is escaped (text.h).
[[gnu::format(printf, 1, 2)]] void Complain(const char* format, ...);

// Writes the text to standard output at once. False, after a complaint, when it cannot be written.
bool WriteOut(std::string_view text);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_COMPLAIN_H
