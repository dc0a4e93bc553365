// Test main of the library's tests: the XML engine runs for the whole process.
#include <gtest/gtest.h>

#include <cstdio>

#include "nqdom.h"

namespace {

class EngineEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        char* error = nullptr;
        ASSERT_EQ(nqDomStartup(nullptr, &error), 0) << (error ? error : "");
    }
    void TearDown() override { nqDomShutdown(); }
};

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::AddGlobalTestEnvironment(new EngineEnvironment);
    return RUN_ALL_TESTS();
}
