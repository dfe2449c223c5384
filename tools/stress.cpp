// Random sessions with the built engine, as no GUI and no person would hold them: UCI and console
// streams with threads, options, files and odd timing. Checks that every "go" is answered by
// exactly one "bestmove" with a legal move, in order and in time, that every session ends with
// status 0, and that nothing but the engine's own messages comes on standard error. Prints what it
// did; the exit status is 0 only when nothing was wrong. A session is made from its number alone,
// so that one that failed can be held again with -from.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "board/moves.h"
#include "frontend/pblock.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

struct Settings {
    double seconds = 60.0;
    unsigned from = 1;       // first session
    unsigned sessions = 0;   // 0 = as many as fit into the time
    double patience = 20.0;  // seconds for any answer; instrumented engines are slow
};

// What happened so far.
struct Totals {
    unsigned sessions = 0;
    unsigned lines = 0;
    unsigned searches = 0;
    unsigned faults = 0;
    double slowest = 0.0;  // answer to a "stop" or to a search that ends by itself, seconds over it
};

using Random = std::mt19937;

unsigned Below(Random& random, unsigned n) { return static_cast<unsigned>(random() % n); }

template <typename T, std::size_t N>
const T& OneOf(Random& random, const T (&choices)[N]) {
    return choices[Below(random, N)];
}

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// --- a game as the session knows it ---

constexpr const char* positions[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1",
    "8/8/8/8/8/4k3/4p3/4K3 w - - 0 1",
    "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1",
    "6k1/5ppp/8/8/8/8/8/K3R3 w - - 99 80",
};

// A "position" command, and the moves that are legal after it.
struct Setup {
    std::string command;
    std::vector<std::string> legal;
};

Setup RandomSetup(Random& random) {
    const char* fen = OneOf(random, positions);
    Position* pos = SetGame(fen);
    Setup setup;
    setup.command = std::string("position fen ") + fen;
    std::string moves;
    for (unsigned n = Below(random, 30); n > 0; --n) {
        const std::vector<Move> legal = LegalMoves(pos);
        if (legal.empty()) { break; }
        const Move m = legal[Below(random, static_cast<unsigned>(legal.size()))];
        moves += " " + MoveText(m);
        PlayGameMove(pos, m);
    }
    if (!moves.empty()) { setup.command += " moves" + moves; }
    for (const Move m : LegalMoves(pos)) { setup.legal.push_back(MoveText(m)); }
    return setup;
}

