// ErfInv, ErfcInv and CdfNormInv in both types: accuracy of every slot
// against MPFR, from the centre to the least denormal argument, and the
// statuses at the poles and outside the domain.
//
// MPFR has no inverse error function: the reference solves erf(x) = y
// (erfc(x) = z, erfc(-x/sqrt 2)/2 = p) by Newton's iteration at 256 bits,
// started from the double HA result and run until the step is below 2^-200
// of x, so that the fixed point, not the start, decides the value.
#include <cfloat>
#include <cmath>

#include "vector/special/slot_accuracy.h"

namespace {

using namespace qlm::test;

enum class inverse_of { erf, erfc, cdfnorm };

void forward(mpfr_ptr f, mpfr_ptr df, mpfr_srcptr x, inverse_of kind) {
    mpfr_t t, c;
    mpfr_inits2(320, t, c, (mpfr_ptr)nullptr);
    mpfr_const_pi(c, MPFR_RNDN);
    mpfr_sqrt(c, c, MPFR_RNDN);  // sqrt(pi)
    if (kind == inverse_of::cdfnorm) {
        mpfr_sqrt_ui(t, 2, MPFR_RNDN);
        mpfr_div(t, x, t, MPFR_RNDN);  // u = x/sqrt 2
        mpfr_neg(t, t, MPFR_RNDN);
        mpfr_erfc(f, t, MPFR_RNDN);
        mpfr_div_2ui(f, f, 1, MPFR_RNDN);
        mpfr_sqr(t, t, MPFR_RNDN);  // density e^(-u^2)/sqrt(2 pi), u^2 = x^2/2
        mpfr_neg(t, t, MPFR_RNDN);
        mpfr_exp(df, t, MPFR_RNDN);
        mpfr_const_pi(c, MPFR_RNDN);
        mpfr_mul_2ui(c, c, 1, MPFR_RNDN);
        mpfr_sqrt(c, c, MPFR_RNDN);
        mpfr_div(df, df, c, MPFR_RNDN);
    } else {
        if (kind == inverse_of::erf) mpfr_erf(f, x, MPFR_RNDN);
        else mpfr_erfc(f, x, MPFR_RNDN);
        mpfr_sqr(t, x, MPFR_RNDN);
        mpfr_neg(t, t, MPFR_RNDN);
        mpfr_exp(df, t, MPFR_RNDN);
        mpfr_mul_2ui(df, df, 1, MPFR_RNDN);
        mpfr_div(df, df, c, MPFR_RNDN);
        if (kind == inverse_of::erfc) mpfr_neg(df, df, MPFR_RNDN);
    }
    mpfr_clears(t, c, (mpfr_ptr)nullptr);
}

template <inverse_of Kind>
int exact_inverse(mpfr_ptr r, mpfr_srcptr y, mpfr_rnd_t) {
    const double yd = mpfr_get_d(y, MPFR_RNDN);
    double start;
    if (Kind == inverse_of::erf) _vxmdErfInv(1, &yd, &start);
    else if (Kind == inverse_of::erfc) _vxmdErfcInv(1, &yd, &start);
    else _vxmdCdfNormInv(1, &yd, &start);
    mpfr_t x, f, df, step;
    mpfr_inits2(320, x, f, df, step, (mpfr_ptr)nullptr);
    mpfr_set_d(x, start, MPFR_RNDN);
    for (int i = 0; i < 60 && std::isfinite(start) && start != 0; ++i) {
        forward(f, df, x, Kind);
        mpfr_sub(f, f, y, MPFR_RNDN);
        mpfr_div(step, f, df, MPFR_RNDN);
        mpfr_sub(x, x, step, MPFR_RNDN);
        if (mpfr_zero_p(step) || mpfr_get_exp(step) < mpfr_get_exp(x) - 200) break;
    }
    mpfr_set(r, x, MPFR_RNDN);
    mpfr_clears(x, f, df, step, (mpfr_ptr)nullptr);
    return 0;
}

template <typename T>
constexpr int min_exp = sizeof(T) == 8 ? -1074 : -149;

// 1 - |x| within 1e-3, 1e-8, 1e-12 of 1 and around the routines' region
// limits 1 - 2^-9 and 1 - 2^-21, on both sides.
template <typename T>
std::vector<T> near_one_samples(uint32_t seed) {
    std::vector<T> v;
    std::mt19937_64 gen(seed);
    for (double gap : {1e-3, 1e-8, 1e-12, 0x1p-9, 0x1p-21})
        for (int i = 0; i < 40; ++i) {
            const double g = gap * std::exp2(std::uniform_real_distribution<double>(-0.5, 0.5)(gen));
            const T x = static_cast<T>(1.0 - g);
            if (x < T(1)) v.push_back(i % 2 ? x : -x);
        }
    return v;
}

template <typename T>
std::vector<T> erfinv_inputs(uint32_t seed) {
    auto near_one = exponent_samples<T>(sizeof(T) == 8 ? -53 : -24, -1, 400, seed);
    for (T& x : near_one) x = std::copysign(T(1) - std::fabs(x), x);
    return concat<T>({uniform_samples<T>(-1, 1, 600, seed + 1), near_one, exponent_samples<T>(min_exp<T>, -1, 300, seed + 2),
                      near_one_samples<T>(seed + 3)});
}

// Arguments within a few percent of the lane routines' limits: the centre
// limit and the screen limits, at the lower end and mirrored at the upper
// end (Upper - g).
template <typename T>
std::vector<T> near_limits(double upper, std::initializer_list<double> gaps, uint32_t seed) {
    std::vector<T> v;
    std::mt19937_64 gen(seed);
    for (double gap : gaps)
        for (int i = 0; i < 40; ++i) {
            const double g = gap * std::exp2(std::uniform_real_distribution<double>(-0.1, 0.1)(gen));
            v.push_back(static_cast<T>(i % 2 ? g : upper - g));
        }
    return v;
}

template <typename T>
std::vector<T> erfcinv_inputs(uint32_t seed) {
    auto upper = exponent_samples<T>(min_exp<T>, -1, 300, seed, false);
    for (T& x : upper) x = T(2) - x;
    return concat<T>({uniform_samples<T>(0, 2, 600, seed + 1), exponent_samples<T>(min_exp<T>, 0, 400, seed + 2, false), upper,
                      near_limits<T>(2, {0x1p-9, 0x1p-20, 0x1p-23}, seed + 3)});
}

template <typename T>
std::vector<T> cdfnorminv_inputs(uint32_t seed) {
    auto upper = exponent_samples<T>(sizeof(T) == 8 ? -53 : -24, -1, 300, seed, false);
    for (T& x : upper) x = T(1) - x;
    return concat<T>({uniform_samples<T>(0, 1, 600, seed + 1), exponent_samples<T>(min_exp<T>, -1, 450, seed + 2, false), upper,
                      near_limits<T>(1, {0x1p-10, 0x1p-21, 0x1p-24}, seed + 3)});
}

TEST(InverseErrorFunctions, EverySlotWithinItsClass) {
    expect_unary_classes<double>("dErfInv", qlm_vxm_kernel_dErfInv_ttab, erfinv_inputs<double>(61), exact_inverse<inverse_of::erf>);
    expect_unary_classes<double>("dErfcInv", qlm_vxm_kernel_dErfcInv_ttab, erfcinv_inputs<double>(62), exact_inverse<inverse_of::erfc>);
    expect_unary_classes<double>("dCdfNormInv", qlm_vxm_kernel_dCdfNormInv_ttab, cdfnorminv_inputs<double>(63),
                                 exact_inverse<inverse_of::cdfnorm>);
    expect_unary_classes<float>("sErfInv", qlm_vxm_kernel_sErfInv_ttab, erfinv_inputs<float>(64), exact_inverse<inverse_of::erf>);
    expect_unary_classes<float>("sErfcInv", qlm_vxm_kernel_sErfcInv_ttab, erfcinv_inputs<float>(65), exact_inverse<inverse_of::erfc>);
    expect_unary_classes<float>("sCdfNormInv", qlm_vxm_kernel_sCdfNormInv_ttab, cdfnorminv_inputs<float>(66),
                                exact_inverse<inverse_of::cdfnorm>);
}

TEST(InverseErrorFunctions, PolesDomainAndDeepTail) {
    for (int slot = 0; slot < 3; ++slot) {
        int32_t status;
        auto y = run<double>(qlm_vxm_kernel_dCdfNormInv_ttab[slot], {1e-300, 0.5, 0x1p-1074, NAN}, &status);
        EXPECT_NEAR(y[0], -37.0470962993612, 1e-9);  // the MPFR Newton solution
        EXPECT_EQ(y[1], 0.0);
        EXPECT_NEAR(y[2], -38.467405617144, 1e-9);
        EXPECT_TRUE(std::isnan(y[3]));
        EXPECT_EQ(status, 0);
        y = run<double>(qlm_vxm_kernel_dCdfNormInv_ttab[slot], {0.0, 1.0}, &status);
        EXPECT_EQ(y[0], -INFINITY);
        EXPECT_EQ(y[1], INFINITY);
        EXPECT_EQ(status, VXM_STATUS_SING);
        y = run<double>(qlm_vxm_kernel_dCdfNormInv_ttab[slot], {1.5, 0.5}, &status);
        EXPECT_TRUE(std::isnan(y[0]));
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);

        y = run<double>(qlm_vxm_kernel_dErfInv_ttab[slot], {1.0, -1.0, 0.5}, &status);
        EXPECT_EQ(y[0], INFINITY);
        EXPECT_EQ(y[1], -INFINITY);
        EXPECT_NEAR(y[2], 0.4769362762044699, 1e-9);
        EXPECT_EQ(status, VXM_STATUS_SING);
        y = run<double>(qlm_vxm_kernel_dErfInv_ttab[slot], {1.5, -0.0}, &status);
        EXPECT_TRUE(std::isnan(y[0]));
        EXPECT_TRUE(y[1] == 0 && std::signbit(y[1]));
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);

