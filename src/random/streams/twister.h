// The twisted generalised feedback shift register shared by MT19937 and the
// MT2203 family: ring regeneration, the register-in-output path for long
// requests, tempering as a separate pass, and the array seeding.
//
// The ring always holds untempered words.  A regeneration runs in three
// stretches (N - M words whose far tap is still old, M - 1 words whose far
// tap is already new, and the last word, which wraps to the ring's start)
// so that no loop tests for the wrap; each stretch is one call of
// twist_span, four words at a time, which the taps allow because their
// distance is never below four.
#pragma once

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace qlm::random::twister {

// out[i] = twist(x0[i], x1[i], xm[i]) for i < count, where
// y = (x0 & upper) | (x1 & lower) and twist = xm ^ (y >> 1) ^ (A if y is odd).
// Each group of four is loaded before it is stored, so out may be x0 and
// the spans may overlap by four words or more.
template <uint32_t Upper, uint32_t Lower>
inline void twist_span(uint32_t* out, const uint32_t* x0, const uint32_t* x1, const uint32_t* xm,
                       int count, uint32_t a) {
    int i = 0;
    const __m128i upper = _mm_set1_epi32(static_cast<int>(Upper));
    const __m128i lower = _mm_set1_epi32(static_cast<int>(Lower));
    const __m128i one = _mm_set1_epi32(1);
    const __m128i matrix = _mm_set1_epi32(static_cast<int>(a));
    for (; i + 4 <= count; i += 4) {
        const __m128i v0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x0 + i));
        const __m128i v1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x1 + i));
        const __m128i vm = _mm_loadu_si128(reinterpret_cast<const __m128i*>(xm + i));
        const __m128i y = _mm_or_si128(_mm_and_si128(v0, upper), _mm_and_si128(v1, lower));
        const __m128i mag = _mm_and_si128(_mm_cmpeq_epi32(_mm_and_si128(y, one), one), matrix);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i),
                         _mm_xor_si128(_mm_xor_si128(vm, _mm_srli_epi32(y, 1)), mag));
    }
    for (; i < count; ++i) {
        const uint32_t y = (x0[i] & Upper) | (x1[i] & Lower);
        out[i] = xm[i] ^ (y >> 1) ^ ((0u - (y & 1u)) & a);
    }
}

// Parameters of one member: the constants of its type and the words it
// carries (A, B, C are constants for MT19937 and per-member for MT2203).
template <int N_, int M_, uint32_t Upper_, uint32_t Lower_, int FirstShift_>
struct shape {
    static constexpr int N = N_;
    static constexpr int M = M_;
    static constexpr uint32_t Upper = Upper_;
    static constexpr uint32_t Lower = Lower_;
    static constexpr int FirstShift = FirstShift_;
};

struct tempering {
    uint32_t a, b, c;
};

// Regenerates the ring in place.
template <typename S>
inline void regenerate(uint32_t* mt, uint32_t a) {
    constexpr int N = S::N, M = S::M;
    twist_span<S::Upper, S::Lower>(mt, mt, mt + 1, mt + M, N - M, a);
    twist_span<S::Upper, S::Lower>(mt + N - M, mt + N - M, mt + N - M + 1, mt, M - 1, a);
    twist_span<S::Upper, S::Lower>(mt + N - 1, mt + N - 1, mt, mt + M - 1, 1, a);
}

// Produces `count` (at most N) words of the next block straight into out,
// taking the sources from the ring, which stays as it is: the same three
// stretches as regenerate, with the new words read back from out.
template <typename S>
inline void first_block_into(uint32_t* out, const uint32_t* mt, int count, uint32_t a) {
    constexpr int N = S::N, M = S::M;
    const int s1 = std::min(count, N - M);
    twist_span<S::Upper, S::Lower>(out, mt, mt + 1, mt + M, s1, a);
    const int s2 = std::min(count - s1, M - 1);
    if (s2 > 0) twist_span<S::Upper, S::Lower>(out + N - M, mt + N - M, mt + N - M + 1, out, s2, a);
    if (count == N) twist_span<S::Upper, S::Lower>(out + N - 1, mt + N - 1, out, out + M - 1, 1, a);
}

