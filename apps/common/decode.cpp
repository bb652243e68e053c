#include "common/decode.h"

#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/util/json_util.h>

#include <limits>
#include <map>
#include <memory>
#include <stdexcept>

#include "common/frame.h"
#include "common/text.h"

namespace kxapp {

namespace pb = google::protobuf;

namespace {

constexpr int kLargest = std::numeric_limits<int>::max();

// The schema of a message with bytes in the place of every string, which is the same on the wire.
class BytesTwins {
  public:
    explicit BytesTwins(const pb::FileDescriptor& original) {
        pb::FileDescriptorProto file;
        original.CopyTo(&file);
        for (pb::DescriptorProto& type : *file.mutable_message_type()) {
            for (pb::FieldDescriptorProto& field : *type.mutable_field()) {
                if (field.type() == pb::FieldDescriptorProto::TYPE_STRING) {
                    field.set_type(pb::FieldDescriptorProto::TYPE_BYTES);
                }
            }
        }
        m_pool.BuildFile(file);
    }

    std::unique_ptr<pb::Message> create(const pb::Descriptor& type) {
        const pb::Descriptor* twin = m_pool.FindMessageTypeByName(type.full_name());
        if (twin == nullptr) {
            throw std::logic_error("the schema has no twin of " + type.full_name());
        }
        return std::unique_ptr<pb::Message>(m_factory.GetPrototype(twin)->New());
    }

  private:
    pb::DescriptorPool m_pool;
    pb::DynamicMessageFactory m_factory{&m_pool};
};

void RepairStrings(pb::Message& twin, const std::string& path, std::vector<std::string>& not_utf8);

// One value of a field; `index` is negative for a field that is not repeated.
void RepairValue(pb::Message& twin, const pb::FieldDescriptor& field, int index,
                 const std::string& path, std::vector<std::string>& not_utf8) {
    const pb::Reflection& access = *twin.GetReflection();
    if (field.cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE) {
        RepairStrings(index < 0 ? *access.MutableMessage(&twin, &field)
                                : *access.MutableRepeatedMessage(&twin, &field, index),
                      path + ".", not_utf8);
        return;
    }
    std::string scratch;
    const std::string& value =
        index < 0 ? access.GetStringReference(twin, &field, &scratch)
                  : access.GetRepeatedStringReference(twin, &field, index, &scratch);
    if (IsUtf8(value)) {
        return;
    }
    if (not_utf8.size() < kMostRepairedPaths) {
        not_utf8.push_back(path);
    }
    std::string repaired = RepairUtf8(value);
    if (index < 0) {
        access.SetString(&twin, &field, std::move(repaired));
    } else {
        access.SetRepeatedString(&twin, &field, index, std::move(repaired));
    }
}

void RepairStrings(pb::Message& twin, const std::string& path, std::vector<std::string>& not_utf8) {
    std::vector<const pb::FieldDescriptor*> fields;
    twin.GetReflection()->ListFields(twin, &fields);
    for (const pb::FieldDescriptor* field : fields) {
        if (field->type() != pb::FieldDescriptor::TYPE_BYTES &&
            field->type() != pb::FieldDescriptor::TYPE_MESSAGE) {
            continue;
        }
        if (!field->is_repeated()) {
            RepairValue(twin, *field, -1, path + field->name(), not_utf8);
            continue;
        }
        const int count = twin.GetReflection()->FieldSize(twin, field);
        for (int i = 0; i < count; ++i) {
            RepairValue(twin, *field, i, path + field->name() + "[" + std::to_string(i) + "]",
                        not_utf8);
        }
    }
}

bool DecodeWithRepair(std::string_view bytes, pb::Message& message,
                      std::vector<std::string>& not_utf8) {
    static std::map<const pb::FileDescriptor*, std::unique_ptr<BytesTwins>> all_twins;
    std::unique_ptr<BytesTwins>& twins = all_twins[message.GetDescriptor()->file()];
    if (twins == nullptr) {
        twins = std::make_unique<BytesTwins>(*message.GetDescriptor()->file());
    }
    const std::unique_ptr<pb::Message> twin = twins->create(*message.GetDescriptor());
    if (!twin->ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) {
        return false;
    }
    RepairStrings(*twin, "", not_utf8);
    return message.ParseFromString(twin->SerializeAsString());
}

}  // namespace

bool Decode(std::string_view bytes, pb::Message& message, std::vector<std::string>& not_utf8) {
    // The runtime would write its opinion of a string that is not UTF-8 to standard error.
    pb::SetLogHandler(nullptr);
    not_utf8.clear();
    if (bytes.size() > static_cast<std::size_t>(kLargest)) {
        return false;
    }
    return message.ParseFromArray(bytes.data(), static_cast<int>(bytes.size())) ||
           DecodeWithRepair(bytes, message, not_utf8);
}

bool HasUnknownFields(const pb::Message& message) {
    const pb::Reflection& access = *message.GetReflection();
    if (!access.GetUnknownFields(message).empty()) {
        return true;
    }
    std::vector<const pb::FieldDescriptor*> fields;
    access.ListFields(message, &fields);
    for (const pb::FieldDescriptor* field : fields) {
        if (field->cpp_type() != pb::FieldDescriptor::CPPTYPE_MESSAGE) {
            continue;
        }
        if (!field->is_repeated()) {
            if (HasUnknownFields(access.GetMessage(message, field))) {
                return true;
            }
            continue;
        }
        for (int i = 0; i < access.FieldSize(message, field); ++i) {
            if (HasUnknownFields(access.GetRepeatedMessage(message, field, i))) {
                return true;
            }
        }
    }
    return false;
}

Json MessageToJson(const pb::Message& message) {
    pb::util::JsonPrintOptions options;
    options.preserve_proto_field_names = true;
    options.always_print_primitive_fields = true;
    std::string text;
    const auto status = pb::util::MessageToJsonString(message, &text, options);
    json_error_t error;
    Json json(status.ok() ? json_loadb(text.data(), text.size(), JSON_ALLOW_NUL, &error) : nullptr);
    if (json == nullptr) {
        throw std::runtime_error("a message cannot be written as JSON");
    }
    return json;
}

Json FrameToJson(std::size_t length) {
    const auto number = [](std::size_t value) {
        return Json(json_integer(static_cast<json_int_t>(value)));
    };
    Json frame(json_object());
    SetMember(frame.get(), "length", number(length));
    SetMember(frame.get(), "payload_type", number(kPayloadProtobuf));
    SetMember(frame.get(), "payload_length", number(length - kFrameHeaderSize));
    return frame;
}

}  // namespace kxapp
