// Erf, Erfc and CdfNorm in both types: accuracy of every slot against MPFR
// over the whole range, the deep tails, the piece and screen boundaries
// included; the statuses; and the group loop: a group with one rejected
// lane keeps the other lanes' fast results, and ragged ends give the
// results of the same elements inside whole groups.
#include <cfloat>
#include <cmath>
#include <algorithm>
#include <cstring>
#include <limits>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

template <typename T>
constexpr int min_exp = sizeof(T) == 8 ? -1074 : -149;

// The normal distribution function at 256 bits: erfc(-x/sqrt 2)/2.
int mpfr_cdfnorm(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_t u;
    mpfr_init2(u, 320);
    mpfr_sqrt_ui(u, 2, MPFR_RNDN);
    mpfr_div(u, x, u, MPFR_RNDN);
    mpfr_neg(u, u, MPFR_RNDN);
    const int t = mpfr_erfc(r, u, rnd);
    mpfr_div_2ui(r, r, 1, rnd);
    mpfr_clear(u);
    return t;
}

// The values around a screen threshold and around the piece edges 2^e (1 +
// k/8), both signs: the last fast inputs and the first rejected ones.
template <typename T>
std::vector<T> around(std::initializer_list<double> points) {
    std::vector<T> v;
    for (double p : points) {
        T x = static_cast<T>(p);
        for (int k = 0; k < 3; ++k) x = std::nextafter(x, T(0));
        for (int k = 0; k < 6; ++k, x = std::nextafter(x, T(INFINITY))) {
            v.push_back(x);
            v.push_back(-x);
        }
    }
    return v;
}

template <typename T>
std::vector<T> piece_edges() {
    std::vector<double> p;
    for (int e = -3; e <= 4; ++e)
        for (int k = 0; k < 8; ++k) p.push_back(std::ldexp(1.0 + k / 8.0, e));
    std::vector<T> v;
    for (double x : p) {
        const auto a = around<T>({x});
        v.insert(v.end(), a.begin(), a.end());
    }
    return v;
}

template <typename T>
std::vector<T> erf_inputs(uint32_t seed) {
    return concat<T>({uniform_samples<T>(-6.5, 6.5, 2500, seed), uniform_samples<T>(0.7, 0.8, 500, seed + 1),
                      exponent_samples<T>(min_exp<T>, 3, 1500, seed + 2), around<T>({6.0, 4.0}), piece_edges<T>()});
}

// Up to where the result leaves the denormal range: 27.3 in double, 10.1 in
// single, and the cancelling region near 0.75.
template <typename T>
std::vector<T> erfc_inputs(uint32_t seed) {
    const double top = sizeof(T) == 8 ? 27.3 : 10.1;
    return concat<T>({uniform_samples<T>(-7, top, 2500, seed), uniform_samples<T>(top - 1.5, top, 600, seed + 1),
                      uniform_samples<T>(0.6, 0.9, 500, seed + 2), exponent_samples<T>(min_exp<T>, 2, 1000, seed + 3),
                      around<T>({26.5, 9.0}), piece_edges<T>()});
}

template <typename T>
std::vector<T> cdfnorm_inputs(uint32_t seed) {
    const double bottom = sizeof(T) == 8 ? -38.6 : -14.2;
    return concat<T>({uniform_samples<T>(bottom, 9, 2500, seed), uniform_samples<T>(bottom, bottom + 3, 600, seed + 1),
                      uniform_samples<T>(-1.2, 1.2, 500, seed + 2), exponent_samples<T>(min_exp<T>, 2, 1000, seed + 3),
                      around<T>({37.5, 12.5}), piece_edges<T>()});
}

