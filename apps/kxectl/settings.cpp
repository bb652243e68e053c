#include "kxectl/settings.h"

#include <array>
#include <cerrno>
#include <memory>

#include "kxe_ini.h"
#include "kxectl/setting_value.h"

namespace kxectl {

namespace {

struct KnownSetting {
    const char* file;
    const char* section;
    const char* key;
    ValueInEffect (*read)(const Written& written);
};

constexpr std::array<KnownSetting, 5> kKnown = {{
    {"config/kxepinfocfg.ini", "flushgap", "value", ReadInterval},
    {"config/log/agent/kxepinfo/agent/log.ini", "log", "level", ReadLogLevel},
    {"config/ipc.ini", "ipc", "allowed_gids", ReadGroups},
    {"config/server.ini", "config", "addr", ReadManager},
    {"var/connect.ini", "connect", "ip", ReadLocalAddress},
}};

struct ReleaseIni {
    void operator()(kxe_ini_file* file) const { kxe_ini_file_free(file); }
};

Setting ReadSetting(const std::filesystem::path& root, const KnownSetting& known) {
    Setting setting{known.file, known.section, known.key, "", false, "", 0};
    const std::unique_ptr<kxe_ini_file, ReleaseIni> file(
        kxe_ini_file_load((root / known.file).c_str()));
    Written written;
    if (file == nullptr) {
        setting.unreadable = errno == ENOENT ? 0 : errno;
    } else if (const char* value = kxe_ini_file_get(file.get(), known.section, known.key)) {
        written = value;
    }
    const ValueInEffect in_effect = known.read(written);
    setting.value = in_effect.value;
    setting.is_default = in_effect.is_default;
    setting.fault = in_effect.fault;
    return setting;
}

}  // namespace

std::vector<Setting> ReadSettings(const std::filesystem::path& root) {
    std::vector<Setting> settings;
    settings.reserve(kKnown.size());
    for (const KnownSetting& known : kKnown) {
        settings.push_back(ReadSetting(root, known));
    }
    return settings;
}

}  // namespace kxectl
