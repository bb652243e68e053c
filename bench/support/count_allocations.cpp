#include "count_allocations.h"

#include <atomic>
#include <cstddef>

// The C library's own, under the names that it keeps for this.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);

namespace {

std::atomic<long> all_count{0};
std::atomic<long> all_bytes{0};

void Count(std::size_t size) {
    all_count.fetch_add(1, std::memory_order_relaxed);
    all_bytes.fetch_add(static_cast<long>(size), std::memory_order_relaxed);
}

}  // namespace

#pragma GCC visibility push(default)

extern "C" void kx_allocated(long* count, long* bytes) {
    *count = all_count.load(std::memory_order_relaxed);
    *bytes = all_bytes.load(std::memory_order_relaxed);
}

extern "C" void* malloc(std::size_t size) noexcept {
    Count(size);
    return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept {
    Count(count * size);
    return __libc_calloc(count, size);
}

extern "C" void* realloc(void* memory, std::size_t size) noexcept {
    Count(size);
    return __libc_realloc(memory, size);
}

#pragma GCC visibility pop
