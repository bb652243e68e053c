// Both schema files, spelt out by hand: what manager and other modules rely on.
#ifndef KXEPINFO_TESTS_UNIT_PROTOBUF_SCHEMA_TABLE_H
#define KXEPINFO_TESTS_UNIT_PROTOBUF_SCHEMA_TABLE_H

#include <map>
#include <string>
#include <vector>

// By name: of a message its fields as "NUMBER [repeated] TYPE NAME" in the order of their numbers,
// of an enum its values as "NAME = NUMBER".
using Table = std::map<std::string, std::vector<std::string>>;

extern const Table kEpinfoMessages;
extern const Table kEpinfoEnums;
extern const Table kRebootMessages;
extern const Table kRebootEnums;

#endif  // KXEPINFO_TESTS_UNIT_PROTOBUF_SCHEMA_TABLE_H
