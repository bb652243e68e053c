// Taking a text apart, where the document's tests do not see it.
#include "ini_text.h"

#include <gtest/gtest.h>

namespace {

using kxebase::TakeApart;
using kxebase::TrimBlanks;

}  // namespace

TEST(TrimBlanks, TakesBlanksOfEitherEnd) {
    EXPECT_EQ(TrimBlanks(" \t\r\na b\n\r\t "), "a b");
    EXPECT_EQ(TrimBlanks(" \t"), "");
    EXPECT_EQ(TrimBlanks(""), "");
}

TEST(TakeApart, AnEmptyTextHasNothing) {
    const auto parts = TakeApart("");
    EXPECT_FALSE(parts.byte_order_mark);
    EXPECT_EQ(parts.entries, "");
    EXPECT_EQ(parts.end_comment, "");
}

TEST(TakeApart, TheCommentBehindTheLastEntryStandsAlone) {
    const auto parts = TakeApart("; a\nx=1\n\n; b\n\n; c\n\n");
    EXPECT_EQ(parts.entries, "; a\nx=1\n");
    EXPECT_EQ(parts.end_comment, "; b\n\n; c\n");
}

TEST(TakeApart, SeveralByteOrderMarksCountAsOne) {
    const auto parts = TakeApart("\xEF\xBB\xBF\xEF\xBB\xBFx=1");
    EXPECT_TRUE(parts.byte_order_mark);
    EXPECT_EQ(parts.entries, "x=1\n");
}

TEST(TakeApart, TheCommentOfARepeatedSectionGoesToWhatFollows) {
    EXPECT_EQ(TakeApart("[a]\nx=1\n; c\n[a]\ny=2\n").entries, "[a]\nx=1\n[a]\n; c\ny=2\n");
}

// At the top of a saved file it would be taken for the mark of the file.
TEST(TakeApart, AKeyDoesNotBeginWithAByteOrderMark) {
    EXPECT_EQ(TakeApart("x=1\n\xEF\xBB\xBFy=2\nz=3\n").entries, "x=1\n; \xEF\xBB\xBFy=2\nz=3\n");
}
