#include "kxemgr/manager.h"

#include <utility>

#include "common/block.h"
#include "common/complain.h"
#include "common/json_line.h"
#include "kxemgr/answer.h"

namespace kxemgr {

namespace {

constexpr unsigned kUploadType = 0;

timespec Now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

}  // namespace

Manager::Manager(const Options& options, kxapp::FaultPlan faults,
                 std::unique_ptr<Database> database, Observer observer)
    : m_options(options),
      m_faults(std::move(faults)),
      m_database(std::move(database)),
      m_observer(std::move(observer)) {}

kxapp::Reply Manager::handle(const kxapp::Request& request) {
    const std::string from(request.from);
    if (request.type != kUploadType) {
        kxapp::Complain("request of type %u from %s is not understood", request.type, from.c_str());
        return {kxapp::Delivery::kNever, 0, {}};
    }
    if (done()) {
        return {kxapp::Delivery::kNever, 0, {}};
    }
    std::string fault;
    const auto upload = kxapp::ReadUpload(request, Now(), fault);
    if (!upload) {
        kxapp::Complain("bad upload from %s: %s", from.c_str(), fault.c_str());
        m_observer.on_bad_upload();
        return Deliver({}, Refuse(fault));
    }
    return accept(*upload);
}

kxapp::Reply Manager::accept(const kxapp::Upload& upload) {
    ++m_received;
    const std::string_view fault = m_faults.take();
    auto answer = answer_to(upload);
    ApplyToMessage(fault, answer);
    m_failed = !kxapp::WriteOut(m_options.json
                                    ? kxapp::JsonLine(upload, fault, answer)
                                    : kxapp::Block(upload) + kxapp::AnswerInWords(answer, fault));
    m_observer.on_upload(upload, fault, answer);
    return Deliver(fault, answer);
}

bf_kxepinfo::epinfo_msg_respone Manager::answer_to(const kxapp::Upload& upload) {
    auto answer = Accept(upload.message, upload.received.tv_sec);
    std::string fault;
    const auto duplicate = m_database != nullptr ? m_database->keep(upload, fault)
                                                 : m_machines.is_duplicate(upload.message);
    if (!duplicate) {
        kxapp::Complain("upload from %s is refused, since it cannot be kept: %s",
                        upload.from.c_str(), fault.c_str());
        answer.set_status(0);
        answer.set_res_msg("the manager cannot keep the upload: " + fault);
    } else if (upload.message.agent_id() == 0) {
        // An agent without an id sends nothing of what it has; accepted, it would count that as
        // told.
        answer.set_status(0);
        answer.set_res_msg("the upload names no agent");
    } else {
        answer.set_duplicate(*duplicate ? 1 : 0);
    }
    return answer;
}

}  // namespace kxemgr
