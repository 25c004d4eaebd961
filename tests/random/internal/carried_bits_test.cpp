// Words from a generator of 128-bit elements, carried between requests in
// chunks 11 and 12.  The generator here counts: element k holds the words
// 4k, 4k + 1, 4k + 2, 4k + 3, so the words delivered must count up from 0
// however the requests are cut.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "qlm/qlm_vxs.h"
#include "random/distributions/uniform.h"

namespace {

int32_t counting_elements(void* stream, int32_t n, void* r) {
    uint32_t& next = *reinterpret_cast<uint32_t*>(static_cast<char*>(stream) + 16);
    for (int32_t i = 0; i < 4 * n; ++i) static_cast<uint32_t*>(r)[i] = next++;
    return 0;
}
int32_t failing_elements(void*, int32_t, void*) { return -77; }

struct host_stream {
    void* s = nullptr;
    vxs_brng_record record{};
    host_stream() {
        // An MCG31M1 block hosts the counter at byte 16 and the chunks.
        EXPECT_EQ(__vxsNewStreamEx(&s, VXS_BRNG_MCG31M1, 0, nullptr), 0);
        std::memset(static_cast<char*>(s) + 16, 0, 4);
        record.word_bytes = 16;
        record.gen_integer = counting_elements;
    }
    ~host_stream() { __vxsDeleteStream(&s); }
    const uint32_t* chunk(uint32_t key) const { return static_cast<const uint32_t*>(__vxsSearchChunk(s, key)); }
};

TEST(CarriedBits, ThirtyTwoBitWordsDoNotDependOnTheCuts) {
    host_stream h;
    uint32_t w[8];
    ASSERT_EQ(qlm::random::carried_bits32(h.record, h.s, 1, w), 0);
    ASSERT_EQ(qlm::random::carried_bits32(h.record, h.s, 1, w + 1), 0);
    EXPECT_EQ(w[0], 0u);
    EXPECT_EQ(w[1], 1u);
    ASSERT_NE(h.chunk(11), nullptr);
    EXPECT_EQ(h.chunk(11)[3], 2u);

    // Five words: two carried, then one whole element and one word of the
    // next, whose other three stay in the chunk; three more take them.
    host_stream g;
    ASSERT_EQ(qlm::random::carried_bits32(g.record, g.s, 5, w), 0);
    EXPECT_EQ(g.chunk(11)[3], 3u);
    ASSERT_EQ(qlm::random::carried_bits32(g.record, g.s, 3, w + 5), 0);
    EXPECT_EQ(g.chunk(11)[3], 0u);
    for (uint32_t i = 0; i < 8; ++i) EXPECT_EQ(w[i], i);

    host_stream c;
    std::vector<uint32_t> all(2000);
    uint32_t at = 0;
    for (int32_t n : {3, 1, 0, 4, 7, 2, 9, 16, 5, 1, 1, 1, 100, 13}) {
        ASSERT_EQ(qlm::random::carried_bits32(c.record, c.s, n, all.data() + at), 0);
        at += n;
    }
    for (uint32_t i = 0; i < at; ++i) ASSERT_EQ(all[i], i);
}

TEST(CarriedBits, SixtyFourBitWordsDoNotDependOnTheCuts) {
    host_stream c;
    std::vector<uint64_t> all(500);
    uint32_t at = 0;
    for (int32_t n : {1, 1, 3, 2, 0, 5, 4, 7, 1, 30}) {
        ASSERT_EQ(qlm::random::carried_bits64(c.record, c.s, n, all.data() + at), 0);
        at += n;
        EXPECT_EQ(c.chunk(12)[2], at % 2) << at;
    }
    for (uint32_t i = 0; i < at; ++i) ASSERT_EQ(all[i], (uint64_t{2 * i + 1} << 32) | (2 * i)) << i;
}

TEST(CarriedBits, GeneratorStatusComesBack) {
    host_stream h;
    h.record.gen_integer = failing_elements;
    uint32_t w[8];
    uint64_t d[8];
    EXPECT_EQ(qlm::random::carried_bits32(h.record, h.s, 8, w), -77);
    EXPECT_EQ(qlm::random::carried_bits64(h.record, h.s, 3, d), -77);
}

}  // namespace
