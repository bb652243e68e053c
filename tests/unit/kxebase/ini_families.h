// Both families of the INI functions, for tests that hold for either.
#ifndef KXEPINFO_TESTS_INI_FAMILIES_H
#define KXEPINFO_TESTS_INI_FAMILIES_H

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "installation.h"
#include "kxe_ini.h"

struct IniFamily {
    const char* name;
    decltype(&kxe_ini_file_load) load;
    decltype(&kxe_ini_file_get) get;
    decltype(&kxe_ini_file_set) set;
    decltype(&kxe_ini_file_del) del;
    decltype(&kxe_ini_file_save) save;
    decltype(&kxe_ini_file_free) free;
};

extern const IniFamily kIniFamilies[2];

// For the names of tests.
void PrintTo(const IniFamily& family, std::ostream* out);

// A test that runs once with each family, in an empty installation.
class IniTest : public ::testing::TestWithParam<IniFamily> {
  protected:
    struct Free {
        void operator()(kxe_ini_file* file) const { GetParam().free(file); }
    };
    using Ini = std::unique_ptr<kxe_ini_file, Free>;

    void SetUp() override { kxtest::ClearInstallation(); }

    // The installation belongs to this user alone unless a test needs others in it.
    static void LetOthersIn();

    static Ini Load(const std::filesystem::path& path);
    // A document with that text; the test fails when it cannot be loaded.
    static Ini Document(std::string_view text);
    static std::optional<std::string> Get(const Ini& ini, const char* section, const char* key);
    static int Set(const Ini& ini, const char* section, const char* key, const char* value);
    static int Del(const Ini& ini, const char* section);
    static int Save(const Ini& ini, const std::filesystem::path& path);
    // What a save of the document writes.
    static std::string Saved(const Ini& ini);
};

#define INI_TEST_SUITE(suite)                                            \
    INSTANTIATE_TEST_SUITE_P(, suite, ::testing::ValuesIn(kIniFamilies), \
                             [](const auto& instance) { return instance.param.name; })

#endif  // KXEPINFO_TESTS_INI_FAMILIES_H
