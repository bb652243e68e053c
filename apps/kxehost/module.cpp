#include "kxehost/module.h"

#include <dlfcn.h>

#include <cstring>

#include "common/complain.h"
#include "kxe_base.h"

namespace kxehost {

namespace {

constexpr std::size_t kPathSize = 4096;

// Where and in how many files the module keeps its log.
constexpr char kLogDirectory[] = "@/../var/log/agent/kxepinfo";
constexpr int kLogFiles = 5;

const char* LoaderError() {
    const char* error = dlerror();
    return error != nullptr ? error : "unknown reason";
}

}  // namespace

std::string ModulePath(const std::string& path) {
    char expanded[kPathSize];
    kxe_dirutils_path_transform(path.c_str(), expanded, sizeof expanded);
    const std::string whole = expanded;
    if (whole.empty() || whole.size() == sizeof expanded - 1) {
        return {};
    }
    return whole.find('/') == std::string::npos ? "./" + whole : whole;
}

bool Module::load(const std::string& path) {
    m_path = ModulePath(path);
    if (m_path.empty()) {
        kxapp::Complain("not the path of a module: '%s'", path.c_str());
        return false;
    }
    // Everything is resolved now: a module that misses something must fail here, not in the middle
    // of its work. Its symbols stay its own.
    m_library = dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_library == nullptr) {
        kxapp::Complain("cannot load the module: %s", LoaderError());
        return false;
    }
    if (!find("kxepinfo_init", m_init) || !find("kxepinfo_uninit", m_uninit)) {
        return false;
    }
    set_up_log();
    return true;
}

// The module sets its log up when its worker runs; what it has to say before would appear on
// standard error. The log library is the one that came with the module, if any: the host is not
// linked to it. When it cannot write there it goes on with standard error by itself.
void Module::set_up_log() const {
    using Initialise = int (*)(const char* directory, int files);
    const auto initialise = reinterpret_cast<Initialise>(dlsym(m_library, "autolog_init"));
    if (initialise != nullptr) {
        char directory[kPathSize];
        kxe_dirutils_path_transform(kLogDirectory, directory, sizeof directory);
        (void)initialise(directory, kLogFiles);
    }
}

bool Module::find(const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(m_library, name));
    if (function == nullptr) {
        kxapp::Complain("not a module of this agent: %s", LoaderError());
    }
    return function != nullptr;
}

bool Module::start() {
    const int code = m_init();
    if (code != 0) {
        kxapp::Complain("the module %s cannot start: error code %d", m_path.c_str(), code);
        return false;
    }
    m_started = true;
    return true;
}

bool Module::stop() {
    if (!m_started) {
        return true;
    }
    m_started = false;
    const int code = m_uninit();
    if (code != 0) {
        kxapp::Complain("the module %s did not stop cleanly: error code %d", m_path.c_str(), code);
    }
    return code == 0;
}

}  // namespace kxehost
