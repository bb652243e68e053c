// Makes the module's allocations fail. The test program is linked with --wrap=calloc, so the calls
// made by objects of the program, and by no library, come here.
#ifndef KXEPINFO_TESTS_UNIT_IPC_SHORT_MEMORY_H
#define KXEPINFO_TESTS_UNIT_IPC_SHORT_MEMORY_H

namespace kxtest {

// While it lives, every calloc of this thread returns null.
class ShortMemory {
  public:
    ShortMemory();
    ~ShortMemory();
    ShortMemory(const ShortMemory&) = delete;
    ShortMemory& operator=(const ShortMemory&) = delete;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_IPC_SHORT_MEMORY_H
