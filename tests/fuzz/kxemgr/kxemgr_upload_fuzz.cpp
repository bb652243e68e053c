// The input is an upload without its frame header. What the manager makes of it for people disturbs
// no terminal, what it makes for scripts is JSON, and the entries of its lists were counted before
// it was decoded.
#include "common/block.h"
#include "common/frame.h"
#include "common/json_line.h"
#include "common/listed.h"
#include "kxemgr/machine.h"
#include "shown.h"

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using kxtest::Require;

std::size_t Entries(const Message& message) {
    const auto& access = *message.GetReflection();
    std::vector<const FieldDescriptor*> fields;
    access.ListFields(message, &fields);
    std::size_t count = 0;
    for (const FieldDescriptor* field : fields) {
        const bool is_message = field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE;
        if (!field->is_repeated()) {
            count += is_message ? Entries(access.GetMessage(message, field)) : 0;
            continue;
        }
        const int size = access.FieldSize(message, field);
        count += static_cast<std::size_t>(size);
        for (int i = 0; is_message && i < size; ++i) {
            count += Entries(access.GetRepeatedMessage(message, field, i));
        }
    }
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string frame =
        kxapp::MakeFrame(std::string_view(reinterpret_cast<const char*>(data), size));
    std::string fault;
    const auto upload = kxapp::ReadUpload({"agt_ei", 1, 0, frame}, {1'700'000'000, 0}, fault);
    Require(upload.has_value() == fault.empty());
    if (!upload) {
        return 0;
    }
    Require(Entries(upload->message) <=
            kxapp::CountListed(upload->payload, *upload->message.GetDescriptor()));
    kxtest::RequireHarmless(kxapp::Block(*upload));
    kxtest::RequireJson(kxapp::JsonLine(*upload, "", {}));
    if (const auto machine = kxemgr::ReportedMachine(upload->message)) {
        Require(kxemgr::SplitMacs(kxemgr::JoinMacs(machine->macs)) == machine->macs);
        Require(!kxemgr::IsOtherMachine(*machine, *machine));
    }
    return 0;
}