// Tempers r[0..n) in place: groups of sixteen in four lanes, then the tail.
template <int FirstShift>
inline void temper(uint32_t* r, int n, uint32_t b, uint32_t c) {
    int i = 0;
    const __m128i vb = _mm_set1_epi32(static_cast<int>(b));
    const __m128i vc = _mm_set1_epi32(static_cast<int>(c));
    auto temper4 = [&](__m128i y) {
        y = _mm_xor_si128(y, _mm_srli_epi32(y, FirstShift));
        y = _mm_xor_si128(y, _mm_and_si128(_mm_slli_epi32(y, 7), vb));
        y = _mm_xor_si128(y, _mm_and_si128(_mm_slli_epi32(y, 15), vc));
        return _mm_xor_si128(y, _mm_srli_epi32(y, 18));
    };
    for (; i + 16 <= n; i += 16) {
        auto* p = reinterpret_cast<__m128i*>(r + i);
        const __m128i y0 = temper4(_mm_loadu_si128(p));
        const __m128i y1 = temper4(_mm_loadu_si128(p + 1));
        const __m128i y2 = temper4(_mm_loadu_si128(p + 2));
        const __m128i y3 = temper4(_mm_loadu_si128(p + 3));
        _mm_storeu_si128(p, y0);
        _mm_storeu_si128(p + 1, y1);
        _mm_storeu_si128(p + 2, y2);
        _mm_storeu_si128(p + 3, y3);
    }
    for (; i < n; ++i) {
        uint32_t y = r[i];
        y ^= y >> FirstShift;
        y ^= (y << 7) & b;
        y ^= (y << 15) & c;
        y ^= y >> 18;
        r[i] = y;
    }
}

// Writes the next n tempered words to r.  `index` is the next word of the
// ring to deliver, N when the block is spent.
template <typename S>
inline void generate(uint32_t* mt, int32_t& index, int n, uint32_t* r, const tempering& t) {
    constexpr int N = S::N;
    if (n <= 0) return;
    if (n <= N) {
        const int rest = N - index;
        if (n <= rest) {
            std::memcpy(r, mt + index, sizeof(uint32_t) * n);
            index += n;
        } else {
            std::memcpy(r, mt + index, sizeof(uint32_t) * rest);
            regenerate<S>(mt, t.a);
            std::memcpy(r + rest, mt, sizeof(uint32_t) * (n - rest));
            index = n - rest;
        }
    } else {
        // The caller's array is the register: the first block takes its
        // sources from the ring, every later word from r itself.
        const int rest = N - index;
        std::memcpy(r, mt + index, sizeof(uint32_t) * rest);
        const int first = std::min(N, n - rest);
        first_block_into<S>(r + rest, mt, first, t.a);
        const int from = rest + first;
        twist_span<S::Upper, S::Lower>(r + from, r + from - N, r + from - N + 1, r + from - N + S::M,
                                       n - from, t.a);
        std::memcpy(mt, r + n - N, sizeof(uint32_t) * N);
        index = N;
    }
    temper<S::FirstShift>(r, n, t.b, t.c);
}

// The published array seeding; a count of 0 or below seeds with {1}.
template <int N>
inline void seed_by_array(uint32_t* mt, int n, const uint32_t* key) {
    static const uint32_t one = 1;
    if (n <= 0) {
        n = 1;
        key = &one;
    }
    mt[0] = 19650218u;
    for (int i = 1; i < N; ++i) mt[i] = 1812433253u * (mt[i - 1] ^ (mt[i - 1] >> 30)) + static_cast<uint32_t>(i);
    int i = 1, j = 0;
    for (int k = std::max(N, n); k > 0; --k) {
        mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1664525u)) + key[j] + static_cast<uint32_t>(j);
        if (++i >= N) {
            mt[0] = mt[N - 1];
            i = 1;
        }
        if (++j >= n) j = 0;
    }
    for (int k = N - 1; k > 0; --k) {
        mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1566083941u)) - static_cast<uint32_t>(i);
        if (++i >= N) {
            mt[0] = mt[N - 1];
            i = 1;
        }
    }
    mt[0] = 0x80000000u;
}

// Float forms: the unsigned tempered word z gives z * ((b - a) * 2^-32) + a,
// computed in double; single precision rounds on the store.  Words are drawn
// through the integer flow a buffer at a time, one word per element.
template <typename Real, typename Words>
inline void uniform_from_words(int n, Real* r, Real a, Real b, Words next_words) {
    constexpr int kBuffer = 1024;
    uint32_t words[kBuffer];
    const double scale = (static_cast<double>(b) - static_cast<double>(a)) * 0x1p-32;
    const double shift = static_cast<double>(a);
    for (int done = 0; done < n;) {
        const int take = std::min(kBuffer, n - done);
        next_words(take, words);
        for (int i = 0; i < take; ++i)
            r[done + i] = static_cast<Real>(static_cast<double>(words[i]) * scale + shift);
        done += take;
    }
}

}  // namespace qlm::random::twister