        y = run<double>(qlm_vxm_kernel_dErfcInv_ttab[slot], {0.0, 2.0, 1.0}, &status);
        EXPECT_EQ(y[0], INFINITY);
        EXPECT_EQ(y[1], -INFINITY);
        EXPECT_EQ(y[2], 0.0);
        EXPECT_EQ(status, VXM_STATUS_SING);
        y = run<double>(qlm_vxm_kernel_dErfcInv_ttab[slot], {-0.5, 2.5}, &status);
        EXPECT_TRUE(std::isnan(y[0]) && std::isnan(y[1]));
        EXPECT_EQ(status, VXM_STATUS_ERRDOM);

        auto yf = run<float>(qlm_vxm_kernel_sCdfNormInv_ttab[slot], {0.0f, 1e-30f}, &status);
        EXPECT_EQ(yf[0], -INFINITY);
        EXPECT_NEAR(yf[1], -11.464024f, 1e-4f);
        EXPECT_EQ(status, VXM_STATUS_SING);
    }
}

// The group loops of the LA and EP routines: a NaN, a pole, an argument
// outside the domain or a deep-tail argument (the accurate scalar path) in
// one lane leaves the other lanes with the values a clean group gives them;
// the ragged end is served element by element.
template <typename T>
struct odd_lane {
    T x;
    T want;  // NaN: a NaN result; ignored when lone
    int32_t status;
    bool lone = false;  // the result the same slot gives the input alone
};

