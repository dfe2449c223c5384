// Whole sessions as data: every file of tests/data/sessions is a script of what the user has and
// types and of all that the engine must answer. A script is a list of sections:
//   ==== file NAME      the lines that follow become a file of the working folder, or of a folder
//                       of it that is made then
//   ==== data NAME      the same with a file of tests/data
//   ==== rename FROM TO
//   ==== hide           the lines that follow are regular expressions: from here on what they find
//                       is replaced by # (but for a group in it, which comes before the #), and a
//                       line of which nothing else is left is dropped
//   ==== native WHY     a program under a runner (VESK_RUNNER) cannot do what follows: there the
//                       rest of the script is not played
//   ==== limit WORDS    the next engine starts under this "ulimit" of the shell
//   ==== run ARGUMENTS  starts the engine; the lines that follow are typed, then its input ends.
//                       Lines that begin with < are not typed but do something:
//                         << TEXT      waits until an output line starts with the text
//                         <silence     nothing may be printed for a moment
//                         <interrupt   sends the signal of control-C, and gives it a moment
//                         <unread      nobody reads the output any more
//                         <data NAME   types all bytes of a file of tests/data
//                         <* N TEXT    types the text so many times, without a line end
//   ==== output         what it printed, with # for what depends on the clock or on chance
//   ==== errors         what came on standard error, only when something did
//   ==== status NUMBER  its exit status, only when it is not 0
//   ==== left NAME      what a file holds after the run
//   ==== missing NAME   no such file after the run
// Lines before the first section are a comment. Playing a script gives the script again with the
// engine's real answers, so one comparison checks everything; with VESK_RECORD in the environment
// the scripts are rewritten, to be read line by line before they are committed.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/engine.h"
#include "support/session.h"

namespace {

const std::string MARK = "==== ";
// Under a runner the request comes by another thread than the end of input that follows it.
constexpr std::chrono::milliseconds INTERRUPT_MOMENT{500};
// Wine dies of SIGSEGV itself when a signal finds it at a bad moment. A program that falls under it
// ends with 5, so that is no answer of the engine's, and the run is begun anew, so many times.
constexpr int STATUS_OF_FALLEN_RUNNER = 128 + SIGSEGV;
constexpr int MOST_FALLS = 3;

struct Section {
    std::string text;                // all of it, with its head line
    std::vector<std::string> words;  // of the head line
    std::string body;
};

std::vector<Section> SectionsOf(const std::string& script) {
    std::vector<Section> sections(1);
    for (const std::string& line : SplitLines(script)) {
        if (line.starts_with(MARK)) {
            sections.emplace_back();
            std::istringstream words(line.substr(MARK.size()));
            for (std::string word; words >> word;) { sections.back().words.push_back(word); }
        } else {
            sections.back().body += line + "\n";
        }
        sections.back().text += line + "\n";
    }
    return sections;
}

// What depends on the clock, and the random part of a book move's value.
const char* const ALWAYS_HIDDEN[] = {
    "((?:, time=|total time=| time|nps=?|node_rate=|nodes in|pos +[0-9]+:) ) *[0-9.]+",
    "[0-9]+(?=K nps)",
    "^([0-9][0-9]\\] [0-9][0-9][. ] ) *[0-9.]+",
    "( - +[0-9]+ - +[0-9]+ +[0-9.]+ +)[0-9.]+",
};

// Types the lines of a run, and does what they say.
void Type(const std::string& lines, Session* vesk) {
    const std::map<std::string, std::function<void(const std::string&)>> actions = {
        {"<<", [vesk](const std::string& text) { vesk->Expect(text); }},
        {"<silence", [vesk](const auto&) { EXPECT_TRUE(vesk->IsSilentFor(0.2)); }},
        {"<interrupt",
         [vesk](const auto&) {
             vesk->Signal(SIGINT);
             std::this_thread::sleep_for(INTERRUPT_MOMENT);
         }},
        {"<unread", [vesk](const auto&) { vesk->CloseOutput(); }},
    };
    std::string typed;
    for (const std::string& line : SplitLines(lines)) {
        const std::string action = line.substr(0, line.find(' '));
        const std::string text = line.substr(std::min(action.size() + 1, line.size()));
        if (!line.starts_with("<")) {
            typed += line + "\n";
        } else if (action == "<data") {
            typed += FileContent(DataFile(text));
        } else if (action == "<*") {
            const std::string repeated = text.substr(text.find(' ') + 1);
            for (int left = std::stoi(text); left > 0; --left) { typed += repeated; }
        } else {
            vesk->SendBytes(std::exchange(typed, ""));
            actions.at(action)(text);
            if (testing::Test::HasFailure()) { break; }  // or it waits for every line
        }
    }
    vesk->SendBytes(typed);
    vesk->CloseInput();
}

class Player {
public:
    // The script with the engine's own answers.
    std::string Play(const std::string& script) {
        std::string played;
        for (const Section& s : SectionsOf(script)) {
            const std::string kind = s.words.empty() ? "comment" : s.words[0];
            rest_is_native_ = rest_is_native_ || (kind == "native" && UnderRunner());
            if (rest_is_native_) {
                played += s.text;
                continue;
            }
            if (kind == "output" || kind == "errors" || kind == "status") { continue; }
            if (kind == "left" || kind == "missing") {
                played += StateOf(s.words.at(1));
                continue;
            }
            played += s.text;
            if (kind == "run") {
                played += AnswersTo(s);
            } else if (kind == "file") {
                const std::filesystem::path path = s.words.at(1);
                if (path.has_parent_path()) {
                    std::filesystem::create_directories(path.parent_path());
                }
                std::ofstream(path, std::ios::binary) << s.body;
            } else if (kind == "data") {
                std::filesystem::copy(DataFile(s.words.at(1)), ".");
            } else if (kind == "rename") {
                std::filesystem::rename(s.words.at(1), s.words.at(2));
            } else if (kind == "hide") {
                for (const std::string& line : SplitLines(s.body)) { hidden_.emplace_back(line); }
            } else if (kind == "limit") {
                limit_ = "ulimit " + s.words.at(1) + " " + s.words.at(2) + "; ";
            } else if (kind != "comment" && kind != "native") {
                ADD_FAILURE() << "unknown section: " << s.text;
            }
        }
        return played;
    }

private:
    static bool UnderRunner() { return std::getenv("VESK_RUNNER") != nullptr; }

