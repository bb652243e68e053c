#include "common/listed.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>

#include <cstdint>

namespace kxapp {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::internal::WireFormatLite;

// False at a fault.
bool Count(google::protobuf::io::CodedInputStream& input, const Descriptor& type,
           std::size_t& count);

// The value of a field of the type, behind its tag.
bool CountValue(google::protobuf::io::CodedInputStream& input, const FieldDescriptor& field,
                std::uint32_t tag, std::size_t& count) {
    count += field.is_repeated() ? 1 : 0;
    if (WireFormatLite::GetTagWireType(tag) != WireFormatLite::WIRETYPE_LENGTH_DELIMITED) {
        return WireFormatLite::SkipField(&input, tag);
    }
    int length = 0;
    if (!input.ReadVarintSizeAsInt(&length)) {
        return false;
    }
    if (field.cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) {
        // Packed numbers have at least a byte each.
        count += field.is_packable() ? static_cast<std::size_t>(length) : 0;
        return input.Skip(length);
    }
    const auto outer = input.PushLimit(length);
    const bool sound = Count(input, *field.message_type(), count);
    input.PopLimit(outer);
    return sound;
}

bool Count(google::protobuf::io::CodedInputStream& input, const Descriptor& type,
           std::size_t& count) {
    while (const std::uint32_t tag = input.ReadTag()) {
        const FieldDescriptor* field =
            type.FindFieldByNumber(WireFormatLite::GetTagFieldNumber(tag));
        if (field != nullptr ? !CountValue(input, *field, tag, count)
                             : !WireFormatLite::SkipField(&input, tag)) {
            return false;
        }
    }
    return input.ConsumedEntireMessage();
}

}  // namespace

std::size_t CountListed(std::string_view bytes, const Descriptor& type) {
    google::protobuf::io::CodedInputStream input(
        reinterpret_cast<const std::uint8_t*>(bytes.data()), static_cast<int>(bytes.size()));
    std::size_t count = 0;
    (void)Count(input, type, count);
    return count;
}

}  // namespace kxapp
