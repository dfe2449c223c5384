// The board diagram, the evaluation report of the game position, and the listing of one
// piece-square table. Front-end thread only; the report while no search runs: slot 1's record does
// the evaluating.
#include "frontend/report.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "board/bitboards.h"
#include "board/zobrist.h"
#include "eval/evaluate.h"
#include "eval/threadblock.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "frontend/symbolboard.h"
#include "platform/terminal.h"
#include "search/search.h"

namespace {

constexpr const char* term_name[REPORT_TERMS] = {
    "pawns=", "knights=", "bishops=", "rooks=", "queens=", "kings=", "passers="};
constexpr const char* report_piece[2] = {"-PNBRQK", "-onbrqk"};  // by type

__attribute__((format(printf, 2, 3))) void Append(std::string* text, const char* format, ...) {
    char line[256];  // no piece of the report is longer
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    *text += line;
}

void AppendSquares(std::string* text, const char* title, Bitboard squares) {
    if (squares == 0) { return; }
    *text += title;
    while (squares != 0) { Append(text, "  %s", square_name[PopLSB(&squares)]); }
    *text += "\n";
}

// Letters of the men that `side` has more of than the other, queens first.
std::string Surplus(const Position* pos, int side) {
    std::string letters;
    for (int type = QUEEN; type >= PAWN; --type) {
        const int more = CountBits(pos->bb[side][type]) - CountBits(pos->bb[side ^ 1][type]);
        if (more > 0) { letters.append(static_cast<std::size_t>(more), wchar[type]); }
    }
    return letters;
}

void AppendLine(std::string* text, const char* name, const i16 value[2]) {
    Append(text, "%-10s %5d    %5d    %5d\n", name, value[WHITE], value[BLACK],
           value[WHITE] - value[BLACK]);
}

void AppendTerms(std::string* text, const Position* pos, const EvalReport& r) {
    *text += "           white    black     diff\n";
    Append(text, "mtl=       %5d    %5d    %5d   (%s :: %s)\n", r.material[WHITE],
           r.material[BLACK], r.material[WHITE] - r.material[BLACK], Surplus(pos, WHITE).c_str(),
           Surplus(pos, BLACK).c_str());
    AppendLine(text, "pos=", r.positional);
    for (int term = 0; term < REPORT_TERMS; ++term) {
        AppendLine(text, term_name[term], r.terms[term]);
    }
}

void AppendBoard(std::string* text, const Position* pos, const EvalReport& r) {
    for (int rank = 7; rank >= 0; --rank) {
        for (int sq = 8 * rank; sq < 8 * rank + 8; ++sq) {
            const int code = pos->board[sq];
            const char empty = sq_color[sq] ? '+' : '-';
            Append(text, " %c",
                   code == NO_PIECE ? empty : report_piece[PieceColour(code)][PieceType(code)]);
        }
        *text += "    ";
        for (int sq = 8 * rank; sq < 8 * rank + 8; ++sq) {
            if (pos->board[sq] != NO_PIECE) {
                Append(text, "%4d", r.squares[sq]);
            } else {
                *text += "    -";
            }
        }
        *text += "\n";
    }
}

}  // namespace

void ShowEvalInfo() {
    const Position* pos = game_position;
    if (PBlock.options.conventions.plain_console && InCheck(pos, pos->side)) {
        ShowMessageF("%s is in check: there is nothing to evaluate yet",
                     pos->side == WHITE ? "white" : "black");
        return;
    }
    const SearchLimits limits = PBlock.limits;
    PBlock.limits = {};
    PBlock.limits.max_depth = 0;
    InitSearch();
    EvalReport r;
    EvaluateWithReport(ThreadData[1], &r);
    SearchIterations(1);
    PBlock.limits = limits;

    const ThreadBlock* tb = ThreadData[1];
    std::string text = "\n";
    Append(&text, "eval= %d, qscore= %d, stage= %d, draw_adj= %0.2f\n\n", tb->root_eval,
           tb->running_score.Get(), r.stage, r.factor);
    AppendSquares(&text, "hung pieces on: ", r.hanging);
    AppendSquares(&text, "pinned pieces on :", r.pinned);
    if (r.free_pawn_rank[WHITE] > 0 || r.free_pawn_rank[BLACK] > 0) {
        Append(&text, "free pawn ranks are W: %d, B: %d\n", r.free_pawn_rank[WHITE],
               r.free_pawn_rank[BLACK]);
    }
    AppendTerms(&text, pos, r);
    AppendBoard(&text, pos, r);
    text += pos->side == WHITE ? "white\n" : "black\n";
    ShowMessage(text.c_str());
}

void PrintPSQTable(const i16* table, const char* title) {
    PrintDirect("%s\n", title);
    for (int rank = 7; rank >= 0; --rank) {
        for (int sq = 8 * rank; sq < 8 * rank + 8; ++sq) { PrintDirect("%3d", table[sq]); }
        PrintDirect("\n");
    }
    PrintDirect("\n");
}

namespace {

std::string LetterBoard(const Position* pos) {
    static constexpr char white_letters[] = "-PNBRQK-";
    static constexpr char black_letters[] = "-onbrqk-";
    std::string text;
    for (int rank = 7; rank >= 0; --rank) {
        text += ' ';
        for (int file = 0; file < 8; ++file) {
            const int code = pos->board[8 * rank + file];
            const char empty = (rank + file) % 2 == 0 ? '+' : '-';
            text += ' ';
            if (code == NO_PIECE) {
                text += empty;
            } else {
                text +=
                    (PieceColour(code) == WHITE ? white_letters : black_letters)[PieceType(code)];
            }
        }
        text += '\n';
    }
    return text;
}

}  // namespace

void ShowBoard(const Position* pos) {
    char fields[EPD_FIELDS_SIZE];
    MakeEPD(pos, fields);
    const std::string above = std::string(fields) + '\n';
    const std::string below = pos->side == WHITE ? "white\n" : "black\n";
    const std::string letters = above + LetterBoard(pos) + below;
    if (PBlock.options.board_style == BoardStyle::Ascii) {
        ShowMessage(letters.c_str());
    } else {
        const std::string board = SymbolBoard(pos, TerminalShowsColours());
        PrintDirect("%s%s%s\n", above.c_str(), board.c_str(), below.c_str());
        LogMessage(letters.c_str());
    }
}
