#include "arena/opening.h"

#include <climits>
#include <cstdlib>

#include "board/epdline.h"
#include "board/moves.h"
#include "book/book.h"
#include "frontend/pblock.h"

namespace {

constexpr i16 BOOK_WEIGHT = 100;  // spread of the choice among book moves
constexpr int TRIES = 100;        // of lots that end a game before it has begun

// Numbers drawn by lot, the same on every machine.
class Lots {
public:
    explicit Lots(u64 seed) : state_(seed) {}
    // 0..count - 1. Requires count > 0.
    std::size_t Draw(std::size_t count) {
        state_ += 0x9e3779b97f4a7c15;
        u64 z = state_;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return static_cast<std::size_t>((z ^ (z >> 31)) % count);
    }

private:
    u64 state_;
};

// The four fields of every position of the file that games can begin with.
std::vector<std::string> ReadPositions(const std::string& path, std::string* why) {
    std::vector<std::string> positions;
    LineReader reader;
    if (!OpenLines(&reader, path.c_str())) {
        *why = "cannot read " + path;
        return positions;
    }
    std::string line;
    EpdRecord record;
    while (NextEpdRecord(&reader, &line, &record)) {
        SetPosition(game_position, record.position.c_str());
        if (WhyUnplayable(game_position) != nullptr || LegalMoves(game_position).empty() ||
            NoMateIsPossible(game_position)) {
            continue;
        }
        char fields[EPD_FIELDS_SIZE];
        MakeEPD(game_position, fields);
        positions.emplace_back(fields);
    }
    CloseLines(&reader);
    if (positions.empty()) { *why = path + " holds no position to begin a game with"; }
    return positions;
}

void AddMove(Opening* opening, Move m) {
    opening->moves.push_back(m);
    PlayGameMove(game_position, m);
}

void AddBookMoves(Opening* opening, int plies, unsigned seed) {
    std::srand(seed);
    PBlock.options.book_weight = BOOK_WEIGHT;
    for (int i = 0; i < plies; ++i) {
        GetCandidates(game_position, 0);
        const Move m = PBlock.result.SnapshotMove();
        if (m == NO_MOVE) { return; }
        AddMove(opening, m);
    }
}

// False when the game would be over.
bool AddRandomMoves(Opening* opening, int plies, Lots* lots) {
    for (int i = 0; i < plies; ++i) {
        const std::vector<Move> moves = LegalMoves(game_position);
        if (moves.empty()) { return false; }
        AddMove(opening, moves[lots->Draw(moves.size())]);
    }
    return !LegalMoves(game_position).empty();
}

Opening OpeningWithLots(const OpeningSettings& settings, const Opening& line, Lots* lots) {
    for (int i = 0; i < TRIES; ++i) {
        Opening opening = line;
        SetPosition(game_position, opening.start.c_str());
        for (const Move m : opening.moves) { PlayGameMove(game_position, m); }
        if (AddRandomMoves(&opening, settings.RandomPlies(), lots)) { return opening; }
    }
    return line;
}

}  // namespace

std::vector<Opening> MakeOpenings(const OpeningSettings& settings, std::size_t count,
                                  std::string* why) {
    std::vector<std::string> starts = {fen_opn};
    if (!settings.epd_file.empty()) { starts = ReadPositions(settings.epd_file, why); }
    std::vector<Opening> openings;
    for (std::size_t pair = 0; pair < count && !starts.empty(); ++pair) {
        Lots lots((u64{settings.seed} << 32) + pair);
        Opening line = {starts[pair % starts.size()], {}};
        SetPosition(game_position, line.start.c_str());
        AddBookMoves(&line, settings.book_plies, static_cast<unsigned>(lots.Draw(UINT_MAX)));
        openings.push_back(OpeningWithLots(settings, line, &lots));
    }
    return openings;
}
