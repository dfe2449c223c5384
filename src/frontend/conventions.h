// How the program keeps to the published standards where its classic behaviour differs: one switch
// a difference, all off in the classic form and all on in the standard one. docs/standard.md says
// what each does. A leaf header.
#pragma once

struct Conventions {
    bool mate_scores = false;  // "score mate N", and whether a score is a bound
    bool full_info = false;    // lines tell selective depth and table fill, the clock is read anew
    bool early_progress = false;   // the current move is told after one second
    bool null_is_0000 = false;     // "bestmove 0000", and a move whenever there is one
    bool marked_remarks = false;   // "info string" before each remark, no echo of commands
    bool next_game_waits = false;  // "position", "ucinewgame" and "go" wait for the answer
    bool all_limits =
        false;  // a clock beside other limits, "searchmoves", "mate", endless "infinite"
    bool fen_counters = false;   // the half-move clock of the FEN is taken
    bool free_words = false;     // tabs between words, option names in any case
    bool rook_castling = false;  // the king may be said to take its rook
    bool full_pgn = false;       // games are read with all that their standard allows
    bool plain_console = false;  // "go" alone has no limit, "ev" says when it has nothing to show
    bool more_options = false;   // options and commands that people expect of an engine
};

inline constexpr Conventions CLASSIC_CONVENTIONS{};
inline constexpr Conventions STANDARD_CONVENTIONS{
    .mate_scores = true,
    .full_info = true,
    .early_progress = true,
    .null_is_0000 = true,
    .marked_remarks = true,
    .next_game_waits = true,
    .all_limits = true,
    .fen_counters = true,
    .free_words = true,
    .rook_castling = true,
    .full_pgn = true,
    .plain_console = true,
    .more_options = true,
};
