// What only a program of Windows itself can see of the engine there: pipes of the system's own, a
// reader that is gone, names beyond the old character sets and the old length, the log of a living
// engine. Usage: process_test.exe VESK.EXE. Works in the current folder; exit status 0 when all is
// well.
#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

namespace {

constexpr DWORD PATIENCE_MS = 20000;  // with anything that should come at once

int faults = 0;

bool Check(bool good, const std::string& what) {
    std::printf("%s: %s\n", good ? "good" : "FAULT", what.c_str());
    std::fflush(stdout);
    faults += good ? 0 : 1;
    return good;
}

// The engine between two pipes; standard error goes where ours goes.
class Engine {
public:
    Engine(const std::wstring& program, const std::wstring& arguments) {
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        HANDLE its_input = nullptr, its_output = nullptr;
        CreatePipe(&its_input, &input_, &inherited, 0);
        CreatePipe(&output_, &its_output, &inherited, 0);
        SetHandleInformation(input_, HANDLE_FLAG_INHERIT, 0);
        SetHandleInformation(output_, HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW start = {};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdInput = its_input;
        start.hStdOutput = its_output;
        start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
        std::wstring command = L"\"" + program + L"\" " + arguments;
        PROCESS_INFORMATION process = {};
        if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                           &start, &process)) {
            process_ = process.hProcess;
            CloseHandle(process.hThread);
        }
        CloseHandle(its_input);
        CloseHandle(its_output);
    }
    ~Engine() {
        TerminateProcess(process_, 9);
        CloseInput();
        CloseOutput();
        CloseHandle(process_);
    }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    void Send(std::string_view text) {
        DWORD written = 0;
        WriteFile(input_, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    }
    // Reads lines up to one that begins so; false when the output ends before.
    bool Expect(std::string_view begin) {
        for (std::string line; ReadLine(&line);) {
            if (line.starts_with(begin)) { return true; }
        }
        return false;
    }
    std::string ReadRest() {
        std::string all;
        for (std::string line; ReadLine(&line);) { all += line + "\n"; }
        return all;
    }
    void CloseInput() { Close(&input_); }
    void CloseOutput() { Close(&output_); }
    // The exit status; -1 when it does not end.
    int Wait() const {
        DWORD status = 0;
        if (WaitForSingleObject(process_, PATIENCE_MS) != WAIT_OBJECT_0) { return -1; }
        return GetExitCodeProcess(process_, &status) ? static_cast<int>(status) : -1;
    }

private:
    static void Close(HANDLE* handle) {
        if (*handle != nullptr) { CloseHandle(*handle); }
        *handle = nullptr;
    }
    // False when the output has ended.
    bool ReadLine(std::string* line) {
        std::size_t feed;
        while ((feed = read_.find('\n')) == std::string::npos) {
            char bytes[4096];
            DWORD count = 0;
            if (!ReadFile(output_, bytes, sizeof bytes, &count, nullptr) || count == 0) {
                return false;
            }
            read_.append(bytes, count);
        }
        *line = read_.substr(0, feed);
        read_.erase(0, feed + 1);
        return true;
    }

    std::string read_;  // and not yet handed out
    HANDLE input_ = nullptr, output_ = nullptr, process_ = nullptr;
};

void CheckStops(const std::wstring& program) {
    Engine engine(program, L"-nolog -threads 2");
    double longest_ms = 0;
    for (int i = 0; i < 5; ++i) {
        engine.Send("isready\ngo infinite\n");
        Check(engine.Expect("info depth 6"), "a search speaks");
        Sleep(200);
        LARGE_INTEGER begin, end, frequency;
        QueryPerformanceFrequency(&frequency);
        QueryPerformanceCounter(&begin);
        engine.Send("stop\n");
        engine.Expect("bestmove");
        QueryPerformanceCounter(&end);
        longest_ms = std::max(longest_ms, 1e3 * static_cast<double>(end.QuadPart - begin.QuadPart) /
                                              static_cast<double>(frequency.QuadPart));
    }
    std::printf("stop to bestmove: %.1f ms at most\n", longest_ms);
    Check(longest_ms < PATIENCE_MS, "stop ends a search");
    engine.Send("quit\n");
    Check(engine.Wait() == 0, "quit ends the engine");
}

void CheckEnds(const std::wstring& program) {
    {
        Engine engine(program, L"-nolog");
        engine.Send("uci\r\ngo depth 5\r\n");
        engine.CloseInput();
        const std::string output = engine.ReadRest();
        Check(output.find("bestmove") != std::string::npos && engine.Wait() == 0,
              "the end of input ends the engine, after its search");
        Check(output.find('\r') == std::string::npos, "lines end with a line feed only");
    }
    {
        Engine engine(program, L"-nolog -noise 9999");
        engine.Send("go depth 64\nisready\n");
        engine.Expect("readyok");
        engine.CloseOutput();
        Check(engine.Wait() == 1, "a search whose reader is gone ends, though it prints nothing");
    }
    {
        Engine engine(program, L"-nolog");
        engine.Send("isready\n");
        engine.Expect("readyok");
        engine.CloseOutput();
        Check(engine.Wait() == 1, "an idle engine whose reader is gone ends, though input stays");
    }
    {
        Engine engine(program, L"-nolog -c");
        for (int i = 0; i < 60; ++i) { engine.Send("lmr\n"); }
        Sleep(500);  // it stands before a full pipe
        engine.CloseInput();
        Check(engine.ReadRest().size() > 200'000 && engine.Wait() == 0,
              "a full pipe loses nothing");
    }
}

bool WriteWhole(const std::wstring& path, std::string_view text) {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    const bool good =
        WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) != 0;
    return CloseHandle(file) && good;
}

