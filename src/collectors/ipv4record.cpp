// The record of IPv4 addresses that were told, in memory and in a file that outlives the process.
#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "collectors/netinfo.h"
#include "common/iniowner.h"
#include "common/log.h"
#include "common/path.h"
#include "common/state.h"
#include "kxe_base.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";
constexpr char kSection[] = "netinfo";
constexpr char kKey[] = "ipv4";
constexpr std::size_t kRecordPathSize = 1024;
constexpr std::size_t kTextSize = 4096;
constexpr std::size_t kPieceSize = 1024;

using Addresses = std::set<std::string>;

// Text between commas, empty text included: of an empty value one piece.
void AddPieces(std::string_view value, Addresses& addresses) {
    std::size_t begin = 0;
    for (std::size_t comma = value.find(','); comma != value.npos; comma = value.find(',', begin)) {
        addresses.emplace(value.substr(begin, comma - begin));
        begin = comma + 1;
    }
    addresses.emplace(value.substr(begin));
}

// The addresses of the process before this one.
void ReadRecordOnce(kxe_ini_file* ini) {
    if (s_ipv4RecordRead) {
        return;
    }
    if (const char* const value = kxe_ini_file_get(ini, kSection, kKey)) {
        AddPieces(value, s_recordedIpv4);
    }
    s_ipv4RecordRead = true;
}

Addresses CollectIpv4(const std::vector<_stAdapterInfo>& adapters) {
    Addresses addresses;
    for (const _stAdapterInfo& adapter : adapters) {
        for (const std::string& address : adapter.if_ipv4) {
            EP_LOG(kLogDebug, "current ipv4 record %s", address.c_str());
            addresses.insert(address);
        }
    }
    return addresses;
}

// Text that does not fit is cut, in the middle of an address where it falls so.
void WriteRecord(kxe_ini_file* ini, const char* path, const Addresses& addresses) {
    char text[kTextSize] = {};
    for (auto address = addresses.begin(); address != addresses.end(); ++address) {
        if (address == addresses.begin()) {
            (void)kxe_str_snprintf(text, sizeof text, "%s", address->c_str());
        } else {
            char piece[kPieceSize] = {};
            (void)kxe_str_snprintf(piece, sizeof piece, "%s%s", ",", address->c_str());
            (void)kxe_str_strncat(text, piece, sizeof text);
        }
    }
    (void)kxe_ini_file_set(ini, kSection, kKey, text);
    (void)kxe_ini_file_save(ini, path, 0);
}

}  // namespace

void RecordIpv4Addresses(const std::vector<_stAdapterInfo>& current, std::set<std::string>& added) {
    added.clear();
    char path[kRecordPathSize] = {};
    ep_dirutils_path_transform("@/../config/server_port.ini", path, sizeof path);
    const KxeIniOwner ini(kxe_ini_file_load(path));
    if (ini == nullptr) {
        return;
    }
    ReadRecordOnce(ini.get());
    Addresses addresses = CollectIpv4(current);
    std::set_difference(addresses.begin(), addresses.end(), s_recordedIpv4.begin(),
                        s_recordedIpv4.end(), std::inserter(added, added.end()));
    s_recordedIpv4 = std::move(addresses);
    if (!added.empty()) {
        WriteRecord(ini.get(), path, s_recordedIpv4);
    }
}
