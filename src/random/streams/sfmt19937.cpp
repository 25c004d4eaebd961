// SFMT19937: the SIMD-oriented twister over 156 words of 128 bits,
// POS1 = 122, shifts SL1 = 18, SL2 = 1 byte, SR1 = 11, SR2 = 1 byte, and
// period 2^19937 - 1 guaranteed by the parity check after seeding.  There is
// no tempering.
//
// gen_integer gives one 128-bit element per output.  The float forms give
// one element per 32-bit word, read as a signed integer and centred on the
// middle of [a, b); words left over of the last element drawn are kept in
// the rest words of the state for the next float call.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "frame/export.h"
#include "random/streams/twister_streams.h"

namespace {

using namespace qlm::random::twister;

constexpr int N = 156;        // 128-bit words in the ring
constexpr int kWords = 624;   // the same ring in 32-bit words
constexpr int POS1 = 122;

inline __m128i recursion(__m128i a, __m128i b, __m128i c, __m128i d) {
    const __m128i mask = _mm_set_epi32(static_cast<int>(0xBFFFFFF6u), static_cast<int>(0xBFFAFFFFu),
                                       static_cast<int>(0xDDFECB7Fu), static_cast<int>(0xDFFFFFEFu));
    const __m128i x = _mm_slli_si128(a, 1);
    const __m128i y = _mm_and_si128(_mm_srli_epi32(b, 11), mask);
    const __m128i z = _mm_srli_si128(c, 1);
    const __m128i v = _mm_slli_epi32(d, 18);
    return _mm_xor_si128(_mm_xor_si128(_mm_xor_si128(a, x), y), _mm_xor_si128(z, v));
}

inline __m128i load(const uint32_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store(uint32_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Regenerates the ring in place; the two newest words stay in registers.
void regenerate(uint32_t* w) {
    __m128i r1 = load(w + 4 * (N - 2)), r2 = load(w + 4 * (N - 1));
    int i = 0;
    for (; i < N - POS1; ++i) {
        const __m128i v = recursion(load(w + 4 * i), load(w + 4 * (i + POS1)), r1, r2);
        store(w + 4 * i, v);
        r1 = r2;
        r2 = v;
    }
    for (; i < N; ++i) {
        const __m128i v = recursion(load(w + 4 * i), load(w + 4 * (i + POS1 - N)), r1, r2);
        store(w + 4 * i, v);
        r1 = r2;
        r2 = v;
    }
}

// The integer flow: the next n 128-bit elements into out (4n words).
void next_elements(sfmt19937_state* s, int n, uint32_t* out) {
    if (n <= 0) return;
    uint32_t* w = s->w;
    const int words = 4 * n;
    const int rest = kWords - s->index;
    if (words <= kWords) {
        if (words <= rest) {
            std::memcpy(out, w + s->index, sizeof(uint32_t) * words);
            s->index += words;
        } else {
            std::memcpy(out, w + s->index, sizeof(uint32_t) * rest);
            regenerate(w);
            std::memcpy(out + rest, w, sizeof(uint32_t) * (words - rest));
            s->index = words - rest;
        }
        return;
    }
    // Register path: the first block reads the ring, later ones out itself.
    std::memcpy(out, w + s->index, sizeof(uint32_t) * rest);
    uint32_t* x = out + rest;          // x[4t] is new element t
    const int fresh = n - rest / 4;
    __m128i r1 = load(w + 4 * (N - 2)), r2 = load(w + 4 * (N - 1));
    int t = 0;
    for (; t < std::min(fresh, N - POS1); ++t) {
        const __m128i v = recursion(load(w + 4 * t), load(w + 4 * (t + POS1)), r1, r2);
        store(x + 4 * t, v);
        r1 = r2;
        r2 = v;
    }
    for (; t < std::min(fresh, N); ++t) {
        const __m128i v = recursion(load(w + 4 * t), load(x + 4 * (t + POS1 - N)), r1, r2);
        store(x + 4 * t, v);
        r1 = r2;
        r2 = v;
    }
    for (; t < fresh; ++t) {
        const __m128i v = recursion(load(x + 4 * (t - N)), load(x + 4 * (t - N + POS1)), r1, r2);
        store(x + 4 * t, v);
        r1 = r2;
        r2 = v;
    }
    std::memcpy(w, out + words - kWords, sizeof(uint32_t) * kWords);
    s->index = kWords;
}

void seed(sfmt19937_state* s, int n, const uint32_t* key) {
    static const uint32_t one = 1;
    if (n <= 0) {
        n = 1;
        key = &one;
    }
    constexpr int size = kWords, lag = 11, mid = 306;
    uint32_t* w = s->w;
    std::memset(w, 0x8B, sizeof(uint32_t) * size);
    auto f = [](uint32_t x) { return x ^ (x >> 27); };
    uint32_t r = 1664525u * f(w[0] ^ w[mid] ^ w[size - 1]);
    w[mid] += r;
    r += static_cast<uint32_t>(n);
    w[mid + lag] += r;
    w[0] = r;
    const int count = std::max(n + 1, size) - 1;
    int i = 1, j = 0;
    for (; j < count; ++j) {
        r = 1664525u * f(w[i] ^ w[(i + mid) % size] ^ w[(i + size - 1) % size]);
        w[(i + mid) % size] += r;
        r += (j < n ? key[j] : 0u) + static_cast<uint32_t>(i);
        w[(i + mid + lag) % size] += r;
        w[i] = r;
        i = (i + 1) % size;
    }
    for (j = 0; j < size; ++j) {
        r = 1566083941u * f(w[i] + w[(i + mid) % size] + w[(i + size - 1) % size]);
        w[(i + mid) % size] ^= r;
        r -= static_cast<uint32_t>(i);
        w[(i + mid + lag) % size] ^= r;
        w[i] = r;
        i = (i + 1) % size;
    }
    s->index = size;
    // Period certification: the parity fold must be odd, else the lowest
    // set bit of the parity words is flipped in the state.
    static const uint32_t parity[4] = {0x00000001u, 0x00000000u, 0x00000000u, 0x13C9E684u};
    uint32_t inner = 0;
    for (int k = 0; k < 4; ++k) inner ^= w[k] & parity[k];
    for (int shift = 16; shift > 0; shift >>= 1) inner ^= inner >> shift;
    if ((inner & 1u) == 0) {
        for (int k = 0; k < 4 && (inner & 1u) == 0; ++k)
            for (int bit = 0; bit < 32; ++bit)
                if (parity[k] & (1u << bit)) {
                    w[k] ^= 1u << bit;
                    inner = 1;
                    break;
                }
    }
    s->rest_position = 0;
    s->rest_count = 0;
}

// Float forms: rest first, then whole elements through the integer flow, a
// buffer at a time; the undelivered words of the last element become rest.
template <typename Real, typename Convert>
void uniform(void* stream, int n, Real* r, Convert convert) {
    auto* s = state_of<sfmt19937_state>(stream);
    int i = 0;
    while (i < n && s->rest_position < s->rest_count) r[i++] = convert(s->rest[s->rest_position++]);
    constexpr int kBufferElements = 256;
    uint32_t words[4 * kBufferElements];
    while (i < n) {
        const int m = n - i;
        const int elements = std::min(kBufferElements, (m + 3) / 4);
        next_elements(s, elements, words);
        const int take = std::min(4 * elements, m);
        for (int k = 0; k < take; ++k) r[i + k] = convert(words[k]);
        i += take;
        if (take < 4 * elements) {
            s->rest_count = 4 * elements - take;
            s->rest_position = 0;
            std::memcpy(s->rest, words + take, sizeof(uint32_t) * s->rest_count);
        }
    }
}

}  // namespace

QLM_EXPORT int32_t __vxsBRngSFMT19937InitStream(int32_t method, void* stream, int32_t n,
                                                const uint32_t* params) {
    if (method != 0) return refuse_method(method);
    seed(state_of<sfmt19937_state>(stream), n, params);
    return 0;
}

QLM_EXPORT int32_t __vxsiBRngSFMT19937(void* stream, int32_t n, void* r) {
    next_elements(state_of<sfmt19937_state>(stream), n, static_cast<uint32_t*>(r));
    return 0;
}

QLM_EXPORT int32_t __vxsdBRngSFMT19937(void* stream, int32_t n, double* r, double a, double b) {
    const double scale = (b - a) * 0x1p-32, middle = (a + b) * 0.5;
    uniform(stream, n, r, [=](uint32_t w) { return static_cast<int32_t>(w) * scale + middle; });
    return 0;
}

QLM_EXPORT int32_t __vxssBRngSFMT19937(void* stream, int32_t n, float* r, float a, float b) {
    const double da = a, db = b;
    const float scale = static_cast<float>((db - da) * 0x1p-32);
    const float middle = static_cast<float>((da + db) * 0.5);
    uniform(stream, n, r, [=](uint32_t w) { return static_cast<float>(static_cast<int32_t>(w)) * scale + middle; });
    return 0;
}
