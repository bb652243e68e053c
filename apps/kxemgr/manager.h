// The manager at work: what happens to a request on its bus name.
#ifndef KX_APPS_KXEMGR_MANAGER_H
#define KX_APPS_KXEMGR_MANAGER_H

#include <cstdint>

#include "common/fault.h"
#include "common/service.h"
#include "kxemgr/upload.h"

namespace kxemgr {

struct Options {
    bool json = false;
    std::uint64_t count = 0;  // uploads after which it ends; 0: never
};

class Manager {
  public:
    Manager(const Options& options, kxapp::FaultPlan faults);

    // Shows an upload on standard output and returns the answer to it. A request that is no upload
    // is told on standard error: one of another type stays unanswered, a frame with a fault is
    // refused, neither counts. The upload behind the last one is not answered.
    kxapp::Reply handle(const kxapp::Request& request);

    // The wanted number of uploads has been received.
    bool done() const { return m_options.count != 0 && m_received >= m_options.count; }
    // Standard output cannot be written any more.
    bool failed() const { return m_failed; }

  private:
    kxapp::Reply accept(const Upload& upload);

    Options m_options;
    kxapp::FaultPlan m_faults;
    std::uint64_t m_received = 0;
    bool m_failed = false;
};

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_MANAGER_H
