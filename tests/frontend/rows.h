// Rows of tests/data/frontend.tsv: what lines and words from outside do to PBlock and to the game.
#pragma once

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "frontend/input.h"
#include "frontend/pblock.h"
#include "frontend/report.h"
#include "support/engine.h"

// What the user can set, with the requests that wait and the evaluations that are kept.
inline std::vector<std::pair<std::string, double>> Settings() {
    const Options& o = PBlock.options;
    const TimeControl& t = PBlock.time;
    const ControlBytes& c = PBlock.control;
    const auto kept = [](const PawnEntry& e) { return e.key != 0; };
    return {{"threads", o.threads},
            {"overhead", o.comm_overhead},
            {"own_book", o.own_book},
            {"hash_mode", o.hash_mode},
            {"ponder", o.ponder},
            {"hash", o.hash_mb},
            {"noise", o.noise},
            {"log", o.log},
            {"trace", o.trace},
            {"debug", o.debug},
            {"multipv", o.multipv},
            {"protocol", o.protocol},
            {"extra", o.uci_extra},
            {"go_depth", o.go_limits.max_depth},
            {"moves", t.moves_per_control},
            {"base", t.base_time},
            {"increment", t.increment},
            {"white", t.clock[WHITE]},
            {"black", t.clock[BLACK]},
            {"to_go", t.moves_to_go},
            {"depth", PBlock.limits.max_depth},
            {"nodes", PBlock.limits.node_limit},
            {"profile", PBlock.tool.profile},
            {"quit", c.quit},
            {"stop", c.stop},
            {"state", c.search_state},
            {"request", c.start_request},
            {"infinite", c.infinite},
            {"computer", c.computer},
            {"selfplay", c.selfplay},
            {"kept", std::ranges::count_if(ThreadData[1]->pawn_cache, kept)}};
}

// The settings that an action changes, as "depth 6, base 0.1".
inline std::string ChangesOf(const std::function<void()>& action) {
    const auto before = Settings();
    OutputOf(action);
    const auto after = Settings();
    std::ostringstream changes;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (after[i] == before[i]) { continue; }
        changes << (changes.tellp() > 0 ? ", " : "") << after[i].first << ' ' << after[i].second;
    }
    return changes.str();
}

// Types lines, which | divides.
inline void Type(std::string lines) {
    std::replace(lines.begin(), lines.end(), '|', '\n');
    lines += '\n';
    FeedInput(lines.data(), static_cast<int>(lines.size()));
    while (InputPending()) { UserInput(); }
}

// The plies of the game after these lines, the move that may be played again, and the position.
inline std::string GameAfter(const std::string& lines) {
    PBlock.options.protocol = PROTOCOL_CONSOLE;
    OutputOf([&] { Type(lines); });
    const int plies = game_position->hist_count;
    const std::string board = OutputOf([] { ShowBoard(game_position); });
    return std::to_string(plies) + " " + MoveText(game_position->undo[plies].move) + " " +
           board.substr(0, board.find('\n'));
}

// The words of a command line, as the program's main gets them.
struct CommandWords {
    explicit CommandWords(const std::string& line) {
        std::istringstream in("vesk " + line);
        for (std::string word; in >> word;) { words.push_back(word); }
        for (std::string& word : words) { argv.push_back(word.data()); }
    }
    int Count() const { return static_cast<int>(argv.size()); }

    std::vector<std::string> words;
    std::vector<char*> argv;
};

// Lets `handle` work on every text of this kind, at the program's defaults and the start position,
// and compares what it returns with the row.
inline void ExpectRows(const std::string& kind,
                       const std::function<std::string(const std::string& text)>& handle) {
    for (const auto& row : ReadTable("frontend.tsv")) {
        if (row.at(0) != kind) { continue; }
        ResetEngine();
        PBlock.Reset();
        PBlock.options.log = 0;
        EXPECT_EQ(handle(row.at(1)), row.at(2)) << row.at(1);
    }
    ResetEngine();
}
