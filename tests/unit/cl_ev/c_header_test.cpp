// The interface as a C program sees it.
#include <gtest/gtest.h>

extern "C" int CountOfFunctionsSeenFromC(void);

TEST(CHeader, DeclaresEveryFunctionForC) {
    EXPECT_EQ(5, CountOfFunctionsSeenFromC());
}
