// Programs started by the engine on Windows. Their output is read with a time limit, which ordinary
// pipes do not have there: it is a named pipe with overlapped reads.
#include "platform/process.h"

#include <windows.h>

#include <atomic>
#include <cassert>
#include <system_error>

#include "platform/text_win.h"

namespace {

constexpr DWORD PIPE_SIZE = 4096;  // bytes
constexpr double MS_PER_SECOND = 1000.0;

// A handle that is closed with its owner.
class Handle {
public:
    Handle() = default;
    ~Handle() { Close(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    bool Take(HANDLE handle) {
        Close();
        handle_ = handle == INVALID_HANDLE_VALUE ? nullptr : handle;
        return handle_ != nullptr;
    }
    HANDLE Get() const { return handle_; }
    HANDLE* Place() { return &handle_; }
    void Close() {
        if (handle_ != nullptr) { CloseHandle(handle_); }
        handle_ = nullptr;
    }

private:
    HANDLE handle_ = nullptr;
};

// An argument as the usual rules of command lines quote it.
std::wstring Quoted(const std::wstring& word) {
    if (!word.empty() && word.find_first_of(L" \t\"") == std::wstring::npos) { return word; }
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : word) {
        if (c == L'"') { text.append(backslashes + 1, L'\\'); }
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        text += c;
    }
    text.append(backslashes, L'\\');
    return text + L'"';
}

std::wstring CommandLineOf(const std::vector<std::string>& words) {
    std::wstring line;
    for (const std::string& word : words) {
        if (!line.empty()) { line += L' '; }
        line += Quoted(WideText(word));
    }
    return line;
}

std::string TextOfError(DWORD error) {
    return std::system_category().message(static_cast<int>(error));
}

// The attributes of a new process that inherits these handles and no others.
class Inherited {
public:
    explicit Inherited(std::vector<HANDLE> handles) : handles_(std::move(handles)) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        memory_.resize(size);
        list_ = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
        good_ =
            InitializeProcThreadAttributeList(list_, 1, 0, &size) &&
            UpdateProcThreadAttribute(list_, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(),
                                      handles_.size() * sizeof(HANDLE), nullptr, nullptr);
    }
    ~Inherited() { DeleteProcThreadAttributeList(list_); }
    Inherited(const Inherited&) = delete;
    Inherited& operator=(const Inherited&) = delete;
    bool Good() const { return good_; }
    LPPROC_THREAD_ATTRIBUTE_LIST List() const { return list_; }

private:
    std::vector<HANDLE> handles_;
    std::vector<char> memory_;
    LPPROC_THREAD_ATTRIBUTE_LIST list_;
    bool good_;
};

}  // namespace

struct ChildProcess::Port {
    Handle process;
    Handle input;   // of the program: we write
    Handle output;  // we read
    Handle read_done;
    OVERLAPPED read = {};
    char chunk[PIPE_SIZE];
    bool reading = false;  // a read of chunk is on its way

    bool OpenPipes(Handle* child_input, Handle* child_output);
    bool Spawn(const std::vector<std::string>& words, HANDLE child_input, HANDLE child_output);
    ~Port();
};

