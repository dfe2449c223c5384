// What the fuzz targets share: an engine without search threads, prepared once per process.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "board/bitboards.h"
#include "board/zobrist.h"
#include "eval/evaluate.h"
#include "eval/kpk.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/pblock.h"
#include "search/ttable.h"

// A property that must hold for every input; stays on in every build type. Names the caller's line.
inline void Require(bool holds, int line = __builtin_LINE()) {
    if (holds) { return; }
    std::fprintf(stderr, "the property in line %d does not hold\n", line);
    std::abort();
}

inline void PrepareEngine() {
    static const bool ready = [] {
        InitBitboards();
        InitKPK();
        PBlock.options.hash_mb = 1;
        PBlock.options.log = 0;
        PBlock.options.noise = NOISE_NEVER;
        PBlock.options.threads = 1;
        InitPersonality(nullptr);
        Require(InitTTable() == 0);
        Require(NewThreadBlock(0) != nullptr && NewThreadBlock(1) != nullptr);
        game_position = &ThreadData[0]->pos;
        InitEval();
        SetPosition(game_position, fen_opn);
        return true;
    }();
    (void)ready;
}
