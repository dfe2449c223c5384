// Starts the tests with the engine's tables filled, in a folder of their own: an engine that is
// started writes its log where it stands. An environment, so that listing tests stays cheap.
#include <gtest/gtest.h>

#include <memory>

#include "support/engine.h"

namespace {

class EngineTables : public testing::Environment {
public:
    void SetUp() override {
        folder_ = std::make_unique<ScratchFolder>();
        InitEngineForTests();
    }
    void TearDown() override { folder_.reset(); }

private:
    std::unique_ptr<ScratchFolder> folder_;
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new EngineTables);
    return RUN_ALL_TESTS();
}
