// Equidistribution of the tempered output of an MT2203 member, by the dual
// lattice of its output bits.
//
// k(v) is the largest k such that the top v bits of k consecutive outputs
// take every kv-bit pattern (the zero pattern once less) over a period; it
// cannot exceed floor(2203 / v), and the deficiency d(v) = floor(2203 / v) -
// k(v), summed over v = 1..32, is what the tempering search lowers.
//
// Method.  Let phi be the irreducible characteristic polynomial and, for a
// fixed nonzero state, let output bit i have generating function
// sum_n b_i(n) t^-(n+1) = h_i / phi.  A linear relation with coefficients
// c_i(t) of degree below k among the first k values of bits 1..v exists
// exactly when sum c_i h_i = 0 (mod phi), because the same relation then
// holds at every shift.  So k(v) is the least maximal degree of a nonzero
// vector of the GF(2)[t]-lattice {c : sum c_i h_i = 0 mod phi}, with basis
// (phi, 0, .., 0) and (-h_i / h_1 mod phi, 0, .., 1, .., 0).  A basis in weak
// Popov form (distinct pivots: the last position of largest degree) is row
// reduced, so its smallest row degree is that minimum.  The lattice for v+1
// bits is that for v with one row added, so one reduction per v serves all v.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include <emmintrin.h>

#include "gf2_poly.h"
#include "mt2203_period.h"

namespace qlm::mt2203 {

inline uint32_t temper(uint32_t y, uint32_t b, uint32_t c) {
    y ^= y >> 12;
    y ^= (y << 7) & b;
    y ^= (y << 15) & c;
    y ^= y >> 18;
    return y;
}

// The numerators h_j (j = bit 0..31 of the untempered output) of the output
// generating functions from the reference state, for the member a whose
// characteristic polynomial is phi (degree kExponent).
inline std::vector<gf2::Poly> untempered_numerators(uint32_t a, const gf2::Poly& phi) {
    constexpr int p = kExponent;
    constexpr int nw = (p + 63) / 64;
    uint32_t state[kWords];
    reference_state(state);
    const std::vector<uint32_t> out = generate(a, state, p);
    // bits[j] holds b_j(0..p) packed.
    std::vector<gf2::Poly> bits(32, gf2::Poly(nw + 1, 0));
    for (int n = 0; n < p; ++n)
        for (int j = 0; j < 32; ++j)
            if ((out[n] >> j) & 1) bits[j][n / 64] |= gf2::Word{1} << (n % 64);
    // h_j[m] = sum over n of phi[m + 1 + n] b_j(n): the polynomial part of
    // phi(t) times the series.  shifted = phi >> (m + 1), updated in place.
    gf2::Poly shifted = phi;
    shifted.resize(nw + 1, 0);
    std::vector<gf2::Poly> h(32, gf2::Poly(nw, 0));
    for (int m = 0; m < p; ++m) {
        for (int w = 0; w < nw; ++w) shifted[w] = (shifted[w] >> 1) | (shifted[w + 1] << 63);
        shifted[nw] >>= 1;
        const int live = (p - m + 63) / 64;  // shifted has degree p - m - 1
        for (int j = 0; j < 32; ++j) {
            gf2::Word acc = 0;
            for (int w = 0; w < live; ++w) acc ^= shifted[w] & bits[j][w];
            if (std::popcount(acc) & 1) h[j][m / 64] |= gf2::Word{1} << (m % 64);
        }
    }
    return h;
}

// The basis of the dual lattice for the top v output bits, kept in weak
// Popov form.  A row is stored by degree: lane t holds the coefficients of
// t^t of its v entries, entry c in bit c, so a row operation is one pass of
// byte xors over the shorter row, and the pivot of a row (the last entry of
// largest degree) is the highest bit of its leading lane.  Lanes are one
// byte while v <= 8, two while v <= 16, then four: the xor work is in
// proportion to the lane width.
class DualLattice {
public:
    static constexpr int kMaxDim = 32;
    static constexpr std::size_t kStride = 4 * (kExponent + 1) + 64;  // bytes per row

    explicit DualLattice(const gf2::Poly& phi) : coef_(kMaxDim * kStride, 0) {
        owner_.fill(-1);
        degree_.fill(-1);
        dim_ = 1;
        lane_ = 1;
        const int d = gf2::degree(phi);
        for (int t = 0; t <= d; ++t) row(0)[t] = gf2::coefficient(phi, t) ? 1 : 0;
        degree_[0] = d;
        owner_[0] = 0;
    }

    // Copies the basis of another lattice into this one's storage, touching
    // only the live bytes.  Bytes past a row's leading lane are zero throughout.
    void assign(const DualLattice& other) {
        for (int r = 0; r < kMaxDim; ++r) {
            const std::size_t keep = r < other.dim_ ? live_bytes(other.degree_[r], other.lane_) : 0;
            const std::size_t old = r < dim_ ? live_bytes(degree_[r], lane_) : 0;
            if (keep) std::memcpy(row(r), other.row(r), keep);
            if (old > keep) std::memset(row(r) + keep, 0, old - keep);
        }
        degree_ = other.degree_;
        owner_ = other.owner_;
        dim_ = other.dim_;
        lane_ = other.lane_;
    }