bool ChildProcess::Port::OpenPipes(Handle* child_input, Handle* child_output) {
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    if (!CreatePipe(child_input->Place(), input.Place(), &inherit, 0)) { return false; }
    SetHandleInformation(input.Get(), HANDLE_FLAG_INHERIT, 0);
    static std::atomic<unsigned> number = 0;
    const std::wstring name = L"\\\\.\\pipe\\vesk." + std::to_wstring(GetCurrentProcessId()) +
                              L"." + std::to_wstring(number++);
    return output.Take(CreateNamedPipeW(
               name.c_str(),
               PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
               PIPE_TYPE_BYTE | PIPE_WAIT, 1, PIPE_SIZE, PIPE_SIZE, 0, nullptr)) &&
           child_output->Take(
               CreateFileW(name.c_str(), GENERIC_WRITE, 0, &inherit, OPEN_EXISTING, 0, nullptr)) &&
           read_done.Take(CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

bool ChildProcess::Port::Spawn(const std::vector<std::string>& words, HANDLE child_input,
                               HANDLE child_output) {
    const HANDLE errors = GetStdHandle(STD_ERROR_HANDLE);
    std::vector<HANDLE> handles = {child_input, child_output};
    STARTUPINFOEXW start = {};
    start.StartupInfo.cb = sizeof start;
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = child_input;
    start.StartupInfo.hStdOutput = child_output;
    if (errors != nullptr && errors != INVALID_HANDLE_VALUE &&
        SetHandleInformation(errors, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT)) {
        start.StartupInfo.hStdError = errors;
        handles.push_back(errors);
    }
    const Inherited inherited(handles);
    start.lpAttributeList = inherited.List();
    std::wstring line = CommandLineOf(words);
    PROCESS_INFORMATION information = {};
    // A group of its own: an interrupt at the console is for us alone.
    if (!inherited.Good() ||
        !CreateProcessW(WidePath(words[0]).c_str(), line.data(), nullptr, nullptr, TRUE,
                        EXTENDED_STARTUPINFO_PRESENT | CREATE_NEW_PROCESS_GROUP, nullptr, nullptr,
                        &start.StartupInfo, &information)) {
        return false;
    }
    CloseHandle(information.hThread);
    return process.Take(information.hProcess);
}

ChildProcess::Port::~Port() {
    if (process.Get() == nullptr) { return; }
    TerminateProcess(process.Get(), 1);
    WaitForSingleObject(process.Get(), INFINITE);
    if (reading) {
        DWORD got;
        CancelIo(output.Get());
        GetOverlappedResult(output.Get(), &read, &got, TRUE);
    }
}

std::string ProgramPath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) { return NarrowText(path.substr(0, length)); }
        path.resize(2 * path.size());
    }
}

ChildProcess::ChildProcess() = default;
ChildProcess::~ChildProcess() = default;

bool ChildProcess::Start(const std::vector<std::string>& words, std::string* why) {
    assert(port_ == nullptr && !words.empty());
    auto port = std::make_unique<Port>();
    Handle child_input, child_output;
    if (!port->OpenPipes(&child_input, &child_output) ||
        !port->Spawn(words, child_input.Get(), child_output.Get())) {
        *why = TextOfError(GetLastError());
        return false;
    }
    port_ = std::move(port);
    bytes_.clear();
    return true;
}

bool ChildProcess::Write(std::string_view bytes) {
    if (port_ == nullptr) { return false; }
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!WriteFile(port_->input.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                       nullptr)) {
            return false;
        }
        bytes.remove_prefix(written);
    }
    return true;
}

LineRead ChildProcess::ReadLine(std::string* line, double seconds) {
    if (port_ == nullptr) { return LineRead::Ended; }
    while (!TakeLine(line)) {
        Port* port = port_.get();
        if (!port->reading) {
            port->read = {};
            port->read.hEvent = port->read_done.Get();
            if (!ReadFile(port->output.Get(), port->chunk, sizeof port->chunk, nullptr,
                          &port->read) &&
                GetLastError() != ERROR_IO_PENDING) {
                return LineRead::Ended;
            }
            port->reading = true;
        }
        const auto limit = static_cast<DWORD>(seconds * MS_PER_SECOND);
        if (WaitForSingleObject(port->read_done.Get(), limit) == WAIT_TIMEOUT) {
            return LineRead::Nothing;
        }
        port->reading = false;
        DWORD got = 0;
        if (!GetOverlappedResult(port->output.Get(), &port->read, &got, FALSE) || got == 0) {
            return LineRead::Ended;
        }
        bytes_.append(port->chunk, got);
    }
    return LineRead::Line;
}

void ChildProcess::End() { port_.reset(); }
