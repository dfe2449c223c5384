#include "arena/enginelink.h"

#include <algorithm>
#include <sstream>

#include "platform/clock.h"
#include "search/search.h"

namespace {

constexpr double LOOK_SECONDS = 0.1;  // a waiting link asks this often whether it was given up
constexpr double TALK_SECONDS = 1.0;  // a late player that talks on is heard so long

// A mate in so many moves, negative for the side that is mated, as a score.
int MateScore(int moves) {
    return moves > 0 ? INFINITE_SCORE - PLIES_PER_MOVE * moves
                     : -INFINITE_SCORE - PLIES_PER_MOVE * moves + 1;
}

}  // namespace

bool EngineLink::Open(const std::vector<std::string>& words, std::string* why) {
    if (!process_.Start(words, why)) { return false; }
    *why = "it ended before it was ready";
    std::string line;
    return process_.Write("uci\n") && WaitFor("uciok", PATIENCE_SECONDS, &line) && NewGame();
}

bool EngineLink::NewGame() {
    std::string line;
    return process_.Write("ucinewgame\nisready\n") && WaitFor("readyok", PATIENCE_SECONDS, &line);
}

bool EngineLink::Ask(const std::string& position, const std::string& go, double seconds,
                     SearchAnswer* answer) {
    answer_ = {};
    const double start = MonotonicSeconds();
    std::string line;
    if (!process_.Write(position + '\n' + go + '\n') || !WaitFor("bestmove", seconds, &line)) {
        return false;
    }
    std::istringstream words(line);
    words >> answer_.move >> answer_.move;
    answer_.seconds = MonotonicSeconds() - start;
    answer_.depth = std::max(answer_.depth, 1);  // a search that told nothing is none of a book
    *answer = answer_;
    return true;
}

// Only waiting counts, and of each wait no more than it was to last: this program may have been
// stopped meanwhile. What the player has said by the end is still heard.
bool EngineLink::WaitFor(const std::string& word, double seconds, std::string* line) {
    double waited = 0.0;
    while (!hangs_) {
        const bool late = waited > seconds;
        const double start = MonotonicSeconds();
        const LineRead read = process_.ReadLine(line, late ? 0.0 : LOOK_SECONDS);
        waited += std::min(MonotonicSeconds() - start, LOOK_SECONDS);
        switch (read) {
            case LineRead::Ended:
                return false;
            case LineRead::Nothing:
                if (given_up_()) { return false; }
                hangs_ = late;
                break;
            case LineRead::Line:
                if (line->starts_with(word)) { return true; }
                if (line->starts_with("info depth")) { ReadInfo(*line); }
                hangs_ = waited > seconds + TALK_SECONDS;
                break;
        }
    }
    return false;
}

void EngineLink::ReadInfo(const std::string& line) {
    std::istringstream words(line);
    std::string word;
    while (words >> word && word != "pv") {
        if (word == "depth") {
            words >> answer_.depth;
        } else if (word == "cp") {
            words >> answer_.score;
        } else if (word == "mate") {
            int moves = 0;
            words >> moves;
            answer_.score = MateScore(moves);
        }
    }
}
