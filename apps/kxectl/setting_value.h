// What the values of settings mean. Pure functions, each of which reads a value as the agent does.
#ifndef KX_APPS_KXECTL_SETTING_VALUE_H
#define KX_APPS_KXECTL_SETTING_VALUE_H

#include <optional>
#include <string>

namespace kxectl {

// What counts, and what is wrong with the value that was written: empty when nothing is.
struct ValueInEffect {
    std::string value;
    bool is_default;
    std::string fault;
};

// Nothing stands for a file or a key that is missing.
using Written = std::optional<std::string>;

ValueInEffect ReadInterval(const Written& written);
ValueInEffect ReadLogLevel(const Written& written);
ValueInEffect ReadGroups(const Written& written);
ValueInEffect ReadManager(const Written& written);
ValueInEffect ReadLocalAddress(const Written& written);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_SETTING_VALUE_H