TEST(ErrorFunctions, EverySlotWithinItsClass) {
    expect_unary_classes<double>("dErf", qlm_vxm_kernel_dErf_ttab, erf_inputs<double>(51), mpfr_erf);
    expect_unary_classes<double>("dErfc", qlm_vxm_kernel_dErfc_ttab, erfc_inputs<double>(52), mpfr_erfc);
    expect_unary_classes<double>("dCdfNorm", qlm_vxm_kernel_dCdfNorm_ttab, cdfnorm_inputs<double>(53), mpfr_cdfnorm);
    expect_unary_classes<float>("sErf", qlm_vxm_kernel_sErf_ttab, erf_inputs<float>(54), mpfr_erf);
    expect_unary_classes<float>("sErfc", qlm_vxm_kernel_sErfc_ttab, erfc_inputs<float>(55), mpfr_erfc);
    expect_unary_classes<float>("sCdfNorm", qlm_vxm_kernel_sCdfNorm_ttab, cdfnorm_inputs<float>(56), mpfr_cdfnorm);
}

// Known values: CdfNorm(-37) = 5.72557122252458e-300 keeps its relative
// accuracy; Erfc(27) underflows to a denormal and says so.
TEST(ErrorFunctions, TailsInfinitiesAndUnderflow) {
    for (int slot = 0; slot < 3; ++slot) {
        int32_t status;
        auto y = run<double>(qlm_vxm_kernel_dCdfNorm_ttab[slot], {-37.0, 0.0, INFINITY, -INFINITY, NAN}, &status);
        EXPECT_NEAR(y[0] / 5.72557122252458e-300, 1.0, 1e-8);
        EXPECT_EQ(y[1], 0.5);
        EXPECT_EQ(y[2], 1.0);
        EXPECT_EQ(y[3], 0.0);
        EXPECT_TRUE(std::isnan(y[4]));
        EXPECT_EQ(status, 0);
        y = run<double>(qlm_vxm_kernel_dCdfNorm_ttab[slot], {-38.0, -1.0}, &status);
        EXPECT_TRUE(y[0] > 0 && y[0] < DBL_MIN);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);

        y = run<double>(qlm_vxm_kernel_dErfc_ttab[slot], {27.0, 0.0, -INFINITY, INFINITY, 30.0}, &status);
        EXPECT_TRUE(y[0] > 0 && y[0] < DBL_MIN);  // 5.2e-319
        EXPECT_EQ(y[1], 1.0);
        EXPECT_EQ(y[2], 2.0);
        EXPECT_EQ(y[3], 0.0);
        EXPECT_EQ(y[4], 0.0);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
        y = run<double>(qlm_vxm_kernel_dErfc_ttab[slot], {INFINITY, -30.0, 26.0}, &status);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(y[1], 2.0);

        y = run<double>(qlm_vxm_kernel_dErf_ttab[slot], {INFINITY, -INFINITY, -0.0, 7.0, NAN}, &status);
        EXPECT_EQ(y[0], 1.0);
        EXPECT_EQ(y[1], -1.0);
        EXPECT_TRUE(y[2] == 0 && std::signbit(y[2]));
        EXPECT_EQ(y[3], 1.0);
        EXPECT_TRUE(std::isnan(y[4]));
        EXPECT_EQ(status, 0);

        auto yf = run<float>(qlm_vxm_kernel_sErfc_ttab[slot], {9.5f, 1.0f}, &status);
        EXPECT_TRUE(yf[0] > 0 && yf[0] < FLT_MIN);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
        yf = run<float>(qlm_vxm_kernel_sCdfNorm_ttab[slot], {-12.0f, -20.0f}, &status);
        EXPECT_NEAR(yf[0] / 1.7764821120776e-33f, 1.0f, 1e-3f);
        EXPECT_EQ(yf[1], 0.0f);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
    }
}

template <typename T>
bool same_bits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Each element computed alone (n = 1, the ragged-end path).
template <typename T>
std::vector<T> one_by_one(unary_fn<T> f, const std::vector<T>& x) {
    std::vector<T> y(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) f(1, &x[i], &y[i]);
    return y;
}

struct family {
    const char* name;
    unary_fn<double> const* d;
    unary_fn<float> const* s;
    double rejected;          // fails the screen in both types, with no status
    double rejected_result;   // its result
};

