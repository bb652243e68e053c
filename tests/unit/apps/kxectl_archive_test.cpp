#include "kxectl/archive.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <stdexcept>

using kxectl::TarGz;

namespace {

std::string Unpacked(std::string packed) {
    std::string text(std::size_t{1} << 20U, '\0');
    z_stream stream{};
    EXPECT_EQ(inflateInit2(&stream, 15 + 16), Z_OK);
    stream.next_in = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
    text.resize(stream.total_out);
    EXPECT_EQ(inflateEnd(&stream), Z_OK);
    return text;
}

}  // namespace

TEST(Archive, HasAHeaderAndWholeBlocksForEachEntry) {
    const std::string tar = Unpacked(TarGz({{"a/b", "hello"}, {"c", ""}}, 1));
    ASSERT_EQ(tar.size(), 5U * 512U);
    EXPECT_EQ(tar.substr(0, 4), std::string("a/b\0", 4));
    EXPECT_EQ(tar.substr(100, 8), std::string("0000600\0", 8));
    EXPECT_EQ(tar.substr(124, 12), std::string("00000000005\0", 12));
    EXPECT_EQ(tar.substr(136, 12), std::string("00000000001\0", 12));
    EXPECT_EQ(tar.substr(156, 1), "0");
    EXPECT_EQ(tar.substr(257, 8), std::string("ustar\0"
                                              "00",
                                              8));
    EXPECT_EQ(tar.substr(512, 6), std::string("hello\0", 6));
    EXPECT_EQ(tar.substr(1024, 2), std::string("c\0", 2));
    EXPECT_EQ(tar.substr(1536), std::string(1024, '\0'));
}

TEST(Archive, TakesNamesOfUpTo99Bytes) {
    EXPECT_EQ(Unpacked(TarGz({{std::string(99, 'x'), ""}}, 0)).substr(0, 100),
              std::string(99, 'x') + '\0');
    EXPECT_THROW(TarGz({{std::string(100, 'x'), ""}}, 0), std::invalid_argument);
    EXPECT_THROW(TarGz({{"", ""}}, 0), std::invalid_argument);
}

TEST(Archive, MayBeEmpty) {
    EXPECT_EQ(Unpacked(TarGz({}, 0)), std::string(1024, '\0'));
}
