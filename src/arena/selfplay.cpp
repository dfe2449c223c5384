#include "arena/selfplay.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cmath>
#include <cstdio>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "arena/enginelink.h"
#include "arena/game.h"
#include "book/pgnwrite.h"
#include "eval/threadblock.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/infile.h"
#include "platform/outfile.h"
#include "platform/process.h"
#include "platform/sleep.h"
#include "platform/textlines.h"
#include "search/keepoptions.h"
#include "search/threads.h"

namespace {

constexpr int FIRST_SLOT =
    2;  // of a worker's record; before it stand the game and the search thread
constexpr int MOST_AT_ONCE = THREAD_SLOTS - FIRST_SLOT;
constexpr int GAMES_PER_LINE = 100;  // of the standing
constexpr int LOOK_MS = 50;
constexpr double MS_PER_SECOND = 1000.0;
constexpr const char* RESULT_TAG = "[Result \"";

// A game that is over, or how its worker ended.
struct Report {
    std::string text;
    int half_points = 0;  // of player 1
};

// Text that stands in a tag as it is.
std::string TagText(std::string text) {
    for (char& c : text) {
        if (c == '"' || c == '\\') { c = '\''; }
    }
    return text;
}

std::string GoLine(const SelfPlaySettings& settings) {
    if (settings.seconds > 0.0) {
        return "go movetime " + std::to_string(std::lround(settings.seconds * MS_PER_SECOND));
    }
    return settings.depth > 0 ? "go depth " + std::to_string(settings.depth)
                              : "go nodes " + std::to_string(settings.nodes);
}

// How long an answer may take, seconds: the time that was asked for, or what the slowest machine
// takes for the nodes, and patience.
double AnswerSeconds(const SelfPlaySettings& settings) {
    constexpr double SLOWEST_RATE = 10000.0;   // nodes a second of one player of many
    constexpr double NODES_OF_DEPTH_1 = 40.0;  // twice as many for each ply more
    if (settings.seconds > 0.0) { return settings.seconds + PATIENCE_SECONDS; }
    const double nodes = settings.depth > 0 ? std::ldexp(NODES_OF_DEPTH_1, settings.depth)
                                            : static_cast<double>(settings.nodes);
    return nodes / SLOWEST_RATE + PATIENCE_SECONDS;
}

// Says how the games are played: games of other settings are not gone on with.
std::string EventName(const SelfPlaySettings& settings) {
    const OpeningSettings& o = settings.openings;
    std::string text = "Self-play, " + GoLine(settings).substr(std::string_view("go ").size());
    if (!o.epd_file.empty()) { text += ", openings " + o.epd_file; }
    if (o.book_plies > 0) { text += ", book " + std::to_string(o.book_plies); }
    if (o.RandomPlies() > 0) { text += ", random " + std::to_string(o.RandomPlies()); }
    text += ", seed " + std::to_string(o.seed) + ", hash " + std::to_string(settings.hash_mb);
    if (settings.decided_score > 0) {
        text += ", decided at " + std::to_string(settings.decided_score);
    }
    return TagText(text);
}

// What the workers share.
struct Board {
    Board(const SelfPlaySettings& s, const std::vector<Opening>& o)
        : settings(s),
          openings(o),
          event(EventName(s)),
          date(DateOfToday()),
          rules{GoLine(s), AnswerSeconds(s), s.decided_score} {}

