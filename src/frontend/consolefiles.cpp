// Console commands that read and write files: games, positions, the book, tuning.

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/position.h"
#include "book/book.h"
#include "book/gamemove.h"
#include "book/pgntext.h"
#include "book/pgnwrite.h"
#include "frontend/commandloop.h"
#include "frontend/consolecommands.h"
#include "frontend/output.h"
#include "frontend/report.h"
#include "platform/infile.h"
#include "platform/outfile.h"
#include "platform/textlines.h"
#include "search/ttable.h"
#include "tune/tune.h"

namespace {

constexpr const char* SAVED_GAMES = "tmp.pgn";
constexpr const char* TEST_POSITIONS = "test.epd";
constexpr std::size_t COPIED_AT_ONCE = 4096;  // bytes
constexpr std::size_t EPD_LINE_SHOWN = 254;   // characters of a line of "test.epd" that are printed
constexpr std::size_t EPD_LINE_WITH_BOARD = 9;  // a shorter one is no position
constexpr int GAME_NUMBER_MAX = 1000;           // "load" takes a larger number for 1
constexpr int PGN_MOVE_LENGTH = 32;             // characters of a move in a game file
constexpr int SAVED_MOVES_PER_LINE = 11;

// `why` as OpenRegularFile leaves it.
void ShowUnreadable(const char* path, const char* why) {
    ShowError("%s: %s\n", path, why != nullptr ? why : "there is no such file");
}

constexpr const char* GAME_START = "[Event ";

bool StartsGame(const TextLine& line) { return std::strstr(line.text, GAME_START) != nullptr; }

// Moves the reader to the start of the wanted game; false when the file has no such game. A file
// without any event tag is one game.
[[nodiscard]] bool FindGame(LineReader* reader, const std::string& tag) {
    const bool by_number = tag.empty() || std::isdigit(static_cast<unsigned char>(tag[0]));
    int wanted = by_number ? AnyNumber(tag) : 0;
    if (by_number && (wanted < 1 || wanted > GAME_NUMBER_MAX)) { wanted = 1; }
    u64 game_start = reader->offset;
    int games = 0;
    TextLine line;
    while (ReadLine(reader, &line)) {
        if (StartsGame(line)) {
            game_start = line.offset;
            if (++games == wanted) { return SeekLine(reader, game_start); }
        }
        if (!by_number && std::strstr(line.text, tag.c_str()) != nullptr) {
            return SeekLine(reader, game_start);
        }
    }
    return games == 0 && wanted == 1 && SeekLine(reader, game_start);
}

// What is open at the end of a line of a game.
struct GameTextState {
    bool in_comment = false;       // in braces
    bool in_line_comment = false;  // after a semicolon
    int variations = 0;            // depth of parentheses
};

// Plays one word of a game's text, from its first letter on. False when it is no legal move.
[[nodiscard]] bool PlayGameWord(const std::string& word) {
    const auto letter = std::find_if(word.begin(), word.end(), [](char c) {
        return std::isalpha(static_cast<unsigned char>(c)) != 0;
    });
    if (letter == word.end()) { return true; }
    const std::string text(letter,
                           letter + std::min<std::ptrdiff_t>(word.end() - letter, PGN_MOVE_LENGTH));
    Move m;
    if (IsValidMove(text, &m)) {
        PlayGameMove(game_position, m);
        return true;
    }
    ShowMessageF("can't parse move '%s'", text.c_str());
    return false;
}

// Plays the moves of one line, without comments and variations. False at a move that is not legal.
[[nodiscard]] bool PlayGameLine(const TextLine& line, GameTextState* state) {
    std::string word;
    for (const char c : std::string_view(line.text, line.length)) {
        if (state->in_line_comment) { return true; }
        if (state->in_comment) {
            state->in_comment = c != '}';
            continue;
        }
        const bool plain =
            static_cast<unsigned char>(c) > ' ' && std::strchr("{};()", c) == nullptr;
        if (plain && state->variations == 0) { word += c; }
        if (plain) { continue; }
        if (!word.empty() && !PlayGameWord(word)) { return false; }
        word.clear();
        if (c == ';') { state->in_line_comment = true; }
        if (c == '{') { state->in_comment = true; }
        if (c == '(') { ++state->variations; }
        if (c == ')' && state->variations > 0) { --state->variations; }
    }
    return word.empty() || PlayGameWord(word);
}

void PlayGame(LineReader* reader) {
    GameTextState state;
    PgnText pgn;
    TextLine line;
    for (bool first = true; ReadLine(reader, &line); first = false) {
        if (!first && StartsGame(line)) { return; }
        line = pgn.Plain(line);
        if (pgn.NamesStart()) { NewGamePosition(pgn.Start().c_str()); }
        if (line.starts_line) { state.in_line_comment = false; }
        const bool skipped =
            line.starts_line && !state.in_comment && (line.text[0] == '[' || line.text[0] == '%');
        if (!skipped && !PlayGameLine(line, &state)) { return; }
    }
}

// The first line that carries the wanted id; empty when there is none.
std::string FindEpdLine(LineReader* reader, const std::string& id) {
    const std::string wanted = std::string("id \"") + id + '"';
    TextLine line;
    while (ReadLine(reader, &line)) {
        if (line.text[0] == ';' || line.text[0] == ' ') { continue; }
        if (std::strstr(line.text, wanted.c_str()) == nullptr) { continue; }
        return std::string(line.text, std::strcspn(line.text, "\r")).substr(0, EPD_LINE_SHOWN);
    }
    return "";
}

// Adds what a file holds, if it is there, to an output. False, said in a line, when it cannot be
// read: what it holds must not be lost.
[[nodiscard]] bool AppendFile(const char* path, OutFile* out) {
    const char* why;
    std::FILE* in = OpenRegularFile(path, &why);
    if (in != nullptr) {
        char bytes[COPIED_AT_ONCE];
        for (std::size_t n = 0; (n = std::fread(bytes, 1, sizeof bytes, in)) > 0;) {
            out->Write({bytes, n});
        }
        if (std::ferror(in)) { why = "cannot be read"; }
        std::fclose(in);
    }
    if (why != nullptr) { ShowMessageF("%s: %s", path, why); }
    return why == nullptr;
}

// Plays the game again from its start as far as it stands on the board, and writes it.
void WriteClassicGame(OutFile* out, int moves) {
    Position* pos = game_position;
    out->Write("[Event \"Unknown\"]\n");
    for (int i = 1; i <= moves; ++i) {
        const Move m = pos->undo[pos->hist_count].move;
        MoveForms forms;
        GenMoveStrings(pos, m, &forms);
        out->Print(i % SAVED_MOVES_PER_LINE == 0 ? "%s \n" : "%s ", forms.san);
        PlayGameMove(pos, m);
    }
    out->Write("\n\n");
}

// "1-0" and the like where the game has ended on the board.
const char* ResultOnBoard(Position* pos) {
    if (WhyUnplayable(pos) != nullptr || !LegalMoves(pos).empty()) { return "*"; }
    if (!InCheck(pos, pos->side)) { return "1/2-1/2"; }
    return pos->side == WHITE ? "0-1" : "1-0";
}

void WriteStandardGame(OutFile* out, int moves, const char* result) {
    Position* pos = game_position;
    char start[EPD_FIELDS_SIZE];
    MakeEPD(pos, start);
    PgnWriter writer;
    PgnTags tags;
    tags.result = result;
    tags.start = start;
    tags.half_moves = pos->fifty;
    writer.Tags(tags);
    for (int i = 0; i < moves; ++i) {
        const Move m = pos->undo[pos->hist_count].move;
        {
            const RecordKeeper keep;  // notation makes trial moves
            writer.AddMove(pos, m);
        }
        PlayGameMove(pos, m);
    }
    out->Write(writer.End(result));
}

}  // namespace

