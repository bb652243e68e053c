#include "message.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "format.h"

using namespace xmsg_format;

xmsg::Bytes xmsg::Allocate(std::uint64_t size) {
    Bytes bytes(static_cast<char*>(std::calloc(size, 1)));
    if (bytes == nullptr) {
        throw std::bad_alloc();
    }
    return bytes;
}

// What a message of `size` bytes needs with its zero bytes.
std::uint64_t xmsg::BytesFor(std::uint64_t size) const {
    return size + std::max<std::uint64_t>(size, tail_);
}

// Makes room for a message of `size` bytes. Returns the bytes that were replaced, if they were: the
// caller keeps them as long as something it was given may lie in them.
xmsg::Bytes xmsg::MakeRoom(std::uint64_t size) {
    if (BytesFor(size) <= capacity_) {
        return nullptr;
    }
    // Twice what is needed, so that a message of n entries is copied a few times and not n times.
    const std::uint64_t capacity = BytesFor(2 * size);
    Bytes bytes = Allocate(capacity);
    if (size_ > 0) {
        std::memcpy(bytes.get(), bytes_.get(), size_);
    }
    capacity_ = capacity;
    return std::exchange(bytes_, std::move(bytes));
}

std::unique_ptr<xmsg> xmsg::New(std::string_view name) {
    auto message = std::make_unique<xmsg>();
    const auto size = static_cast<std::uint32_t>(kHeaderSize + name.size() + 1);
    (void)message->MakeRoom(size);
    char* const bytes = message->bytes_.get();
    std::memcpy(bytes, kMagic.data(), kMagic.size());
    WriteU16(bytes + kVersionOffset, kVersion);
    WriteU16(bytes + kNameLengthOffset, static_cast<std::uint16_t>(name.size()));
    WriteU32(bytes + kTotalOffset, size);
    std::copy(name.begin(), name.end(), bytes + kHeaderSize);
    message->size_ = size;
    return message;
}

std::unique_ptr<xmsg> xmsg::Unpack(const char* data, std::uint32_t length) {
    const std::optional<std::uint32_t> total = ReadTotal(data, length);
    if (!total) {
        return nullptr;
    }
    std::optional<std::vector<std::uint32_t>> entries = ReadEntries(data, *total);
    if (!entries) {
        return nullptr;
    }
    auto message = std::make_unique<xmsg>();
    message->tail_ = std::min(length, XMSG_MAX_SIZE);
    message->capacity_ = message->BytesFor(*total);
    message->bytes_ = Allocate(message->capacity_);
    std::memcpy(message->bytes_.get(), data, *total);
    message->size_ = *total;
    message->by_key_ = std::move(*entries);
    return message->SortByKey() ? std::move(message) : nullptr;
}

std::string_view xmsg::KeyAt(std::uint32_t offset) const {
    return EntryAt(bytes_.get(), offset).key;
}

// False when a key occurs twice. Sorting keeps a message of very many small keys cheap to check.
bool xmsg::SortByKey() {
    std::sort(by_key_.begin(), by_key_.end(),
              [this](std::uint32_t a, std::uint32_t b) { return KeyAt(a) < KeyAt(b); });
    const auto same = [this](std::uint32_t a, std::uint32_t b) { return KeyAt(a) == KeyAt(b); };
    return std::adjacent_find(by_key_.begin(), by_key_.end(), same) == by_key_.end();
}

std::vector<std::uint32_t>::const_iterator xmsg::LowerBound(std::string_view key) const {
    return std::lower_bound(
        by_key_.begin(), by_key_.end(), key,
        [this](std::uint32_t offset, std::string_view wanted) { return KeyAt(offset) < wanted; });
}

int xmsg::Add(std::string_view key, std::string_view value) {
    const auto position = LowerBound(key);
    if (position != by_key_.end() && KeyAt(*position) == key) {
        return EEXIST;
    }
    const std::uint64_t size =
        std::uint64_t{size_} + kEntryHeaderSize + key.size() + value.size() + 1;
    if (size > XMSG_MAX_SIZE) {
        return EMSGSIZE;
    }
    const Bytes replaced = MakeRoom(size);  // key and value may lie in it
    by_key_.insert(position, size_);

    // Nothing fails from here on. The zero byte behind the value is there already.
    char* const entry = bytes_.get() + size_;
    WriteU16(entry, static_cast<std::uint16_t>(key.size()));
    WriteU32(entry + kEntryValueLengthOffset, static_cast<std::uint32_t>(value.size()));
    std::copy(key.begin(), key.end(), entry + kEntryHeaderSize);
    std::copy(value.begin(), value.end(), entry + kEntryHeaderSize + key.size());
    size_ = static_cast<std::uint32_t>(size);
    WriteU32(bytes_.get() + kTotalOffset, size_);
    WriteU32(bytes_.get() + kCountOffset, static_cast<std::uint32_t>(by_key_.size()));
    return 0;
}

std::optional<std::string_view> xmsg::Find(std::string_view key) const {
    const auto position = LowerBound(key);
    if (position == by_key_.end() || KeyAt(*position) != key) {
        return std::nullopt;
    }
    return EntryAt(bytes_.get(), *position).value;
}
