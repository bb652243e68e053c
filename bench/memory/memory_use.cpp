#include "memory_use.h"

#include <fstream>
#include <string>

#include "report.h"

MemoryUse ReadMemoryUse(pid_t process) {
    MemoryUse use;
    std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
    std::string name;
    std::getline(file, name);  // the range of addresses
    for (double size = 0; file >> name >> size; std::getline(file, name)) {
        if (name == "Pss:") {
            use.proportional = size;
        } else if (name == "Private_Clean:" || name == "Private_Dirty:") {
            use.own += size;
        }
    }
    if (use.proportional == 0) {
        kxbench::Fail("cannot read the memory of process " + std::to_string(process));
    }
    return use;
}
