// Start-up and clean-up of the program. The order matters: each step may use what the steps before
// it have filled. Front-end thread, once each.
#include "frontend/startup.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "board/bitboards.h"
#include "board/trace.h"
#include "book/book.h"
#include "eval/evaluate.h"
#include "eval/kpk.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/about.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/clock.h"
#include "platform/cpu.h"
#include "platform/files.h"
#include "platform/infile.h"
#include "platform/input.h"
#include "platform/sleep.h"
#include "platform/timer.h"
#include "search/threads.h"
#include "search/ttable.h"

namespace {

constexpr const char* PARAMETER_FILE = "vesk.rc";
constexpr int FAILED = 1;  // exit status
constexpr const char* NO_MEMORY = "not enough memory";
constexpr unsigned WANTED_TIMER_PERIOD_MS = 5;

unsigned wTimerRes = 0;  // period that was asked for, 0 = none

// Says on standard error what the start-up lacks, and why. Returns the exit status.
int Failed(const char* what, const char* why) {
    BeginLog();
    ShowError("cannot start: %s: %s\n", what, why);
    return FAILED;
}

// Makes the folder the working folder; says on standard error when that cannot be.
[[nodiscard]] bool WorkIn(const std::string& folder) {
    if (folder.empty()) {
        ShowError("option -dir needs a folder after it\n");
        return false;
    }
    if (!EnterFolder(folder.c_str())) {
        ShowError("cannot enter %s: %s\n", folder.c_str(), std::strerror(errno));
        return false;
    }
    return true;
}

// True when a person has started the program by its bare name.
bool StartedByHand(int argc) { return argc <= 1 && InputIsConsole() && ErrorIsConsole(); }

void SetTimerResolution() {
    TimerCaps caps;
    if (timeGetDevCaps(&caps) != 0) {
        ShowRemark("error setting timer resolution\n");
        return;
    }
    wTimerRes = std::min(std::max(caps.period_min_ms, WANTED_TIMER_PERIOD_MS), caps.period_max_ms);
    if (timeBeginPeriod(wTimerRes) != 0) { ShowRemark("Error setting timer resolution"); }
}

}  // namespace

int StartUp(int argc, char** argv, StartOptions* options) {
    ReadFirstOptions(argc, argv, options);
    if (options->first != FirstWish::None) {
        options->first == FirstWish::Help ? ShowUsage() : ShowVersion();
        options->mode = RunMode::Nothing;
        return 0;
    }
    if (options->folder && !WorkIn(*options->folder)) { return FAILED; }
    const u8 has_popcnt = CpuHasPopcnt();
    const u8 has_bmi = CpuHasBmi();
    std::srand(static_cast<unsigned>(TimeOfDayMilliseconds()));
    OpenLog();
    std::fill(std::begin(ThreadData), std::end(ThreadData), nullptr);
    ThreadBlock* game = NewThreadBlock(0);
    if (game == nullptr) { return Failed("game record", NO_MEMORY); }
    game_position = &game->pos;
    InitBitboards();
    InitKPK();
    PBlock.Reset();
    PBlock.options.has_popcnt = has_popcnt;
    PBlock.options.has_bmi = has_bmi;
    ReadFormOptions(argc, argv);  // the parameter file is told of in that form
    const char* parameters =
        options->parameter_file ? options->parameter_file->c_str() : PARAMETER_FILE;
    const char* why = nullptr;
    if (options->parameter_file && parameters[0] != '\0') {
        std::FILE* file = OpenRegularFile(parameters, &why);
        if (file == nullptr) { return Failed(parameters, why != nullptr ? why : "no such file"); }
        std::fclose(file);
    }
    InitPersonality(parameters[0] != '\0' ? parameters : nullptr);
    ReadCommandLine(argc, argv, options);
    BeginLog();
    if (StartedByHand(argc)) { ShowError("type uci, or start it with -c for the console\n"); }
    if (options->mode == RunMode::Nothing) { return 0; }
    if (FitHashToMemory()) {
        ShowError("memory for a hash table of %dM only\n", PBlock.options.hash_mb);
    }
    if (InitTTable() != 0) { return Failed("hash table", NO_MEMORY); }
    if (InitBook() != 0) { ShowRemark("Not enough memory!"); }
    CreateAlert();  // without one the loop still wakes every few milliseconds
    if (const int error = CreateThreadPool(PBlock.options.threads)) {
        return Failed("search threads",
                      error == NO_THREAD_RECORD ? NO_MEMORY : std::strerror(error));
    }
    SetTimerResolution();
    return 0;
}

void CleanUp() {
    FreeBook();
    KillThreadPool(PBlock.options.threads);
    DestroyAlert();
    if (wTimerRes != 0) { timeEndPeriod(wTimerRes); }
    FreeTTable();
    for (int slot = 0; slot < THREAD_SLOTS; ++slot) { FreeThreadBlock(slot); }
    ResetTrace();
    CloseLog();
}
