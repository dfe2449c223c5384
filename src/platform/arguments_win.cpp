// The command line as the user typed it. main gets it in the old character set, and with "*" and
// "?" replaced by the names of files.
#include "platform/arguments.h"

#include <string>
#include <vector>

#include <windows.h>

#include <shellapi.h>

#include "platform/text_win.h"

char** ProgramArguments(int* argc, char** argv) {
    static std::vector<std::string> texts;
    static std::vector<char*> pointers;
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    if (words == nullptr) { return argv; }
    for (int i = 0; i < count; ++i) { texts.push_back(NarrowText(words[i])); }
    LocalFree(words);
    for (std::string& text : texts) { pointers.push_back(text.data()); }
    pointers.push_back(nullptr);
    *argc = count;
    return pointers.data();
}
