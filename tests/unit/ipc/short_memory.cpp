#include "short_memory.h"

#include <cstddef>

namespace {

thread_local bool memory_is_short = false;

}  // namespace

extern "C" {

void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return memory_is_short ? nullptr : __real_calloc(count, size);
}

}  // extern "C"

kxtest::ShortMemory::ShortMemory() {
    memory_is_short = true;
}

kxtest::ShortMemory::~ShortMemory() {
    memory_is_short = false;
}
