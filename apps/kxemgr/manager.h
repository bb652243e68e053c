// The manager at work: what happens to a request on its bus name.
#ifndef KX_APPS_KXEMGR_MANAGER_H
#define KX_APPS_KXEMGR_MANAGER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "common/fault.h"
#include "common/service.h"
#include "common/upload.h"
#include "kxemgr/database.h"
#include "kxemgr/known_machines.h"

namespace kxemgr {

struct Options {
    bool json = false;
    std::uint64_t count = 0;  // uploads after which it ends; 0: never
};

// Is told what the manager has decided, on the manager's thread, which waits for it. Neither may
// throw.
struct Observer {
    // An upload, kept where there is a database, the --fault that its answer suffers (empty: none),
    // and the answer, as it is without a fault on its way.
    std::function<void(const kxapp::Upload& upload, std::string_view fault,
                       const bf_kxepinfo::epinfo_msg_respone& answer)>
        on_upload = [](const auto&, auto, const auto&) {};
    // A request that should have been an upload and was none.
    std::function<void()> on_bad_upload = [] {};
};

class Manager {
  public:
    // Goes by `database`, or by its own memory when that is null.
    Manager(const Options& options, kxapp::FaultPlan faults, std::unique_ptr<Database> database,
            Observer observer = {});

    // Shows an upload on standard output and returns the answer to it, once the database has it on
    // disk. One that the database does not take is told on standard error too, and refused: the
    // agent then knows that it must send its facts again. A request that is no upload is told on
    // standard error: one of another type stays unanswered, a frame with a fault is refused,
    // neither counts. The upload behind the last one is not answered.
    kxapp::Reply handle(const kxapp::Request& request);

    // The wanted number of uploads has been received.
    bool done() const { return m_options.count != 0 && m_received >= m_options.count; }
    // Standard output cannot be written any more.
    bool failed() const { return m_failed; }

  private:
    kxapp::Reply accept(const kxapp::Upload& upload);
    // The right answer.
    bf_kxepinfo::epinfo_msg_respone answer_to(const kxapp::Upload& upload);

    Options m_options;
    kxapp::FaultPlan m_faults;
    std::unique_ptr<Database> m_database;
    Observer m_observer;
    KnownMachines m_machines;  // not used with a database
    std::uint64_t m_received = 0;
    bool m_failed = false;
};

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_MANAGER_H
