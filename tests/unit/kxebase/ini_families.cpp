#include "ini_families.h"

#include "ini_file.h"

const IniFamily kIniFamilies[2] = {
    {"kxe_ini_file", kxe_ini_file_load, kxe_ini_file_get, kxe_ini_file_set, kxe_ini_file_del,
     kxe_ini_file_save, kxe_ini_file_free},
    {"ini_file", ini_file_load, ini_file_get, ini_file_set, ini_file_del, ini_file_save,
     ini_file_free},
};

void PrintTo(const IniFamily& family, std::ostream* out) {
    *out << family.name;
}

void IniTest::LetOthersIn() {
    std::filesystem::permissions(kxtest::InstallationRoot(), std::filesystem::perms::others_exec,
                                 std::filesystem::perm_options::add);
}

IniTest::Ini IniTest::Load(const std::filesystem::path& path) {
    return Ini(GetParam().load(path.c_str()));
}

IniTest::Ini IniTest::Document(std::string_view text) {
    Ini ini = Load(kxtest::WriteFile("document.ini", text));
    EXPECT_NE(ini, nullptr);
    return ini;
}

std::optional<std::string> IniTest::Get(const Ini& ini, const char* section, const char* key) {
    const char* const value = GetParam().get(ini.get(), section, key);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

int IniTest::Set(const Ini& ini, const char* section, const char* key, const char* value) {
    return GetParam().set(ini.get(), section, key, value);
}

int IniTest::Del(const Ini& ini, const char* section) {
    return GetParam().del(ini.get(), section);
}

int IniTest::Save(const Ini& ini, const std::filesystem::path& path) {
    return GetParam().save(ini.get(), path.c_str(), 0);
}

std::string IniTest::Saved(const Ini& ini) {
    const auto path = kxtest::InstallationRoot() / "saved.ini";
    EXPECT_EQ(Save(ini, path), 0);
    return kxtest::ReadFile(path);
}
