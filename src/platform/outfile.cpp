// What is the same for output files on every system: texts, waiting bytes, the order of the steps.
#include "platform/outfile.h"

#include <cassert>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/files.h"

namespace {

constexpr std::size_t WAITING_BYTES = std::size_t{1} << 16;  // handed to the system together
constexpr std::size_t USUAL_TEXT = 512;                      // bytes of what Print writes at once

}  // namespace

bool OutFile::Fail(const char* why) {
    if (fault_.empty()) { fault_ = "cannot write " + target_ + ": " + why; }
    return false;
}

bool OutFile::TakePlace() {
    if (name_ == target_) { return true; }
    if (!RenameOver(name_.c_str(), target_.c_str())) { return Fail(std::strerror(errno)); }
    name_ = target_;
    return true;
}

bool OutFile::Create(const std::string& target) { return Begin(target); }

bool OutFile::GrowInPlace() {
    if (Flush() && TakePlace()) { return true; }
    Abandon();
    return false;
}

bool OutFile::CreateGrowing(const std::string& target) { return Begin(target) && GrowInPlace(); }

void OutFile::Write(std::string_view bytes) {
    assert(IsOpen());
    if (!fault_.empty()) { return; }
    waiting_ += bytes;
    if (waiting_.size() >= WAITING_BYTES) { [[maybe_unused]] const bool written = Flush(); }
}

void OutFile::Print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    char text[USUAL_TEXT];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length >= static_cast<int>(sizeof text)) {
        std::string whole(static_cast<std::size_t>(length), '\0');
        std::vsnprintf(whole.data(), whole.size() + 1, format, again);
        Write(whole);
    } else if (length > 0) {
        Write({text, static_cast<std::size_t>(length)});
    }
    va_end(again);
}

bool OutFile::Commit() {
    assert(IsOpen());
    const bool flushed = Flush();
    const bool good = Close() && flushed && TakePlace();
    if (!good && name_ != target_) { RemoveFile(name_.c_str()); }
    return good;
}

void OutFile::Abandon() {
    if (!IsOpen()) { return; }
    waiting_.clear();
    const std::string fault = fault_;
    [[maybe_unused]] const bool closed = Close();
    fault_ = fault;  // what becomes of an abandoned file is no fault
    if (name_ != target_) { RemoveFile(name_.c_str()); }
}
