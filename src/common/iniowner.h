// Own an INI document, one type for each family of the agent's functions.
#ifndef KXEPINFO_COMMON_INIOWNER_H
#define KXEPINFO_COMMON_INIOWNER_H

#include <memory>

#include "ini_file.h"
#include "kxe_ini.h"

struct FreeKxeIni {
    void operator()(kxe_ini_file* file) const { kxe_ini_file_free(file); }
};
using KxeIniOwner = std::unique_ptr<kxe_ini_file, FreeKxeIni>;

struct FreeIni {
    void operator()(ini_file* file) const { ini_file_free(file); }
};
using IniOwner = std::unique_ptr<ini_file, FreeIni>;

#endif  // KXEPINFO_COMMON_INIOWNER_H
