// Leaf counts of the collection tests/data/perft.epd.
#pragma once

#include <gtest/gtest.h>

#include <fstream>

#include "board/reference.h"
#include "eval/threadblock.h"
#include "support/engine.h"

struct PerftLine {
    std::string fen;
    std::vector<std::pair<int, u64>> counts;  // depth and leaves
};

inline std::vector<PerftLine> ReadPerftLines() {
    std::vector<PerftLine> lines;
    std::ifstream in(DataFile("perft.epd"));
    for (std::string text; std::getline(in, text);) {
        PerftLine line;
        std::size_t end = text.find(';');
        line.fen = text.substr(0, end);
        while (end != std::string::npos) {
            int depth = 0;
            unsigned long long leaves = 0;
            if (std::sscanf(text.c_str() + end, "; D%d %llu", &depth, &leaves) == 2)
                line.counts.emplace_back(depth, leaves);
            end = text.find(';', end + 1);
        }
        if (!line.counts.empty()) lines.push_back(line);
    }
    return lines;
}

inline u64 CountLeaves(int depth) {
    ThreadBlock* tb = ThreadData[0];
    tb->nodes = 0;
    EXPECT_EQ(Perft(tb, tb->pos.side, 1, depth), 1);
    return tb->nodes;
}

// Checks all counts up to `limit` leaves on the fresh position, and those up to `walked_limit` once
// more after random walks have shuffled its piece lists.
inline void ExpectPerftCounts(u64 limit, u64 walked_limit) {
    ResetEngine();
    std::mt19937 random(9);
    const std::vector<PerftLine> lines = ReadPerftLines();
    EXPECT_GT(lines.size(), 170u);
    for (const PerftLine& line : lines) {
        Position* pos = SetGame(line.fen);
        const std::string before = Describe(pos, false);
        for (const auto& [depth, leaves] : line.counts) {
            if (leaves > limit) continue;
            EXPECT_EQ(CountLeaves(depth), leaves) << line.fen << ' ' << depth;
        }
        for (int walk = 0; walk < 5; ++walk) ShufflePieceLists(pos, 30, random);
        for (const auto& [depth, leaves] : line.counts) {
            if (leaves > walked_limit) continue;
            EXPECT_EQ(CountLeaves(depth), leaves) << line.fen << ' ' << depth << " walked";
        }
        EXPECT_EQ(Describe(pos, false), before) << line.fen;
    }
}
