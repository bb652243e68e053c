// How a machine's id is made.
#ifndef NOXIPC_VM_ID_H
#define NOXIPC_VM_ID_H

#include <cstdint>
#include <string_view>

namespace noxipc {

// The 64-bit FNV-1a hash.
uint64_t Fnv1a(std::string_view text);

// The id of a machine whose firmware and operating system say this; either may be empty. 0 when
// both say nothing.
uint64_t VmId(std::string_view product_uuid, std::string_view machine_id);

}  // namespace noxipc

#endif  // NOXIPC_VM_ID_H
