// WH against a plain model built from its family table, and the table itself
// against MPFR and number theory.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <vector>

#include "qlm/qlm_vxs.h"
#include "random/reference_models.h"
#include "random/streams/wh_table.h"

namespace {

using qlm::random::wh_family;

TEST(WhFamily, TableRowsAreSound) {
    // Fixed rows.
    EXPECT_EQ(wh_family[0].m[0], 16770647u);
    EXPECT_EQ(wh_family[0].a[1], 117);
    EXPECT_EQ(wh_family[3].m[3], 16769387u);
    EXPECT_EQ(wh_family[272].m[3], 16766231u);
    EXPECT_EQ(wh_family[272].a[2], 125);
    mpfr_t q;
    mpfr_init2(q, 53);
    for (int row = 0; row < 273; ++row) {
        for (int c = 0; c < 4; ++c) {
            const uint32_t m = wh_family[row].m[c];
            ASSERT_GE(m, 16766231u);
            ASSERT_LE(m, 16770647u);
            // Fermat with the multiplier as witness: a^(m-1) = 1, and a^((m-1)/2) = -1
            // as a primitive root must give.
            ASSERT_EQ(__vxsiPowMod(wh_family[row].a[c], m - 1, m), 1u) << row;
            ASSERT_EQ(__vxsiPowMod(wh_family[row].a[c], (m - 1) / 2, m), m - 1) << row;
            mpfr_set_ui(q, m, MPFR_RNDN);
            mpfr_ui_div(q, 1, q, MPFR_RNDN);
            ASSERT_EQ(wh_family[row].reciprocal[c], mpfr_get_d(q, MPFR_RNDN)) << row << " " << c;
        }
    }
    mpfr_clear(q);
}

TEST(WhFamily, GeneratorMatchesModel) {
    for (int sub : {0, 1, 136, 272}) {
        void* s = nullptr;
        const uint32_t seed[4] = {11, 22, 33, 44};
        ASSERT_EQ(__vxsNewStreamEx(&s, VXS_BRNG_WH + sub, 4, seed), 0);
        qlm::test::wh_model m{};
        for (int c = 0; c < 4; ++c) {
            m.m[c] = wh_family[sub].m[c];
            m.a[c] = wh_family[sub].a[c];
            m.x[c] = seed[c];
        }
        std::vector<uint32_t> words(4 * 3000);
        std::vector<double> d(2000);
        ASSERT_EQ(__vxsiBRngWH(s, 3000, words.data()), 0);
        ASSERT_EQ(__vxsdBRngWH(s, 2000, d.data(), 0.0, 1.0), 0);
        for (int i = 0; i < 3000; ++i) {
            const auto x = m.next();
            for (int c = 0; c < 4; ++c) ASSERT_EQ(words[4 * i + c], x[c]) << sub << " " << i;
        }
        for (int i = 0; i < 2000; ++i) {
            const auto x = m.next();
            long double u = 0;
            for (int c = 0; c < 4; ++c) u += static_cast<long double>(x[c]) / m.m[c];
            u -= static_cast<long long>(u);
            ASSERT_NEAR(d[i], static_cast<double>(u), 1e-15) << sub << " " << i;
        }
        __vxsDeleteStream(&s);
    }
}

}  // namespace
