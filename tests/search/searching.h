// Base of the suites that search: whole searches of the game position on slot 1, and single nodes
// of slot 0.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>

#include "board/reference.h"
#include "frontend/pblock.h"
#include "search/picker.h"
#include "search/search.h"

// Runs an action for which memory beyond `bytes` cannot be had. Instrumented programs would not
// outlive it: they leave it out.
template <typename Action>
void WithMemory([[maybe_unused]] rlim_t bytes, [[maybe_unused]] const Action& action) {
#ifndef VESK_INSTRUMENTED
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    const rlimit tight = {bytes, before.rlim_max};
    if (setrlimit(RLIMIT_AS, &tight) != 0) { std::abort(); }
    action();
    setrlimit(RLIMIT_AS, &before);
#endif
}

class SearchingTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(1); }

    // Prepares a search of the game position as the front end would.
    static void Prepare(int max_depth) {
        PBlock.limits.max_depth = static_cast<i8>(max_depth);
        PBlock.control.start_request = SEARCH_THINK;
        GetElapsedTime(1);
        InitSearch();
    }

    // Sets the game position at `ply` of a path that a quiet move has led along, prepared for a
    // search.
    static ThreadBlock* SetNode(const std::string& fen, int ply) {
        SetGame(fen);
        InitSearch();
        return StandAtPly(ply);
    }

    static ThreadBlock* StandAtPly(int ply) {
        ThreadBlock* tb = ThreadData[0];
        tb->move_buffer[0] = {Word("g1f3"), KNIGHT, 0, 0};
        tb->pos.ply = static_cast<i16>(ply);
        tb->ply_data[ply - 1].list_start = tb->ply_data[ply - 1].cursor = tb->move_buffer;
        tb->ply_data[ply - 1].check = CHECK_UNKNOWN;
        tb->ply_data[ply].list_start = tb->move_buffer + 2;
        return tb;
    }

    // Score of slot 0's position as a node of the search; its line is left in `pv_`.
    int NodeScore(int depth, Window window = FULL_WINDOW, int type = NODE_PV) {
        return Search(ThreadData[0], depth, window, type, pv_);
    }

    Move pv_[PV_SIZE + 2] = {};
};
