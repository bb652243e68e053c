// Another part of the agent that writes net_config.ini too, under the same lock.
//
//   kx_neighbour hold                 takes the lock, prints "held" and keeps it until it is killed
//   kx_neighbour count SECTION COUNT  adds one to the key "number" of a section, COUNT times
//
// Exit status 0 when all was written.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ini_file.h"
#include "kxe_base.h"
#include "kxe_glock.h"

namespace {

constexpr char kLockName[] = "Global\\{C9580F9C-A601-4300-879D-F54133492687}";
constexpr unsigned kLongMs = 120000;  // a guard against hanging

bool AddOne(const char* path, const char* section) {
    ini_file* const ini = ini_file_load(path);
    const char* const number = ini == nullptr ? nullptr : ini_file_get(ini, section, "number");
    const std::string next = std::to_string(number == nullptr ? 1 : std::atol(number) + 1);
    const bool saved = ini != nullptr && ini_file_set(ini, section, "number", next.c_str()) == 0 &&
                       ini_file_save(ini, path, 0) == 0;
    ini_file_free(ini);
    return saved;
}

bool Count(kxe_glock* lock, const char* section, long count) {
    char path[4096];
    dirutils_path_transform("@/../config/net_config.ini", path, sizeof path);
    bool saved = true;
    for (long i = 0; i < count && saved; ++i) {
        saved = kxe_glock_acquire_timeout(lock, kLongMs) == 0 && AddOne(path, section);
        kxe_glock_release(lock);
    }
    return saved;
}

bool Hold(kxe_glock* lock) {
    if (kxe_glock_acquire_timeout(lock, kLongMs) != 0) {
        return false;
    }
    std::puts("held");
    std::fflush(stdout);
    for (;;) {
        pause();
    }
}

}  // namespace

int main(int argc, char** argv) {
    kxe_glock* lock = nullptr;
    if (kxe_glock_init(kLockName, &lock) != 0) {
        return EXIT_FAILURE;
    }
    bool done = false;
    if (argc == 2 && std::strcmp(argv[1], "hold") == 0) {
        done = Hold(lock);
    } else if (argc == 4 && std::strcmp(argv[1], "count") == 0) {
        done = Count(lock, argv[2], std::atol(argv[3]));
    }
    kxe_glock_destroy(lock);
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
