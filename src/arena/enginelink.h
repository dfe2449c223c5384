// A player of self-play: a second run of this program, which is asked for its moves over UCI, so
// that it has weights, a table and a memory of its own. Each link belongs to one thread.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "platform/process.h"

// What a search has answered.
struct SearchAnswer {
    std::string move;      // in coordinates
    int score = 0;         // centipawns or a mate score, for the side to move
    int depth = 0;         // plies
    double seconds = 0.0;  // by our clock
};

// How long a player may take to get ready, and to answer beyond what the limits of a search ask
// for, before it counts as hanging: generous, since many may share a processor.
inline constexpr double PATIENCE_SECONDS = 60.0;

class EngineLink {
public:
    // `given_up`: true when nobody needs the answers any more. It is asked while a link waits.
    explicit EngineLink(std::function<bool()> given_up) : given_up_(std::move(given_up)) {}

    // Starts the program and waits until it is ready. False, with *why, when that fails, also when
    // it was given up.
    [[nodiscard]] bool Open(const std::vector<std::string>& words, std::string* why);
    // Forgets the last game. False when the program has ended or was given up.
    [[nodiscard]] bool NewGame();
    // Searches. `position` and `go` are lines of the protocol, `seconds` is how long the answer may
    // take. False as above, and when it does not come in time.
    [[nodiscard]] bool Ask(const std::string& position, const std::string& go, double seconds,
                           SearchAnswer* answer);
    // Whether the program lives, but has not answered in time.
    bool Hangs() const { return hangs_; }

private:
    // Reads lines until one begins with `word`. False when none comes.
    bool WaitFor(const std::string& word, double seconds, std::string* line);
    void ReadInfo(const std::string& line);

    std::function<bool()> given_up_;
    ChildProcess process_;
    SearchAnswer answer_;  // of the search that runs
    bool hangs_ = false;
};
