// The command loop and the searches that it runs. Front-end thread only.
#pragma once

#include "platform/types.h"

// Serves both protocols until PBlock.control.quit. Requires StartUp.
void CommandLoop();

// Stops a running search, waits for its threads and reports it. Nothing when idle.
void FinishSearch();

// Stops a running search and waits for its threads; the loop reports it after what the command that
// ended it has to say.
void AbandonSearch();

// A search that a console command asks for. An analysis has no time limit, a depth limit of its
// own, and clears a table that is not kept from search to search.
struct SearchRequest {
    u8 kind;                // SEARCH_THINK or SEARCH_ANALYSE
    i8 max_depth = 0;       // plies, 0..66; of an analysis only
    bool selfplay = false;  // the first search of a self-play game
};

// Starts it with the next pass of the loop, or, in the order of the requests, when the searches
// before it have ended. The limits that it names hold at once, for the search that runs too.
void RequestSearch(const SearchRequest& request);
// From now on no line is handled but "." until nothing is searched and no request waits.
void WaitForSearches();
// Forgets the requests that have not begun.
void DropWaitingRequests();
// The self-play game that runs does not go on, one that waits does not begin.
void EndSelfPlay();
