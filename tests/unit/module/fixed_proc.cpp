// A machine that is half busy and uses 600 of 1000 kB: in front of the reader of /proc.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "collectors/procfile.h"

namespace {

char first_sample[] = "cpu 100 0 0 900 0 0 0 0\n";
char second_sample[] = "cpu 600 0 0 1400 0 0 0 0\n";
char memory[] = "MemTotal: 1000 kB\nMemAvailable: 400 kB\n";

}  // namespace

File OpenForReading(const char* path) {
    static bool second = false;
    char* text = memory;
    if (std::strcmp(path, "/proc/stat") == 0) {
        text = second ? second_sample : first_sample;
        second = !second;
    }
    File file(fmemopen(text, std::strlen(text), "r"));
    if (file == nullptr) {
        std::perror("fmemopen");
        std::abort();
    }
    return file;
}
