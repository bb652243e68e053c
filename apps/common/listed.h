// How much a message lists, told before it is decoded.
#ifndef KX_APPS_COMMON_LISTED_H
#define KX_APPS_COMMON_LISTED_H

#include <google/protobuf/descriptor.h>

#include <cstddef>
#include <string_view>

namespace kxapp {

// An upper bound of the entries that all lists (repeated fields) of the message have together. It
// takes no memory, however much that is. Bytes that are no message are counted up to the fault.
std::size_t CountListed(std::string_view bytes, const google::protobuf::Descriptor& type);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_LISTED_H
