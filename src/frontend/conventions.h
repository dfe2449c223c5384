// How the program keeps to the published standards where its classic behaviour differs: one switch
// a difference, all off in the classic form and all on in the standard one. docs/standard.md says
// what each does. A leaf header.
#pragma once

struct Conventions {
    bool standard = false;  // what the switches are unless they are named
    // "score mate N", and whether a score is a bound.
    bool mate_scores = standard;
    // Lines tell selective depth and table fill, and the clock is read anew for them.
    bool full_info = standard;
    // The current move is told after one second.
    bool early_progress = standard;
    // "bestmove 0000" where there is no move, and a move wherever there is one.
    bool null_is_0000 = standard;
    // "info string" before each remark, no echo of commands.
    bool marked_remarks = standard;
    // "position", "ucinewgame" and "go" wait for the answer.
    bool next_game_waits = standard;
    // A clock beside other limits, exact nodes, "searchmoves", "mate", endless "infinite".
    bool all_limits = standard;
    // The half-move clock of a FEN is taken, and a hundred plies draw.
    bool fen_counters = standard;
    // Tabs between words, option names in any case.
    bool free_words = standard;
    // The king may be said to take its rook.
    bool rook_castling = standard;
    // Games are read and saved with all that their standard allows.
    bool full_pgn = standard;
    // Suites are read and reported with all that their standard allows.
    bool full_epd = standard;
    // Benchmarks tell nodes and rate of each position.
    bool full_bench = standard;
    // "go" alone has no limit, "ev" says when it has nothing to show.
    bool plain_console = standard;
    // Options and commands that people expect of an engine.
    bool more_options = standard;
};

inline constexpr Conventions CLASSIC_CONVENTIONS{.standard = false};
inline constexpr Conventions STANDARD_CONVENTIONS{.standard = true};
