// What the files of the console share: a command line taken apart, the table of commands, the
// command functions, and what several of them use. Everything of start-up must have run. Front-end
// thread only; search threads may be busy, so a command that replaces what they read (the
// parameters, the records that a tool searches with) ends their search first. A request for another
// search waits until the search that runs has ended.
#pragma once

#include <array>
#include <climits>
#include <span>
#include <string>

#include "board/position.h"
#include "frontend/pblock.h"
#include "platform/words.h"

inline constexpr int CONSOLE_WORDS = 10;                 // the command word and nine arguments
inline constexpr std::size_t CONSOLE_WORD_LENGTH = 127;  // a longer word is cut

// A command line taken apart at every single blank. Missing words are empty.
struct Command {
    std::string line;
    std::array<std::string, CONSOLE_WORDS> word;  // [0] the command word
};

// One row of the table of commands.
struct ConsoleWord {
    const char* name;
    const char* arguments;  // as they are shown to the user
    const char* help;       // one line
    void (*run)(const Command&);
    bool anywhere = false;  // the name may stand anywhere in the word
};
// Every command, in the order in which they are tried.
std::span<const ConsoleWord> ConsoleWords();

// The number of a word, 0 without one; too large ones stop at the ends of int.
inline int AnyNumber(const std::string& word) {
    return WholeNumber(word.c_str(), INT_MIN, INT_MAX);
}

// --- game and position (consolegame.cpp) ---
// The game record: the move words of the undo records from hist_count on are the moves that were
// taken back and can be replayed, ended by 0. Whatever makes trial moves on the game position keeps
// them with a RecordKeeper; a new move ends the record after it.
void NewCommand(const Command& c);
void FenCommand(const Command& c);
void BoardCommand(const Command& c);
void BoardStyleCommand(const Command& c);
void MoveCommand(const Command& c);
void UndoCommand(const Command& c);
void RedoCommand(const Command& c);
void JumpCommand(const Command& c);
void EditCommand(const Command& c);

// Plays a word of the user on the game position when it is a legal move; nothing when it is none.
void EnterMove(const std::string& typed);
// A new game from a position; there is nothing to replay in it.
void NewGamePosition(const char* fen);
// Takes every move of the game back; all of them can be replayed.
void TakeBackAll();
// Nothing can be replayed after the current position any more.
void EndGameRecord();

// Puts back, at the end of its life, the moves that could be replayed at its beginning. Requires
// that the game position is then what it was.
class RecordKeeper {
public:
    RecordKeeper();
    ~RecordKeeper();
    RecordKeeper(const RecordKeeper&) = delete;
    RecordKeeper& operator=(const RecordKeeper&) = delete;

private:
    int first_;
    std::array<Move, MAX_UNDO_RECORDS> moves_;
};

// --- searching, limits, selectivity, looking into the engine (consolesearch.cpp) ---
void GoCommand(const Command& c);
void AnalyseCommand(const Command& c);
void StopCommand(const Command& c);
void WaitCommand(const Command& c);
void ThinkCommand(const Command& c);
void SelfPlayCommand(const Command& c);
void ForceCommand(const Command& c);
void LevelCommand(const Command& c);
void TimeCommand(const Command& c);
void DepthCommand(const Command& c);
void MultiPvCommand(const Command& c);
void NoiseCommand(const Command& c);
void PonderCommand(const Command& c);
void HashCommand(const Command& c);
void QuitCommand(const Command& c);
void EvaluationCommand(const Command& c);
void DebugCommand(const Command& c);
void LineCommand(const Command& c);
void PerftCommand(const Command& c);
void SwapCommand(const Command& c);
void ParametersCommand(const Command& c);
void ReductionsCommand(const Command& c);
void TraceCommand(const Command& c);
void SetCommand(const Command& c);

// Shows the evaluation of the game position. Requires a playable one. Ends a search that runs.
void ShowEvaluation();
// A command changes the game: the search that runs is abandoned, and a self-play game does not go
// on from there.
void LeaveGame();
// False, and one line that says why, when the game position cannot be searched or evaluated.
[[nodiscard]] bool PositionIsPlayable();

// A command that prepares a search of its own holds one of these: it ends the search that runs.
// InitSearch takes over a waiting request as the state of the search and clears the published line:
// the request is held back meanwhile, and the line of the last search comes back.
class OwnSearch {
public:
    OwnSearch();
    ~OwnSearch();
    OwnSearch(const OwnSearch&) = delete;
    OwnSearch& operator=(const OwnSearch&) = delete;

private:
    u8 request_;
    ResultSnapshot kept_;
};

// --- files (consolefiles.cpp) ---
void LoadCommand(const Command& c);
void SaveCommand(const Command& c);
void GetCommand(const Command& c);
void BookCommand(const Command& c);
void MakeBookCommand(const Command& c);
void TuneWeightCommand(const Command& c);
