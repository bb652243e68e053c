// The effective configuration of the installation.
#ifndef KX_APPS_KXECTL_SETTINGS_H
#define KX_APPS_KXECTL_SETTINGS_H

#include <filesystem>
#include <string>
#include <vector>

namespace kxectl {

// `file` is below the installation's root. The files are read now, while the module has read those
// for the interval and the bus when it started.
struct Setting {
    std::string file;
    std::string section;
    std::string key;
    std::string value;        // what counts
    bool is_default = false;  // and is not in the file
    std::string fault;        // what is wrong with what is written; empty: nothing
    int unreadable = 0;       // why the file cannot be read, an errno value other than ENOENT
};

// One for each key that people set, in this order: interval, log level, groups on the bus, manager,
// local address.
std::vector<Setting> ReadSettings(const std::filesystem::path& root);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_SETTINGS_H
