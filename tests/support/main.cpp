// Starts the tests in a folder of their own, since an engine that is started writes its log where
// it stands, and with the engine's tables filled. Listing the tests stays cheap.
#include <gtest/gtest.h>

#include "support/engine.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) { return RUN_ALL_TESTS(); }
    const ScratchFolder folder;
    InitEngineForTests();
    return RUN_ALL_TESTS();
}
