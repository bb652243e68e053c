// The interfaces as a C program sees them.
#include <gtest/gtest.h>

extern "C" int CountOfFunctionsSeenFromC(void);

TEST(CHeader, DeclaresEveryFunctionForC) {
    EXPECT_EQ(13, CountOfFunctionsSeenFromC());
}
