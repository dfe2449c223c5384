// Large blocks: their content, alignment and refusal.
#include "platform/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>

#include "support/engine.h"

namespace {

constexpr std::size_t HUGE_PAGE = std::size_t{2} << 20;

TEST(LargeBlock, IsZeroedAlignedAndWritableToItsEnd) {
    for (std::size_t bytes : {std::size_t{1}, HUGE_PAGE - 1, HUGE_PAGE, 3 * HUGE_PAGE + 123}) {
        auto* block = static_cast<unsigned char*>(AllocateLargeBlock(bytes));
        ASSERT_NE(block, nullptr) << bytes;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u) << bytes;
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(std::count(block, block + bytes, 0), std::ptrdiff_t(bytes)) << round;
            std::fill(block, block + bytes, 0xFF);
            ClearLargeBlock(block, bytes);
        }
        FreeLargeBlock(block, bytes);
    }
    FreeLargeBlock(nullptr, 100);
}

TEST(LargeBlock, IsRefusedWhenThereIsNoSuchMemory) {
    for (std::size_t bytes : {std::size_t{1} << 60, SIZE_MAX, SIZE_MAX - HUGE_PAGE}) {
        EXPECT_EQ(AllocateLargeBlock(bytes), nullptr) << bytes;
    }
}

TEST(MemoryLimit, IsTheSmallestOfTheControlGroupsThatHoldTheProgram) {
    const ScratchFolder folder;
    const char* const files[][2] = {{"memory.max", "max"},
                                    {"a/memory.max", "5000"},
                                    {"a/b/memory.max", "7000"},
                                    {"memory/memory.limit_in_bytes", "9000"},
                                    {"memory/c/memory.limit_in_bytes", "6000"}};
    std::filesystem::create_directories("tree/a/b");
    std::filesystem::create_directories("tree/memory/c");
    for (const auto& f : files) { std::ofstream(std::string("tree/") + f[0]) << f[1]; }
    const struct {
        const char* membership;
        u64 limit;
    } cases[] = {{"0::/a/b\n", 5000},
                 {"0::/\n", UINT64_MAX},
                 {"0::/elsewhere\n", UINT64_MAX},
                 {"5:cpu:/a\n4:memory:/c/d\n0::/a\n", 5000},
                 {"4:memory:/c\n", 6000},
                 {"4:memory:/x\n0::/", 9000},
                 {"nonsense\n0::ab", UINT64_MAX}};
    for (const auto& c : cases) {
        std::ofstream("membership") << c.membership;
        EXPECT_EQ(ControlGroupLimit("membership", "tree"), c.limit) << c.membership;
    }
    EXPECT_EQ(ControlGroupLimit("missing", "tree"), UINT64_MAX);
    EXPECT_GT(MemoryLimit(), u64{1} << 20);
}

}  // namespace
