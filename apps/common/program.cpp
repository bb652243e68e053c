#include "common/program.h"

#include <exception>

#include "common/complain.h"

namespace kxapp {

int RunProgram(int (*program)(int argc, char** argv), int argc, char** argv, int failure) noexcept {
    try {
        return program(argc, argv);
    } catch (const std::exception& error) {
        Complain("%s", error.what());
    }
    return failure;
}

}  // namespace kxapp
