// The configuration centre at work.
#ifndef KX_APPS_KXECFGC_CENTRE_H
#define KX_APPS_KXECFGC_CENTRE_H

#include <cstdint>
#include <string>

#include "common/fault.h"
#include "common/service.h"
#include "kxecfgc/addresses.h"

namespace kxecfgc {

struct Options {
    std::string addresses = "@/../config/cfgc.ini";  // path of the address file
    std::uint64_t count = 0;                         // answers after which it ends; 0: never
    bool verbose = false;                            // tell on standard output what is done
};

class Centre {
  public:
    Centre(const Options& options, kxapp::FaultPlan faults);

    // Reads the address file for the first time. False, after a complaint, when that fails.
    bool load();

    // Reads the file again. True when the addresses are others than before. A file that cannot be
    // used is told on standard error, and the addresses stay.
    bool reload();

    // The answer to a request. One that is not understood is told on standard error, stays
    // unanswered and does not count; so does one behind the last that is to be answered.
    kxapp::Reply handle(const kxapp::Request& request);

    // Tells the agent of a change. That no agent is there is the normal case and told only when
    // verbose.
    void notify(nox_ipc_st* bus) const;

    // The wanted number of requests has been received.
    bool done() const { return m_options.count != 0 && m_received >= m_options.count; }

  private:
    bool read(Addresses& addresses) const;
    void tell(const std::string& line) const;

    Options m_options;
    kxapp::FaultPlan m_faults;
    Addresses m_addresses;
    std::uint64_t m_received = 0;
};

}  // namespace kxecfgc

#endif  // KX_APPS_KXECFGC_CENTRE_H