void LoadCommand(const Command& c) {
    ShowMessageF("loading %s, tag %s\n", c.word[1].c_str(), c.word[2].c_str());
    const char* path = c.word[1].c_str();
    LineReader reader;
    const char* why;
    if (OpenLines(&reader, OpenRegularFile(path, &why))) {
        EndSelfPlay();
        NewGamePosition(fen_opn);
        if (FindGame(&reader, c.word[2])) { PlayGame(&reader); }
        CloseLines(&reader);
        EndGameRecord();
        ShowBoard(game_position);
    } else {
        ShowUnreadable(path, why);
    }
    PBlock.time.ResetClocks();
}

void SaveCommand(const Command&) {
    OutFile out;
    if (!out.Create(SAVED_GAMES)) {
        ShowMessage(out.Fault().c_str());
        return;
    }
    if (!AppendFile(SAVED_GAMES, &out)) { return; }
    Position* pos = game_position;
    const int moves = pos->hist_count;
    if (PBlock.options.conventions.full_pgn) {
        const char* result = ResultOnBoard(pos);
        TakeBackAll();
        WriteStandardGame(&out, moves, result);
    } else {
        TakeBackAll();
        WriteClassicGame(&out, moves);
    }
    if (!out.Commit()) { ShowMessage(out.Fault().c_str()); }
}

void GetCommand(const Command& c) {
    LeaveGame();
    LineReader reader;
    const char* why;
    if (!OpenLines(&reader, OpenRegularFile(TEST_POSITIONS, &why))) {
        ShowUnreadable(TEST_POSITIONS, why);
        return;
    }
    const std::string line = FindEpdLine(&reader, c.word[1]);
    CloseLines(&reader);
    ShowMessage(line.c_str());
    if (line.size() >= EPD_LINE_WITH_BOARD) { NewGamePosition(line.c_str()); }
    ClearTTable();
    ShowBoard(game_position);
}

void BookCommand(const Command&) {
    const RecordKeeper keep;
    ChooseBookMove(game_position, 1);
    ShowMessage("");
}

void MakeBookCommand(const Command&) {
    EndSelfPlay();
    MakeBook();
    EndGameRecord();
}

void TuneWeightCommand(const Command& c) {
    if (c.word[1].empty() || c.word[2].empty()) { return; }
    EndSelfPlay();
    const OwnSearch own;
    TuneCommand(c.word[1].c_str(), c.word[2].c_str());
    EndGameRecord();
}
