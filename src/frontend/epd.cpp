// EPD suites: one search per line of the file, how often the best move was found and how well the
// scores predict the labelled results. Everything of start-up must have run. Front-end thread only;
// deep searches use the search threads, shallow ones run on the calling thread with slot 1.
#include "frontend/epd.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "board/epdline.h"
#include "board/moves.h"
#include "book/gamemove.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/epdgoal.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "frontend/report.h"
#include "frontend/toolwait.h"
#include "frontend/units.h"
#include "platform/outfile.h"
#include "search/keepoptions.h"
#include "search/search.h"
#include "search/searchinfo.h"
#include "search/threads.h"
#include "search/toolsearch.h"
#include "search/ttable.h"

namespace {

constexpr int TABLE_DEPTH = 2;  // from this depth limit on the table is used
constexpr int POOL_DEPTH = 6;   // from this depth limit on the search threads are used
constexpr const char* UNSOLVED_FILE = "unsolved.epd";

// Totals of one run.
struct EpdTotals {
    int positions = 0;
    int correct = 0;
    u64 nodes = 0;
    double seconds = 0.0;
    double depth = 0.0;
    double branching = 0.0;
    double error = 0.0;
};

int MoveOfText(const char* first, const char* last) {
    Move m;
    return IsValidMove({first, last}, &m) ? m : NO_MOVE;
}

bool SearchIsBrief() {
    return PBlock.control.stop != STOP_NONE || PBlock.progress.iteration_depth <= 1;
}

// Suites are read and reported with all that their standard knows.
bool FullEpd() { return PBlock.options.conventions.full_epd; }

bool Quiet() { return PBlock.options.noise == NOISE_NEVER; }

// One run over a file, with what it needs from line to line.
class EpdRun {
public:
    EpdRun(int show, int max_depth) : show_(show), max_depth_(max_depth) {}
    EpdRun(const EpdRun&) = delete;
    EpdRun& operator=(const EpdRun&) = delete;

    [[nodiscard]] bool OpenUnsolved() {
        return max_depth_ < 1 || unsolved_.Create(UNSOLVED_FILE) || ShowFault();
    }
    // Puts the file of unsolved positions in its place, unless the run did not come to the end of
    // the suite and would replace what it has not read.
    void EndUnsolvedFile(bool broken_off, bool unreadable);
    void Analyze(const std::string& line, const EpdRecord& record);
    void ShowSummary() const;
    double AverageError() const { return Average(totals_.error); }

private:
    int Search();
    bool ShowFault() {
        ShowMessage(unsolved_.Fault().c_str());
        return false;
    }
    void KeepUnsolved(const std::string& line);
    void AddError(const EpdRecord& record, int score) {
        totals_.error += std::abs(record.result - WinProbability(score));
    }
    void Announce(const std::string& line) const;
    void ReadGoal(const EpdRecord& record);
    bool CountSolution();
    void ShowResult(int score) const;
    double Average(double sum) const {
        return totals_.positions == 0 ? 0.0 : sum / totals_.positions;
    }

