// The file that stands for a named lock.
#ifndef KXEBASE_GLOCK_H
#define KXEBASE_GLOCK_H

#include <string>
#include <string_view>

#include "file_io.h"

namespace kxebase {

// The name of the lock's file: letters, digits, '-', '_' and '.' (but not at the beginning) stand
// for themselves, every other byte is written as %XX, and ".lock" follows. Different names give
// different files. Empty when the name is empty or the file's name would be longer than 255 bytes.
std::string LockFileName(std::string_view name);

// The lock of one file. Not for two threads at once.
class GlobalLock {
  public:
    explicit GlobalLock(std::string path) : path_(std::move(path)) {}

    // Opens the file, making it when it is not there. 0 or an errno value.
    int Open();

    // 0, ETIMEDOUT, EDEADLK when this object holds the lock already, or another errno value.
    int Acquire(unsigned timeout_ms);

    void Release();

  private:
    int TryOnce();
    bool IsInPlace() const;

    const std::string path_;
    Descriptor file_;
    bool held_ = false;
};

}  // namespace kxebase

#endif  // KXEBASE_GLOCK_H
