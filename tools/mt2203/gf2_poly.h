// Polynomials over GF(2), packed 64 coefficients to a word, least significant
// coefficient first, with what the MT2203 parameter search needs of them:
// Berlekamp-Massey, Montgomery arithmetic modulo a fixed polynomial (used for
// the Frobenius test x^(2^k) = x), gcd and inverse modulo a polynomial.
//
// The carry-less product of two words uses PCLMULQDQ when the translation unit
// is compiled with -mpclmul, and a four-bit window otherwise; both give the
// same bits, the portable one about twenty times slower.  Header only, so that
// the generator and the tests share one copy.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#if defined(__PCLMUL__)
#include <wmmintrin.h>
#include <smmintrin.h>
#endif

namespace qlm::gf2 {

using Word = uint64_t;
using Poly = std::vector<Word>;

inline int words_for_degree(int degree) { return degree / 64 + 1; }

// Degree of the polynomial held in p[0..n), -1 for the zero polynomial.
inline int degree(const Word* p, int n) {
    for (int i = n - 1; i >= 0; --i)
        if (p[i]) return 64 * i + 63 - std::countl_zero(p[i]);
    return -1;
}
inline int degree(const Poly& p) { return degree(p.data(), static_cast<int>(p.size())); }

inline bool coefficient(const Poly& p, int k) {
    return k / 64 < static_cast<int>(p.size()) && ((p[k / 64] >> (k % 64)) & 1);
}
inline void set_coefficient(Poly& p, int k) {
    if (k / 64 >= static_cast<int>(p.size())) p.resize(k / 64 + 1, 0);
    p[k / 64] |= Word{1} << (k % 64);
}

// Drops high zero words so that equal polynomials compare equal as vectors.
inline Poly trimmed(Poly p) {
    while (!p.empty() && p.back() == 0) p.pop_back();
    return p;
}

// dst[0..) ^= src[0..n) * x^shift, dst long enough for the result.
inline void xor_shifted(Word* dst, const Word* src, int n, int shift) {
    const int ws = shift / 64, bs = shift % 64;
    if (bs == 0) {
        for (int i = 0; i < n; ++i) dst[i + ws] ^= src[i];
        return;
    }
    Word carry = 0;
    for (int i = 0; i < n; ++i) {
        dst[i + ws] ^= (src[i] << bs) | carry;
        carry = src[i] >> (64 - bs);
    }
    if (carry) dst[n + ws] ^= carry;
}

// ---------------------------------------------------------------------------
// Carry-less products of words.

// Low 64 bits of a * b.
inline Word clmul_low(Word a, Word b) {
#if defined(__PCLMUL__)
    const __m128i p = _mm_clmulepi64_si128(_mm_cvtsi64_si128(static_cast<long long>(a)),
                                           _mm_cvtsi64_si128(static_cast<long long>(b)), 0x00);
    return static_cast<Word>(_mm_cvtsi128_si64(p));
#else
    Word r = 0;
    for (int i = 0; i < 64; ++i)
        if ((b >> i) & 1) r ^= a << i;
    return r;
#endif
}

// dst[0..n] ^= q * src[0..n): one row of a schoolbook product, and the step
// of Montgomery reduction that clears one word.
#if defined(__PCLMUL__)
inline void mul_word_accumulate(Word* dst, Word q, const Word* src, int n) {
    const __m128i qv = _mm_cvtsi64_si128(static_cast<long long>(q));
    __m128i carry = _mm_setzero_si128();
    int i = 0;
    // Two source words at a time: the products q*src[i] and q*src[i+1]
    // overlap in word i+1, so they are combined before touching memory.
    for (; i + 1 < n; i += 2) {
        const __m128i s = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
        const __m128i p0 = _mm_clmulepi64_si128(qv, s, 0x00);
        const __m128i p1 = _mm_clmulepi64_si128(qv, s, 0x10);
        const __m128i sum = _mm_xor_si128(_mm_xor_si128(p0, _mm_slli_si128(p1, 8)), carry);
        __m128i* d = reinterpret_cast<__m128i*>(dst + i);
        _mm_storeu_si128(d, _mm_xor_si128(_mm_loadu_si128(d), sum));
        carry = _mm_srli_si128(p1, 8);
    }
    if (i < n) {
        const __m128i s = _mm_cvtsi64_si128(static_cast<long long>(src[i]));
        const __m128i p0 = _mm_xor_si128(_mm_clmulepi64_si128(qv, s, 0x00), carry);
        dst[i] ^= static_cast<Word>(_mm_cvtsi128_si64(p0));
        dst[i + 1] ^= static_cast<Word>(_mm_extract_epi64(p0, 1));
    } else {
        dst[i] ^= static_cast<Word>(_mm_cvtsi128_si64(carry));
    }
}
#else
inline void mul_word_accumulate(Word* dst, Word q, const Word* src, int n) {
    // table[k] = q * k for k < 16, as (low, high) words.
    Word lo[16], hi[16];
    lo[0] = hi[0] = 0;
    for (int k = 1; k < 16; k <<= 1) {
        const Word l = k == 1 ? q : q << std::countr_zero(static_cast<unsigned>(k));
        const Word h = k == 1 ? 0 : q >> (64 - std::countr_zero(static_cast<unsigned>(k)));
        for (int j = 0; j < k; ++j) {
            lo[k + j] = lo[j] ^ l;
            hi[k + j] = hi[j] ^ h;
        }
    }
    Word carry = 0;
    for (int i = 0; i < n; ++i) {
        const Word s = src[i];
        Word rl = lo[s & 15], rh = hi[s & 15];
        for (int sh = 4; sh < 64; sh += 4) {
            const unsigned nib = (s >> sh) & 15;
            rl ^= lo[nib] << sh;
            rh ^= (hi[nib] << sh) | (lo[nib] >> (64 - sh));
        }
        dst[i] ^= rl ^ carry;
        carry = rh;
    }
    dst[n] ^= carry;
}
#endif

// Square of p[0..n) into out[0..2n): squaring over GF(2) spreads the bits.
inline void square_spread(const Word* p, int n, Word* out) {
    for (int i = 0; i < n; ++i) {
        Word lo = p[i] & 0xFFFFFFFFu, hi = p[i] >> 32;
        for (Word* w : {&lo, &hi}) {
            Word x = *w;
            x = (x | (x << 16)) & 0x0000FFFF0000FFFFull;
            x = (x | (x << 8)) & 0x00FF00FF00FF00FFull;
            x = (x | (x << 4)) & 0x0F0F0F0F0F0F0F0Full;
            x = (x | (x << 2)) & 0x3333333333333333ull;
            x = (x | (x << 1)) & 0x5555555555555555ull;
            *w = x;
        }
        out[2 * i] = lo;
        out[2 * i + 1] = hi;
    }
}

// ---------------------------------------------------------------------------
// Whole polynomials.

inline Poly multiply(const Poly& a, const Poly& b) {
    if (a.empty() || b.empty()) return {};
    Poly r(a.size() + b.size() + 1, 0);
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i]) mul_word_accumulate(r.data() + i, a[i], b.data(), static_cast<int>(b.size()));
    return trimmed(std::move(r));
}

