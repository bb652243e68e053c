// A message in memory: its packed bytes, and where its entries begin, sorted by key.
#ifndef KX_XMSG_MESSAGE_H
#define KX_XMSG_MESSAGE_H

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "xmsg.h"

// The packed form is the only form, so packing is a copy and a value lies where a reader can point
// to. Members throw std::bad_alloc; the C functions turn that into their result.
//
// Behind the `size_` bytes of the message there are always at least max(size_, tail_) zero bytes
// (see xmsg_unpack in xmsg.h).
struct xmsg {
    // `name` has at most 65535 bytes.
    static std::unique_ptr<xmsg> New(std::string_view name);

    // Null when the `length` bytes at `data` do not begin with a sound message.
    static std::unique_ptr<xmsg> Unpack(const char* data, std::uint32_t length);

    // 0, EEXIST or EMSGSIZE; unchanged unless 0.
    int Add(std::string_view key, std::string_view value);

    // The value of a key; a zero byte follows it.
    std::optional<std::string_view> Find(std::string_view key) const;

    // Valid until the next Add.
    std::string_view Packed() const { return {bytes_.get(), size_}; }

  private:
    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };
    // From calloc: fresh memory is zero without being touched, so a long tail costs nothing.
    using Bytes = std::unique_ptr<char[], Free>;

    static Bytes Allocate(std::uint64_t size);
    std::uint64_t BytesFor(std::uint64_t size) const;
    [[nodiscard]] Bytes MakeRoom(std::uint64_t size);
    std::string_view KeyAt(std::uint32_t offset) const;
    std::vector<std::uint32_t>::const_iterator LowerBound(std::string_view key) const;
    bool SortByKey();

    Bytes bytes_;
    std::uint64_t capacity_ = 0;
    std::uint32_t size_ = 0;
    std::uint32_t tail_ = 0;
    std::vector<std::uint32_t> by_key_;  // offsets of the entries, in the order of their keys
};

#endif  // KX_XMSG_MESSAGE_H