    int dimension() const { return dim_; }

    // Adds output bit dim + 1 with normalised numerator g = h_new / h_1 mod
    // phi and returns k(dim) of the enlarged lattice.
    int add_bit(const gf2::Poly& g) {
        const int r = dim_++;
        if (dim_ > 8 * lane_) widen(lane_ * 2);
        uint8_t* w = row(r);
        int d = 0;
        for (std::size_t i = 0; i < g.size(); ++i)
            for (gf2::Word bits = g[i]; bits; bits &= bits - 1) {
                d = 64 * static_cast<int>(i) + std::countr_zero(bits);
                w[static_cast<std::size_t>(d) * lane_] = 1;
            }
        set_lane(r, 0, lane(r, 0) | (uint32_t{1} << r));
        degree_[r] = d;
        insert(r);
        return shortest();
    }

    // Smallest row degree: k(dimension()).
    int shortest() const {
        int best = degree_[0];
        for (int r = 1; r < dim_; ++r) best = std::min(best, degree_[r]);
        return best;
    }

private:
    static std::size_t live_bytes(int degree, int lane) {
        return degree < 0 ? 0 : static_cast<std::size_t>(degree + 1) * lane;
    }
    uint8_t* row(int r) { return coef_.data() + r * kStride; }
    const uint8_t* row(int r) const { return coef_.data() + r * kStride; }
    static uint32_t load_lane(const uint8_t* p, int lane) {
        switch (lane) {
        case 1: return p[0];
        case 2: { uint16_t v; std::memcpy(&v, p, 2); return v; }
        default: { uint32_t v; std::memcpy(&v, p, 4); return v; }
        }
    }
    static void store_lane(uint8_t* p, int lane, uint32_t v) {
        switch (lane) {
        case 1: p[0] = static_cast<uint8_t>(v); break;
        case 2: { const uint16_t h = static_cast<uint16_t>(v); std::memcpy(p, &h, 2); break; }
        default: std::memcpy(p, &v, 4); break;
        }
    }
    uint32_t lane(int r, int t) const { return load_lane(row(r) + static_cast<std::size_t>(t) * lane_, lane_); }
    void set_lane(int r, int t, uint32_t v) { store_lane(row(r) + static_cast<std::size_t>(t) * lane_, lane_, v); }
    int pivot(int r) const { return 31 - std::countl_zero(lane(r, degree_[r])); }

    // Spreads every row to wider lanes, from the top down so that no lane is
    // overwritten before it is read.
    void widen(int wider) {
        for (int r = 0; r < dim_ - 1; ++r)
            for (int t = degree_[r]; t >= 0; --t)
                store_lane(row(r) + static_cast<std::size_t>(t) * wider, wider, lane(r, t));
        lane_ = wider;
    }

    // row a += t^s row b, with deg b + s <= deg a.
    void add_shifted(int a, int b, int s) {
        uint8_t* __restrict dst = row(a) + static_cast<std::size_t>(s) * lane_;
        const uint8_t* __restrict src = row(b);
        const int n = static_cast<int>(live_bytes(degree_[b], lane_));
        int i = 0;
        for (; i + 16 <= n; i += 16) {
            __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(dst + i));
            x = _mm_xor_si128(x, _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), x);
        }
        for (; i < n; ++i) dst[i] ^= src[i];
        int d = degree_[a];
        while (d >= 0 && lane(a, d) == 0) --d;
        degree_[a] = d;
    }

    // While the floating row shares its pivot with a placed row, the one of
    // larger degree is reduced by the other; each step lowers (degree, pivot)
    // of the reduced row, so it ends.  The rows span a lattice of full rank,
    // so no row becomes zero.
    void insert(int floating) {
        for (;;) {
            const int d = degree_[floating], piv = pivot(floating);
            const int holder = owner_[piv];
            if (holder < 0) {
                owner_[piv] = floating;
                return;
            }
            const int dh = degree_[holder];
            if (dh <= d) {
                add_shifted(floating, holder, d - dh);
            } else {
                owner_[piv] = floating;
                add_shifted(holder, floating, dh - d);
                floating = holder;
            }
        }
    }

    std::vector<uint8_t> coef_;
    std::array<int, kMaxDim> degree_{};
    std::array<int, kMaxDim> owner_{};
    int dim_ = 0;
    int lane_ = 1;  // bytes
};

