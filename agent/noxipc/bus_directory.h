// The directory in which the instances of an installation meet.
#ifndef NOXIPC_BUS_DIRECTORY_H
#define NOXIPC_BUS_DIRECTORY_H

#include <sys/un.h>

#include <string>

#include "access_rule.h"
#include "descriptor.h"

namespace noxipc {

class BusDirectory {
  public:
    // Opens it. On failure *error is an errno value and the object must not be used. Throws
    // std::bad_alloc.
    static BusDirectory Open(int* error);

    // The same, made with its parents when it is missing, and with the mode and group that the rule
    // asks for. Parents get the mode 0755.
    static BusDirectory Make(const AccessRule& rule, int* error);

    // For openat and its like only.
    int descriptor() const { return descriptor_.get(); }

    // The address of a file in it. Valid as long as this object: the path leads through its
    // descriptor when the directory's own path is too long for an address.
    sockaddr_un Address(const std::string& file) const;

  private:
    void OpenPath(int* error);

    std::string path_;
    Descriptor descriptor_;
};

}  // namespace noxipc

#endif  // NOXIPC_BUS_DIRECTORY_H
