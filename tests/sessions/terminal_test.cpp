// The program at a terminal: what it says only there, and the line that its user edits.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "support/engine.h"
#include "support/session.h"

namespace {

const std::string ESCAPE = "\033";
const std::string UP = ESCAPE + "[A";
const std::string CONTROL_U = "\x15";
constexpr const char* CONTROL_C = "\x03";
constexpr const char* CONTROL_D = "\x04";

// An engine at a terminal of its own, in a scratch folder that is its home, too.
class Terminal {
public:
    explicit Terminal(const char* argument, const char* locale = "C") {
        winsize size{24, 80, 0, 0};
        const std::string engine = EngineCommand().front();
        const std::string home = std::filesystem::current_path();
        pid_ = forkpty(&handle_, nullptr, nullptr, &size);
        if (pid_ != 0) { return; }
        setenv("XDG_STATE_HOME", (home + "/state").c_str(), 1);
        setenv("HOME", home.c_str(), 1);
        setenv("TERM", "xterm-256color", 1);
        setenv("LC_ALL", locale, 1);
        execl(engine.c_str(), "vesk", argument, nullptr);
        _exit(127);
    }
    ~Terminal() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        close(handle_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void Type(const std::string& keys) {
        ASSERT_EQ(write(handle_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    // Waits for a text in what the terminal shows after the last one that was found.
    void Expect(const std::string& text) {
        std::size_t found;
        while ((found = shown_.find(text, passed_)) == std::string::npos) {
            ASSERT_TRUE(ReadMore()) << "no '" << text << "' after: " << shown_.substr(passed_);
        }
        passed_ = found + text.size();
    }
    // The exit status, when the program ends by itself; 128 + signal when one has ended it.
    int Wait() {
        while (ReadMore()) {}
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    bool EditsLinesItself() const {
        termios modes = {};
        tcgetattr(handle_, &modes);
        return (modes.c_lflag & ICANON) != 0;
    }

private:
    // False at the end, and when nothing comes for too long.
    bool ReadMore() {
        if (testing::Test::HasFailure()) { return false; }  // or each text would be waited for
        pollfd output{handle_, POLLIN, 0};
        if (poll(&output, 1, static_cast<int>(SESSION_LIMIT_SECONDS * 1000)) <= 0) { return false; }
        char bytes[4096];
        const ssize_t got = read(handle_, bytes, sizeof bytes);
        if (got > 0) { shown_.append(bytes, static_cast<std::size_t>(got)); }
        return got > 0;
    }

    int handle_ = -1;
    int pid_ = -1;
    std::string shown_;
    std::size_t passed_ = 0;
};

TEST(AtATerminal, WhoStartsTheProgramBareIsToldHowToGoOn) {
    const ScratchFolder folder;
    Terminal vesk(nullptr);
    vesk.Expect("type uci, or start it with -c for the console");
    vesk.Type("uci\n");
    vesk.Expect("uciok");
    vesk.Type("quit\n");
    EXPECT_EQ(vesk.Wait(), 0);
}

TEST(AtATerminal, TheBoardHasSymbolsAndColoursWhereTheyCanBeShown) {
    const ScratchFolder folder;
    Terminal plain("-c");
    plain.Expect("R N B Q K B N R");
    Terminal rich("-c", "C.UTF-8");
    rich.Expect("\033[48;5;137;38;5;231m ♜ ");
    rich.Expect("white");
}

#ifdef VESK_LINE_EDITING
TEST(AtATerminal, LinesAreCompletedRecalledAndKept) {
    const ScratchFolder folder;
    std::ofstream("Games.pgn") << "1. e4 e5 2. Nf3 *\n";
    {
        Terminal vesk("-c");
        vesk.Expect("white");
        vesk.Expect("> ");
        EXPECT_FALSE(vesk.EditsLinesItself());
        vesk.Type("loa\tG\t");
        vesk.Expect("Games.pgn ");
        vesk.Type("\r");
        vesk.Expect("5N2");
        vesk.Expect("> ");
        vesk.Type("hel\tju\t\r");
        vesk.Expect("jump PLY ");
        vesk.Expect("> ");
        vesk.Type("l\t");
        vesk.Expect("level  lmr    load");
        vesk.Expect("> l");
        vesk.Type(CONTROL_U + ESCAPE);  // an escape alone does nothing
        vesk.Expect("\a");
        vesk.Type(UP + UP + "\r");
        vesk.Expect("5N2");
        vesk.Expect("> ");
        vesk.Type(CONTROL_D);
        EXPECT_EQ(vesk.Wait(), 0);
    }
    Terminal later("-c");
    later.Expect("> ");
    later.Type(UP + "\r");
    later.Expect("5N2");
}

// Of names that begin with a common byte no half of a letter is written; what would steer the
// terminal is no name.
TEST(AtATerminal, NamesOfFilesAreCompletedLetterByLetterAndNeverSteerTheTerminal) {
    const ScratchFolder folder;
    for (const char* name : {"\u00C4pfel.pgn", "\u00D6l.pgn", "\u00C4\033[2J.pgn", "\u00C4\x7F.pgn",
                             "\u00C4\u009B2J.pgn",
                             "\u00C4\x9B"
                             "2J.pgn"}) {
        std::ofstream(name) << "1. e4 e5 2. Nf3 *\n";
    }
    Terminal vesk("-c", "C.UTF-8");
    vesk.Expect("> ");
    vesk.Type("load \t");
    vesk.Expect("\u00C4pfel.pgn  \u00D6l.pgn");
    vesk.Expect("> load ");
    vesk.Type("\u00C4\t");
    vesk.Expect("pfel.pgn ");
    vesk.Type("\r");
    vesk.Expect("loading \u00C4pfel.pgn");
    vesk.Expect("black");
}

TEST(AtATerminal, ALineThatIsTypedDuringASearchIsShownAgainBelowEachOfItsLines) {
    const ScratchFolder folder;
    Terminal vesk("-c");
    vesk.Expect("> ");
    vesk.Type("an\r");
    vesk.Expect("01] 02");
    vesk.Type("mult");
    vesk.Expect("mult");
    for (int line = 0; line < 2; ++line) {
        vesk.Expect("\r\033[J01] ");
        vesk.Expect("\n> mult");
    }
    vesk.Type("\t2\r.\r");
    vesk.Expect("move= ");
    vesk.Expect("> ");
    vesk.Type(CONTROL_C);
    EXPECT_EQ(vesk.Wait(), 0);
}
#endif

}  // namespace
