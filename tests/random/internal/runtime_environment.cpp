// The allocator behind the streams comes from the companion libraries; every
// block a stream, chunk or shared entry took must be back at the end.
#include <gtest/gtest.h>

#include "support/runtime_libraries.h"

namespace {

class runtime_environment : public ::testing::Environment {
public:
    void SetUp() override { ASSERT_TRUE(qlm::test::preload_runtime()) << "QLM_BUILD_DIR not usable"; }
    void TearDown() override {
        const int64_t live = qlm::test::live_blocks();
        if (live >= 0) EXPECT_EQ(live, 0) << "blocks allocated and not given back";
    }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new runtime_environment);

}  // namespace