const family kFamilies[] = {
    {"Erf", qlm_vxm_kernel_dErf_ttab, qlm_vxm_kernel_sErf_ttab, 40.0, 1.0},
    {"Erfc", qlm_vxm_kernel_dErfc_ttab, qlm_vxm_kernel_sErfc_ttab, -40.0, 2.0},
    {"CdfNorm", qlm_vxm_kernel_dCdfNorm_ttab, qlm_vxm_kernel_sCdfNorm_ttab, 40.0, 1.0},
};

// A group of four doubles (eight floats) with one lane beyond the screen
// goes through the group recompute: that lane gets the rejected value's
// result, and every other lane, in that group and the next, the very result
// it gets on the fast lane.
template <typename T>
void expect_one_rejected_lane(const family& f, unary_fn<T> const* table) {
    const int w = sizeof(T) == 8 ? 4 : 8;
    const auto base = uniform_samples<T>(-3, 3, 2 * w, 7);
    for (int slot = 0; slot < 3; ++slot) {
        const auto fast = one_by_one(table[slot], base);
        for (int lane = 0; lane < w; ++lane) {
            auto x = base;
            x[lane] = static_cast<T>(f.rejected);
            int32_t status;
            const auto y = run<T>(table[slot], x, &status);
            EXPECT_EQ(status, 0);
            EXPECT_EQ(y[lane], static_cast<T>(f.rejected_result)) << f.name << " slot " << slot << " lane " << lane;
            for (int i = 0; i < 2 * w; ++i) {
                if (i == lane) continue;
                EXPECT_TRUE(same_bits(y[i], fast[i]))
                    << f.name << " slot " << slot << " rejected lane " << lane << ", element " << i << ": " << y[i]
                    << " against " << fast[i];
            }
        }
    }
}

TEST(ErrorFunctions, OneRejectedLaneLeavesTheOthersFast) {
    for (const family& f : kFamilies) {
        expect_one_rejected_lane<double>(f, f.d);
        expect_one_rejected_lane<float>(f, f.s);
    }
}

// n = 1..9 covers no whole group, one group with a tail of every length,
// and (in double) two groups and a tail: each element's result is the one
// it gets inside whole groups, and nothing past n is written.
template <typename T>
void expect_ragged_ends(const family& f, unary_fn<T> const* table) {
    const auto x = uniform_samples<T>(-4, 4, 16, 11);
    for (int slot = 0; slot < 3; ++slot) {
        const auto whole = run<T>(table[slot], x);
        for (int n = 1; n <= 9; ++n) {
            std::vector<T> y(16, T(-7));
            table[slot](n, x.data(), y.data());
            for (int i = 0; i < n; ++i)
                EXPECT_TRUE(same_bits(y[i], whole[i])) << f.name << " slot " << slot << " n " << n << " element " << i;
            for (int i = n; i < 16; ++i) EXPECT_EQ(y[i], T(-7)) << f.name << " wrote past n = " << n;
        }
    }
}

TEST(ErrorFunctions, RaggedEndsMatchWholeGroups) {
    for (const family& f : kFamilies) {
        expect_ragged_ends<double>(f, f.d);
        expect_ragged_ends<float>(f, f.s);
    }
}

// A rejected lane that raises a status in the middle of a double group:
// Erfc(27) underflows, its neighbours keep their fast results, and the
// status survives the rest of the vector.
TEST(ErrorFunctions, StatusFromARejectedLaneInsideAGroup) {
    for (int slot = 0; slot < 3; ++slot) {
        const std::vector<double> x = {0.5, -1.0, 27.0, 2.0, 3.0, 4.0};
        const auto fast = one_by_one(qlm_vxm_kernel_dErfc_ttab[slot], x);
        int32_t status;
        const auto y = run<double>(qlm_vxm_kernel_dErfc_ttab[slot], x, &status);
        EXPECT_EQ(status, VXM_STATUS_UNDERFLOW);
        EXPECT_TRUE(y[2] > 0 && y[2] < DBL_MIN);
        for (int i : {0, 1, 3, 4, 5}) EXPECT_TRUE(same_bits(y[i], fast[i])) << "element " << i;
    }
}

