#include "short_memory.h"

#include <cstddef>

namespace {

thread_local bool memory_is_short = false;

}  // namespace

// Visible, since the linker counts the calls of AddressSanitizer's library among the wrapped ones.
#pragma GCC visibility push(default)
extern "C" {

void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return memory_is_short ? nullptr : __real_calloc(count, size);
}

}  // extern "C"
#pragma GCC visibility pop

kxtest::ShortMemory::ShortMemory() {
    memory_is_short = true;
}

kxtest::ShortMemory::~ShortMemory() {
    memory_is_short = false;
}
