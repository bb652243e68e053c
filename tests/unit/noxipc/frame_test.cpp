// Frames to bytes and back.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "nox_frame.h"

namespace {

using noxipc::Encode;
using noxipc::Frame;
using noxipc::FrameDecoder;
using noxipc::FrameHeader;
using noxipc::Kind;
using Result = noxipc::FrameDecoder::Result;

std::string Bytes(const FrameHeader& header, const std::string& payload) {
    const auto bytes = Encode(header);
    return std::string(bytes.data(), bytes.size()) + payload;
}

std::string PayloadOf(const Frame& frame) {
    return {frame.payload.get(), frame.header.length};
}

// Feeds the bytes in pieces of that size; the frames that came out. `last` is the last result.
std::vector<Frame> Decode(const std::string& bytes, std::size_t piece, Result* last) {
    FrameDecoder decoder;
    std::vector<Frame> frames;
    for (std::size_t start = 0; start < bytes.size(); start += piece) {
        std::span<const char> rest(bytes.data() + start, std::min(piece, bytes.size() - start));
        do {
            Frame frame;
            *last = decoder.Feed(&rest, &frame);
            if (*last == Result::kFrame) {
                frames.push_back(std::move(frame));
            } else if (*last != Result::kNeedMore) {
                return frames;
            }
        } while (!rest.empty());
    }
    return frames;
}

Result FirstResult(const std::string& bytes) {
    FrameDecoder decoder;
    Frame frame;
    std::span<const char> rest(bytes);
    return decoder.Feed(&rest, &frame);
}

// A request's header, to be spoilt.
std::string GoodHeader() {
    return Bytes({Kind::kRequest, 1, 2, 0}, "");
}

TEST(Frame, HasThisHeader) {
    const auto bytes = Encode({Kind::kResponse, 0x01020304, 0x0a0b0c0d, 0x00a1b2c3});
    const char expected[] =
        "nxip\x01\x03\x00\x00"
        "\x04\x03\x02\x01"
        "\x0d\x0c\x0b\x0a"
        "\xc3\xb2\xa1\x00"
        "\x00\x00\x00\x00";
    EXPECT_EQ(std::string(expected, sizeof expected - 1), std::string(bytes.data(), bytes.size()));
}

TEST(Frame, OfEachKindIsDecoded) {
    const std::vector<FrameHeader> headers = {{Kind::kHello, 0, 0, 5},
                                              {Kind::kRequest, 1, 2, 5},
                                              {Kind::kResponse, 0xffffffff, 0xffffffff, 5},
                                              {Kind::kMessage, 1002, 0, 5}};
    for (const FrameHeader& header : headers) {
        Result last = Result::kMalformed;
        const auto frames = Decode(Bytes(header, "hello"), 1000, &last);
        ASSERT_EQ(1U, frames.size());
        EXPECT_EQ(header, frames[0].header);
        EXPECT_EQ("hello", PayloadOf(frames[0]));
    }
}

TEST(Frame, WithoutAPayloadIsComplete) {
    Result last = Result::kMalformed;
    const auto frames = Decode(GoodHeader(), 24, &last);
    ASSERT_EQ(1U, frames.size());
    ASSERT_NE(nullptr, frames[0].payload);
    EXPECT_EQ('\0', *frames[0].payload);
}

TEST(Frame, ComesOutWholeFromPiecesOfAnySize) {
    std::string bytes = Bytes({Kind::kHello, 0, 0, 6}, "client");
    bytes += Bytes({Kind::kRequest, 7, 1, 0}, "");
    bytes += Bytes({Kind::kRequest, 8, 2, 11}, "hello world");
    bytes += Bytes({Kind::kMessage, 9, 0, 3}, "end");
    for (std::size_t piece = 1; piece <= bytes.size(); ++piece) {
        Result last = Result::kMalformed;
        const auto frames = Decode(bytes, piece, &last);
        ASSERT_EQ(4U, frames.size()) << piece;
        EXPECT_EQ("client", PayloadOf(frames[0]));
        EXPECT_EQ("", PayloadOf(frames[1]));
        EXPECT_EQ("hello world", PayloadOf(frames[2]));
        EXPECT_EQ("end", PayloadOf(frames[3]));
    }
}

TEST(Frame, CutAnywhereIsUnfinished) {
    const std::string bytes = Bytes({Kind::kRequest, 7, 1, 5}, "hello");
    for (std::size_t length = 1; length < bytes.size(); ++length) {
        EXPECT_EQ(Result::kNeedMore, FirstResult(bytes.substr(0, length))) << length;
    }
}

TEST(Frame, PayloadIsAlignedAndFollowedByAZeroByte) {
    for (const std::size_t length : {1U, 2U, 3U, 7U, 8U, 1000U, 300000U}) {
        const std::string payload(length, 'x');
        Result last = Result::kMalformed;
        const auto frames = Decode(
            Bytes({Kind::kMessage, 0, 0, static_cast<uint32_t>(length)}, payload), 1000, &last);
        ASSERT_EQ(1U, frames.size());
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(frames[0].payload.get()) % 8);
        EXPECT_EQ('\0', frames[0].payload.get()[length]);
        EXPECT_EQ(payload, PayloadOf(frames[0]));
    }
}

