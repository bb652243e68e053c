// Every message, field and enum value of both schema files against a table.
#include <gmock/gmock.h>
#include <google/protobuf/descriptor.h>

#include "epinfo.pb.h"
#include "reboot.pb.h"
#include "schema_table.h"

using google::protobuf::Descriptor;
using google::protobuf::EnumDescriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::FileDescriptor;

namespace {

std::string TypeName(const FieldDescriptor& field) {
    if (field.type() == FieldDescriptor::TYPE_MESSAGE) {
        return field.message_type()->name();
    }
    if (field.type() == FieldDescriptor::TYPE_ENUM) {
        return field.enum_type()->name();
    }
    return field.type_name();
}

std::vector<std::string> Fields(const Descriptor& message) {
    std::map<int, std::string> by_number;
    for (int i = 0; i < message.field_count(); ++i) {
        const FieldDescriptor& field = *message.field(i);
        by_number[field.number()] = std::to_string(field.number()) +
                                    (field.is_repeated() ? " repeated " : " ") + TypeName(field) +
                                    " " + field.name();
    }
    std::vector<std::string> fields;
    for (const auto& [number, text] : by_number) {
        fields.push_back(text);
    }
    return fields;
}

std::vector<std::string> Values(const EnumDescriptor& type) {
    std::vector<std::string> values;
    for (int i = 0; i < type.value_count(); ++i) {
        values.push_back(type.value(i)->name() + " = " + std::to_string(type.value(i)->number()));
    }
    return values;
}

Table Messages(const FileDescriptor& file) {
    Table table;
    for (int i = 0; i < file.message_type_count(); ++i) {
        table[file.message_type(i)->name()] = Fields(*file.message_type(i));
    }
    return table;
}

Table Enums(const FileDescriptor& file) {
    Table table;
    for (int i = 0; i < file.enum_type_count(); ++i) {
        table[file.enum_type(i)->name()] = Values(*file.enum_type(i));
    }
    return table;
}

void ExpectSame(const Table& found, const Table& expected) {
    EXPECT_THAT(found, ::testing::UnorderedElementsAreArray(expected));
    for (const auto& [name, lines] : expected) {
        ASSERT_EQ(found.count(name), 1U) << name;
        EXPECT_EQ(found.at(name), lines) << name;
    }
}

const FileDescriptor& EpinfoFile() {
    return *bf_kxepinfo::epinfo::descriptor()->file();
}

const FileDescriptor& RebootFile() {
    return *pb_reboot::reboot_info::descriptor()->file();
}

// No message within a message, no enum within a message, no oneof, no extension, no explicit
// presence: the tables would not show them.
void ExpectPlain(const FileDescriptor& file) {
    EXPECT_EQ(file.syntax(), FileDescriptor::SYNTAX_PROTO3);
    EXPECT_EQ(file.extension_count(), 0);
    EXPECT_EQ(file.service_count(), 0);
    EXPECT_EQ(file.dependency_count(), 0);
    for (int i = 0; i < file.message_type_count(); ++i) {
        const Descriptor& message = *file.message_type(i);
        EXPECT_EQ(message.nested_type_count(), 0) << message.name();
        EXPECT_EQ(message.enum_type_count(), 0) << message.name();
        EXPECT_EQ(message.oneof_decl_count(), 0) << message.name();
    }
}

}  // namespace

TEST(EpinfoSchema, HasItsPackage) {
    EXPECT_EQ(EpinfoFile().package(), "bf_kxepinfo");
    EXPECT_EQ(EpinfoFile().name(), "epinfo.proto");
}

TEST(EpinfoSchema, IsPlain) {
    ExpectPlain(EpinfoFile());
}

TEST(EpinfoSchema, HasExactlyTheseMessages) {
    ExpectSame(Messages(EpinfoFile()), kEpinfoMessages);
}

TEST(EpinfoSchema, HasExactlyTheseEnums) {
    ExpectSame(Enums(EpinfoFile()), kEpinfoEnums);
}

TEST(RebootSchema, HasItsPackage) {
    EXPECT_EQ(RebootFile().package(), "pb_reboot");
    EXPECT_EQ(RebootFile().name(), "reboot.proto");
}

TEST(RebootSchema, IsPlain) {
    ExpectPlain(RebootFile());
}

TEST(RebootSchema, HasExactlyTheseMessages) {
    ExpectSame(Messages(RebootFile()), kRebootMessages);
}

TEST(RebootSchema, HasExactlyTheseEnums) {
    ExpectSame(Enums(RebootFile()), kRebootEnums);
}
