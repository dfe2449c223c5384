// The scanner that turns the games of engines, with the scores in their comments, into annotated
// games or labelled positions. Front-end thread only.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "board/bitboards.h"
#include "board/moves.h"
#include "book/book.h"
#include "book/gamemove.h"
#include "eval/evaluate.h"
#include "eval/personality.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/interrupt.h"
#include "platform/textlines.h"

int ResultOfText(const char* text) {
    if (std::strstr(text, "1-0") != nullptr) { return WHITE; }
    return std::strstr(text, "0-1") != nullptr ? BLACK : DRAWN_OR_UNKNOWN;
}

// --- the scanner ---

namespace {

constexpr int GAME_MOVES = 800;  // moves of a game that are kept
constexpr int TOKEN_LENGTH = 7;  // characters of a move text that are kept
constexpr std::size_t COMMENT_LENGTH = 1 << 16;
constexpr int NO_COMMENT_SCORE = -30000;   // no comment behind the move
constexpr int BAD_COMMENT_SCORE = -29999;  // a comment without a score
constexpr int GAMES_PER_MESSAGE = 100;

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
constexpr int DECIDED_SCORE = 500;
// Suspected mistakes, centipawns.
constexpr int MISTAKE_MARGIN_PLIES = 5;  // not that close to either end of the game
constexpr int MISTAKE_SCORE = 149;
constexpr int MISTAKE_NEIGHBOUR_SCORE = 999;
constexpr int MISTAKE_GAIN = 41;          // the opponent's score from before to after it
constexpr int MISTAKE_LASTING_GAIN = 51;  // the same a move further out

struct ScannedMove {
    char text[MOVE_TEXT_SIZE];
    i16 score;  // centipawns as the comment gave it
};

struct Scan {
    std::FILE* out;
    int mode;
    int games = 0;
    int positions = 0;
    int result = DRAWN_OR_UNKNOWN;
    int count = 0;      // moves in `moves`
    bool full = false;  // the last move found no room: its comment belongs to none
    int depth = 0;      // of braces
    std::string comment;
    ScannedMove moves[GAME_MOVES];
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool Within(int value, int limit) { return value >= -limit && value <= limit; }

i16 ClampScore(double value) { return static_cast<i16>(std::clamp(value, -32768.0, 32767.0)); }

// Score of a comment behind a move of `side`.
i16 CommentScore(const std::string& comment, int side) {
    if (comment.find("book") != std::string::npos) { return 0; }
    const std::size_t eval = comment.find("eval ");
    if (eval != std::string::npos) {
        const std::string number = comment.substr(eval + 5, comment.find(',', eval + 5) - eval - 5);
        if (number.empty()) { return BAD_COMMENT_SCORE; }
        const long value = std::strtol(number.c_str(), nullptr, 10);
        return ClampScore(static_cast<double>(side == WHITE ? value : -std::max(value, -32768L)));
    }
    if (comment.find('/') == std::string::npos) { return BAD_COMMENT_SCORE; }
    const char* number = comment.c_str();
    const bool signed_number = number[0] == '+' || number[0] == '-';
    if (!IsDigit(number[signed_number ? 1 : 0])) { return BAD_COMMENT_SCORE; }
    return ClampScore(std::strtod(number, nullptr) * 100.0);
}

bool IsSuspectedMistake(const ScannedMove* moves, int count, int i, int side, int result) {
    if (i <= MISTAKE_MARGIN_PLIES || i >= count - MISTAKE_MARGIN_PLIES || side == result) {
        return false;
    }
    const auto score = [&](int at) { return int{moves[at].score}; };
    for (const int near : {i - 3, i - 1, i + 1, i + 3}) {
        if (!Within(score(near), MISTAKE_NEIGHBOUR_SCORE)) { return false; }
    }
    return Within(score(i), MISTAKE_SCORE) && score(i + 1) - score(i - 1) >= MISTAKE_GAIN &&
           score(i + 3) - score(i - 3) >= MISTAKE_LASTING_GAIN;
}

void WriteAnnotatedMove(std::FILE* out, const ScannedMove* moves, int count, int i, int result) {
    const int side = game_position->side;
    char prefix[16] = "     ";
    if (i % 2 == 0) { std::snprintf(prefix, sizeof prefix, "%3d. ", i / 2 + 1); }
    char score[16 + EPD_FIELDS_SIZE] = "";
    if (moves[i].score >= -9999) {
        const int shown = i % 2 == 0 ? moves[i].score : -moves[i].score;
        std::snprintf(score, sizeof score, "%6.2f", shown / 100.0);
    }
    if (IsSuspectedMistake(moves, count, i, side, result)) {
        std::strcat(score, " ? ");
        MakeEPD(game_position, score + std::strlen(score));
    }
    std::fprintf(out, "%s %-6s  {%s}\n", prefix, moves[i].text, score);
}

// Writes "<position> bm <move>; ce <score>;" without the line feed.
void WritePosition(std::FILE* out, const ScannedMove& move) {
    char line[EPD_FIELDS_SIZE + 64];
    MakeEPD(game_position, line);
    const std::size_t at = std::strlen(line);
    const int n =
        std::snprintf(line + at, sizeof line - at, " bm %s; ce %d;", move.text, move.score);
    std::fwrite(line, 1, at + static_cast<std::size_t>(n), out);
}

// Writes the tuning position before a move when it is a useful one. Returns the lines written.
int WriteTuningPosition(std::FILE* out, const ScannedMove& move, int i, double target) {
    if (i < FIRST_TUNING_PLY || i > LAST_TUNING_PLY || game_position->fifty > MAX_TUNING_FIFTY ||
        !Within(move.score, MAX_TUNING_SCORE) || InCheck(game_position, game_position->side)) {
        return 0;
    }
    const double p = WinProbability(move.score);
    if (std::fabs(target - p) >= MAX_SURPRISE) { return 0; }
    WritePosition(out, move);
    std::fprintf(out, " tune %0.3f;\n", RESULT_SHARE * target + (1.0 - RESULT_SHARE) * p);
    return 1;
}

int WriteTestPosition(std::FILE* out, const ScannedMove& move, int i) {
    if (i > LAST_TEST_PLY || InCheck(game_position, game_position->side)) { return 0; }
    WritePosition(out, move);
    std::putc('\n', out);
    return 1;
}

int WriteRookEnding(std::FILE* out, const ScannedMove& move, double target) {
    constexpr int rook_units = 5;
    if (game_position->npm[WHITE] != rook_units || game_position->npm[BLACK] != rook_units ||
        (game_position->sig[WHITE] & 15) + (game_position->sig[BLACK] & 15) != 1) {
        return 0;
    }
    WritePosition(out, move);
    std::fprintf(out, " tune %0.5f;\n", target);
    return 1;
}

// Replays one game from the start position and writes what the mode makes of it; *positions gets
// the number of lines with a position.
void ProcessGame(std::FILE* out, ScannedMove* moves, int count, int mode, int result,
                 int* positions) {
    SetPosition(game_position, fen_opn);
    PBlock.limits.max_depth = mode == 2 ? 1 : 0;
    PBlock.options.noise = NOISE_NEVER;
    PBlock.options.hash_mode = 0;
    *positions = 0;
    for (int i = 0; i < count; ++i) {
        const MoveReading reading = ReadGameMove(moves[i].text);
        if (reading.move == NO_MOVE) { break; }
        std::memcpy(moves[i].text, reading.text, sizeof reading.text);
        const int side = game_position->side;
        const double target = result == DRAWN_OR_UNKNOWN ? 0.5 : result == side ? 1.0 : 0.0;
        if (mode == 1) {
            WriteAnnotatedMove(out, moves, count, i, result);
        } else if (mode == 2) {
            *positions += WriteTuningPosition(out, moves[i], i, target);
        } else if (mode == 3) {
            *positions += WriteTestPosition(out, moves[i], i);
        } else {
            *positions += WriteRookEnding(out, moves[i], target);
        }
        PlayGameMove(game_position, reading.move);
        if (mode == 3 && !Within(moves[i].score, DECIDED_SCORE)) { break; }
    }
    if (mode == 1) { std::putc('\n', out); }
}

void ProcessBufferedGame(Scan* scan) {
    int positions;
    ProcessGame(scan->out, scan->moves, scan->count, scan->mode, scan->result, &positions);
    scan->positions += positions;
}

void ScanTagLine(Scan* scan, const TextLine& line) {
    if (scan->count > 0) {
        ProcessBufferedGame(scan);
        scan->comment.clear();
        scan->depth = 0;
    }
    scan->count = 0;
    scan->full = false;
    if (scan->mode == 1) {
        std::fwrite(line.text, 1, line.length, scan->out);
        if (line.has_line_feed) { std::putc('\n', scan->out); }
        if (std::strstr(line.text, "Round ") != nullptr) {
            std::fprintf(scan->out, "[Tag \"game_%d\"]\n", scan->games);
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
    if (scan->depth == 0 || --scan->depth > 0 || scan->count == 0 || scan->full) { return; }
    ScannedMove& last = scan->moves[scan->count - 1];
    last.score = CommentScore(scan->comment, (scan->count - 1) % 2);
}

// Takes the move token at the front of the text; returns its length in the text.
std::size_t TakeToken(Scan* scan, const char* text) {
    const std::size_t length = std::strcspn(text, " \t\r{");
    scan->comment.clear();
    scan->full = scan->count == GAME_MOVES;
    if (!scan->full) {
        ScannedMove& move = scan->moves[scan->count++];
        const std::size_t kept = std::min<std::size_t>(length, TOKEN_LENGTH);
        std::memcpy(move.text, text, kept);
        move.text[kept] = '\0';
        move.score = NO_COMMENT_SCORE;
    }
    return length;
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
            if (scan->comment.size() < COMMENT_LENGTH) {
                scan->comment.append(from, static_cast<std::size_t>(s - from));
            }
        } else if (IsLetter(*s)) {
            s += TakeToken(scan, s);
        } else {
            ++s;
        }
    }
    if (scan->depth > 0 && scan->comment.size() < COMMENT_LENGTH) { scan->comment += ' '; }
}

}  // namespace

void Scan_PGN_File(const char* path, int mode) {
    LineReader reader;
    if (!OpenLines(&reader, path)) { return; }
    const char* out_name = mode == 1 ? "tmp.pgn" : "tmp.epd";
    std::FILE* out = std::fopen(out_name, "w");
    if (out == nullptr) {
        CloseLines(&reader);
        return;
    }
    InitEval();
    PBlock.options.log = 0;
    static Scan scan;
    scan = Scan{};
    scan.out = out;
    scan.mode = mode;
    TextLine line;
    while (!PBlock.control.quit && ReadLine(&reader, &line)) {
        if (line.starts_line && line.text[0] == '[' && line.text[1] != '%') {
            ScanTagLine(&scan, line);
        } else {
            ScanMoveText(&scan, line);
        }
    }
    if (scan.count > 0) { ProcessBufferedGame(&scan); }
    std::putc('\n', out);
    CloseLines(&reader);
    errno = 0;
    const bool bad = std::ferror(out) != 0;
    if (std::fclose(out) != 0 || bad) {
        ShowMessageF("cannot write %s: %s", out_name, std::strerror(errno != 0 ? errno : EIO));
    }
    if (InterruptSeen()) { ShowError("interrupted: the rest of %s is not scanned\n", path); }
    ShowMessageF("games= %d, positions= %d\n", scan.games, scan.positions);
}
