// The scanner that turns the games of engines, with the scores in their comments, into annotated
// games or labelled positions. Front-end thread only.
#include <algorithm>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "board/bitboards.h"
#include "board/epdline.h"
#include "board/moves.h"
#include "board/zobrist.h"
#include "book/book.h"
#include "book/gamemove.h"
#include "book/pgntext.h"
#include "eval/evaluate.h"
#include "eval/personality.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/outfile.h"
#include "platform/textlines.h"
#include "search/keepoptions.h"

int ResultOfText(const char* text) {
    if (std::strstr(text, "1-0") != nullptr) { return WHITE; }
    return std::strstr(text, "0-1") != nullptr ? BLACK : DRAWN_OR_UNKNOWN;
}

// --- the scanner ---

namespace {

// Modes of the scan: what is written.
constexpr int ANNOTATED_GAMES = 1;
constexpr int TUNING_POSITIONS = 2;
constexpr int TEST_POSITIONS = 3;
constexpr int ROOK_ENDINGS = 4;

constexpr std::size_t KEPT_MOVES = 800;        // of a game
constexpr std::size_t KEPT_LETTERS = 7;        // of a move text
constexpr std::size_t KEPT_COMMENT = 1 << 16;  // characters
constexpr int GAMES_PER_MESSAGE = 100;

// Scores of a move, centipawns.
constexpr double CENTIPAWNS = 100.0;  // of the unit that comments and annotated games use
constexpr int LOWEST_SHOWN_SCORE = -9999;

// Tuning positions.
constexpr int FIRST_TUNING_PLY = 20;
constexpr int LAST_TUNING_PLY = 250;
constexpr int MAX_TUNING_FIFTY = 20;
constexpr int MAX_TUNING_SCORE = 699;
constexpr double MAX_SURPRISE =
    0.5;  // a result further from the score says nothing of the position
constexpr double RESULT_SHARE = 0.75;  // of the label; the rest is the expectation of the score
// Test positions.
constexpr int LAST_TEST_PLY = 200;
constexpr int MAX_TEST_SCORE = 500;  // beyond it the rest of the game is left out
// Rook endings.
constexpr int ROOK_UNITS = 5;  // non-pawn material of either side
constexpr int ROOK_ENDING_PAWNS = 1;
// Suspected mistakes.
constexpr std::size_t MISTAKE_MARGIN_PLIES = 5;  // not that close to either end of the game
constexpr int MISTAKE_SCORE = 149;
constexpr int MISTAKE_NEIGHBOUR_SCORE = 999;
constexpr int MISTAKE_GAIN = 41;          // the opponent's score from before to after it
constexpr int MISTAKE_LASTING_GAIN = 51;  // the same a move further out

struct ScannedMove {
    char text[MOVE_TEXT_SIZE];
    i16 score;  // centipawns as the comment gave it, NO_COMMENT_SCORE, BAD_COMMENT_SCORE
};

// State of one run of Scan_PGN_File.
struct Scan {
    OutFile out;
    int mode = 0;
    int games = 0;      // event tags read
    int positions = 0;  // lines with a position written
    int result = DRAWN_OR_UNKNOWN;
    std::string start = fen_opn;     // of the game being read
    int black_begins = 0;            // 1: Black moves there
    std::vector<ScannedMove> moves;  // of the game being read, at most KEPT_MOVES
    bool full = false;               // the last move found no room: its comment belongs to none
    int depth = 0;                   // of braces
    std::string comment;             // since the last move
};

constexpr int DECIMAL = 10;
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool Within(int value, int limit) { return value >= -limit && value <= limit; }

i16 ClampScore(double value) {
    using Range = std::numeric_limits<i16>;
    return static_cast<i16>(std::clamp<double>(value, Range::min(), Range::max()));
}

// The number that a text begins with, as strtod reads it. What engines write, a few digits with a
// point, is read digit by digit: the quotient of two whole numbers that a double holds exactly is
// rounded as strtod rounds.
double DecimalOf(const char* text) {
    constexpr double powers[] = {1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
    constexpr std::ptrdiff_t most_digits = std::ssize(powers) - 1;
    const bool negative = text[0] == '-';
    const char* const start = text + (negative || text[0] == '+');
    const char* s = start;
    int value = 0;
    for (; IsDigit(*s) && s - start < most_digits; ++s) { value = DECIMAL * value + (*s - '0'); }
    std::ptrdiff_t decimals = 0;
    if (s != start && *s == '.') {
        const char* const point = s++;
        for (; IsDigit(*s) && s - start <= most_digits; ++s) {
            value = DECIMAL * value + (*s - '0');
        }
        decimals = s - point - 1;
    }
    if (s == start || IsDigit(*s) || IsLetter(*s)) { return std::strtod(text, nullptr); }
    const double magnitude = value / powers[decimals];
    return negative ? -magnitude : magnitude;
}

// Score of a comment after a move of `side`.
i16 CommentScore(const std::string& comment, int side) {
    constexpr std::string_view score_word = "eval ";
    if (comment.find("book") != std::string::npos) { return 0; }
    const std::size_t found = comment.find(score_word);
    if (found != std::string::npos) {
        const std::size_t start = found + score_word.size();
        const std::string number = comment.substr(start, comment.find(',', start) - start);
        if (number.empty()) { return BAD_COMMENT_SCORE; }
        const double value = static_cast<double>(std::strtol(number.c_str(), nullptr, 10));
        return ClampScore(side == WHITE ? value : -value);
    }
    if (comment.find('/') == std::string::npos) { return BAD_COMMENT_SCORE; }
    const char* number = comment.c_str();
    const bool signed_number = number[0] == '+' || number[0] == '-';
    if (!IsDigit(number[signed_number ? 1 : 0])) { return BAD_COMMENT_SCORE; }
    return ClampScore(DecimalOf(number) * CENTIPAWNS);
}

// --- what is written before move i of the game, which stands at the game position ---

bool IsSuspectedMistake(const Scan& scan, std::size_t i) {
    if (i <= MISTAKE_MARGIN_PLIES || i + MISTAKE_MARGIN_PLIES >= scan.moves.size() ||
        game_position->side == scan.result) {
        return false;
    }
    const auto score = [&](std::size_t at) { return int{scan.moves[at].score}; };
    for (const std::size_t near : {i - 3, i - 1, i + 1, i + 3}) {
        if (!Within(score(near), MISTAKE_NEIGHBOUR_SCORE)) { return false; }
    }
    return Within(score(i), MISTAKE_SCORE) && score(i + 1) - score(i - 1) >= MISTAKE_GAIN &&
           score(i + 3) - score(i - 3) >= MISTAKE_LASTING_GAIN;
}

void WriteAnnotatedMove(Scan* scan, std::size_t i) {
    const ScannedMove& move = scan->moves[i];
    const bool white_moves = game_position->side == WHITE;
    if (white_moves) {
        scan->out.Print("%3d. ", (static_cast<int>(i) + scan->black_begins) / 2 + 1);
    } else {
        scan->out.Write("     ");
    }
    scan->out.Print(" %-6s  {", move.text);
    if (move.score >= LOWEST_SHOWN_SCORE) {
        scan->out.Print("%6.2f", (white_moves ? move.score : -move.score) / CENTIPAWNS);
    }
    if (IsSuspectedMistake(*scan, i)) {
        char fields[EPD_FIELDS_SIZE];
        MakeEPD(game_position, fields);
        scan->out.Print(" ? %s", fields);
    }
    scan->out.Write("}\n");
}

// Writes "<position> bm <move>; ce <score>;" without the line feed, and counts it.
void WritePosition(Scan* scan, const ScannedMove& move) {
    constexpr std::string_view before_move = " bm ", before_score = "; ce ", after_score = ";";
    constexpr std::size_t longest_score = std::numeric_limits<i16>::digits10 + 2;
    char line[EPD_FIELDS_SIZE + before_move.size() + MOVE_TEXT_SIZE + before_score.size() +
              longest_score + after_score.size()];
    char* end = MakeEPD(game_position, line);
    const auto add = [&end](std::string_view text) { end += text.copy(end, text.size()); };
    add(before_move);
    add(move.text);
    add(before_score);
    end = std::to_chars(end, std::end(line), move.score).ptr;
    add(after_score);
    scan->out.Write({line, end});
    ++scan->positions;
}

// Expected result for the side to move, of the game as it ended.
double GameResult(const Scan& scan) {
    constexpr double draw = 0.5, win = 1.0, loss = 0.0;
    if (scan.result == DRAWN_OR_UNKNOWN) { return draw; }
    return scan.result == game_position->side ? win : loss;
}

void WriteTuningPosition(Scan* scan, std::size_t i) {
    const ScannedMove& move = scan->moves[i];
    if (i < FIRST_TUNING_PLY || i > LAST_TUNING_PLY || game_position->fifty > MAX_TUNING_FIFTY ||
        !Within(move.score, MAX_TUNING_SCORE) || InCheck(game_position, game_position->side)) {
        return;
    }
    const double target = GameResult(*scan);
    const double p = WinProbability(move.score);
    if (std::fabs(target - p) >= MAX_SURPRISE) { return; }
    WritePosition(scan, move);
    scan->out.Print(" tune %0.3f;\n", RESULT_SHARE * target + (1.0 - RESULT_SHARE) * p);
}

void WriteTestPosition(Scan* scan, std::size_t i) {
    if (i > LAST_TEST_PLY || InCheck(game_position, game_position->side)) { return; }
    WritePosition(scan, scan->moves[i]);
    scan->out.Write("\n");
}

void WriteRookEnding(Scan* scan, std::size_t i) {
    const Position* pos = game_position;
    if (pos->npm[WHITE] != ROOK_UNITS || pos->npm[BLACK] != ROOK_UNITS ||
        PawnCount(pos->sig[WHITE]) + PawnCount(pos->sig[BLACK]) != ROOK_ENDING_PAWNS) {
        return;
    }
    WritePosition(scan, scan->moves[i]);
    scan->out.Print(" tune %0.5f;\n", GameResult(*scan));
}

void WriteMove(Scan* scan, std::size_t i) {
    switch (scan->mode) {
        case ANNOTATED_GAMES:
            WriteAnnotatedMove(scan, i);
            break;
        case TUNING_POSITIONS:
            WriteTuningPosition(scan, i);
            break;
        case TEST_POSITIONS:
            WriteTestPosition(scan, i);
            break;
        case ROOK_ENDINGS:
            WriteRookEnding(scan, i);
            break;
        default:
            break;
    }
}

// Replays the game that has been read, from its start up to a move that cannot be read,
// and writes what the mode makes of it.
void ProcessGame(Scan* scan) {
    SetUpGame(scan->start.c_str());
    for (std::size_t i = 0; i < scan->moves.size(); ++i) {
        ScannedMove* move = &scan->moves[i];
        const MoveReading reading = ReadGameMove(move->text);
        if (reading.move == NO_MOVE) { break; }
        std::memcpy(move->text, reading.text, sizeof reading.text);
        WriteMove(scan, i);
        PlayGameMove(game_position, reading.move);
        if (scan->mode == TEST_POSITIONS && !Within(move->score, MAX_TEST_SCORE)) { break; }
    }
    if (scan->mode == ANNOTATED_GAMES) { scan->out.Write("\n"); }
}

// --- reading ---

void ScanTagLine(Scan* scan, const TextLine& line, const PgnText& pgn) {
    if (!scan->moves.empty()) {
        ProcessGame(scan);
        scan->comment.clear();
        scan->depth = 0;
    }
    scan->moves.clear();
    scan->full = false;
    if (pgn.BeginsGame()) {
        scan->depth = 0;
        scan->result = DRAWN_OR_UNKNOWN;
    }
    if (!pgn.Start().empty()) {
        scan->start = pgn.Start();
        scan->black_begins = pgn.BlackBegins() ? 1 : 0;
    }
    if (scan->mode == ANNOTATED_GAMES) {
        scan->out.Write({line.text, line.length});
        if (line.has_line_feed) { scan->out.Write("\n"); }
        if (std::strstr(line.text, "Round ") != nullptr) {
            scan->out.Print("[Tag \"game_%d\"]\n", scan->games);
        }
    }
    if (std::strstr(line.text, "Event ") != nullptr && ++scan->games % GAMES_PER_MESSAGE == 0) {
        ShowMessageF("game %d\n", scan->games);
    }
    if (std::strstr(line.text, "Result ") != nullptr) {
        const char* quote = std::strchr(line.text, '"');
        scan->result = ResultOfText(quote != nullptr ? quote : "");
    }
}

void EndComment(Scan* scan) {
    if (scan->depth == 0 || --scan->depth > 0 || scan->moves.empty() || scan->full) { return; }
    const int moves = static_cast<int>(scan->moves.size()) + scan->black_begins;
    const int side = moves % 2 == 1 ? WHITE : BLACK;
    scan->moves.back().score = CommentScore(scan->comment, side);
}

bool EndsToken(char c) { return c == ' ' || c == '\0' || c == '\t' || c == '\r' || c == '{'; }

// Takes the move token at the front of the text; returns its length in the text.
std::size_t TakeToken(Scan* scan, const char* text) {
    std::size_t length = 1;
    while (!EndsToken(text[length])) { ++length; }
    scan->comment.clear();
    scan->full = scan->moves.size() == KEPT_MOVES;
    if (!scan->full) {
        ScannedMove move = {"", NO_COMMENT_SCORE};
        std::memcpy(move.text, text, std::min(length, KEPT_LETTERS));
        scan->moves.push_back(move);
    }
    return length;
}

void AddToComment(Scan* scan, std::string_view text) {
    if (scan->comment.size() < KEPT_COMMENT) { scan->comment += text; }
}

void ScanMoveText(Scan* scan, const TextLine& line) {
    const char* end = line.text + line.length;
    for (const char* s = line.text; s < end;) {
        if (*s == '{') {
            ++scan->depth;
            ++s;
        } else if (*s == '}') {
            EndComment(scan);
            ++s;
        } else if (scan->depth > 0) {
            const char* from = s;
            while (s < end && *s != '{' && *s != '}') { ++s; }
            std::string_view text(from, static_cast<std::size_t>(s - from));
            if (s == end && text.ends_with('\r')) { text.remove_suffix(1); }  // of the line's end
            AddToComment(scan, text);
        } else if (IsLetter(*s)) {
            s += TakeToken(scan, s);
        } else {
            ++s;
        }
    }
    if (scan->depth > 0) { AddToComment(scan, " "); }
}

void ScanLines(Scan* scan, LineReader* reader) {
    TextLine line;
    PgnText pgn;
    while (!PBlock.control.quit && ReadLine(reader, &line)) {
        line = pgn.Plain(line);
        if (line.starts_line && line.text[0] == '[' && line.text[1] != '%') {
            ScanTagLine(scan, line, pgn);
        } else {
            ScanMoveText(scan, line);
        }
    }
    if (!scan->moves.empty()) { ProcessGame(scan); }
    scan->out.Write("\n");
}

// A scan whose output cannot be written has failed.
void ShowFault(const OutFile& out) {
    ShowMessage(out.Fault().c_str());
    PBlock.tool.failed = true;
}

}  // namespace

void Scan_PGN_File(const char* path, int mode) {
    assert(mode >= ANNOTATED_GAMES && mode <= ROOK_ENDINGS);
    LineReader reader;
    if (!OpenLines(&reader, path)) { return; }
    const char* out_name = mode == ANNOTATED_GAMES ? "tmp.pgn" : "tmp.epd";
    Scan scan;
    scan.mode = mode;
    if (!scan.out.Create(out_name)) {
        CloseLines(&reader);
        ShowFault(scan.out);
        return;
    }
    // Nothing is logged; what may look at a position shows nothing and takes nothing from the
    // table.
    const KeepOptions kept;
    PBlock.options.log = 0;
    PBlock.options.noise = NOISE_NEVER;
    PBlock.options.hash_mode = 0;
    PBlock.limits.max_depth = mode == TUNING_POSITIONS ? 1 : 0;
    InitEval();
    ScanLines(&scan, &reader);
    const bool broken_off = reader.broken_off;
    const bool unreadable = !broken_off && ReadingFailed(reader);
    CloseLines(&reader);
    if (unreadable) {
        ShowError("cannot read %s to its end; %s is unchanged\n", path, out_name);
        PBlock.tool.failed = true;
        scan.out.Abandon();
    } else if (broken_off && SameFile(path, out_name)) {
        ShowError("interrupted: %s is unchanged\n", path);
        scan.out.Abandon();
    } else {
        if (!scan.out.Commit()) { ShowFault(scan.out); }
        if (broken_off) { ShowError("interrupted: the rest of %s is not scanned\n", path); }
    }
    ShowMessageF("games= %d, positions= %d\n", scan.games, scan.positions);
}
