// WH: four multiplicative components x(n+1) = a x(n) mod m, one per column
// of the sub-generator's row of the family table; the element is the four x.
//
// Multiplication mod m without division: with 1/m rounded up,
// q = trunc(a x * (1/m)) is the exact quotient for every product below 2^48,
// since m is prime and a x / m is then at least 1/m (about 2^-24) away from
// the next integer, while the rounding error is below 2^-28.  There is no
// correction step, by design.  The reciprocals are computed once per call
// in the round-up mode and the caller's mode restored at once.
//
// Bulk output: lanes hold four consecutive elements of each component, and
// a pass multiplies by the component's a^4.  The floating element is the
// fractional part of x1/m1 + x2/m2 + x3/m3 + x4/m4 (table reciprocals, added
// in that order), times (b - a), plus a.
#include "frame/kernel_frame.h"
#include "random/streams/pow_mod.h"
#include "random/streams/stream.h"
#include "random/streams/wh_table.h"

namespace qlm::random {
namespace {

struct wh_state {
    uint32_t x[4];
    uint32_t a[4];
};

struct wh_reducer {
    uint32_t m[4];
    double up[4];  // 1/m rounded up

    explicit wh_reducer(const wh_family_row& row) {
        const uint32_t saved = frame::read_mxcsr();
        frame::write_mxcsr((saved & ~frame::kMxcsrControls) | frame::kRoundUp);
        for (int c = 0; c < 4; ++c) {
            m[c] = row.m[c];
            volatile double mc = row.m[c];  // computed under the round-up mode
            up[c] = 1.0 / mc;
        }
        frame::write_mxcsr(saved);
    }
    // a x mod m.  A leapfrogged multiplier and the lanes' a^4 are full
    // 24-bit numbers, so products reach 2^48: still exact in a double, and
    // the quotient's error stays far below the 1/m gap to the next integer.
    uint32_t mul(int c, uint32_t a, uint32_t x) const {
        const uint64_t p = uint64_t{a} * x;
        const uint64_t q = static_cast<uint64_t>(static_cast<double>(p) * up[c]);
        return static_cast<uint32_t>(p - q * m[c]);
    }
};

struct wh_double_sink {
    double* r;
    const double* reciprocal;
    double width, a;
    double value(const uint32_t* x) const {
        double u = static_cast<double>(x[0]) * reciprocal[0];
        u += static_cast<double>(x[1]) * reciprocal[1];
        u += static_cast<double>(x[2]) * reciprocal[2];
        u += static_cast<double>(x[3]) * reciprocal[3];
        u -= static_cast<double>(static_cast<int32_t>(u));
        return u * width + a;
    }
    void store(int32_t i, const uint32_t* x) const { r[i] = value(x); }
};

struct wh_single_sink {
    float* r;
    wh_double_sink d;
    void store(int32_t i, const uint32_t* x) const { r[i] = static_cast<float>(d.value(x)); }
};

struct wh_word_sink {
    uint32_t* r;
    void store(int32_t i, const uint32_t* x) const { std::memcpy(r + 4 * static_cast<std::size_t>(i), x, 16); }
};

template <typename Sink>
int32_t generate(void* stream, int32_t n, const Sink& out) {
    wh_state& s = *state_of<wh_state>(stream);
    const wh_reducer red(wh_family[sub_of(stream)]);
    uint32_t x[4] = {s.x[0], s.x[1], s.x[2], s.x[3]};
    int32_t i = 0;
    if (n >= 8) {
        uint32_t lane[4][4];  // [element][component]
        for (; i < 4; ++i) {
            out.store(i, x);
            for (int c = 0; c < 4; ++c) {
                lane[i][c] = x[c];
                x[c] = red.mul(c, s.a[c], x[c]);
            }
        }
        uint32_t a4[4];
        for (int c = 0; c < 4; ++c) {
            const uint32_t a2 = red.mul(c, s.a[c], s.a[c]);
            a4[c] = red.mul(c, a2, a2);
        }
        const int32_t end = n & ~3;
        for (; i < end; i += 4) {
            for (int k = 0; k < 4; ++k) {
                for (int c = 0; c < 4; ++c)
                    lane[k][c] = red.mul(c, a4[c], lane[k][c]);
                out.store(i + k, lane[k]);
            }
        }
        for (int c = 0; c < 4; ++c) x[c] = red.mul(c, s.a[c], lane[3][c]);
    }
    for (; i < n; ++i) {
        out.store(i, x);
        for (int c = 0; c < 4; ++c) x[c] = red.mul(c, s.a[c], x[c]);
    }
    std::memcpy(s.x, x, sizeof x);
    return ok;
}

}  // namespace
}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsBRngWHInitStream(int32_t method, void* stream, int32_t n, const uint32_t* params) {
    wh_state& s = *state_of<wh_state>(stream);
    const wh_family_row& row = wh_family[sub_of(stream)];
    switch (method) {
        case init_seed:
            for (int c = 0; c < 4; ++c) {
                const uint32_t x = c < n ? params[c] % row.m[c] : 1;
                s.x[c] = x == 0 ? 1 : x;
                s.a[c] = row.a[c];
            }
            return ok;
        case init_leapfrog:
            for (int c = 0; c < 4; ++c) {
                const uint32_t m = row.m[c];
                s.x[c] = static_cast<uint32_t>(uint64_t{s.x[c]} * __vxsiPowMod(s.a[c], params[0], m) % m);
                s.a[c] = __vxsiPowMod(s.a[c], static_cast<uint64_t>(static_cast<int64_t>(n)), m);
            }
            return ok;
        case init_skip_ahead:
            for (int c = 0; c < 4; ++c) {
                const uint32_t m = row.m[c];
                s.x[c] = static_cast<uint32_t>(uint64_t{s.x[c]} * __vxsiPowMod(s.a[c], read_u64(params), m) % m);
            }
            return ok;
        default:
            return bad_init_method;
    }
}

QLM_EXPORT int32_t __vxsdBRngWH(void* stream, int32_t n, double* r, double a, double b) {
    return generate(stream, n, wh_double_sink{r, wh_family[sub_of(stream)].reciprocal, b - a, a});
}

QLM_EXPORT int32_t __vxssBRngWH(void* stream, int32_t n, float* r, float a, float b) {
    const double wa = a, wb = b;
    return generate(stream, n, wh_single_sink{r, {nullptr, wh_family[sub_of(stream)].reciprocal, wb - wa, wa}});
}

QLM_EXPORT int32_t __vxsiBRngWH(void* stream, int32_t n, void* r) {
    return generate(stream, n, wh_word_sink{static_cast<uint32_t*>(r)});
}
