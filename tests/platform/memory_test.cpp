// Large blocks: their content, alignment and refusal.
#include "platform/memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "support/engine.h"

namespace {

TEST(LargeBlock, IsZeroedAlignedAndWritableToItsEnd) {
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{5000}, (std::size_t{2} << 20) - 1,
                                    std::size_t{2} << 20, (std::size_t{7} << 20) + 123}) {
        auto* block = static_cast<unsigned char*>(AllocateLargeBlock(bytes));
        ASSERT_NE(block, nullptr) << bytes;
        const std::size_t alignment = bytes >= (std::size_t{2} << 20) ? std::size_t{2} << 20 : 64;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u) << bytes;
        for (std::size_t i = 0; i < bytes; i += 61) { ASSERT_EQ(block[i], 0) << bytes; }
        std::memset(block, 0xFF, bytes);
        ClearLargeBlock(block, bytes);
        for (std::size_t i = 0; i < bytes; i += 61) { ASSERT_EQ(block[i], 0) << bytes; }
        block[bytes - 1] = 1;
        FreeLargeBlock(block, bytes);
    }
    FreeLargeBlock(nullptr, 100);
}

TEST(LargeBlock, IsRefusedWhenThereIsNoSuchMemory) {
    EXPECT_EQ(AllocateLargeBlock(std::size_t{1} << 60), nullptr);
    EXPECT_EQ(AllocateLargeBlock(SIZE_MAX), nullptr);
    EXPECT_EQ(AllocateLargeBlock(SIZE_MAX - (std::size_t{2} << 20)), nullptr);
}

TEST(MemoryLimit, IsTheSmallestOfTheControlGroupsThatHoldTheProgram) {
    const ScratchFolder folder;
    const struct {
        const char* file;
        const char* content;
    } files[] = {{"memory.max", "max\n"},
                 {"a/memory.max", "5000\n"},
                 {"a/b/memory.max", "7000\n"},
                 {"memory/memory.limit_in_bytes", "9000\n"},
                 {"memory/c/memory.limit_in_bytes", "6000\n"}};
    for (const char* group : {"tree/a/b", "tree/memory/c"}) {
        std::filesystem::create_directories(group);
    }
    for (const auto& f : files) { std::ofstream(std::string("tree/") + f.file) << f.content; }
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