// Numerator of tempered output bit `bit` (0 = least significant): tempering
// is linear, so it is the sum of the untempered numerators of the bits that
// feed it.
inline gf2::Poly tempered_numerator(const std::vector<gf2::Poly>& h, uint32_t b, uint32_t c, int bit) {
    gf2::Poly r(h[0].size(), 0);
    for (int j = 0; j < 32; ++j)
        if ((temper(uint32_t{1} << j, b, c) >> bit) & 1)
            for (std::size_t w = 0; w < r.size(); ++w) r[w] ^= h[j][w];
    return r;
}

// Everything about one member needed to measure its tempering.
struct MemberField {
    uint32_t a;
    gf2::Poly phi;
    std::vector<gf2::Poly> h;  // untempered numerators
    gf2::MontgomeryRing ring;

    MemberField(uint32_t matrix, const gf2::Poly& characteristic)
        : a(matrix), phi(characteristic), h(untempered_numerators(matrix, characteristic)), ring(characteristic) {}

    // g * h_top^-1 mod phi, with w = h_top^-1 in Montgomery form.
    gf2::Poly normalised(const gf2::Poly& g, const gf2::Poly& w) const {
        gf2::Poly gp = g, out(ring.words(), 0);
        gp.resize(ring.words(), 0);
        ring.mul(gp.data(), w.data(), out.data());
        return out;
    }
    // Montgomery form of the inverse of the top tempered bit's numerator.
    gf2::Poly top_inverse(uint32_t b, uint32_t c) const {
        return ring.to_montgomery(gf2::inverse_mod(tempered_numerator(h, b, c, 31), phi));
    }
};

// k(1), .., k(32) of the member tempered with (b, c); index 0 unused.
inline std::array<int, 33> equidistribution(const MemberField& field, uint32_t b, uint32_t c) {
    std::array<int, 33> k{};
    DualLattice lattice(field.phi);
    k[1] = lattice.shortest();
    const gf2::Poly w = field.top_inverse(b, c);
    for (int v = 2; v <= 32; ++v)
        k[v] = lattice.add_bit(field.normalised(tempered_numerator(field.h, b, c, 32 - v), w));
    return k;
}

inline int total_deficiency(const std::array<int, 33>& k) {
    int sum = 0;
    for (int v = 1; v <= 32; ++v) sum += kExponent / v - k[v];
    return sum;
}

// k(v) for one v by plain linear algebra, as an independent reference: each
// output bit is a linear form on the 2203 state bits, found by running the
// recurrence on forms instead of bits, and k(v) is the number of outputs
// whose top v forms stay linearly independent.  Cubic in the state size.
inline int equidistribution_by_rank(uint32_t a, uint32_t b, uint32_t c, int v) {
    constexpr int p = kExponent;
    constexpr int nw = (p + 63) / 64;
    using Form = std::array<gf2::Word, nw>;
    // forms[k][bit]: bit `bit` of word x[k] as a form; x[0]'s low bits are
    // not part of the state and never reach an output.
    std::vector<std::array<Form, 32>> x(kWords);
    for (auto& word : x)
        for (Form& f : word) f.fill(0);
    int index = 0;
    for (int bit = 5; bit < 32; ++bit, ++index) x[0][bit][index / 64] |= gf2::Word{1} << (index % 64);
    for (int k = 1; k < kWords; ++k)
        for (int bit = 0; bit < 32; ++bit, ++index) x[k][bit][index / 64] |= gf2::Word{1} << (index % 64);

    std::vector<Form> pivots(p);
    std::vector<bool> used(p, false);
    auto independent = [&](Form f) {
        for (int lead = gf2::degree(f.data(), nw); lead >= 0; lead = gf2::degree(f.data(), lead / 64 + 1)) {
            if (!used[lead]) {
                used[lead] = true;
                pivots[lead] = f;
                return true;
            }
            for (int w = 0; w <= lead / 64; ++w) f[w] ^= pivots[lead][w];
        }
        return false;
    };
    for (int n = 0;; ++n) {
        // Next word of the recurrence, on forms: the ring is x[n .. n + 68].
        const auto& lo = x[n];
        const auto& hi = x[n + 1];
        auto y = [&](int bit) -> const Form& { return bit >= 5 ? lo[bit] : hi[bit]; };
        std::array<Form, 32> next;
        for (int bit = 0; bit < 32; ++bit) {
            next[bit] = x[n + kMiddle][bit];
            if (bit < 31)
                for (int w = 0; w < nw; ++w) next[bit][w] ^= y(bit + 1)[w];
            if ((a >> bit) & 1)
                for (int w = 0; w < nw; ++w) next[bit][w] ^= y(0)[w];
        }
        x.push_back(next);
        // Tempered output bits 31 .. 32 - v of this word.
        for (int bit = 31; bit >= 32 - v; --bit) {
            Form f{};
            for (int j = 0; j < 32; ++j)
                if ((temper(uint32_t{1} << j, b, c) >> bit) & 1)
                    for (int w = 0; w < nw; ++w) f[w] ^= next[j][w];
            if (!independent(f)) return n;
        }
    }
}

}  // namespace qlm::mt2203