    int show_;
    int max_depth_;
    OutFile unsolved_;
    EpdTotals totals_;
    EpdGoal goal_;  // of the position at hand, and what all came to: in the standard form
    SolutionTotals solutions_;
};

void EpdRun::Announce(const std::string& line) const {
    if (Quiet()) { return; }
    ShowMessageF("pos= %d", totals_.positions);
    ShowMessage(line.c_str());
    ShowBoard(game_position);
}

// Searches the game position in the way its depth asks for, and returns the score.
int EpdRun::Search() {
    PrepareToolSearch();
    if (max_depth_ < POOL_DEPTH) {
        const int score = ScoreGamePosition();
        LookAtInput(static_cast<unsigned>(totals_.positions));
        return score;
    }
    StartSearch();
    WaitForToolSearch(SearchIsBrief);
    return PBlock.result.Score();
}

void EpdRun::ReadGoal(const EpdRecord& record) {
    PBlock.tool.expected_move = NO_MOVE_READ;
    goal_ = {};
    if (max_depth_ < 1) { return; }
    if (!FullEpd()) {
        PBlock.tool.expected_move = ExpectedMove(record.best_move);
        return;
    }
    goal_ = GoalOfLine(record.position);
    if (goal_.half_moves > 0) { game_position->fifty = static_cast<u8>(goal_.half_moves); }
    for (const std::string& word : goal_.unread) {
        if (show_) {
            ShowError("\"%s\" is no legal move: %s\n", word.c_str(), record.position.c_str());
        }
    }
}

// Whether the search that has ended solved its position; counts it.
bool EpdRun::CountSolution() {
    const ResultSnapshot result = PBlock.result.Snapshot();
    if (!FullEpd()) {
        return PBlock.tool.expected_move > 0 && result.pv[1] == PBlock.tool.expected_move;
    }
    return solutions_.Add(goal_, result);
}

void EpdRun::ShowResult(int score) const {
    if (Quiet()) { return; }
    const ResultSnapshot result = PBlock.result.Snapshot();
    DisplaySearchInfo(0, 0, result.depth_done, score, result.pv);
    if (FullEpd()) { solutions_.ShowLast(goal_); }
    char move[MOVE_TEXT_SIZE];
    MoveToStr(result.pv[1], move, TextStyle());
    const double elapsed = PBlock.time.elapsed;
    const double nodes = static_cast<double>(Collect().nodes);
    ShowMessageF("move= %s, time= %0.3f, score= %d, nodes= %0.0f, %0.0fK nps\n", move, elapsed,
                 score, nodes, KiloNodesPerSecond(nodes, elapsed));
}

void EpdRun::KeepUnsolved(const std::string& line) {
    if (unsolved_.IsOpen()) { unsolved_.Write(line + '\n'); }
}

// Searches the position of one line and adds it to the totals. One that cannot be searched counts
// as unsolved, with the score of an even position.
void EpdRun::Analyze(const std::string& line, const EpdRecord& record) {
    SetUpGame(FullEpd() ? WithSingleBlanks(record.position).c_str() : record.position.c_str());
    ++totals_.positions;
    if (show_) { ShowStatus("position %d, %d correct", totals_.positions, totals_.correct); }
    if (const char* why = WhyUnplayable(game_position)) {
        Announce(record.position);
        if (show_) { ShowError("%s: %s\n", why, record.position.c_str()); }
        KeepUnsolved(line);
        solutions_.AddUnsearched();
        AddError(record, 0);
        LookAtInput(static_cast<unsigned>(totals_.positions));
        return;
    }
    ReadGoal(record);
    if (max_depth_ >= TABLE_DEPTH) { ClearTTable(); }
    Announce(record.position);

    const int score = Search();
    GetElapsedTime(0);
    totals_.seconds += PBlock.time.elapsed;
    totals_.nodes += Collect().nodes;
    totals_.depth += PBlock.result.DepthDone();
    totals_.branching += EffectiveBranchingFactor();
    if (CountSolution()) {
        ++totals_.correct;
    } else {
        KeepUnsolved(line);
    }
    AddError(record, score);
    ShowResult(score);
    PBlock.control.search_state = SEARCH_IDLE;
}

void EpdRun::ShowSummary() const {
    const EpdTotals& t = totals_;
    const u64 average_nodes = t.nodes / static_cast<u64>(std::max(t.positions, 1));
    ShowMessageF("%d / %d correct best moves", t.correct, t.positions);
    ShowMessageF("total nodes= %0.0f", static_cast<double>(t.nodes));
    ShowMessageF("total time= %0.2f seconds", t.seconds);
    ShowMessageF("avg depth= %0.1f", Average(t.depth));
    ShowMessageF("avg nodes= %0.1f", static_cast<double>(average_nodes));
    ShowMessageF("node_rate= %0.0f", static_cast<double>(t.nodes) / (t.seconds + SHORTEST_RUN));
    ShowMessageF("avg bf= %0.2f", Average(t.branching));
    ShowMessageF("avg error= %0.5f\n", AverageError());
    if (FullEpd()) { solutions_.Show(); }
}

void EpdRun::EndUnsolvedFile(bool broken_off, bool unreadable) {
    const char* suite = PBlock.tool.epd_file.c_str();
    if (unreadable) {
        ShowError("cannot read %s to its end\n", suite);
        PBlock.tool.failed = true;
        unsolved_.Abandon();
    } else if (unsolved_.IsOpen() && broken_off && SameFile(suite, UNSOLVED_FILE)) {
        ShowError("interrupted: %s is unchanged\n", suite);
        unsolved_.Abandon();
    } else if (unsolved_.IsOpen() && !unsolved_.Commit()) {
        PBlock.tool.failed = true;
        ShowFault();
    }
}

}  // namespace

int ExpectedMove(const std::string& text) {
    const char* first = text.c_str();
    const char* const end = first + text.size();
    if (const int whole = MoveOfText(first, end)) { return whole; }
    while (first != end) {
        const char* last = std::find(first, end, ' ');
        if (last != first) {
            if (const int m = MoveOfText(first, last)) { return m; }
        }
        first = last == end ? end : last + 1;
    }
    return 0;
}

double Analyze_EPD_File(int show) {
    LineReader reader;
    if (!OpenLines(&reader, PBlock.tool.epd_file.c_str())) { return UNREADABLE_FILE; }
    EpdRun run(show, PBlock.limits.max_depth);
    if (!run.OpenUnsolved()) {
        CloseLines(&reader);
        PBlock.tool.failed = true;
        return UNREADABLE_FILE;
    }
    const KeepOptions kept;
    InitEval();
    if (show) { ShowMessageF("Analyzing %s...", PBlock.tool.epd_file.c_str()); }
    if (PBlock.limits.max_depth < TABLE_DEPTH) { PBlock.options.hash_mode = 0; }
    std::string line;
    EpdRecord record;
    while (PBlock.control.quit == 0 && NextEpdRecord(&reader, &line, &record)) {
        run.Analyze(line, record);
    }
    const bool broken_off = reader.broken_off || PBlock.control.quit != 0;
    const bool unreadable = !broken_off && ReadingFailed(reader);
    CloseLines(&reader);
    run.EndUnsolvedFile(broken_off, unreadable);
    if (show) {
        ClearStatus();
        run.ShowSummary();
    }
    return run.AverageError();
}
