// A stream is one block; generation allocates nothing; deletion gives back
// everything, chunks included.  Counted on the core library's allocator.
#include <gtest/gtest.h>

#include <vector>

#include "qlm/qlm_vxs.h"
#include "support/runtime_libraries.h"

namespace {

TEST(StreamMemory, OneBlockAndNoneWhileGenerating) {
    for (int32_t brng : {VXS_BRNG_MCG31M1, VXS_BRNG_R250, VXS_BRNG_MRG32K3A, VXS_BRNG_MCG59, VXS_BRNG_WH + 9}) {
        void* s = nullptr;
        const uint32_t seed = 3;
        ASSERT_EQ(__vxsNewStreamEx(&s, brng, 1, &seed), 0);
        const int64_t live = qlm::test::live_blocks();
        ASSERT_GE(live, 1) << "allocator library not loaded";
        std::vector<double> d(3000);
        std::vector<float> f(3000);
        std::vector<int32_t> i(3000);
        std::vector<uint32_t> w(4 * 3000);
        ASSERT_EQ(_vxsdRngUniform(VXS_METHOD_ACCURATE, s, 3000, d.data(), 0.0, 1.0), 0);
        ASSERT_EQ(_vxssRngUniform(0, s, 3000, f.data(), 0.0f, 1.0f), 0);
        ASSERT_EQ(_vxsiRngUniform(0, s, 3000, i.data(), 0, 10), 0);
        ASSERT_EQ(_vxsiRngUniformBits(0, s, 3000, w.data()), 0);
        _vxsiRngUniformBits32(0, s, 3000, w.data());
        ASSERT_EQ(__vxsSkipAheadStream(s, 1000) == 0 || brng == VXS_BRNG_R250, true);
        EXPECT_EQ(qlm::test::live_blocks(), live) << std::hex << brng;
        void* copy = nullptr;
        ASSERT_EQ(__vxsCopyStream(&copy, s), 0);
        EXPECT_EQ(qlm::test::live_blocks(), live + 1);
        __vxsDeleteStream(&copy);
        __vxsDeleteStream(&s);
        EXPECT_EQ(qlm::test::live_blocks(), live - 1);
    }
}

}  // namespace
