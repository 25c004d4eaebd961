// The Fourier front end over the core library's descriptors: transforms of
// ranks 1 to 3, real and complex, single and double, against a direct sum
// of the definition, round trips with the backward scale, and the
// front end's own statuses and rules.
//
// Lengths are given as the front end's callers give them, the contiguous
// dimension first: element (i0, i1, i2) of lengths {n0, n1, n2} is at
// i0 + n0 (i1 + n1 i2).
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <numbers>
#include <random>
#include <vector>

#include "frame/fourier.h"
#include "support/runtime_libraries.h"

namespace {

using namespace qlm::frame;
namespace dft = qlm::dft;

struct preload {
    preload() { qlm::test::preload_runtime(); }
} const preloaded;

using shape = std::vector<int64_t>;

int64_t product(const shape& n) {
    int64_t p = 1;
    for (int64_t v : n) p *= v;
    return p;
}

// Multi-index of a linear position, contiguous dimension first.
std::vector<int64_t> unravel(int64_t at, const shape& n) {
    std::vector<int64_t> index(n.size());
    for (std::size_t d = 0; d < n.size(); ++d) {
        index[d] = at % n[d];
        at /= n[d];
    }
    return index;
}

// The forward transform by its definition, in long double.
std::vector<std::complex<long double>> direct_forward(const std::vector<std::complex<long double>>& x,
                                                      const shape& n) {
    const int64_t total = product(n);
    std::vector<std::complex<long double>> out(total);
    const long double two_pi = 2 * std::numbers::pi_v<long double>;
    for (int64_t k = 0; k < total; ++k) {
        const auto kk = unravel(k, n);
        std::complex<long double> sum = 0;
        for (int64_t j = 0; j < total; ++j) {
            const auto jj = unravel(j, n);
            long double phase = 0;
            for (std::size_t d = 0; d < n.size(); ++d)
                phase += static_cast<long double>((kk[d] * jj[d]) % n[d]) / n[d];
            sum += x[j] * std::polar(1.0L, -two_pi * phase);
        }
        out[k] = sum;
    }
    return out;
}

template <typename Real>
struct precision;
template <>
struct precision<double> {
    static constexpr double tolerance = 1e-12;
    static int32_t create(fourier_descriptor** d, int32_t domain, const shape& n) {
        return n.size() == 1 ? fourier_create_1d_d(d, domain, 1, n[0])
                             : fourier_create_md_d(d, domain, static_cast<int32_t>(n.size()), n.data());
    }
};
template <>
struct precision<float> {
    static constexpr double tolerance = 1e-5;
    static int32_t create(fourier_descriptor** d, int32_t domain, const shape& n) {
        return n.size() == 1 ? fourier_create_1d_s(d, domain, 1, n[0])
                             : fourier_create_md_s(d, domain, static_cast<int32_t>(n.size()), n.data());
    }
};

// max |got - want| over max |want|.
template <typename Got>
double relative_error(const Got& got, const std::vector<std::complex<long double>>& want) {
    long double worst = 0, scale = 0;
    for (std::size_t i = 0; i < want.size(); ++i) {
        const std::complex<long double> g(got[i].real(), got[i].imag());
        worst = std::max(worst, std::abs(g - want[i]));
        scale = std::max(scale, std::abs(want[i]));
    }
    return static_cast<double>(worst / scale);
}

const std::vector<shape> shapes = {{12}, {7}, {6, 5}, {4, 3, 5}};

template <typename Real>
void complex_round_trip() {
    using cx = std::complex<Real>;
    for (const shape& n : shapes) {
        const int64_t total = product(n);
        std::mt19937 gen(static_cast<unsigned>(total));
        std::uniform_real_distribution<Real> u(-1, 1);
        std::vector<cx> x(total), spectrum(total, cx(-9, -9));
        std::vector<std::complex<long double>> exact(total);
        for (int64_t i = 0; i < total; ++i) {
            x[i] = cx(u(gen), u(gen));
            exact[i] = {x[i].real(), x[i].imag()};
        }
        fourier_descriptor* d = nullptr;
        ASSERT_EQ(precision<Real>::create(&d, dft::complex_domain, n), dft::ok);
        ASSERT_EQ(fourier_set_value(d, dft::placement, int64_t{dft::not_in_place}), dft::ok);
        ASSERT_EQ(fourier_set_value(d, dft::backward_scale, 1.0 / total), dft::ok);
        ASSERT_EQ(fourier_commit(d), dft::ok);
        ASSERT_EQ(fourier_compute_forward(d, x.data(), spectrum.data()), dft::ok);
        const double forward_error = relative_error(spectrum, direct_forward(exact, n));
        EXPECT_LE(forward_error, precision<Real>::tolerance) << "rank " << n.size() << " size " << total;
        std::printf("complex %s rank %zu size %lld: forward relative error %.3g\n",
                    sizeof(Real) == 8 ? "double" : "single", n.size(), static_cast<long long>(total),
                    forward_error);
        std::vector<cx> back(total);
        ASSERT_EQ(fourier_compute_backward(d, spectrum.data(), back.data()), dft::ok);
        EXPECT_LE(relative_error(back, exact), precision<Real>::tolerance) << "round trip, size " << total;
        // The out-of-place transform leaves its input alone.
        EXPECT_EQ(x[0], cx(exact[0].real(), exact[0].imag()));

        // In place, with the scale on the forward side this time.
        ASSERT_EQ(fourier_set_value(d, dft::placement, int64_t{dft::in_place}), dft::ok);
        ASSERT_EQ(fourier_set_value(d, dft::backward_scale, 1.0), dft::ok);
        ASSERT_EQ(fourier_set_value(d, dft::forward_scale, 1.0 / total), dft::ok);
        ASSERT_EQ(fourier_commit(d), dft::ok);
        ASSERT_EQ(fourier_compute_forward(d, x.data()), dft::ok);
        ASSERT_EQ(fourier_compute_backward(d, x.data()), dft::ok);
        EXPECT_LE(relative_error(x, exact), precision<Real>::tolerance) << "in place, size " << total;
        ASSERT_EQ(fourier_free(&d), dft::ok);
        EXPECT_EQ(d, nullptr);
    }
}

TEST(FourierFrontEnd, ComplexDoubleMatchesTheDirectSum) { complex_round_trip<double>(); }
TEST(FourierFrontEnd, ComplexSingleMatchesTheDirectSum) { complex_round_trip<float>(); }

// Real data: the spectrum keeps n0/2 + 1 values along the contiguous
// dimension (conjugate-even storage, complex elements).
template <typename Real>
void real_round_trip(bool in_place) {
    using cx = std::complex<Real>;
    for (const shape& n : shapes) {
        const int64_t total = product(n);
        const int64_t half = n[0] / 2 + 1;
        const int64_t rows = total / n[0];
        const int64_t row_reals = in_place ? 2 * half : n[0];  // padded in place
        std::mt19937 gen(static_cast<unsigned>(total) + 99);
        std::uniform_real_distribution<Real> u(-1, 1);
        std::vector<Real> x(rows * row_reals + 2 * half, Real(0));
        std::vector<std::complex<long double>> exact(total);
        for (int64_t r = 0; r < rows; ++r)
            for (int64_t i = 0; i < n[0]; ++i) {
                x[r * row_reals + i] = u(gen);
                exact[r * n[0] + i] = x[r * row_reals + i];
            }
        const std::vector<Real> original = x;
        std::vector<cx> spectrum(rows * half);

        fourier_descriptor* d = nullptr;
        ASSERT_EQ(precision<Real>::create(&d, dft::real_domain, n), dft::ok);
        ASSERT_EQ(fourier_set_value(d, dft::placement, int64_t{in_place ? dft::in_place : dft::not_in_place}), dft::ok);
        ASSERT_EQ(fourier_set_value(d, dft::packed_format, int64_t{dft::cce_format}), dft::ok);
        ASSERT_EQ(fourier_set_value(d, dft::conjugate_even_storage, int64_t{dft::complex_complex}), dft::ok);
        ASSERT_EQ(fourier_set_value(d, dft::backward_scale, 1.0 / total), dft::ok);
        ASSERT_EQ(fourier_commit(d), dft::ok);
        ASSERT_EQ(fourier_compute_forward(d, x.data(), spectrum.data()), dft::ok);
        const cx* got = in_place ? reinterpret_cast<const cx*>(x.data()) : spectrum.data();

        const auto want_full = direct_forward(exact, n);
        std::vector<std::complex<long double>> want;
        std::vector<cx> have;
        for (int64_t r = 0; r < rows; ++r)
            for (int64_t k = 0; k < half; ++k) {
                want.push_back(want_full[r * n[0] + k]);
                have.push_back(got[r * half + k]);
            }
        const double forward_error = relative_error(have, want);
        std::printf("real %s rank %zu size %lld%s: forward relative error %.3g\n",
                    sizeof(Real) == 8 ? "double" : "single", n.size(), static_cast<long long>(total),
                    in_place ? " in place" : "", forward_error);
        EXPECT_LE(forward_error, precision<Real>::tolerance)
            << "real forward, rank " << n.size() << " size " << total << (in_place ? " in place" : "");

        std::vector<Real> back(rows * row_reals, Real(0));
        if (in_place) {
            ASSERT_EQ(fourier_compute_backward(d, x.data()), dft::ok);
        } else {
            const std::vector<cx> kept = spectrum;
            ASSERT_EQ(fourier_compute_backward(d, spectrum.data(), back.data()), dft::ok);
            EXPECT_EQ(spectrum, kept) << "the backward transform out of place keeps its input";
        }
        const Real* result = in_place ? x.data() : back.data();
        double worst = 0;
        for (int64_t r = 0; r < rows; ++r)
            for (int64_t i = 0; i < n[0]; ++i)
                worst = std::max(worst, std::abs(double(result[r * row_reals + i]) -
                                                 double(original[r * row_reals + i])));
        EXPECT_LE(worst, precision<Real>::tolerance) << "real round trip, size " << total;
        ASSERT_EQ(fourier_free(&d), dft::ok);
    }
}

TEST(FourierFrontEnd, RealDoubleMatchesTheDirectSum) {
    real_round_trip<double>(false);
    real_round_trip<double>(true);
}
TEST(FourierFrontEnd, RealSingleMatchesTheDirectSum) {
    real_round_trip<float>(false);
    real_round_trip<float>(true);
}

// Strides reach the core library reversed with their offset in front; split
// storage takes four buffers, and the front end must pass all four.
TEST(FourierFrontEnd, StridesAndSplitStorage) {
    const shape n = {4, 3};
    const int64_t pitch = 5;  // each row of 4 padded to 5
    std::vector<std::complex<double>> x(2 + pitch * 3, {99, 99});
    std::vector<std::complex<long double>> exact(12);
    for (int i1 = 0; i1 < 3; ++i1)
        for (int i0 = 0; i0 < 4; ++i0) {
            x[2 + i0 + pitch * i1] = {0.25 * i0 - i1, 0.5 * i1 + 0.1 * i0};
            exact[i0 + 4 * i1] = {0.25L * i0 - i1, 0.5L * i1 + 0.1L * i0};
        }
    const auto want = direct_forward(exact, n);
    fourier_descriptor* d = nullptr;
    ASSERT_EQ(fourier_create_md_d(&d, dft::complex_domain, 2, n.data()), dft::ok);
    const int64_t strides[3] = {2, 1, pitch};  // offset, then contiguous first
    ASSERT_EQ(fourier_set_value(d, dft::input_strides, strides), dft::ok);
    ASSERT_EQ(fourier_set_value(d, dft::placement, int64_t{dft::not_in_place}), dft::ok);
    ASSERT_EQ(fourier_commit(d), dft::ok);
    std::vector<std::complex<double>> y(12);
    ASSERT_EQ(fourier_compute_forward(d, x.data(), y.data()), dft::ok);
    EXPECT_LE(relative_error(y, want), 1e-12);

    ASSERT_EQ(fourier_set_value(d, dft::input_strides, static_cast<const int64_t*>(
                                                          std::vector<int64_t>{0, 1, 4}.data())), dft::ok);
    ASSERT_EQ(fourier_set_value(d, dft::complex_storage, int64_t{dft::real_real}), dft::ok);
    ASSERT_EQ(fourier_commit(d), dft::ok);
    EXPECT_EQ(d->buffer_count, 4);
    std::vector<double> re(12), im(12), out_re(12), out_im(12);
    for (int i = 0; i < 12; ++i) {
        re[i] = static_cast<double>(exact[i].real());
        im[i] = static_cast<double>(exact[i].imag());
    }
    ASSERT_EQ(fourier_compute_forward(d, re.data(), im.data(), out_re.data(), out_im.data()), dft::ok);
    std::vector<std::complex<double>> split(12);
    for (int i = 0; i < 12; ++i) split[i] = {out_re[i], out_im[i]};
    EXPECT_LE(relative_error(split, want), 1e-12);
    ASSERT_EQ(fourier_free(&d), dft::ok);
}

// Several transforms in one call, the inputs ten elements apart.
TEST(FourierFrontEnd, SeveralTransformsWithTheirDistances) {
    const shape n = {8};
    const int transforms = 3, input_distance = 10;
    std::vector<std::complex<double>> x(input_distance * transforms), y(8 * transforms);
    for (std::size_t i = 0; i < x.size(); ++i) x[i] = {std::sin(0.7 * i), std::cos(1.3 * i)};
    fourier_descriptor* d = nullptr;
    ASSERT_EQ(fourier_create_1d_d(&d, dft::complex_domain, 1, 8), dft::ok);
    ASSERT_EQ(fourier_set_value(d, dft::number_of_transforms, int64_t{transforms}), dft::ok);
    ASSERT_EQ(fourier_set_value(d, dft::input_distance, int64_t{input_distance}), dft::ok);
    ASSERT_EQ(fourier_set_value(d, dft::placement, int64_t{dft::not_in_place}), dft::ok);
    ASSERT_EQ(fourier_commit(d), dft::ok);
    ASSERT_EQ(fourier_compute_forward(d, x.data(), y.data()), dft::ok);
    for (int t = 0; t < transforms; ++t) {
        std::vector<std::complex<long double>> one(8);
        for (int i = 0; i < 8; ++i) one[i] = {x[t * input_distance + i].real(), x[t * input_distance + i].imag()};
        const std::vector<std::complex<double>> got(y.begin() + 8 * t, y.begin() + 8 * (t + 1));
        EXPECT_LE(relative_error(got, direct_forward(one, n)), 1e-12) << "transform " << t;
    }
    EXPECT_EQ(fourier_set_value(d, dft::number_of_transforms, int64_t{0}), dft::invalid_configuration);
    ASSERT_EQ(fourier_free(&d), dft::ok);
}

TEST(FourierFrontEnd, CreationStatuses) {
    fourier_descriptor* d = reinterpret_cast<fourier_descriptor*>(0x1);
    EXPECT_EQ(fourier_create_1d_s(&d, dft::complex_domain, 1, 0), dft::invalid_configuration);
    EXPECT_EQ(d, nullptr) << "the out pointer is nulled first";
    EXPECT_EQ(fourier_create_1d_s(nullptr, dft::complex_domain, 1, 8), dft::inconsistent_configuration);
    EXPECT_EQ(fourier_create_1d_d(&d, dft::complex_domain, 1, int64_t{1} << 31), dft::invalid_configuration);
    EXPECT_EQ(fourier_create_1d_d(&d, 34, 1, 8), dft::invalid_configuration);
    const int64_t lengths[8] = {2, 2, 2, 2, 2, 2, 2, 2};
    EXPECT_EQ(fourier_create_md_d(&d, dft::real_domain, 8, lengths), dft::invalid_configuration);
    EXPECT_EQ(fourier_create_md_d(&d, dft::real_domain, 0, lengths), dft::invalid_configuration);
    ASSERT_EQ(fourier_create_md_s(&d, dft::real_domain, 7, lengths), dft::ok);
    EXPECT_EQ(d->tag, qlm_dft_tag);
    EXPECT_EQ(d->threads, 1) << "the threading layer blesses every new descriptor";
    EXPECT_EQ(fourier_commit(d), dft::ok) << "rank 7 is served";
    fourier_free(&d);
}

TEST(FourierFrontEnd, SetValueRules) {
    fourier_descriptor* d = nullptr;
    ASSERT_EQ(fourier_create_1d_d(&d, dft::real_domain, 1, 16), dft::ok);
    const struct { int32_t parameter; int64_t value; int32_t status; } cases[] = {
        {27, 0, 3}, {-1, 0, 3}, {dft::forward_domain, 32, 3}, {dft::commit_status, 0, 3},
        {6, 0, 6}, {16, 1, 6}, {24, 0, 6}, {25, 0, 6}, {3, 0, 3},
        {dft::complex_storage, 39, 0}, {dft::complex_storage, 42, 0}, {dft::complex_storage, 40, 6},
        {dft::complex_storage, 41, 6}, {dft::complex_storage, 43, 3},
        {dft::real_storage, 42, 0}, {dft::real_storage, 41, 6}, {dft::real_storage, 39, 3},
        {dft::conjugate_even_storage, 40, 0}, {dft::conjugate_even_storage, 41, 6},
        {dft::conjugate_even_storage, 42, 6}, {dft::placement, 43, 0}, {dft::placement, 45, 3},
        {dft::ordering, 52, 0}, {dft::ordering, 51, 0}, {dft::ordering, 50, 3},
        {dft::transpose, 48, 0}, {dft::transpose, 49, 6}, {dft::transpose, 50, 6},
        {dft::transpose, 47, 3}, {dft::packed_format, 54, 0}, {dft::packed_format, 58, 3},
        {dft::thread_limit, 12345, 0}, {dft::number_of_transforms, 1, 0},
        {dft::backward_scale, 1, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(fourier_set_value(d, c.parameter, c.value), c.status)
            << "parameter " << c.parameter << " value " << c.value;
    EXPECT_EQ(fourier_set_value(d, dft::placement, 1.0), dft::inconsistent_configuration);
    EXPECT_EQ(fourier_set_value(d, dft::description, "a real transform"), dft::ok);
    EXPECT_EQ(fourier_set_value(d, dft::placement, "text"), dft::inconsistent_configuration);

    // Storage 39 for conjugate-even data also selects the CCE format.
    ASSERT_EQ(fourier_set_value(d, dft::packed_format, int64_t{dft::ccs_format}), dft::ok);
    ASSERT_EQ(fourier_set_value(d, dft::conjugate_even_storage, int64_t{dft::complex_complex}), dft::ok);
    EXPECT_EQ(d->values[dft::packed_format], dft::cce_format);

    // Transposition is offered on complex data.
    fourier_descriptor* c = nullptr;
    ASSERT_EQ(fourier_create_1d_d(&c, dft::complex_domain, 1, 16), dft::ok);
    EXPECT_EQ(fourier_set_value(c, dft::transpose, int64_t{dft::transpose_all}), dft::ok);

    // Integer parameters reach every chained descriptor and clear its commit.
    ASSERT_EQ(fourier_set_value(c, dft::transpose, int64_t{dft::transpose_none}), dft::ok);
    ASSERT_EQ(fourier_commit(c), dft::ok);
    d->next = c;
    ASSERT_EQ(fourier_set_value(d, dft::placement, int64_t{dft::not_in_place}), dft::ok);
    EXPECT_EQ(c->values[dft::placement], dft::not_in_place);
    EXPECT_EQ(c->committed, 0);
    d->next = nullptr;

    // A bad tag answers 5 before any check of the parameter.
    const uint32_t tag = d->tag;
    d->tag = 0x544645;
    EXPECT_EQ(fourier_set_value(d, 99, int64_t{0}), dft::bad_descriptor);
    EXPECT_EQ(fourier_set_value(d, dft::backward_scale, 0.5), dft::bad_descriptor);
    EXPECT_EQ(fourier_commit(d), dft::bad_descriptor);
    fourier_descriptor* bad = d;
    EXPECT_EQ(fourier_free(&bad), dft::bad_descriptor);
    d->tag = tag;
    EXPECT_EQ(fourier_set_value(nullptr, dft::placement, int64_t{43}), dft::bad_descriptor);
    fourier_free(&d);
    fourier_free(&c);
}

// A descriptor of the test's own making records what the front end passes.
void* seen[4];
int32_t record(qlm_dft_descriptor*, void* a, void* b, void* c, void* e) {
    seen[0] = a, seen[1] = b, seen[2] = c, seen[3] = e;
    return 0;
}

TEST(FourierFrontEnd, ComputePassesAsManyBuffersAsTheCountSays) {
    qlm_dft_descriptor d{};
    d.tag = qlm_dft_tag;
    char buffers[4];
    EXPECT_EQ(fourier_compute_forward(&d, buffers), dft::invalid_configuration) << "no method";
    EXPECT_EQ(fourier_commit(&d), dft::internal_error) << "valid tag without a commit method";
    d.forward = record;
    d.backward = record;
    const int expected_passed[] = {0, 0, 1, 2, 3, 3};
    for (int count = 0; count <= 5; ++count) {
        d.buffer_count = count;
        ASSERT_EQ(fourier_compute_backward(&d, buffers, buffers + 1, buffers + 2, buffers + 3), 0);
        EXPECT_EQ(seen[0], buffers);
        for (int i = 1; i < 4; ++i)
            EXPECT_EQ(seen[i], i <= expected_passed[count] ? buffers + i : nullptr)
                << "count " << count << " buffer " << i;
    }
    d.tag = 0;
    EXPECT_EQ(fourier_commit(&d), dft::bad_descriptor);
    EXPECT_EQ(fourier_error_class(3, 3), 1);
    EXPECT_EQ(fourier_error_class(3, 2), 0);
}

}  // namespace