template <typename T>
void expect_lanes_independent(unary_fn<T> const* table, const char* function, const std::vector<T>& clean,
                              const std::vector<odd_lane<T>>& odd, const odd_lane<T>& ninth) {
    for (int slot = 0; slot < 3; ++slot) {
        const auto want = run<T>(table[slot], clean);
        for (std::size_t lane = 0; lane < clean.size(); ++lane)
            for (const odd_lane<T>& bad : odd) {
                auto x = clean;
                x[lane] = bad.x;
                int32_t status;
                const auto y = run<T>(table[slot], x, &status);
                for (std::size_t k = 0; k < x.size(); ++k) {
                    if (k == lane) continue;
                    EXPECT_EQ(y[k], want[k]) << function << " " << slot_name(slot) << " lane " << k << " beside " << bad.x;
                }
                const T expected = bad.lone ? run<T>(table[slot], {bad.x})[0] : bad.want;
                if (std::isnan(expected)) EXPECT_TRUE(std::isnan(y[lane])) << function << " " << bad.x;
                else EXPECT_EQ(y[lane], expected) << function << " " << slot_name(slot) << " " << bad.x;
                EXPECT_EQ(status, bad.status) << function << " " << slot_name(slot) << " " << bad.x;
            }
        for (int n = 1; n <= 9; ++n) {
            std::vector<T> x(clean.begin(), clean.begin() + std::min<std::size_t>(n, clean.size()));
            if (n == 9) x.push_back(ninth.x);
            int32_t status;
            const auto y = run<T>(table[slot], x, &status);
            for (int k = 0; k < std::min(n, 8); ++k) EXPECT_EQ(y[k], want[k]) << function << " n=" << n << " element " << k;
            EXPECT_EQ(status, n == 9 ? ninth.status : 0) << function << " n=" << n;
            if (n == 9) { EXPECT_EQ(y[8], ninth.want) << function; }
        }
    }
}

template <typename T>
void expect_erfinv_lanes(unary_fn<T> const* table, const char* function) {
    const std::vector<T> clean = {T(0.3), T(-0.999), T(-0.0), T(0.9990234), T(1e-30), T(-0.5), T(0.75), T(-0.99999)};
    for (int slot = 0; slot < 3; ++slot) {
        const T y = run<T>(table[slot], clean)[2];
        EXPECT_TRUE(y == 0 && std::signbit(y)) << function << " " << slot_name(slot);
    }
    const T inf = T(INFINITY), nan = T(NAN);
    expect_lanes_independent<T>(table, function, clean,
                                {{nan, nan, 0}, {T(1), inf, VXM_STATUS_SING}, {T(-1), -inf, VXM_STATUS_SING},
                                 {T(1.5), nan, VXM_STATUS_ERRDOM}},
                                {T(-1), -inf, VXM_STATUS_SING});
}

