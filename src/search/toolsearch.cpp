// Searches of the tools.
#include "search/toolsearch.h"

#include "eval/threadblock.h"
#include "frontend/pblock.h"
#include "platform/interrupt.h"
#include "search/search.h"

void PrepareToolSearch() {
    PBlock.control.start_request = SEARCH_IDLE;
    GetElapsedTime(1);
    InitSearch();
}

int ScoreGamePosition() {
    SearchIterations(1);
    const int score = ThreadData[1]->running_score;
    PBlock.result.PublishScore(score);
    return score;
}

bool ToolEndWanted() { return EndWanted() || PBlock.control.quit != 0; }