TEST(Frame, WithAWrongByteInItsHeaderIsMalformed) {
    for (const std::size_t at : {0U, 1U, 2U, 3U, 4U, 6U, 7U, 20U, 21U, 22U, 23U}) {
        std::string bytes = GoodHeader();
        bytes[at] = static_cast<char>(bytes[at] ^ 1);
        EXPECT_EQ(Result::kMalformed, FirstResult(bytes)) << at;
    }
}

TEST(Frame, OfAnUnknownKindIsMalformed) {
    for (const int kind : {0, 5, 255}) {
        std::string bytes = GoodHeader();
        bytes[5] = static_cast<char>(kind);
        EXPECT_EQ(Result::kMalformed, FirstResult(bytes)) << kind;
    }
}

TEST(Frame, MayBeLongButNotTooLong) {
    EXPECT_EQ(Result::kNeedMore, FirstResult(Bytes({Kind::kRequest, 0, 0, 16U << 20U}, "")));
    EXPECT_EQ(Result::kMalformed, FirstResult(Bytes({Kind::kRequest, 0, 0, (16U << 20U) + 1}, "")));
    EXPECT_EQ(Result::kMalformed, FirstResult(Bytes({Kind::kResponse, 0, 0, 0xffffffff}, "")));
}

TEST(Frame, GreetingHasTheLengthOfAName) {
    EXPECT_EQ(Result::kNeedMore, FirstResult(Bytes({Kind::kHello, 0, 0, 64}, "")));
    EXPECT_EQ(Result::kMalformed, FirstResult(Bytes({Kind::kHello, 0, 0, 65}, "")));
    EXPECT_EQ(Result::kMalformed, FirstResult(Bytes({Kind::kHello, 0, 0, 0}, "")));
}

TEST(Frame, NumberThatItsKindDoesNotHaveIsMalformed) {
    EXPECT_EQ(Result::kMalformed, FirstResult(Bytes({Kind::kHello, 1, 0, 4}, "name")));
    EXPECT_EQ(Result::kMalformed, FirstResult(Bytes({Kind::kHello, 0, 1, 4}, "name")));
    EXPECT_EQ(Result::kMalformed, FirstResult(Bytes({Kind::kMessage, 1, 1, 0}, "")));
}

TEST(Frame, AfterAGoodOneAMalformedOneIsStillSeen) {
    std::string bytes = GoodHeader() + std::string(24, 'x');
    Result last = Result::kNeedMore;
    EXPECT_EQ(1U, Decode(bytes, 1000, &last).size());
    EXPECT_EQ(Result::kMalformed, last);
}

