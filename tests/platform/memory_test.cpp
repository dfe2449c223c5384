// Large blocks: their content, alignment and refusal.
#include "platform/memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

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

}  // namespace