// a mod f by long division, a bit at a time: for set-up work only.
inline Poly mod(Poly a, const Poly& f) {
    const int df = degree(f);
    const int fw = words_for_degree(df);
    for (int da = degree(a); da >= df; da = degree(a))
        xor_shifted(a.data(), f.data(), fw, da - df);
    a.resize(std::max(fw, 1), 0);
    return trimmed(std::move(a));
}

inline Poly gcd(Poly a, Poly b) {
    int da = degree(a), db = degree(b);
    while (db >= 0) {
        // a mod b, keeping the word count of a bounded by its degree.
        const int bw = words_for_degree(db);
        while (da >= db) {
            xor_shifted(a.data(), b.data(), bw, da - db);
            da = degree(a.data(), words_for_degree(da));
        }
        std::swap(a, b);
        std::swap(da, db);
    }
    a.resize(da < 0 ? 0 : words_for_degree(da));
    return a;
}

// a^-1 mod f for a prime to f, by the extended Euclidean algorithm; returns
// an empty polynomial when gcd(a, f) is not 1.
inline Poly inverse_mod(const Poly& a_in, const Poly& f) {
    const int df = degree(f);
    const int n = words_for_degree(df) + 2;
    Poly u = mod(a_in, f), v = f, g1(n, 0), g2(n, 0);
    u.resize(n, 0);
    v.resize(n, 0);
    g1[0] = 1;
    int du = degree(u), dv = df;
    if (du < 0) return {};
    // Invariants: g1 a = u and g2 a = v (mod f), and g1, g2 of degree below deg f.
    while (du > 0) {
        int j = du - dv;
        if (j < 0) {
            std::swap(u, v);
            std::swap(du, dv);
            std::swap(g1, g2);
            j = -j;
        }
        xor_shifted(u.data(), v.data(), words_for_degree(dv), j);
        const int dg = degree(g2.data(), n);
        if (dg >= 0) xor_shifted(g1.data(), g2.data(), words_for_degree(dg), j);
        du = degree(u.data(), words_for_degree(du));
        if (du < 0) return {};
    }
    return trimmed(mod(g1, f));
}

// x^d * p(1/x) over the coefficients 0..d: reverses the order.
inline Poly reciprocal(const Poly& p, int d) {
    Poly r(words_for_degree(d), 0);
    for (int k = 0; k <= d; ++k)
        if (coefficient(p, k)) set_coefficient(r, d - k);
    return trimmed(std::move(r));
}

