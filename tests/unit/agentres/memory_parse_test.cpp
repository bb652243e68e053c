#include <gtest/gtest.h>

#include <string>

#include "collectors/agentres_parse.h"

namespace {

// Tests the line for every name; returns the labels of those found.
std::string Parse(const char* line, MemoryFigures& figures) {
    std::string labels;
    for (const MemoryField& field : kMemoryFields) {
        if (ParseMemoryLine(line, field, figures)) {
            labels += labels.empty() ? "" : " ";
            labels += field.label;
        }
    }
    return labels;
}

void ExpectMemory(const MemoryFigures& figures, uint32_t used, uint32_t total) {
    uint32_t found_used = 7;
    uint32_t found_total = 7;
    EXPECT_TRUE(ComputeMemory(figures, found_used, found_total));
    EXPECT_EQ(found_used, used);
    EXPECT_EQ(found_total, total);
}

void ExpectNoMemory(const MemoryFigures& figures) {
    uint32_t used = 7;
    uint32_t total = 7;
    EXPECT_FALSE(ComputeMemory(figures, used, total));
    EXPECT_EQ(used, 0U);
    EXPECT_EQ(total, 0U);
}

}  // namespace

TEST(MemoryLine, EachNameFillsItsFigure) {
    MemoryFigures figures;
    EXPECT_EQ(Parse("MemTotal:       8062440 kB\n", figures), "total");
    EXPECT_EQ(Parse("MemFree:         123456 kB\n", figures), "free");
    EXPECT_EQ(Parse("MemAvailable:   4000000 kB\n", figures), "available");
    EXPECT_EQ(Parse("Buffers:           2222 kB\n", figures), "buffers");
    EXPECT_EQ(Parse("Cached:           33333 kB\n", figures), "Cached");
    EXPECT_EQ(figures.total, 8062440U);
    EXPECT_EQ(figures.free, 123456U);
    EXPECT_EQ(figures.available, 4000000U);
    EXPECT_EQ(figures.buffers, 2222U);
    EXPECT_EQ(figures.cached, 33333U);
}

TEST(MemoryLine, OtherLinesAreNotFound) {
    MemoryFigures figures;
    EXPECT_EQ(Parse("SwapTotal:      1000 kB\n", figures), "");
    EXPECT_EQ(Parse("\n", figures), "");
    EXPECT_EQ(Parse("", figures), "");
}

TEST(MemoryLine, SwapCachedIsFoundAsCachedButLeavesTheFigure) {
    MemoryFigures figures;
    EXPECT_EQ(Parse("Cached: 33333 kB\n", figures), "Cached");
    EXPECT_EQ(Parse("SwapCached:        44444 kB\n", figures), "Cached");
    EXPECT_EQ(figures.cached, 33333U);
}

TEST(MemoryLine, NameInsideALineIsFoundButLeavesTheFigure) {
    MemoryFigures figures;
    EXPECT_EQ(Parse("  MemTotal: 5 kB\n", figures), "total");
    EXPECT_EQ(figures.total, 0U);
}

TEST(MemoryLine, SeveralNamesInALineAreFoundInTheirOrder) {
    MemoryFigures figures;
    EXPECT_EQ(Parse("Buffers: 5 kB Cached: 6 kB MemTotal: 7 kB\n", figures),
              "total buffers Cached");
    EXPECT_EQ(figures.buffers, 5U);
    EXPECT_EQ(figures.cached, 0U);
    EXPECT_EQ(figures.total, 0U);
}

TEST(MemoryLine, TextInsteadOfANumberLeavesTheFigure) {
    MemoryFigures figures;
    figures.free = 9;
    EXPECT_EQ(Parse("MemFree: many kB\n", figures), "free");
    EXPECT_EQ(figures.free, 9U);
}

TEST(MemoryLine, TheUnitDoesNotMatter) {
    MemoryFigures figures;
    EXPECT_EQ(Parse("MemFree: 12 MB\n", figures), "free");
    EXPECT_EQ(figures.free, 12U);
}

TEST(Memory, AvailableMemoryDecidesWhenItIsKnown) {
    ExpectMemory({.total = 1000, .free = 100, .available = 400, .buffers = 50, .cached = 60}, 600,
                 1000);
}

TEST(Memory, OlderKernelsSubtractFreeBuffersAndCache) {
    ExpectMemory({.total = 1000, .free = 100, .buffers = 50, .cached = 60}, 790, 1000);
}

TEST(Memory, AllAvailableIsNothingUsed) {
    ExpectMemory({.total = 1000, .available = 1000}, 0, 1000);
}

TEST(Memory, AllFreeIsNothingUsed) {
    ExpectMemory({.total = 1000, .free = 900, .buffers = 60, .cached = 40}, 0, 1000);
}

TEST(Memory, NoTotalGivesNone) {
    ExpectNoMemory({.available = 5});
    ExpectNoMemory({});
}

TEST(Memory, MoreAvailableThanThereIsGivesNone) {
    ExpectNoMemory({.total = 1000, .free = 1, .available = 1001});
}

TEST(Memory, MoreFreeThanThereIsGivesNone) {
    ExpectNoMemory({.total = 1000, .free = 900, .buffers = 60, .cached = 41});
}

TEST(Memory, ResultsAreCutToTheirLow32Bits) {
    ExpectMemory({.total = 0x100000010, .available = 8}, 8, 0x10);
    ExpectMemory({.total = 0x100000010, .free = 1, .buffers = 2, .cached = 3}, 0xA, 0x10);
    ExpectMemory({.total = 0x200000000, .available = 1}, 0xFFFFFFFF, 0);
}
