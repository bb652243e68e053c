#include "loaded_module.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>

#include "installation.h"

namespace fs = std::filesystem;

LoadedLibrary::LoadedLibrary(const char* path) : m_handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (m_handle == nullptr) {
        ADD_FAILURE() << dlerror();
        abort();
    }
}

LoadedLibrary::~LoadedLibrary() {
    EXPECT_EQ(dlclose(m_handle), 0);
}

void* LoadedLibrary::symbol(const char* name) const {
    void* const found = dlsym(m_handle, name);
    EXPECT_NE(found, nullptr) << name;
    return found;
}

LoadedModule::LoadedModule()
    : LoadedLibrary(KX_MODULE),
      m_init(function<int()>("kxepinfo_init")),
      m_uninit(function<int()>("kxepinfo_uninit")) {}

bool IsMapped(const std::string& name) {
    return kxtest::ReadFile("/proc/self/maps").find("/" + name) != std::string::npos;
}

std::size_t OpenDescriptors() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

void SetInterval(int seconds) {
    kxtest::WriteFile("config/kxepinfocfg.ini",
                      "[flushgap]\nvalue=" + std::to_string(seconds) + "\n");
}

std::string ModuleLog() {
    return kxtest::ReadFile(kxtest::InstallationRoot() / "var/log/agent/kxepinfo/kxepinfo.log");
}