std::string RandomText(Random& random) {
    // No limits among them: in any line they would apply to the search that runs.
    static const char* const words[] = {"position",  "go",   "moves", "fen",  "-1",   "99999999999",
                                        "setoption", "name", "value", "Hash", "e2e4", "null",
                                        "\t",        "x",    "\x80",  "uci",  "stop"};
    std::string text = "zz";  // no command begins so
    for (unsigned n = Below(random, 6); n > 0; --n) {
        text += std::string(" ") + OneOf(random, words);
    }
    if (Below(random, 40) == 0) { text += std::string(70'000, 'x'); }
    return text;
}

class Stress {
public:
    explicit Stress(const Settings& settings) : settings_(settings) {}
    bool Run();

private:
    void HoldSession(unsigned number);
    void HoldUci(Random& random);
    void HoldConsole(Random& random);
    bool Send(const std::string& line);
    void Go(Random& random);
    // Waits for the answers to every "go" so far.
    void TakeAnswers();
    void CheckAnswer(const std::string& line);
    void Fault(const std::string& what);
    void EndSession(bool by_quit);

    Settings settings_;
    Totals totals_;
    unsigned number_ = 0;
    Session* session_ = nullptr;
    std::vector<std::string> sent_;
    Setup setup_;
    std::deque<std::vector<std::string>> waiting_;  // legal moves of the searches not yet answered
    bool endless_ = false;                          // the last search ends by "stop" only
};

void Stress::Fault(const std::string& what) {
    ++totals_.faults;
    std::printf("session %u: %s\n", number_, what.c_str());
    const std::size_t first = sent_.size() > 12 ? sent_.size() - 12 : 0;
    for (std::size_t i = first; i < sent_.size(); ++i) {
        std::printf("    > %s\n", sent_[i].substr(0, 160).c_str());
    }
}

bool Stress::Send(const std::string& line) {
    sent_.push_back(line);
    ++totals_.lines;
    if (session_->Send(line)) { return true; }
    Fault("the engine takes no more lines");
    return false;
}

void Stress::CheckAnswer(const std::string& line) {
    std::istringstream words(line);
    std::string word, move;
    words >> word >> move;
    const std::vector<std::string>& legal = waiting_.front();
    const bool right =
        legal.empty() ? move == "null" : std::find(legal.begin(), legal.end(), move) != legal.end();
    // After a hundred plies without progress no search runs and no move is named.
    if (!right && move != "null") { Fault("answer " + line + " is no legal move"); }
    waiting_.pop_front();
}

void Stress::TakeAnswers() {
    while (!waiting_.empty()) {
        const double start = Now();
        const std::string line = session_->Expect("bestmove", settings_.patience);
        if (line.empty()) {
            Fault("no answer");
            waiting_.clear();
            return;
        }
        totals_.slowest = std::max(totals_.slowest, Now() - start);
        CheckAnswer(line);
    }
}

void Stress::Go(Random& random) {
    const unsigned n = Below(random, 50) + 1;
    const std::string number = std::to_string(n);
    std::string limits;
    endless_ = false;
    switch (Below(random, 7)) {
        case 0:
            limits = "movetime " + number;
            break;
        case 1:
            limits = "depth " + std::to_string(n % 8);
            break;
        case 2:
            limits = "nodes " + std::to_string(n * 100);
            break;
        case 3:
            limits = "wtime " + std::to_string(n * 20) + " btime " + std::to_string(n * 20);
            break;
        case 4:
            limits = "wtime 100 btime 100 winc 10 binc 10 movestogo " + number;
            break;
        case 5:
            limits = "infinite";
            endless_ = true;
            break;
        default:
            limits = "ponder wtime 1000 btime 1000";
            endless_ = true;
            break;
    }
    if (!Send("go " + limits)) { return; }
    ++totals_.searches;
    waiting_.push_back(setup_.legal);
    if (!endless_ && Below(random, 3) != 0) { return; }
    if (Below(random, 3) == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(Below(random, 20)));
    }
    if (limits[0] == 'p' && Below(random, 2) == 0) {
        Send("ponderhit");
        endless_ = false;
        if (Below(random, 2) == 0) { return; }
    }
    Send("stop");
    endless_ = false;
}

void Stress::HoldUci(Random& random) {
    Send("uci");
    setup_ = RandomSetup(random);
    Send(setup_.command);
    const unsigned steps = 5 + Below(random, 40);
    for (unsigned i = 0; i < steps; ++i) {
        switch (Below(random, 12)) {
            case 0:
            case 1:
            case 2:
            case 3:
                Go(random);
                break;
            case 4:
            case 5:
                setup_ = RandomSetup(random);
                Send(setup_.command);
                break;
            case 6:
                Send("isready");
                break;
            case 7:
                Send(RandomText(random));
                break;
            case 8: {
                static const char* const options[] = {
                    "Hash value 1",       "Hash value 0",       "Hash value 64",
                    "Threads value 1",    "Threads value 2",    "Threads value 5",
                    "MultiPV value 3",    "MultiPV value 1",    "Clear Hash",
                    "OwnBook value true", "Ponder value false", "Communication Overhead value 0",
                    "Log value true",     "Hash value abc"};
                Send(std::string("setoption name ") + OneOf(random, options));
                break;
            }
            case 9:
                Send("ucinewgame");
                setup_ = RandomSetup(random);
                Send(setup_.command);
                break;
            case 10:
                TakeAnswers();
                break;
            default:
                std::this_thread::sleep_for(std::chrono::microseconds(Below(random, 3000)));
                break;
        }
    }
    Send("stop");
    TakeAnswers();
    Send("isready");
    if (session_->Expect("readyok", settings_.patience).empty()) { Fault("not ready"); }
    if (session_->RestOfOutput().find("bestmove") != std::string::npos) {
        Fault("an answer too many");
    }
}

void Stress::HoldConsole(Random& random) {
    static const char* const commands[] = {"new",
                                           "bd",
                                           "go 3",
                                           "an",
                                           ".",
                                           "mv",
                                           "force",
                                           "self",
                                           "undo",
                                           "[",
                                           "]",
                                           "jump 3",
                                           "ev",
                                           "pv",
                                           "swap",
                                           "book",
                                           "perft 2",
                                           "sd 4",
                                           "level 40 1 0",
                                           "time 1",
                                           "noise 0",
                                           "multipv 2",
                                           "hash 2",
                                           "lmr",
                                           "sp",
                                           "trace 0",
                                           "debug 1",
                                           "debug 0",
                                           "set ss_off",
                                           "set",
                                           "save",
                                           "load tmp.pgn 1",
                                           "get 1",
                                           "mkbook",
                                           "tune hung 4",
                                           "ponder 0",
                                           "e2e4",
                                           "Nf3",
                                           "help",
                                           "help go",
                                           "fen 8/8/8/8/8/4k3/4p3/4K3 w - -",
                                           "fen garbage",
                                           "edit\n#\nw Ke1 Pa2\nb Ke8\n.",
                                           "depth 66"};
    const unsigned steps = 5 + Below(random, 60);
    for (unsigned i = 0; i < steps; ++i) {
        if (Below(random, 10) == 0) {
            Send(RandomText(random));
        } else {
            Send(OneOf(random, commands));
        }
        if (Below(random, 5) == 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(Below(random, 5000)));
        }
    }
    Send(".");
    Send("force");
    Send(".");
}