// Minimal polynomial of the sequence bits[0..n) by Berlekamp-Massey.  Returns
// its degree L (the linear complexity) and the polynomial x^L C(1/x), where
// C(x) = 1 + c1 x + ... + cL x^L is the connection polynomial:
// s[i] = c1 s[i-1] + ... + cL s[i-L].  Exact when n >= 2L.
inline int minimal_polynomial(const std::vector<uint8_t>& bits, Poly& minimal) {
    const int n = static_cast<int>(bits.size());
    const int nw = n / 64 + 2;
    // rev holds the sequence backwards, so that the window s[i], s[i-1], ...,
    // s[i-L] lines up with c0, c1, ..., cL after a right shift.
    Poly rev(nw + 1, 0);
    for (int k = 0; k < n; ++k)
        if (bits[n - 1 - k]) rev[k / 64] |= Word{1} << (k % 64);
    Poly c(nw, 0), b(nw, 0), t;
    c[0] = b[0] = 1;
    int len = 0, m = 1;
    for (int i = 0; i < n; ++i) {
        const int off = n - 1 - i;
        const int ow = off / 64, ob = off % 64;
        const int cw = len / 64 + 1;
        Word acc = 0;
        for (int w = 0; w < cw; ++w) {
            Word win = rev[ow + w] >> ob;
            if (ob) win |= rev[ow + w + 1] << (64 - ob);
            acc ^= win & c[w];
        }
        if ((std::popcount(acc) & 1) == 0) {
            ++m;
            continue;
        }
        // c += x^m b; both stay of degree at most the linear complexity.
        const int bw = words_for_degree(std::max(degree(b), 0));
        if (2 * len <= i) {
            t = c;
            xor_shifted(c.data(), b.data(), bw, m);
            len = i + 1 - len;
            b = t;
            m = 1;
        } else {
            xor_shifted(c.data(), b.data(), bw, m);
            ++m;
        }
    }
    minimal = reciprocal(c, len);
    return len;
}

// ---------------------------------------------------------------------------
// Montgomery arithmetic modulo f, f(0) = 1: elements are polynomials of degree
// below deg f in n = ceil(deg f / 64) words, and mul(a, b) = a b x^(-64n).
// In characteristic two there are no carries, so the reduced product of two
// reduced elements has degree below deg f with no final correction.
class MontgomeryRing {
public:
    explicit MontgomeryRing(const Poly& f) : f_(f) {
        deg_ = degree(f_);
        n_ = (deg_ + 63) / 64;
        f_.resize(n_ + 1, 0);
        // f^-1 mod x^64 by Newton's iteration g <- f g^2, which doubles the
        // number of correct low bits (over GF(2), (1 + e)^2 = 1 + e^2).
        Word g = 1;
        for (int k = 0; k < 6; ++k) g = clmul_low(f_[0], clmul_low(g, g));
        finv_ = g;
        scratch_.assign(2 * n_ + 2, 0);
        Poly r2(2 * n_ + 1, 0);
        r2[2 * n_] = 1;
        r2_ = padded(mod(r2, f));
    }

    int words() const { return n_; }
    int degree_of_modulus() const { return deg_; }
    const Poly& modulus() const { return f_; }

    // Element in Montgomery form: a x^(64n) mod f.
    Poly to_montgomery(const Poly& a) const {
        Poly out(n_, 0);
        mul(padded(mod(a, f_)).data(), r2_.data(), out.data());
        return out;
    }
    Poly from_montgomery(const Poly& a) const {
        Poly one(n_, 0), out(n_, 0);
        one[0] = 1;
        mul(a.data(), one.data(), out.data());
        return trimmed(out);
    }

    void mul(const Word* a, const Word* b, Word* out) const {
        Word* t = scratch_.data();
        std::fill(t, t + 2 * n_ + 2, 0);
        for (int i = 0; i < n_; ++i)
            if (a[i]) mul_word_accumulate(t + i, a[i], b, n_);
        reduce(t, out);
    }
    void square(const Word* a, Word* out) const {
        Word* t = scratch_.data();
        square_spread(a, n_, t);
        t[2 * n_] = t[2 * n_ + 1] = 0;
        reduce(t, out);
    }

    // x^(2^k) == x (mod f).  With k = deg f an odd prime this holds exactly
    // when f is irreducible: x^(2^k) - x is the squarefree product of the
    // irreducibles of degree 1 and k, and a factor x or x + 1 would leave a
    // cofactor of degree k - 1 that no product of those can fill.
    bool frobenius_fixes_x(int k) const {
        Poly x(2, 0);
        x[0] = 2;
        const Poly xm = to_montgomery(x);
        Poly h = xm, tmp(n_, 0);
        for (int i = 0; i < k; ++i) {
            square(h.data(), tmp.data());
            std::swap(h, tmp);
        }
        return h == xm;
    }

private:
    Poly padded(Poly p) const {
        p.resize(n_, 0);
        return p;
    }
    // out = t x^(-64n) mod f for t of 2n words; t is destroyed.
    void reduce(Word* t, Word* out) const {
        for (int i = 0; i < n_; ++i) {
            const Word q = clmul_low(t[i], finv_);
            mul_word_accumulate(t + i, q, f_.data(), n_ + 1);  // clears t[i]
        }
        std::memcpy(out, t + n_, sizeof(Word) * n_);
    }

    Poly f_;
    int deg_ = 0, n_ = 0;
    Word finv_ = 0;
    Poly r2_;  // x^(128n) mod f
    mutable Poly scratch_;
};

}  // namespace qlm::gf2