std::wstring CurrentFolder() {
    std::wstring folder(MAX_PATH, L'\0');
    folder.resize(GetCurrentDirectoryW(MAX_PATH, folder.data()));
    return folder;
}

void CheckNames(const std::wstring& program) {
    constexpr char suite[] = "6k1/5ppp/8/8/8/8/5PPP/R5K1 w - - bm Ra8+; id \"1\";\r\n";
    const std::wstring foreign = L"Schl\u00fcssel \u65e5\u672c.epd";
    std::wstring deep = L"\\\\?\\" + CurrentFolder();
    for (int i = 0; i < 6; ++i) {
        deep += L"\\" + std::wstring(60, L'd');
        CreateDirectoryW(deep.c_str(), nullptr);
    }
    deep += L"\\suite.epd";
    for (const std::wstring& path : {foreign, deep}) {
        Check(WriteWhole(path, suite), "a file of that name can be made");
        // Long paths are given without the prefix, as users do.
        const std::wstring given = path.starts_with(L"\\\\?\\") ? path.substr(4) : path;
        Engine engine(program, L"-nolog -quiet -t 0.1 -anepd \"" + given + L"\"");
        engine.CloseInput();
        engine.ReadRest();
        Check(engine.Wait() == 0,
              "a suite is found by a name of " + std::to_string(given.size()) + " characters");
    }
    const std::wstring folder = L"Ordner \u00fc\u65e5";
    CreateDirectoryW(folder.c_str(), nullptr);
    Engine elsewhere(program, L"-dir \"" + folder + L"\" -c");
    elsewhere.CloseInput();
    Check(elsewhere.Wait() == 0 &&
              GetFileAttributesW((folder + L"\\vesk.log").c_str()) != INVALID_FILE_ATTRIBUTES,
          "the engine works in a folder of any name");
    Engine engine(program, L"-nolog -quiet -t 0.1 -anepd *.epd");
    engine.CloseInput();
    Check(engine.Wait() == 1, "an asterisk is left alone");
}

void CheckLog(const std::wstring& program) {
    Engine first(program, L"-c");
    first.Send("bd\n");
    first.Expect("white");
    Engine second(program, L"-c");
    second.CloseInput();
    Check(second.ReadRest().starts_with("log file in use\n\n") && second.Wait() == 0,
          "the log of a living engine is left alone");
    first.Send("quit\n");
    Check(first.Wait() == 0, "the living engine ends");
    Engine third(program, L"-c");
    third.CloseInput();
    Check(!third.ReadRest().starts_with("log file") && third.Wait() == 0,
          "the log of an engine that has ended is replaced");
}

}  // namespace

int main() {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != 2) { return 2; }
    const std::wstring program = words[1];
    CheckStops(program);
    CheckEnds(program);
    CheckNames(program);
    CheckLog(program);
    return faults == 0 ? 0 : 1;
}