void Stress::EndSession(bool by_quit) {
    if (by_quit) {
        Send("quit");
    } else {
        session_->CloseInput();
    }
    const int status = session_->Wait(settings_.patience);
    if (status != 0) { Fault("exit status " + std::to_string(status)); }
    const std::string errors = session_->ErrorText();
    for (const char* sign : {"Sanitizer", "runtime error", "ssertion", "terminate called"}) {
        if (errors.find(sign) != std::string::npos) {
            Fault("standard error: " + errors.substr(0, 4000));
            break;
        }
    }
}

void Stress::HoldSession(unsigned number) {
    number_ = number;
    Random random(number);
    sent_.clear();
    waiting_.clear();
    const ScratchFolder folder;
    std::filesystem::copy_file(DataFile("rook-ending.pgn"), "book.pgn");
    std::filesystem::copy_file(DataFile("dortmund.opn"), "vesk.opn");
    std::ofstream("tune.epd") << "4k3/8/8/8/8/8/4P3/4K3 w - - tune 0.9;\n";
    std::ofstream("test.epd") << "4k3/8/8/8/8/8/4P3/4K3 w - - id \"1\";\n";
    const bool console = Below(random, 3) == 0;
    std::vector<std::string> arguments = {"-threads", std::to_string(1 + Below(random, 4)), "-hash",
                                          std::to_string(Below(random, 17))};
    if (console) { arguments.emplace_back("-c"); }
    if (Below(random, 2) == 0) { arguments.emplace_back("-nolog"); }
    Session session(arguments);
    session_ = &session;
    if (console) {
        HoldConsole(random);
    } else {
        HoldUci(random);
    }
    EndSession(Below(random, 2) == 0);
    session_ = nullptr;
    ++totals_.sessions;
}

bool Stress::Run() {
    const double end = Now() + settings_.seconds;
    for (unsigned i = 0; settings_.sessions != 0 ? i < settings_.sessions : Now() < end; ++i) {
        HoldSession(settings_.from + i);
    }
    std::printf(
        "%u sessions, %u lines, %u searches, slowest wait for an answer %.3f s, %u faults\n",
        totals_.sessions, totals_.lines, totals_.searches, totals_.slowest, totals_.faults);
    return totals_.faults == 0;
}

}  // namespace

int main(int argc, char** argv) {
    Settings settings;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        const double value = std::strtod(argv[i + 1], nullptr);
        if (name == "-seconds") {
            settings.seconds = value;
        } else if (name == "-from") {
            settings.from = static_cast<unsigned>(value);
        } else if (name == "-sessions") {
            settings.sessions = static_cast<unsigned>(value);
        } else if (name == "-patience") {
            settings.patience = value;
        } else {
            std::fprintf(
                stderr, "usage: stress [-seconds N] [-from N] [-sessions N] [-patience SECONDS]\n");
            return 2;
        }
    }
    InitEngineForTests();
    return Stress(settings).Run() ? 0 : 1;
}
