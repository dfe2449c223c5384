// The options of the UCI protocol: one row of a table each. What is announced and how a value is
// read come from the same row.
#include "frontend/ucioptions.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "book/book.h"
#include "frontend/commandloop.h"
#include "frontend/output.h"
#include "frontend/parameteroptions.h"
#include "frontend/pblock.h"
#include "frontend/units.h"
#include "platform/words.h"
#include "search/threads.h"
#include "search/ttable.h"

namespace {

constexpr int MAX_OVERHEAD_MS = 5000;
constexpr const char* NO_MEMORY = "not enough memory";
constexpr int NO_MEMORY_STATUS = -1;  // exit status; also without threads
constexpr int NO_RECORD_STATUS = 0;   // a thread found no memory for its record

// Ends the process at once: search threads may be running, so nothing is torn down around them.
[[noreturn]] void GiveUp(const char* what, const char* why, int status) {
    ShowMessageF("info string %s: %s", what, why);
    CloseLog();
    std::_Exit(status);
}

// --- setters: what the value of an option changes ---

void SetHashSize(int megabytes) {
    FinishSearch();
    PBlock.options.hash_mb = static_cast<u16>(megabytes);
    if (FitHashToMemory()) {
        ShowMessageF("info string not enough memory for a hash table of %dM bytes", megabytes);
    }
    if (InitTTable() != 0) { GiveUp("hash table", NO_MEMORY, NO_MEMORY_STATUS); }
    ShowMessageF("info string Hash size set to %dM bytes", PBlock.options.hash_mb);
}

void SetThreads(int n) {
    FinishSearch();
    if (n == PBlock.options.threads) { return; }
    KillThreadPool(PBlock.options.threads);
    PBlock.options.threads = static_cast<u8>(n);
    const int error = CreateThreadPool(n);
    if (error == NO_THREAD_RECORD) { GiveUp("search threads", NO_MEMORY, NO_RECORD_STATUS); }
    if (error != 0) { GiveUp("search threads", std::strerror(error), NO_MEMORY_STATUS); }
}

void SetPonder(int on) { PBlock.options.ponder = static_cast<u16>(on); }
void SetMultiPv(int lines) { PBlock.options.multipv = static_cast<u16>(lines); }
void SetOverhead(int ms) { PBlock.options.comm_overhead = ms * SECONDS_PER_MS; }
void SetOwnBook(int on) { PBlock.options.own_book = static_cast<u8>(on); }
void SetLog(int on) { PBlock.options.log = static_cast<u16>(on); }

void SetAnalyseMode(int on) { PBlock.options.analyse_mode = static_cast<u8>(on); }

void SetStandard(int on) {
    FinishSearch();
    PBlock.options.conventions = on != 0 ? STANDARD_CONVENTIONS : CLASSIC_CONVENTIONS;
}

void SetBookFile(const std::string& name) {
    FinishSearch();
    FreeBook();
    PBlock.options.book_file = name.substr(0, name.find_last_not_of(' ') + 1);
    InitBook();
    ShowRemark("%s", opening_book.bkrecnum > 0 ? "book opened" : "no book");
}

void ClearHash(int) {
    FinishSearch();
    if (PBlock.options.hash_mode != 0) { ClearTTable(); }
    ShowRemark("Hash table cleared");
}

// --- the table ---

enum class OptionType { Spin, Check, Button, Text };
enum class Announced { Always, StandardForm, Never };

struct UciOption {
    const char* name;
    OptionType type;
    int initial = 0, low = 0, high = 0;  // of a number; a switch is 0 or 1
    void (*set)(int value) = nullptr;    // of all but texts
    bool confirmed = false;              // by the usual line
    bool true_in_the_word = false;  // a switch that is on also when "true" is a part of the value
    bool number_only = false;       // a value that is no number changes nothing
    // The classic form knows only those that it always announces, and those that nobody announces.
    Announced announced = Announced::Always;
    void (*set_text)(const std::string& text) = nullptr;  // of a text that is more than told
    const char* initial_text = "";
};

// clang-format off
constexpr UciOption uci_options[] = {
    {"Hash", OptionType::Spin, 64, 0, MAX_HASH_MB, SetHashSize, false, false, true},
    {"Threads", OptionType::Spin, 1, 1, MAX_THREADS, SetThreads, true},
    {"Ponder", OptionType::Check, 1, 0, 1, SetPonder, false},
    {"MultiPV", OptionType::Spin, 1, 1, MAX_MULTIPV, SetMultiPv, true},
    {"Clear Hash", OptionType::Button, 0, 0, 0, ClearHash, false},
    {"Communication Overhead", OptionType::Spin, 25, 0, MAX_OVERHEAD_MS, SetOverhead, true},
    {"OwnBook", OptionType::Check, 0, 0, 1, SetOwnBook, true},
    {"Log", OptionType::Check, 0, 0, 1, SetLog, true, true},
    {.name = "Standard", .type = OptionType::Check, .high = 1, .set = SetStandard, .announced = Announced::Never},
    {.name = "Move Overhead", .type = OptionType::Spin, .initial = 25, .high = MAX_OVERHEAD_MS, .set = SetOverhead,
     .confirmed = true, .announced = Announced::StandardForm},
    {.name = "UCI_AnalyseMode", .type = OptionType::Check, .high = 1, .set = SetAnalyseMode,
     .announced = Announced::StandardForm},
    {.name = "Book File", .type = OptionType::Text, .announced = Announced::StandardForm, .set_text = SetBookFile,
     .initial_text = "vesk.opn"},
    {.name = "UCI_EngineAbout", .type = OptionType::Text, .announced = Announced::StandardForm,
     .initial_text = "Vesk 3.0 by Dorin Kael"},
};
// clang-format on

bool IsAnnounced(const UciOption& o) {
    return o.announced == Announced::Always ||
           (o.announced == Announced::StandardForm && PBlock.options.conventions.more_options);
}

bool NamesAgree(const std::string& typed, const char* name) {
    if (!PBlock.options.conventions.free_words) { return typed == name; }
    const auto same = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    };
    return std::equal(typed.begin(), typed.end(), name, name + std::strlen(name), same);
}

