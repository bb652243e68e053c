#include "guarded.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

// Bytes, rounded up to whole pages, and one page more.
std::size_t SizeWithGuard(std::size_t bytes) {
    const auto page = static_cast<std::size_t>(getpagesize());
    return (bytes + page - 1) / page * page + page;
}

[[noreturn]] void Fail() {
    std::perror("guarded memory");
    std::abort();
}

void* MapWithGuard(std::size_t size) {
    const auto page = static_cast<std::size_t>(getpagesize());
    void* const mapping =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED ||
        mprotect(static_cast<char*>(mapping) + size - page, page, PROT_NONE) != 0) {
        Fail();
    }
    return mapping;
}

}  // namespace

namespace plain {

GuardedBytes::GuardedBytes(std::string_view bytes, std::size_t zeros)
    : m_size(bytes.size()),
      m_mapped_size(SizeWithGuard(bytes.size() + zeros)),
      m_mapping(MapWithGuard(m_mapped_size)),
      m_data(static_cast<char*>(m_mapping) + m_mapped_size - getpagesize() - m_size - zeros) {
    std::copy(bytes.begin(), bytes.end(), m_data);  // what is mapped is zero before
}

GuardedBytes::~GuardedBytes() {
    // The memory goes back, the place in the address space is not used again.
    (void)madvise(m_mapping, m_mapped_size, MADV_DONTNEED);
    if (mprotect(m_mapping, m_mapped_size, PROT_NONE) != 0) {
        Fail();
    }
}

}  // namespace plain
