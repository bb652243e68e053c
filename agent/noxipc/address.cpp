#include "address.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <tuple>

#include "name.h"

using Key = std::tuple<std::string, int, int>;

// Lives in the table as long as somebody holds it; `key` is the table's.
struct nox_addr_st {
    const Key* key = nullptr;
    uint64_t holders = 0;
};

namespace noxipc {
namespace {

std::mutex table_mutex;
std::map<Key, nox_addr_st> table;

nox_addr_st* Find(const char* name, int a, int b) {
    const auto [place, made] = table.try_emplace(Key(name, a, b));
    if (made) {  // never again: its name is read without the lock
        place->second.key = &place->first;
    }
    ++place->second.holders;
    return &place->second;
}

}  // namespace

Address Hold(nox_addr_st* address) {
    const std::lock_guard lock(table_mutex);
    ++address->holders;
    return Address(address);
}

std::size_t AddressCount() {
    const std::lock_guard lock(table_mutex);
    return table.size();
}

}  // namespace noxipc

nox_addr_st* nox_addr_create(const char* name, int a, int b) {
    if (name == nullptr || !noxipc::IsValidName(name)) {
        return nullptr;
    }
    try {
        const std::lock_guard lock(noxipc::table_mutex);
        return noxipc::Find(name, a, b);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void nox_addr_destroy(nox_addr_st* addr) {
    if (addr == nullptr) {
        return;
    }
    const std::lock_guard lock(noxipc::table_mutex);
    if (--addr->holders == 0) {
        noxipc::table.erase(noxipc::table.find(*addr->key));
    }
}

const char* nox_addr_name(const nox_addr_st* addr) {
    return addr == nullptr ? nullptr : std::get<std::string>(*addr->key).c_str();
}
