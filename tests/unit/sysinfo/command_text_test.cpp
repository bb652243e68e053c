#include "collectors/command_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

CommandChunk Chunk(const std::string& text) {
    CommandChunk chunk{};
    std::copy(text.begin(), text.end(), chunk.begin());
    return chunk;
}

}  // namespace

TEST(CommandText, BeginsEmpty) {
    char out[4] = {'x', 'x', 'x', 'x'};
    const CommandText text(out, sizeof out);
    EXPECT_STREQ(out, "");
}

TEST(CommandText, PiecesFollowEachOther) {
    char out[64] = {};
    CommandText text(out, sizeof out);
    EXPECT_TRUE(text.Append(Chunk("one ")));
    EXPECT_TRUE(text.Append(Chunk("two")));
    EXPECT_STREQ(out, "one two");
}

TEST(CommandText, AFullPieceIsTakenWhole) {
    char out[64] = {};
    CommandText text(out, sizeof out);
    const std::string full(kCommandReadSize, 'a');
    EXPECT_TRUE(text.Append(Chunk(full)));
    EXPECT_TRUE(text.Append(Chunk(full)));
    EXPECT_EQ(out, full + full);
}

TEST(CommandText, AnEmptyPieceAddsNothing) {
    char out[1] = {'x'};
    CommandText text(out, sizeof out);
    EXPECT_TRUE(text.Append(Chunk("")));
    EXPECT_STREQ(out, "");
}

TEST(CommandText, AZeroByteCutsItsPieceAlone) {
    char out[64] = {};
    CommandText text(out, sizeof out);
    EXPECT_TRUE(text.Append(Chunk({'a', '\0', 'b'})));
    EXPECT_TRUE(text.Append(Chunk("c")));
    EXPECT_STREQ(out, "ac");
}

TEST(CommandText, HoldsOneCharacterLessThanTheBuffer) {
    char out[4] = {};
    CommandText text(out, sizeof out);
    EXPECT_TRUE(text.Append(Chunk("abc")));
    EXPECT_STREQ(out, "abc");
    EXPECT_FALSE(text.Append(Chunk("d")));
    EXPECT_STREQ(out, "abc");
}

TEST(CommandText, APieceThatDoesNotFitIsCutAndRefused) {
    char out[6] = {'x', 'x', 'x', 'x', 'x', '!'};
    CommandText text(out, 5);
    EXPECT_TRUE(text.Append(Chunk("ab")));
    EXPECT_FALSE(text.Append(Chunk("cde")));
    EXPECT_STREQ(out, "abcd");
    EXPECT_EQ(out[5], '!');
}

TEST(CommandText, StaysFullAfterARefusal) {
    char out[4] = {};
    CommandText text(out, sizeof out);
    EXPECT_FALSE(text.Append(Chunk("abcdef")));
    EXPECT_FALSE(text.Append(Chunk("g")));
    EXPECT_STREQ(out, "abc");
}

TEST(CommandText, TheLastCharacterIsDroppedWhateverItIs) {
    char out[8] = {};
    CommandText text(out, sizeof out);
    EXPECT_TRUE(text.Append(Chunk("64\n")));
    text.DropLastCharacter();
    EXPECT_STREQ(out, "64");
    text.DropLastCharacter();
    EXPECT_STREQ(out, "6");
}

TEST(CommandText, AnEmptyTextHasNoCharacterToDrop) {
    char out[2] = {'x', 'x'};
    CommandText text(out, sizeof out);
    text.DropLastCharacter();
    EXPECT_STREQ(out, "");
}

TEST(CommandText, IsEmptyOnceCleared) {
    char out[4] = {};
    CommandText text(out, sizeof out);
    EXPECT_FALSE(text.Append(Chunk("abcdef")));
    text.Clear();
    EXPECT_STREQ(out, "");
    EXPECT_TRUE(text.Append(Chunk("xyz")));
    EXPECT_STREQ(out, "xyz");
}
