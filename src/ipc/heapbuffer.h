// A block of bytes from the heap whose absence is an answer, not an exception.
#ifndef KXEPINFO_IPC_HEAPBUFFER_H
#define KXEPINFO_IPC_HEAPBUFFER_H

#include <cstdint>
#include <cstdlib>
#include <memory>

struct FreeMemory {
    void operator()(char* memory) const { std::free(memory); }
};
using HeapBuffer = std::unique_ptr<char, FreeMemory>;

// `size` zero bytes, or null when there is no memory. The size is 64 bits wide so that sums of
// 32-bit lengths can be handed over as they are.
inline HeapBuffer NewZeroed(uint64_t size) {
    return HeapBuffer(static_cast<char*>(std::calloc(size, 1)));
}

#endif  // KXEPINFO_IPC_HEAPBUFFER_H