    const SelfPlaySettings& settings;
    const std::vector<Opening>& openings;
    const std::string event;
    const std::string date;
    const GameRules rules;
    std::atomic<bool> over = false;  // nobody needs further games
    std::mutex mutex;                // guards what follows
    int next_game = 0;               // from 0
    std::map<int, Report> reports;   // games that have not been written
    std::string fault;               // the first one; empty while all is well
    int workers = 0;                 // that play
};

// Player 1 has White in the first game of each pair.
int PlayerOf(int colour, int game) { return colour == game % 2 ? 0 : 1; }

std::string PlayerName(const SelfPlaySettings& settings, int player) {
    const std::string& file = settings.parameters[player];
    const std::string name = file.empty() ? "default" : TagText(file);
    const bool alike = settings.parameters[0] == settings.parameters[1];
    return alike ? name + (player == 0 ? " 1" : " 2") : name;
}

// --- the workers ---

void Fault(Board* board, const std::string& what) {
    const std::lock_guard<std::mutex> guard(board->mutex);
    if (board->fault.empty() && !board->over) { board->fault = what; }
    board->over = true;
}

class Worker {
public:
    Worker(Board* board, ThreadBlock* block)
        : board_(board), block_(block), players_{EngineLink(GivenUp()), EngineLink(GivenUp())} {}

    // Plays games until none is left or nobody needs them.
    void Run() {
        if (OpenPlayers()) {
            int game;
            while (TakeGame(&game) && Play(game)) {}
        }
        const std::lock_guard<std::mutex> guard(board_->mutex);
        --board_->workers;
        RaiseAlert();
    }

private:
    std::function<bool()> GivenUp() {
        return [board = board_] { return board->over.load(); };
    }

    bool OpenPlayers() {
        const SelfPlaySettings& settings = board_->settings;
        for (int i = 0; i < 2; ++i) {
            std::string why;
            const std::vector<std::string> words = {ProgramPath(),
                                                    "-nolog",
                                                    "-standard",
                                                    "-hash",
                                                    std::to_string(settings.hash_mb),
                                                    "-rc",
                                                    settings.parameters[i]};
            if (!players_[i].Open(words, &why)) {
                Fault(board_, "cannot start a player: " +
                                  (players_[i].Hangs() ? "it does not answer" : why));
                return false;
            }
        }
        return true;
    }

    std::string WhyNoAnswer(int round) const {
        const bool hangs = players_[0].Hangs() || players_[1].Hangs();
        return std::string("a player ") + (hangs ? "does not answer" : "has ended") + " in game " +
               std::to_string(round);
    }

    bool TakeGame(int* game) {
        const std::lock_guard<std::mutex> guard(board_->mutex);
        if (board_->over || board_->next_game >= board_->settings.games) { return false; }
        *game = board_->next_game++;
        return true;
    }

    bool Play(int number) {
        EngineLink* by_colour[2];
        GameNames names = {board_->event, board_->date, {}, number + 1};
        for (const int colour : {WHITE, BLACK}) {
            const int player = PlayerOf(colour, number);
            by_colour[colour] = &players_[player];
            names.players[colour] = PlayerName(board_->settings, player);
        }
        PlayedGame game;
        const Opening& opening = board_->openings[static_cast<std::size_t>(number) / 2];
        switch (PlayGame(opening, by_colour, board_->rules, block_, &game)) {
            case GameEnd::Finished:
                break;
            case GameEnd::NoAnswer:
                Fault(board_, WhyNoAnswer(names.round));
                return false;
            case GameEnd::IllegalMove:
                Fault(board_,
                      "a player made an illegal move in game " + std::to_string(names.round));
                return false;
        }
        const int white = game.white_half_points;
        const int own = PlayerOf(WHITE, number) == 0 ? white : HALF_POINTS_OF_WIN - white;
        Report report = {TextOfGame(game, names, block_), own};
        const std::lock_guard<std::mutex> guard(board_->mutex);
        board_->reports[number] = std::move(report);
        RaiseAlert();
        return true;
    }

    Board* board_;
    ThreadBlock* block_;
    EngineLink players_[2];
};

// --- what stands in the file already ---

struct Standing {
    Tally tally;
    int games = 0;                // written
    int half_points_of_pair = 0;  // of its first game
    std::string text;             // of the games
    std::vector<bool> is_copy;    // by pair: it can only come out as an earlier one did

