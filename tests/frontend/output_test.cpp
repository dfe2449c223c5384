// The log file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "frontend/output.h"
#include "frontend/pblock.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

TEST(Output, LogIsWrittenAnewAndCompleteWhileItIsOpen) {
    ResetEngine();
    const ScratchFolder folder;
    const std::string long_text(100000, 'x');
    std::ofstream(LOG_FILE_NAME) << "old\n";
    OpenLog();
    PBlock.options.log = 1;
    EXPECT_EQ(OutputOf([&] { ShowMessageF("%s %d", long_text.c_str(), 7); }), long_text + " 7\n");
    EXPECT_EQ(FileContent(LOG_FILE_NAME), long_text + " 7\n");
    CloseLog();
    std::filesystem::remove(LOG_FILE_NAME);
    std::filesystem::create_directories(LOG_FILE_NAME);
    EXPECT_EQ(OutputOf(OpenLog), "log file in use\n\n");
}

}  // namespace
