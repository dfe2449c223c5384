// Starts the tests with the engine's tables filled. An environment, so that listing tests stays
// cheap.
#include <gtest/gtest.h>

#include "support/engine.h"

namespace {

class EngineTables : public testing::Environment {
public:
    void SetUp() override { InitEngineForTests(); }
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new EngineTables);
    return RUN_ALL_TESTS();
}