    void Count(int half_points) {
        tally.CountGame(half_points);
        const std::size_t pair = static_cast<std::size_t>(games) / 2;
        if (games % 2 == 1 && !(pair < is_copy.size() && is_copy[pair])) {
            tally.CountPair(half_points_of_pair + half_points);
        }
        half_points_of_pair = half_points;
        ++games;
    }
};

// Half points of player 1 in a game whose result tag begins the text; -1 when it names none.
int HalfPointsOfTag(std::string_view result, int game) {
    for (int white = 0; white <= HALF_POINTS_OF_WIN; ++white) {
        if (result.starts_with(std::string(ResultText(white)) + '"')) {
            return PlayerOf(WHITE, game) == 0 ? white : HALF_POINTS_OF_WIN - white;
        }
    }
    return -1;
}

// Half points of player 1 in the game whose text this is, without line feeds at its end; -1 when it
// is not whole or not the next one of these settings.
int HalfPointsOf(std::string_view text, const SelfPlaySettings& settings, int game) {
    for (const int colour : {WHITE, BLACK}) {
        const std::string tag = std::string(colour == WHITE ? "[White \"" : "[Black \"") +
                                PlayerName(settings, PlayerOf(colour, game)) + "\"]\n";
        if (text.find(tag) == std::string_view::npos) { return -1; }
    }
    const std::size_t tag = text.find(RESULT_TAG);
    if (tag == std::string_view::npos) { return -1; }
    const std::string_view value = text.substr(tag + std::string_view(RESULT_TAG).size());
    const std::string_view result = value.substr(0, value.find('"'));
    const std::size_t before = text.size() - std::min(result.size() + 1, text.size());
    const bool whole = text.ends_with(result) && (text[before] == ' ' || text[before] == '\n');
    return whole ? HalfPointsOfTag(value, game) : -1;
}

// Reads the games that stand in the file; the last one may be broken off and is then left out.
// False when the file holds anything but games of these settings.
bool ReadStanding(const std::string& text, const SelfPlaySettings& settings, Standing* standing) {
    const std::string head = "[Event \"" + EventName(settings) + "\"]\n";
    std::size_t at = std::min(text.find_first_not_of('\n'), text.size());
    while (at < text.size()) {
        const std::size_t next = std::min(text.find("\n\n[Event ", at), text.size());
        const bool last = next == text.size();
        const std::string_view piece(text.data() + at, next - at);
        if (!piece.starts_with(head)) { return last && head.starts_with(piece); }
        const std::string_view game = piece.substr(0, piece.find_last_not_of('\n') + 1);
        const int half_points = HalfPointsOf(game, settings, standing->games);
        if (half_points < 0) { return last; }
        standing->Count(half_points);
        standing->text.append(game);
        standing->text += "\n\n";
        at = std::min(text.find_first_not_of('\n', next), text.size());
    }
    return true;
}

bool ReadWholeFile(const std::string& path, std::string* text, const char** why) {
    std::FILE* file = OpenRegularFile(path.c_str(), why);
    if (file == nullptr) { return *why == nullptr; }  // no file: nothing in it
    char bytes[BUFSIZ];
    while (const std::size_t n = std::fread(bytes, 1, sizeof bytes, file)) {
        text->append(bytes, n);
    }
    const bool good = std::ferror(file) == 0;
    std::fclose(file);
    if (!good) { *why = "cannot be read"; }
    return good;
}

// Locks of the file before and after it is written anew: two runs would lose each other's games.
struct GamesLock {
    PathLock before, after;
};

bool OpenGames(const SelfPlaySettings& settings, GamesLock* lock, Standing* standing,
               OutFile* out) {
    const char* path = settings.games_file.c_str();
    if (!lock->before.TryLock(path)) {
        ShowError("another run writes %s\n", path);
        return false;
    }
    std::string text;
    const char* why = nullptr;
    if (!ReadWholeFile(settings.games_file, &text, &why)) {
        ShowError("%s: %s\n", path, why);
        return false;
    }
    if (!ReadStanding(text, settings, standing)) {
        ShowError("%s holds something else than games of these settings and is left as it is\n",
                  path);
        return false;
    }
    bool good = out->Create(settings.games_file);
    if (good) {
        out->Write(standing->text);
        good = out->GrowInPlace();
    }
    if (!good) { ShowError("%s\n", out->Fault().c_str()); }
    return good && lock->after.TryLock(path);
}

// --- openings that come again ---

// By pair: whether its opening has come before.
std::vector<bool> RepeatedOpenings(const std::vector<Opening>& openings) {
    std::set<std::pair<std::string, std::vector<Move>>> seen;
    std::vector<bool> repeated;
    for (const Opening& o : openings) {
        repeated.push_back(!seen.emplace(o.start, o.moves).second);
    }
    return repeated;
}

// Players that a clock does not stop play the same games again, which are no further evidence.
void NoteRepeatedOpenings(const SelfPlaySettings& settings, const std::vector<Opening>& openings,
                          Standing* standing) {
    const std::vector<bool> repeated = RepeatedOpenings(openings);
    const auto copies = std::count(repeated.begin(), repeated.end(), true);
    const bool same_games = settings.seconds <= 0.0;
    standing->is_copy = same_games ? repeated : std::vector<bool>(repeated.size());
    if (copies == 0) { return; }
    ShowMessageF("openings= %zu, different= %zu%s", openings.size(),
                 openings.size() - static_cast<std::size_t>(copies),
                 same_games ? ": pairs that repeat one are not counted as evidence" : "");
}

// --- the match ---

class Match {
public:
    Match(const SelfPlaySettings& settings, Board* board, Standing* standing, OutFile* out)
        : settings_(settings), board_(board), standing_(standing), out_(out) {}