TEST(InverseErrorFunctions, ErfInvLanesAndRaggedEnd) {
    expect_erfinv_lanes<double>(qlm_vxm_kernel_dErfInv_ttab, "dErfInv");
    expect_erfinv_lanes<float>(qlm_vxm_kernel_sErfInv_ttab, "sErfInv");
}

// ErfcInv and CdfNormInv: the lanes' screen sends the deep tails (below
// 2^-20 in double, 2^-23 in single, and their mirror images) to the Halley
// path; the clean groups straddle the centre limit (z = 2^-9) and come
// close to the screen limits.
TEST(InverseErrorFunctions, ErfcInvAndCdfNormInvLanesAndRaggedEnd) {
    const double inf = INFINITY, nan = NAN;
    expect_lanes_independent<double>(
        qlm_vxm_kernel_dErfcInv_ttab, "dErfcInv", {0.3, 1.999, 1.0, 0x1p-9, 1.1 * 0x1p-20, 1.5, 0.75, 2 - 0x1p-19},
        {{nan, nan, 0}, {0.0, inf, VXM_STATUS_SING}, {2.0, -inf, VXM_STATUS_SING}, {-0.5, nan, VXM_STATUS_ERRDOM},
         {1e-200, 0, 0, true}, {0x1p-21, 0, 0, true}, {2 - 0x1p-21, 0, 0, true}},
        {2.0, -inf, VXM_STATUS_SING});
    expect_lanes_independent<double>(
        qlm_vxm_kernel_dCdfNormInv_ttab, "dCdfNormInv", {0.3, 0.9995, 0.5, 0x1p-10, 1.1 * 0x1p-21, 0.25, 0.75, 1 - 0x1p-20},
        {{nan, nan, 0}, {0.0, -inf, VXM_STATUS_SING}, {1.0, inf, VXM_STATUS_SING}, {-0.5, nan, VXM_STATUS_ERRDOM},
         {1e-300, 0, 0, true}, {0x1p-22, 0, 0, true}, {1 - 0x1p-22, 0, 0, true}},
        {0.0, -inf, VXM_STATUS_SING});
    const float inff = INFINITY, nanf = NAN;
    expect_lanes_independent<float>(
        qlm_vxm_kernel_sErfcInv_ttab, "sErfcInv", {0.3f, 1.999f, 1.0f, 0x1p-9f, 0x1p-23f, 1.5f, 0.75f, 2 - 0x1p-22f},
        {{nanf, nanf, 0}, {0.0f, inff, VXM_STATUS_SING}, {2.0f, -inff, VXM_STATUS_SING}, {2.5f, nanf, VXM_STATUS_ERRDOM},
         {1e-30f, 0, 0, true}, {0x1p-24f, 0, 0, true}},
        {2.0f, -inff, VXM_STATUS_SING});
    expect_lanes_independent<float>(
        qlm_vxm_kernel_sCdfNormInv_ttab, "sCdfNormInv", {0.3f, 0.9995f, 0.5f, 0x1p-10f, 0x1p-24f, 0.25f, 0.75f, 1 - 0x1p-24f},
        {{nanf, nanf, 0}, {0.0f, -inff, VXM_STATUS_SING}, {1.0f, inff, VXM_STATUS_SING}, {-0.5f, nanf, VXM_STATUS_ERRDOM},
         {1e-30f, 0, 0, true}, {0x1p-25f, 0, 0, true}},
        {0.0f, -inff, VXM_STATUS_SING});
}

// The status names the element: a pole at index 6 of a group is reported
// at index 6 to the callback.
int32_t last_index = -1;
int32_t note_index(qlm_vxm_error_record* r) {
    last_index = r->index;
    return 0;
}

TEST(InverseErrorFunctions, ErfInvPoleReportedAtItsIndex) {
    const uint32_t mode = qlm_vxm_kernel_SetMode(VXM_ERRMODE_CALLBACK);
    const auto old = qlm_vxm_kernel_SetErrorCallBack(note_index);
    for (int slot = 0; slot < 3; ++slot) {
        last_index = -1;
        run<double>(qlm_vxm_kernel_dErfInv_ttab[slot], {0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 1.0, 0.7});
        EXPECT_EQ(last_index, 6);
        last_index = -1;
        run<float>(qlm_vxm_kernel_sErfInv_ttab[slot], {0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f, -1.0f, 0.7f, 0.8f});
        EXPECT_EQ(last_index, 6);
    }
    qlm_vxm_kernel_SetErrorCallBack(old);
    qlm_vxm_kernel_SetMode(mode);
}

}  // namespace
