// Which process has a name.
#ifndef NOXIPC_NAME_LOCK_H
#define NOXIPC_NAME_LOCK_H

#include <string>

#include "descriptor.h"

namespace noxipc {

// NAME.lock in the bus's directory, held with flock. The kernel frees it when its holder dies, so a
// crashed instance never keeps its name, and no look at a socket has to guess whether anybody is
// behind it.
class NameLock {
  public:
    NameLock() = default;

    // On failure *error is an errno value, EADDRINUSE when the name is taken, and the object holds
    // nothing. `directory` must stay open as long as the lock.
    static NameLock Take(int directory, const std::string& name, int* error);

    NameLock(NameLock&& other) noexcept = default;
    NameLock& operator=(NameLock&& other) = delete;
    ~NameLock();

  private:
    Descriptor file_;
    int directory_ = -1;
    std::string file_name_;
};

}  // namespace noxipc

#endif  // NOXIPC_NAME_LOCK_H