    // Writes the games as they come until all are there or the test is decided.
    void Run(void (*look)()) {
        ShowStanding();
        while (!Ended()) {
            look();
            if (PBlock.control.quit) { board_->over = true; }
            WriteReports();
            SleepEx(LOOK_MS);
        }
        WriteReports();
    }

private:
    bool Ended() {
        const std::lock_guard<std::mutex> guard(board_->mutex);
        return board_->workers == 0;
    }

    bool TakeReport(Report* report) {
        const std::lock_guard<std::mutex> guard(board_->mutex);
        const auto found = board_->reports.find(standing_->games);
        if (found == board_->reports.end()) { return false; }
        *report = std::move(found->second);
        board_->reports.erase(found);
        return true;
    }

    void WriteReports() {
        Report report;
        while (!Decided() && TakeReport(&report)) {
            out_->Write(report.text);
            if (!out_->Flush()) {
                board_->over = true;
                return;
            }
            standing_->Count(report.half_points);
            ShowStanding();
        }
        if (Decided()) { board_->over = true; }
    }

    // After complete pairs only: the games then do not depend on who was faster.
    bool Decided() const {
        return settings_.test && standing_->games % 2 == 0 &&
               Judge(LogLikelihoodRatio(standing_->tally, *settings_.test)) != Verdict::Open;
    }

    void ShowStanding() const {
        const Tally& tally = standing_->tally;
        if (tally.Games() == 0) { return; }
        const std::string line = StandingLine(tally, settings_.test);
        if (tally.Games() % GAMES_PER_LINE == 0 && tally.Games() < settings_.games) {
            ClearStatus();
            ShowMessage(line.c_str());
        }
        ShowStatus("%s", line.c_str());
    }

