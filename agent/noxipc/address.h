// Handles for peers.
#ifndef NOXIPC_ADDRESS_H
#define NOXIPC_ADDRESS_H

#include <cstddef>
#include <memory>

#include "nox_ipc.h"

namespace noxipc {

struct ReleaseAddress {
    void operator()(nox_addr_st* address) const { nox_addr_destroy(address); }
};
using Address = std::unique_ptr<nox_addr_st, ReleaseAddress>;

// One more holder of a handle that is held already.
Address Hold(nox_addr_st* address);

// How many different handles exist in this process.
std::size_t AddressCount();

}  // namespace noxipc

#endif  // NOXIPC_ADDRESS_H