    std::string Shown(const std::string& text) const {
        std::string shown;
        for (std::string line : SplitLines(text)) {
            for (const std::regex& r : hidden_) { line = std::regex_replace(line, r, "$1#"); }
            if (line != "#") { shown += line + "\n"; }
        }
        return text.empty() || text.ends_with('\n') ? shown : shown + "(no line end)\n";
    }

    std::string StateOf(const std::string& file) const {
        if (!std::filesystem::exists(file)) { return MARK + "missing " + file + "\n"; }
        return MARK + "left " + file + "\n" + Shown(FileContent(file));
    }

    std::string AnswersTo(const Section& run) {
        std::vector<std::string> arguments{"-c", limit_ + R"(exec "$0" "$@")"};
        for (const std::string& word : EngineCommand()) { arguments.push_back(word); }
        arguments.insert(arguments.end(), run.words.begin() + 1, run.words.end());
        limit_.clear();
        const bool may_fall = UnderRunner() && run.body.find("<interrupt") != std::string::npos;
        for (int falls = 0;; ++falls) {
            Session vesk(arguments, "/bin/sh");
            Type(run.body, &vesk);
            const int status = vesk.Wait();
            if (may_fall && status == STATUS_OF_FALLEN_RUNNER && falls < MOST_FALLS) {
                std::puts("the runner fell over the signal; begun anew");
                continue;
            }
            std::string answers = MARK + "output\n" + Shown(vesk.Output());
            if (!vesk.ErrorText().empty()) { answers += MARK + "errors\n" + vesk.ErrorText(); }
            if (status != 0) { answers += MARK + "status " + std::to_string(status) + "\n"; }
            return answers;
        }
    }

    std::vector<std::regex> hidden_{std::begin(ALWAYS_HIDDEN), std::end(ALWAYS_HIDDEN)};
    std::string limit_;  // a command of the shell
    bool rest_is_native_ = false;
};

std::vector<std::string> ScriptNames() {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(DataFile("sessions"))) {
#ifdef VESK_INSTRUMENTED
        // Instrumented programs cannot live in a limited address space.
        if (file.path().stem() == "memory") { continue; }
#endif
        names.push_back(file.path().stem());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class Script : public testing::TestWithParam<std::string> {};

TEST_P(Script, IsAnsweredAsWritten) {
    const std::string path = DataFile("sessions/" + GetParam() + ".txt");
    const std::string script = FileContent(path);
    const ScratchFolder folder;
    const std::string played = Player().Play(script);
    if (std::getenv("VESK_RECORD") != nullptr) { std::ofstream(path, std::ios::binary) << played; }
    const std::vector<std::string> lines = SplitLines(played), wanted = SplitLines(script);
    for (std::size_t i = 0; i < std::min(lines.size(), wanted.size()); ++i) {
        ASSERT_EQ(lines[i], wanted[i]) << "in line " << i + 1;
    }
    EXPECT_EQ(lines.size(), wanted.size());
}

INSTANTIATE_TEST_SUITE_P(Sessions, Script, testing::ValuesIn(ScriptNames()),
                         [](const auto& script) { return script.param; });

}  // namespace
