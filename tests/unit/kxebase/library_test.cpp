// The shared library: what it exports, and that it can go.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

namespace {

const std::set<std::string> kExported = {
    "IsCNAPPAgent",
    "dirutils_path_transform",
    "ini_file_del",
    "ini_file_free",
    "ini_file_get",
    "ini_file_load",
    "ini_file_save",
    "ini_file_set",
    "kxe_dirutils_path_transform",
    "kxe_file_open",
    "kxe_glock_acquire_timeout",
    "kxe_glock_destroy",
    "kxe_glock_init",
    "kxe_glock_release",
    "kxe_ini_file_del",
    "kxe_ini_file_free",
    "kxe_ini_file_get",
    "kxe_ini_file_load",
    "kxe_ini_file_save",
    "kxe_ini_file_set",
    "kxe_str_find",
    "kxe_str_snprintf",
    "kxe_str_strlcpy",
    "kxe_str_strncat",
    "kxe_time",
    "read_container_id",
    "str_snprintf",
};

// The names that nm finds.
std::set<std::string> Exported() {
    std::set<std::string> names;
    FILE* const nm = popen("nm --dynamic --defined-only --format=posix " KXEBASE_LIBRARY, "re");
    if (nm == nullptr) {
        return names;
    }
    char line[512];
    while (std::fgets(line, sizeof line, nm) != nullptr) {
        const std::string text = line;
        names.insert(text.substr(0, text.find(' ')));
    }
    EXPECT_EQ(pclose(nm), 0);
    return names;
}

}  // namespace

TEST(Library, ExportsItsInterfaceAndNothingElse) {
    EXPECT_EQ(Exported(), kExported);
}

TEST(Library, CanBeLoadedAndUnloadedAgainAndAgain) {
    for (int i = 0; i < 100; ++i) {
        void* const library = dlopen(KXEBASE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        const auto time = reinterpret_cast<unsigned long (*)()>(dlsym(library, "kxe_time"));
        ASSERT_NE(time, nullptr);
        EXPECT_GT(time(), 0U);
        ASSERT_EQ(dlclose(library), 0);
        ASSERT_EQ(dlopen(KXEBASE_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still there";
    }
}
