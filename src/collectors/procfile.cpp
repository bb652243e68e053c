#include "collectors/procfile.h"

File OpenForReading(const char* path) {
    return File(std::fopen(path, "re"));
}