    const SelfPlaySettings& settings_;
    Board* board_;
    Standing* standing_;
    OutFile* out_;
};

int GamesAtOnce(const SelfPlaySettings& settings) {
    const int processors = static_cast<int>(std::thread::hardware_concurrency());
    const int wanted = settings.at_once > 0 ? settings.at_once : std::max(processors, 1);
    return std::clamp(wanted, 1, std::min(MOST_AT_ONCE, std::max(settings.games, 1)));
}

// Starts the workers; those that cannot be started are done without.
class Workers {
public:
    Workers(Board* board, int count) : board_(board), threads_(static_cast<std::size_t>(count)) {
        board->workers = count;
        for (int i = 0; i < count; ++i) {
            ThreadBlock* block = NewThreadBlock(FIRST_SLOT + i);
            const auto body = [board, block](int) { Worker(board, block).Run(); };
            if (block == nullptr || StartThread(&threads_[static_cast<std::size_t>(i)], body, i)) {
                const std::lock_guard<std::mutex> guard(board->mutex);
                --board->workers;
                ++missing_;
            }
        }
    }
    ~Workers() {
        board_->over = true;
        for (std::thread& thread : threads_) {
            if (thread.joinable()) { thread.join(); }
        }
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;
    bool NoneStarted() const { return missing_ == static_cast<int>(threads_.size()); }

private:
    Board* board_;
    std::vector<std::thread> threads_;
    int missing_ = 0;
};

// A file of parameters that cannot be read would be missed by each player again.
bool ParametersAreThere(const SelfPlaySettings& settings) {
    for (const std::string& file : settings.parameters) {
        const char* why = nullptr;
        if (file.empty()) { continue; }
        std::FILE* opened = OpenRegularFile(file.c_str(), &why);
        if (opened == nullptr) {
            ShowError("%s: %s\n", file.c_str(), why != nullptr ? why : "no such file");
            return false;
        }
        std::fclose(opened);
    }
    return true;
}

}  // namespace

std::string StandingLine(const Tally& tally, const std::optional<Hypotheses>& test) {
    constexpr std::size_t LINE_SIZE = 200;
    constexpr double PERCENT = 100.0;
    char line[LINE_SIZE];
    const auto& p = tally.pairs;
    std::snprintf(line, sizeof line, "%d games: +%d =%d -%d, %.1f %%", tally.Games(), tally.wins,
                  tally.draws, tally.losses, PERCENT * tally.Score());
    std::string text = line;
    if (const std::string elo = EloText(tally); !elo.empty()) { text += ", " + elo; }
    std::snprintf(line, sizeof line, ", pairs %d %d %d %d %d", p[0], p[1], p[2], p[3], p[4]);
    text += line;
    if (test) {
        const double ratio = LogLikelihoodRatio(tally, *test);
        const Verdict verdict = Judge(ratio);
        std::snprintf(line, sizeof line, ", LLR %+.2f (-%.2f, %.2f) of [%g, %g]%s", ratio,
                      DecisionBound(), DecisionBound(), test->elo0, test->elo1,
                      verdict == Verdict::Open         ? ""
                      : verdict == Verdict::AcceptElo1 ? ": accepted"
                                                       : ": rejected");
        text += line;
    }
    return text;
}

bool RunSelfPlay(const SelfPlaySettings& settings, void (*look)()) {
    assert(settings.games % 2 == 0);
    const KeepOptions kept;
    PBlock.options.conventions = STANDARD_CONVENTIONS;  // the rules of draws
    if (!ParametersAreThere(settings)) { return false; }
    std::string why;
    const std::size_t pairs = static_cast<std::size_t>(settings.games) / 2;
    const std::vector<Opening> openings = MakeOpenings(settings.openings, pairs, &why);
    if (openings.size() < pairs) {
        ShowError("%s\n", why.c_str());
        return false;
    }
    Board board(settings, openings);
    Standing standing;
    NoteRepeatedOpenings(settings, openings, &standing);
    OutFile out;
    GamesLock lock;
    if (!OpenGames(settings, &lock, &standing, &out)) { return false; }
    if (standing.games > 0) { ShowMessageF("going on after %d games", standing.games); }
    board.next_game = standing.games;
    {
        const Workers workers(&board, GamesAtOnce(settings));
        if (workers.NoneStarted()) { board.fault = "no memory or no thread for a game"; }
        Match(settings, &board, &standing, &out).Run(look);
    }
    ClearStatus();
    const bool written = out.Commit();
    if (!written) { ShowError("%s\n", out.Fault().c_str()); }
    if (!board.fault.empty()) { ShowError("%s\n", board.fault.c_str()); }
    if (standing.games > 0) {
        ShowMessage(StandingLine(standing.tally, settings.test).c_str());
    } else {
        ShowMessage("no game was finished");
    }
    return written && board.fault.empty();
}
