#include "frontend/standard.h"

#include <cstring>

#include "board/moves.h"
#include "eval/threadblock.h"
#include "frontend/benchmark.h"
#include "frontend/commandloop.h"
#include "frontend/consolecommands.h"
#include "frontend/input.h"
#include "frontend/output.h"
#include "frontend/report.h"
#include "platform/interrupt.h"
#include "search/perft.h"

namespace {

// Legal move sequences of this length (plies) that begin with the move.
u64 SequencesAfter(ThreadBlock* tb, Move m, int depth) {
    tb->nodes = 0;
    GenerateAll(&tb->pos);  // the lists of further plies begin behind that of this one
    MakeMove(&tb->pos, m);
    if (!Perft(tb, depth - 1)) { ShowRemark("the count is incomplete"); }
    UnmakeMove(&tb->pos);
    return tb->nodes;
}

// A search that runs is left alone: it does not use the record of the game position.
void PerftByMove(int depth) {
    if (const char* why = WhyUnplayable(game_position)) {
        ShowRemark("%s", why);
        return;
    }
    const RecordKeeper keep;
    u64 total = depth <= 0 ? 1 : 0;
    if (depth > 0) {
        for (const Move m : LegalMoves(game_position)) {
            const u64 count = SequencesAfter(ThreadData[0], m, depth);
            char text[MOVE_TEXT_SIZE];
            MoveToStr(m, text, TextStyle());
            ShowMessageF("%s: %llu", text, static_cast<unsigned long long>(count));
            total += count;
            if (EndWanted()) { return; }
        }
    }
    ShowMessageF("\nNodes searched: %llu\n", static_cast<unsigned long long>(total));
}

}  // namespace

bool StandardCommand(const std::string& word, const char* line) {
    if (word == "d") {
        ShowBoard(game_position);
    } else if (word == "eval") {
        if (const char* why = WhyUnplayable(game_position)) {
            ShowRemark("%s", why);
        } else {
            ShowEvaluation();
        }
    } else if (word == "perft") {
        const char* after = std::strstr(line, "perft");
        const char* number = after != nullptr ? after + std::strlen("perft") : line;
        PerftByMove(WholeNumber(number, 0, MAX_PERFT_DEPTH));
    } else if (word == "bench") {
        FinishSearch();
        HoldInput([](const std::string&) { return true; });
        RunQuickBenchmark(WholeNumber(line, 0, MAX_DEPTH));
        HoldInput(nullptr);
    } else {
        return false;
    }
    return true;
}
