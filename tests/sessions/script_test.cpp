// Whole sessions as data: every file of tests/data/sessions is a script of what the user has and
// types and of all that the engine must answer. A script is a list of sections:
//   ==== file NAME      the lines that follow become a file of the working folder
//   ==== data NAME      the same with a file of tests/data
//   ==== rename FROM TO
//   ==== run ARGUMENTS  starts the engine; the lines that follow are typed, then its input ends.
//                       "<< TEXT" waits until an output line starts with the text.
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
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/engine.h"
#include "support/session.h"

namespace {

const std::string MARK = "==== ";

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

// Hides what depends on the clock, and the random part of a book move's value.
std::string Masked(std::string text) {
    static const std::pair<std::regex, const char*> masks[] = {
        {std::regex("(, time=|total time=| time|nps=?|node_rate=|nodes in|pos +[0-9]+:) +[0-9.]+"),
         "$1 #"},
        {std::regex("[0-9]+K nps"), "#K nps"},
        {std::regex("(^|\n)([0-9][0-9]\\] [0-9][0-9][. ]) +[0-9.]+"), "$1$2 #"},
        {std::regex("( - +[0-9]+ - +[0-9]+ +[0-9.]+ +)[0-9.]+"), "$1#"},
    };
    for (const auto& [pattern, mark] : masks) { text = std::regex_replace(text, pattern, mark); }
    return text;
}

// Runs the engine and returns the sections of its answers.
std::string AnswersTo(const Section& run) {
    Session vesk({run.words.begin() + 1, run.words.end()});
    std::string input, output;
    for (const std::string& line : SplitLines(run.body)) {
        if (!line.starts_with("<< ")) {
            input += line + "\n";
            continue;
        }
        vesk.SendBytes(input);
        input.clear();
        vesk.Expect(line.substr(3));
        for (const std::string& printed : vesk.Lines()) { output += printed + "\n"; }
    }
    vesk.SendBytes(input);
    vesk.CloseInput();
    const int status = vesk.Wait();
    std::string answers = MARK + "output\n" + Masked(output + vesk.RestOfOutput());
    if (!vesk.ErrorText().empty()) { answers += MARK + "errors\n" + vesk.ErrorText(); }
    if (status != 0) { answers += MARK + "status " + std::to_string(status) + "\n"; }
    return answers;
}

std::string StateOf(const std::string& file) {
    if (!std::filesystem::exists(file)) { return MARK + "missing " + file + "\n"; }
    return MARK + "left " + file + "\n" + Masked(FileContent(file));
}

// The script with the engine's own answers.
std::string Play(const std::string& script) {
    std::string played;
    for (const Section& s : SectionsOf(script)) {
        const std::string kind = s.words.empty() ? "comment" : s.words[0];
        if (kind == "output" || kind == "errors" || kind == "status") { continue; }
        if (kind == "left" || kind == "missing") {
            played += StateOf(s.words.at(1));
            continue;
        }
        played += s.text;
        if (kind == "run") {
            played += AnswersTo(s);
        } else if (kind == "file") {
            std::ofstream(s.words.at(1), std::ios::binary) << s.body;
        } else if (kind == "data") {
            std::filesystem::copy(DataFile(s.words.at(1)), ".");
        } else if (kind == "rename") {
            std::filesystem::rename(s.words.at(1), s.words.at(2));
        } else if (kind != "comment") {
            ADD_FAILURE() << "unknown section: " << s.text;
        }
    }
    return played;
}

// The first lines that differ, with their number.
std::string FirstDifference(const std::string& played, const std::string& script) {
    std::vector<std::string> is = SplitLines(played), wanted = SplitLines(script);
    is.push_back("(end)");
    wanted.push_back("(end)");
    std::size_t i = 0;
    while (i + 1 < std::min(is.size(), wanted.size()) && is[i] == wanted[i]) { ++i; }
    return "line " + std::to_string(i + 1) + " is\n  " + is[i] + "\nand should be\n  " + wanted[i];
}

std::vector<std::string> ScriptNames() {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(DataFile("sessions"))) {
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
    const std::string played = Play(script);
    EXPECT_TRUE(played == script) << FirstDifference(played, script);
    if (std::getenv("VESK_RECORD") != nullptr) { std::ofstream(path, std::ios::binary) << played; }
}

INSTANTIATE_TEST_SUITE_P(Sessions, Script, testing::ValuesIn(ScriptNames()),
                         [](const auto& script) { return script.param; });

}  // namespace
