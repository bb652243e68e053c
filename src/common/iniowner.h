// Owns an INI document of the kxe_ini_file family.
#ifndef KXEPINFO_COMMON_INIOWNER_H
#define KXEPINFO_COMMON_INIOWNER_H

#include <memory>

#include "kxe_ini.h"

struct FreeKxeIni {
    void operator()(kxe_ini_file* file) const { kxe_ini_file_free(file); }
};
using KxeIniOwner = std::unique_ptr<kxe_ini_file, FreeKxeIni>;

#endif  // KXEPINFO_COMMON_INIOWNER_H
