// Generation of the Zobrist keys from one fixed random sequence.
#include "board/zobrist.h"

#include "board/bitboards.h"

u64 rtable[16][64];
u64 rtable2[66];

namespace {

constexpr int KEY_COUNT = 16 * 64;  // of rtable
constexpr u32 FIRST_KEY_STATE = 1;
constexpr u32 KEY_STATE_FACTOR = 98765;
constexpr u32 KEY_STATE_SUMMAND = 123456789;
constexpr int MAX_DRAWS = 5;           // draws of one key before a close one is accepted
constexpr int MIN_DIFFERENT_BITS = 4;  // in each half, against every earlier key

u32 NextDraw(u32* state) {
    *state = *state * KEY_STATE_FACTOR + KEY_STATE_SUMMAND;
    return *state;
}

u64 NextKey(u32* state) {
    const u64 high = NextDraw(state);
    return high << 32 | NextDraw(state);
}

bool FarFromAll(u64 key, const u64* earlier, int count) {
    for (int i = 0; i < count; ++i) {
        const u64 difference = key ^ earlier[i];
        const u32 low = static_cast<u32>(difference);
        if (CountBits_1(low) < MIN_DIFFERENT_BITS) { return false; }
        if (CountBits_1(difference ^ low) < MIN_DIFFERENT_BITS) { return false; }
    }
    return true;
}

}  // namespace

int InitZobrist() {
    u32 state = FIRST_KEY_STATE;
    u64* keys = &rtable[0][0];
    int bad = 0;
    for (int i = 0; i < KEY_COUNT; ++i) {
        int draws = 1;
        keys[i] = NextKey(&state);
        while (!FarFromAll(keys[i], keys, i) && draws < MAX_DRAWS) {
            keys[i] = NextKey(&state);
            ++draws;
        }
        if (!FarFromAll(keys[i], keys, i)) { ++bad; }
    }
    for (u64& key : rtable2) { key = NextKey(&state); }
    return bad;
}
