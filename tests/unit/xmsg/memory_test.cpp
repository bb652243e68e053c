// Memory that runs short: the result says so, and what was there is unchanged.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <new>
#include <string>

#include "support.h"

namespace {

// How many more allocations succeed; negative for all.
thread_local int room = -1;

bool IsShort() {
    if (room < 0) {
        return false;
    }
    return room-- == 0;
}

// Runs `work` with room for no allocation, for one, for two and so on until it succeeds. Returns
// how often it failed.
template <class Work>
int FailuresBeforeSuccess(Work work) {
    for (int failures = 0; failures < 100; ++failures) {
        room = failures;
        const bool succeeded = work();
        room = -1;
        if (succeeded) {
            return failures;
        }
    }
    return -1;
}

}  // namespace

// The linker puts these in front of calloc and operator new.
extern "C" {

void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __real__Znwm(std::size_t size);
void* __wrap__Znwm(std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size) {
    if (IsShort()) {
        room = 0;  // it stays short until the test says otherwise
        return nullptr;
    }
    return __real_calloc(count, size);
}

void* __wrap__Znwm(std::size_t size) {
    if (IsShort()) {
        room = 0;
        throw std::bad_alloc();
    }
    return __real__Znwm(size);
}

}  // extern "C"

TEST(XmsgMemory, NewReturnsNull) {
    Message message;
    EXPECT_EQ(FailuresBeforeSuccess([&] {
                  message.reset(xmsg_new("m"));
                  return message != nullptr;
              }),
              2);  // the message and its bytes
    EXPECT_EQ(Pack(message), Packed("m", 0, ""));
}

TEST(XmsgMemory, UnpackReturnsNull) {
    const std::string bytes = Packed("m", 1, Entry("key", "value"));
    Message message;
    EXPECT_EQ(
        FailuresBeforeSuccess([&] {
            message.reset(xmsg_unpack(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
            return message != nullptr;
        }),
        3);  // the entries, the message and its bytes
    EXPECT_EQ(Get(message, "key"), "value");
}

TEST(XmsgMemory, AddFailsAndChangesNothing) {
    const Message message = New("m");
    ASSERT_EQ(Add(message, "first", "value"), 0);
    const std::string before = Pack(message);
    const std::string large(1000, 'v');
    int result = -1;
    const int failures = FailuresBeforeSuccess([&] {
        result = xmsg_add(message.get(), "key", 3, large.data(), 1000);
        const int kept = room;
        room = -1;
        const bool unchanged = Pack(message) == before && Get(message, "key") == std::nullopt;
        room = kept;
        EXPECT_TRUE(result == 0 || (result == ENOMEM && unchanged)) << result;
        return result == 0;
    });
    EXPECT_EQ(failures, 2);  // the bytes and the list of entries
    EXPECT_EQ(Pack(message), Packed("m", 2, Entry("first", "value") + Entry("key", large)));
}
