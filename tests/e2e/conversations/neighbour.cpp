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

#include "kxe_base.h"
#include "net_config.h"

namespace {

bool Count(kxe_glock* lock, const char* section, long count) {
    char path[4096];
    dirutils_path_transform("@/../config/net_config.ini", path, sizeof path);
    bool saved = true;
    for (long i = 0; i < count && saved; ++i) {
        saved = kxtest::AddOne(lock, path, section);
    }
    return saved;
}

bool Hold(kxe_glock* lock) {
    if (kxe_glock_acquire_timeout(lock, 0) != 0) {
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
    if (kxe_glock_init(kxtest::kNetConfigLock, &lock) != 0) {
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