TEST(FrameDecoder, KnowsWhetherAFrameHasBegun) {
    FrameDecoder decoder;
    Frame frame;
    EXPECT_FALSE(decoder.InFrame());
    const std::string bytes = Bytes({Kind::kMessage, 1, 0, 2}, "ab");
    std::span<const char> first(bytes.data(), 1);
    EXPECT_EQ(Result::kNeedMore, decoder.Feed(&first, &frame));
    EXPECT_TRUE(decoder.InFrame());
    std::span<const char> rest(bytes.data() + 1, bytes.size() - 1);
    EXPECT_EQ(Result::kFrame, decoder.Feed(&rest, &frame));
    EXPECT_FALSE(decoder.InFrame());
}

TEST(FrameDecoder, TakesALongPayloadStraightIntoItsPlace) {
    constexpr std::size_t kLength = 3000000;
    FrameDecoder decoder;
    Frame frame;
    const std::string start = Bytes({Kind::kMessage, 1, 0, kLength}, "start");
    std::span<const char> bytes(start);
    ASSERT_EQ(Result::kNeedMore, decoder.Feed(&bytes, &frame));
    std::size_t have = 5;
    Result result = Result::kNeedMore;
    while (result == Result::kNeedMore) {
        const std::span<char> space = decoder.Space();
        if (space.empty()) {  // the last short piece
            const std::string end(kLength - have, 'e');
            std::span<const char> rest(end);
            result = decoder.Feed(&rest, &frame);
            break;
        }
        ASSERT_LE(have + space.size(), kLength);
        const std::size_t piece = std::min<std::size_t>(space.size(), 100000);
        std::memset(space.data(), 'm', piece);
        have += piece;
        result = decoder.Filled(piece, &frame);
    }
    ASSERT_EQ(Result::kFrame, result);
    EXPECT_EQ(kLength, frame.header.length);
    EXPECT_EQ("startm", PayloadOf(frame).substr(0, 6));
    EXPECT_EQ(kLength - 5, PayloadOf(frame).find_last_of("me") + 1 - 5);
    EXPECT_EQ('\0', frame.payload.get()[kLength]);
}

TEST(FrameDecoder, HasNoSpaceBetweenFramesAndForShortOnes) {
    FrameDecoder decoder;
    Frame frame;
    EXPECT_TRUE(decoder.Space().empty());
    const std::string bytes = Bytes({Kind::kMessage, 1, 0, 1000}, "x");
    std::span<const char> rest(bytes);
    ASSERT_EQ(Result::kNeedMore, decoder.Feed(&rest, &frame));
    EXPECT_TRUE(decoder.Space().empty());
}

// A header alone must not cost its sender's wish of memory.
TEST(FrameDecoder, DoesNotTrustTheDeclaredLength) {
    FrameDecoder decoder;
    Frame frame;
    const std::string bytes = Bytes({Kind::kMessage, 1, 0, 16U << 20U}, "");
    std::span<const char> rest(bytes);
    ASSERT_EQ(Result::kNeedMore, decoder.Feed(&rest, &frame));
    EXPECT_EQ(1U << 20U, decoder.Space().size());
}

// What the C library has of the system for this process, in use or not. Sanitizers tell nothing.
std::size_t HeapSize() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.arena + heap.hblkhd;
}

TEST(FrameDecoder, LeavesNothingOfALongPayloadToTheHeap) {
    const std::string bytes =
        Bytes({Kind::kMessage, 1, 0, 16U << 20U}, std::string(16U << 20U, 'x'));
    const std::size_t before = HeapSize();
    for (int i = 0; i < 3; ++i) {
        FrameDecoder decoder;
        Frame frame;
        std::span<const char> rest(bytes);
        ASSERT_EQ(Result::kFrame, decoder.Feed(&rest, &frame));
        EXPECT_TRUE(std::memcmp(frame.payload.get(), bytes.data() + bytes.size() - (16U << 20U),
                                16U << 20U) == 0);
        EXPECT_EQ('\0', frame.payload.get()[16U << 20U]);
    }
    EXPECT_LE(HeapSize(), before + (4U << 20U));
}

}  // namespace