// The underflowing tails of single Erfc and CdfNorm keep the group's values
// and raise UNDERFLOW once per lane whose result is below the least normal
// float, with that lane's index; lanes beyond the trusted range, NaN
// included, still go to the per-element routine.  The callback records the
// indices the error path saw.
std::vector<int32_t> g_seen;
int32_t record_index(qlm_vxm_error_record* r) {
    g_seen.push_back(r->index);
    return 0;
}

struct tail_case {
    const char* name;
    unary_fn<float> const* table;
    std::vector<float> x;          // one group of eight, then two more elements
    std::vector<int32_t> flagged;  // the indices whose result underflows
};

TEST(ErrorFunctions, SingleTailsRaiseUnderflowPerLane) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    // Erfc: 10 and 9.5 give denormals, 12 and 30 zero, -40 is 2 by the
    // per-element routine, 9.1 stays normal; the tail repeats a denormal
    // and a zero.
    const tail_case cases[] = {
        {"sErfc", qlm_vxm_kernel_sErfc_ttab, {1.0f, 10.0f, 12.0f, -40.0f, 9.1f, nan, 30.0f, 9.5f, 10.0f, 11.0f},
         {1, 2, 6, 7, 8, 9}},
        {"sCdfNorm", qlm_vxm_kernel_sCdfNorm_ttab,
         {-1.0f, -13.5f, -16.0f, 40.0f, -12.5f, nan, -40.0f, -13.2f, -13.5f, -20.0f}, {1, 2, 6, 7, 8, 9}},
    };
    const uint32_t mode = qlm_vxm_kernel_GetMode();
    for (const tail_case& c : cases) {
        for (int slot = 0; slot < 3; ++slot) {
            const auto alone = one_by_one(c.table[slot], c.x);
            g_seen.clear();
            qlm_vxm_kernel_SetErrorCallBack(record_index);
            int32_t status;
            const auto y = run<float>(c.table[slot], c.x, &status);
            qlm_vxm_kernel_SetErrorCallBack(nullptr);
            qlm_vxm_kernel_SetMode(mode);
            EXPECT_EQ(status, VXM_STATUS_UNDERFLOW) << c.name;
            EXPECT_EQ(g_seen, c.flagged) << c.name << " slot " << slot;
            for (std::size_t i = 0; i < c.x.size(); ++i) {
                EXPECT_TRUE(same_bits(y[i], alone[i])) << c.name << " slot " << slot << " element " << i;
                const bool flagged = std::find(c.flagged.begin(), c.flagged.end(), int32_t(i)) != c.flagged.end();
                if (!std::isnan(c.x[i])) { EXPECT_EQ(flagged, y[i] < FLT_MIN) << c.name << " element " << i; }
            }
            EXPECT_TRUE(y[1] > 0 && y[1] < FLT_MIN) << c.name;  // a denormal, not a flushed zero
            EXPECT_EQ(y[2], 0.0f);
            EXPECT_TRUE(std::isnan(y[5]));
        }
    }
    // A whole group past the zero threshold: eight zeros, eight reports.
    std::vector<float> far(8);
    for (int i = 0; i < 8; ++i) far[i] = 10.5f + 2.0f * i;
    g_seen.clear();
    qlm_vxm_kernel_SetErrorCallBack(record_index);
    const auto y = run<float>(qlm_vxm_kernel_sErfc_ttab[1], far);
    qlm_vxm_kernel_SetErrorCallBack(nullptr);
    qlm_vxm_kernel_SetMode(mode);
    EXPECT_EQ(g_seen, (std::vector<int32_t>{0, 1, 2, 3, 4, 5, 6, 7}));
    for (float v : y) EXPECT_TRUE(v == 0.0f && !std::signbit(v));
}

}  // namespace