int ValueOfText(const UciOption& o, const std::string& text) {
    if (o.type == OptionType::Spin) { return WholeNumber(text.c_str(), o.low, o.high); }
    return text == "true" || (o.true_in_the_word && text.find("true") != std::string::npos);
}

}  // namespace

void ShowUciOptions() {
    for (const UciOption& o : uci_options) {
        if (!IsAnnounced(o)) { continue; }
        switch (o.type) {
            case OptionType::Spin:
                ShowMessageF("option name %s type spin default %d min %d max %d", o.name, o.initial,
                             o.low, o.high);
                break;
            case OptionType::Check:
                ShowMessageF("option name %s type check default %s", o.name,
                             o.initial != 0 ? "true" : "false");
                break;
            case OptionType::Button:
                ShowMessageF("option name %s type button", o.name);
                break;
            case OptionType::Text:
                ShowMessageF("option name %s type string default %s", o.name, o.initial_text);
                break;
        }
    }
    if (PBlock.options.weights_as_options) { ShowParameterOptions(); }
}

void SetUciOption(const std::string& name, const std::string& text) {
    const auto* o =
        std::find_if(std::begin(uci_options), std::end(uci_options), [&name](const UciOption& row) {
            const bool known = IsAnnounced(row) || row.announced == Announced::Never;
            return known && NamesAgree(name, row.name);
        });
    if (o == std::end(uci_options)) {
        if (PBlock.options.weights_as_options) { SetParameterOption(name, text); }
        return;
    }
    if (o->type == OptionType::Text) {
        if (o->set_text != nullptr) { o->set_text(text); }
        return;
    }
    const std::string value = GetWord(text.c_str());
    if (o->number_only && !StartsWithNumber(value)) {
        ShowMessageF("info string %s is unchanged: \"%s\" is no number", o->name, value.c_str());
        return;
    }
    const int number = ValueOfText(*o, value);
    o->set(number);
    if (o->confirmed) { ShowMessageF("info string %s set to %d", o->name, number); }
}
