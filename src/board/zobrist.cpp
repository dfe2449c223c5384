// Generation of the Zobrist keys from one fixed random sequence.
#include "board/zobrist.h"

#include "board/bitboards.h"

u64 rtable[16][64];
u64 rtable2[66];

namespace {

constexpr u32 FIRST_SEED = 1;
constexpr u32 SEED_FACTOR = 98765;
constexpr u32 SEED_SUMMAND = 123456789;
constexpr int MAX_DRAWS = 5;           // draws of one key before a close one is accepted
constexpr int MIN_DIFFERENT_BITS = 4;  // in each half, against every earlier key

u32 NextDraw(u32* seed) {
    *seed = *seed * SEED_FACTOR + SEED_SUMMAND;
    return *seed;
}

u64 NextKey(u32* seed) {
    const u64 high = NextDraw(seed);
    return high << 32 | NextDraw(seed);
}

bool FarFromAll(u64 key, const u64* earlier, int count) {
    for (int i = 0; i < count; ++i) {
        const u64 difference = key ^ earlier[i];
        if (CountBits_1(difference & 0xFFFFFFFFu) < MIN_DIFFERENT_BITS) { return false; }
        if (CountBits_1(difference >> 32) < MIN_DIFFERENT_BITS) { return false; }
    }
    return true;
}

}  // namespace

int InitZobrist() {
    u32 seed = FIRST_SEED;
    u64* keys = &rtable[0][0];
    int bad = 0;
    for (int i = 0; i < 16 * 64; ++i) {
        int draws = 1;
        keys[i] = NextKey(&seed);
        while (!FarFromAll(keys[i], keys, i) && draws < MAX_DRAWS) {
            keys[i] = NextKey(&seed);
            ++draws;
        }
        if (!FarFromAll(keys[i], keys, i)) { ++bad; }
    }
    for (u64& key : rtable2) { key = NextKey(&seed); }
    return bad;
}
