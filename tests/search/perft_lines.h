// Leaf counts of the collection tests/data/perft.epd.
#pragma once

#include <fstream>

#include "board/reference.h"
#include "eval/threadblock.h"
#include "search/perft.h"

inline u64 CountLeaves(int depth) {
    ThreadBlock* tb = ThreadData[0];
    tb->nodes = 0;
    EXPECT_TRUE(Perft(tb, depth));
    return tb->nodes;
}

// Checks all counts up to `limit` leaves on the fresh position, and those up to `walked_limit` once
// more after random moves, all taken back, have shuffled its piece lists.
inline void ExpectPerftCounts(u64 limit, u64 walked_limit) {
    ResetEngine();
    std::mt19937 random(9);
    int checked = 0;
    std::ifstream in(DataFile("perft.epd"));
    for (std::string line; std::getline(in, line);) {
        Position* pos = SetGame(line);
        const std::string before = Describe(pos, false);
        for (u64 most : {limit, walked_limit}) {
            for (std::size_t at = line.find(';'); at < line.size(); at = line.find(';', at + 1)) {
                int depth = 0;
                unsigned long long leaves = 0;
                std::sscanf(line.c_str() + at, "; D%d %llu", &depth, &leaves);
                if (leaves > most) { continue; }
                EXPECT_EQ(CountLeaves(depth), leaves) << line << ' ' << depth;
                ++checked;
            }
            for (int made = 0; made < 150; ++made) {
                if (const Move m = RandomMove(pos, random)) { PlayGameMove(pos, m); }
            }
            while (pos->hist_count > 0) { TakeBackGameMove(pos); }
        }
        EXPECT_EQ(Describe(pos, false), before) << line;
    }
    EXPECT_GT(checked, 1200);
}
