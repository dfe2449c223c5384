// What all ports share of the programs that the engine starts.
#include "platform/process.h"

bool ChildProcess::TakeLine(std::string* line) {
    const std::size_t end = bytes_.find('\n');
    if (end == std::string::npos) { return false; }
    line->assign(bytes_, 0, end);
    if (!line->empty() && line->back() == '\r') { line->pop_back(); }
    bytes_.erase(0, end + 1);
    return true;
}
