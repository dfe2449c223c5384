#include "arena/game.h"

#include <cassert>
#include <cstdlib>

#include "board/bitboards.h"
#include "board/moves.h"
#include "book/pgnwrite.h"
#include "search/draws.h"

namespace {

constexpr std::size_t MOST_PLIES = 700;  // a longer game is a draw; fits the undo records
constexpr int DECIDED_PLIES = 6;         // three moves of each player agree on a decided score
constexpr int REPETITIONS_OF_DRAW = 2;   // earlier positions like this one
constexpr int DRAW = 1;                  // half points

// The legal move with this text, NO_MOVE when there is none.
Move MoveOfText(const std::vector<Move>& legal, const std::string& text) {
    for (const Move m : legal) {
        char move[MOVE_TEXT_SIZE];
        MoveToStr(m, move, MoveStyle::Uci);
        if (text == move) { return m; }
    }
    return NO_MOVE;
}

int WinOf(int colour) { return colour == WHITE ? HALF_POINTS_OF_WIN : 0; }

// Whether the last searches all see one side ahead by more than `score`; then *winner is it.
bool IsDecided(const std::vector<GamePly>& plies, int score, int next_colour, int* winner) {
    if (score == 0 || plies.size() < DECIDED_PLIES) { return false; }
    int colour = next_colour;
    *winner = -1;
    for (std::size_t i = 1; i <= DECIDED_PLIES; ++i) {
        colour ^= 1;  // the mover of that ply
        const SearchAnswer& answer = plies[plies.size() - i].answer;
        if (answer.depth == 0 || std::abs(answer.score) <= score) { return false; }
        const int ahead = answer.score > 0 ? colour : colour ^ 1;
        if (*winner >= 0 && ahead != *winner) { return false; }
        *winner = ahead;
    }
    return true;
}

// Fills the result of a game that is over in this position. `legal`: its moves.
bool IsOver(Position* pos, const std::vector<Move>& legal, const GameRules& rules,
            PlayedGame* game) {
    game->white_half_points = DRAW;
    if (legal.empty()) {
        if (InCheck(pos, pos->side)) { game->white_half_points = WinOf(pos->side ^ 1); }
        return true;
    }
    if (FiftyMovesAreOver(pos) || NoMateIsPossible(pos) ||
        CountRepetitions(pos, REPETITIONS_OF_DRAW) >= REPETITIONS_OF_DRAW) {
        return true;
    }
    int winner;
    if (IsDecided(game->plies, rules.decided_score, pos->side, &winner)) {
        game->white_half_points = WinOf(winner);
    } else if (game->plies.size() < MOST_PLIES) {
        return false;
    }
    game->termination = "adjudication";
    return true;
}

// The game so far as a line of the protocol.
class PositionLine {
public:
    explicit PositionLine(const std::string& start)
        : text_(start == fen_opn ? "position startpos" : "position fen " + start + " 0 1") {}
    void Add(Move m) {
        char move[MOVE_TEXT_SIZE];
        MoveToStr(m, move, MoveStyle::Uci);
        text_ += moves_ ? " " : " moves ";
        text_ += move;
        moves_ = true;
    }
    const std::string& Text() const { return text_; }

private:
    std::string text_;
    bool moves_ = false;
};

}  // namespace

GameEnd PlayGame(const Opening& opening, EngineLink* const players[2], const GameRules& rules,
                 ThreadBlock* block, PlayedGame* game) {
    *game = {};
    game->start = opening.start;
    Position* pos = &block->pos;
    SetPosition(pos, opening.start.c_str());
    PositionLine line(opening.start);
    for (const Move m : opening.moves) {
        game->plies.push_back({m, {}});
        line.Add(m);
        PlayGameMove(pos, m);
    }
    if (!players[WHITE]->NewGame() || !players[BLACK]->NewGame()) { return GameEnd::NoAnswer; }
    for (;;) {
        const std::vector<Move> legal = LegalMoves(pos);
        if (IsOver(pos, legal, rules, game)) { return GameEnd::Finished; }
        SearchAnswer answer;
        if (!players[pos->side]->Ask(line.Text(), rules.go, rules.answer_seconds, &answer)) {
            return GameEnd::NoAnswer;
        }
        const Move m = MoveOfText(legal, answer.move);
        if (m == NO_MOVE) { return GameEnd::IllegalMove; }
        game->plies.push_back({m, answer});
        line.Add(m);
        PlayGameMove(pos, m);
    }
}

std::string TextOfGame(const PlayedGame& game, const GameNames& names, ThreadBlock* block) {
    PgnTags tags;
    tags.event = names.event;
    tags.date = names.date;
    tags.round = std::to_string(names.round);
    tags.white = names.players[WHITE];
    tags.black = names.players[BLACK];
    tags.result = ResultText(game.white_half_points);
    tags.start = game.start;
    tags.termination = game.termination;
    PgnWriter writer;
    writer.Tags(tags);
    Position* pos = &block->pos;
    SetPosition(pos, game.start.c_str());
    for (const GamePly& ply : game.plies) {
        writer.AddMove(pos, ply.move);
        writer.AddComment(SearchComment(ply.answer.score, ply.answer.depth, ply.answer.seconds));
        PlayGameMove(pos, ply.move);
    }
    return writer.End(tags.result);
}

const char* ResultText(int white_half_points) {
    assert(white_half_points >= 0 && white_half_points <= HALF_POINTS_OF_WIN);
    constexpr const char* TEXTS[] = {"0-1", "1/2-1/2", "1-0"};
    return TEXTS[white_half_points];
}
