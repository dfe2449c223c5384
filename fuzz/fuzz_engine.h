// What the fuzz targets share: an engine prepared once per process, and files in memory.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "board/bitboards.h"
#include "board/zobrist.h"
#include "eval/evaluate.h"
#include "eval/kpk.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/input.h"
#include "frontend/pblock.h"
#include "search/ttable.h"

// A property that must hold for every input; stays on in every build type. Names the caller's line.
inline void Require(bool holds, int line = __builtin_LINE()) {
    if (holds) { return; }
    std::fprintf(stderr, "the property in line %d does not hold\n", line);
    std::abort();
}

// Program state as a start without options leaves it, on a small table; the slots keep their
// records. Requires PrepareEngine.
inline void ResetProgram() {
    PBlock.Reset();
    PBlock.options.hash_mb = 1;
    PBlock.options.log = 0;
    PBlock.options.noise = NOISE_NEVER;
    Personality = DefaultPersonality;
    ResetInput();
    SetPosition(game_position, fen_opn);
}

// What the engine prints is of no interest; a fuzzer reports on standard error.
inline void SilenceOutput() { dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO); }

// Tables, and records for the slots 0 and 1. No search threads.
inline void PrepareEngine() {
    static const bool ready = [] {
        SilenceOutput();
        InitBitboards();
        InitKPK();
        PBlock.options.hash_mb = 1;
        InitPersonality(nullptr);
        Require(InitTTable() == 0);
        Require(NewThreadBlock(0) != nullptr && NewThreadBlock(1) != nullptr);
        game_position = &ThreadData[0]->pos;
        ResetProgram();
        InitEval();
        return true;
    }();
    (void)ready;
}

// While one lives, the working folder lies in memory, where the system has such a place: engines
// read and write files there. The folder goes with the process.
class MemoryFolder {
public:
    MemoryFolder() : before_(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        static const Folder folder;
        Require(before_ >= 0 && chdir(folder.path.c_str()) == 0);
    }
    ~MemoryFolder() {
        Require(fchdir(before_) == 0);
        close(before_);
    }
    MemoryFolder(const MemoryFolder&) = delete;
    MemoryFolder& operator=(const MemoryFolder&) = delete;

private:
    struct Folder {
        Folder() {
            const std::filesystem::path memory = "/dev/shm";
            path = std::filesystem::is_directory(memory) ? memory
                                                         : std::filesystem::temp_directory_path();
            path += "/vesk-fuzz-XXXXXX";
            Require(mkdtemp(path.data()) != nullptr);
        }
        ~Folder() { std::filesystem::remove_all(path); }
        std::string path;
    };
    int before_;
};

inline void WriteFile(const char* name, std::string_view bytes) {
    const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
    Require(file >= 0);
    Require(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    close(file);
}

// The input's first byte, which chooses among the variants of a target, and the rest.
struct FuzzInput {
    unsigned variant = 0;
    std::string_view text;

    FuzzInput(const std::uint8_t* data, std::size_t size) {
        if (size == 0) { return; }
        variant = data[0];
        text = {reinterpret_cast<const char*>(data) + 1, size - 1};
    }
};

// A run of a target on a file: the engine as it starts, the folder, and the input but for its first
// byte in the file `name`.
struct FileRun {
    FileRun(const std::uint8_t* data, std::size_t size, const char* name) : input(data, size) {
        ResetProgram();
        WriteFile(name, input.text);
    }

    const bool prepared = (PrepareEngine(), true);
    const MemoryFolder folder;
    const FuzzInput input;
};
