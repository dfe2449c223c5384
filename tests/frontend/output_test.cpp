// The log file.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "frontend/output.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

TEST(Output, LogIsWrittenAnewAndCompleteWhileItIsOpen) {
    ResetEngine();
    const ScratchFolder folder;
    const std::string long_text(100000, 'x');
    std::ofstream(LOG_FILE_NAME) << "old\n";
    OpenLog();
    BeginLog();
    PBlock.options.log = 1;
    EXPECT_EQ(OutputOf([&] { ShowMessageF("%s %d", long_text.c_str(), 7); }), long_text + " 7\n");
    EXPECT_EQ(FileContent(LOG_FILE_NAME), long_text + " 7\n");
    CloseLog();
}

}  // namespace
