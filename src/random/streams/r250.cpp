// R250: the feedback shift register w(n) = w(n-250) xor w(n-147).
//
// The state is a ring of 250 words with i at the oldest word w(n-250) and j
// at w(n-147), j = i + 103 mod 250.  Each element replaces the oldest word.
// Up to 249 elements are produced in place in the ring; from 250 on the
// output itself is the register (r[k] = r[k-250] xor r[k-147]) and the last
// 250 elements go back to the ring with i = 0 and j = 103, so that the ring
// is left in order.
// Output scale: 2^-32.
#include "random/streams/output_sinks.h"
#include "random/streams/stream.h"

namespace qlm::random {
namespace {

constexpr int32_t ring = 250;
constexpr int32_t tap = 103;
constexpr double unit = 1.0 / 4294967296.0;

struct r250_state {
    uint32_t s[ring];
    int32_t i;
    int32_t j;
};

// In the ring, in runs that need no wrap test.
void fill_in_ring(r250_state& st, int32_t n, uint32_t* r) {
    int32_t i = st.i, j = st.j, k = 0;
    while (k < n) {
        int32_t len = n - k;
        if (len > ring - i) len = ring - i;
        if (len > ring - j) len = ring - j;
        for (int32_t t = 0; t < len; ++t) r[k + t] = st.s[i + t] ^= st.s[j + t];
        k += len;
        i += len;
        j += len;
        if (i == ring) i = 0;
        if (j == ring) j = 0;
    }
    st.i = i;
    st.j = j;
}

// With the output as register; n is 250 or more.
void fill_as_register(r250_state& st, int32_t n, uint32_t* r) {
    uint32_t ordered[ring];
    for (int32_t k = 0; k < ring; ++k) ordered[k] = st.s[(st.i + k) % ring];
    int32_t k = 0;
    for (; k < ring - tap; ++k) r[k] = ordered[k] ^ ordered[k + tap];
    for (; k < ring; ++k) r[k] = ordered[k] ^ r[k - (ring - tap)];
    for (; k < n; ++k) r[k] = r[k - ring] ^ r[k - (ring - tap)];
    std::memcpy(st.s, r + n - ring, sizeof st.s);
    st.i = 0;
    st.j = tap;
}

template <typename Sink>
int32_t generate(void* stream, int32_t n, const Sink& out) {
    r250_state& st = *state_of<r250_state>(stream);
    // The floating forms have no 32-bit register of their own, so they go
    // through a stack block of words, in ring runs; the sequence is the same.
    uint32_t block[ring];
    for (int32_t k = 0; k < n;) {
        const int32_t len = n - k < ring ? n - k : ring;
        fill_in_ring(st, len, block);
        for (int32_t t = 0; t < len; ++t) out.store(k + t, block[t]);
        k += len;
    }
    // Leave the ring as the register path does: in order, i = 0, j = 103.
    if (n >= ring && st.i != 0) {
        std::memcpy(block, st.s, sizeof block);
        for (int32_t t = 0; t < ring; ++t) st.s[t] = block[(st.i + t) % ring];
        st.i = 0;
        st.j = tap;
    }
    return ok;
}

}  // namespace
}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsBRngR250InitStream(int32_t method, void* stream, int32_t n, const uint32_t* params) {
    r250_state& st = *state_of<r250_state>(stream);
    switch (method) {
        case init_seed:
            if (n >= ring) {
                std::memcpy(st.s, params, sizeof st.s);
            } else {
                uint32_t c = (n <= 0 || params[0] == 0) ? 1 : params[0];
                for (int32_t k = 0; k < ring; ++k) st.s[k] = c = c * 69069u;
                // 32 words made linearly independent, so the register cannot
                // fall into a short cycle.
                for (int b = 0; b < 32; ++b) {
                    uint32_t& w = st.s[3 + 7 * b];
                    w = (w & (0xFFFFFFFFu >> b)) | (0x80000000u >> b);
                }
            }
            st.i = 0;
            st.j = tap;
            return ok;
        case init_leapfrog:
            return no_leapfrog;
        case init_skip_ahead:
            return no_skip_ahead;
        default:
            return bad_init_method;
    }
}

QLM_EXPORT int32_t __vxsdBRngR250(void* stream, int32_t n, double* r, double a, double b) {
    return generate(stream, n, double_sink{r, (b - a) * unit, a});
}

QLM_EXPORT int32_t __vxssBRngR250(void* stream, int32_t n, float* r, float a, float b) {
    const double wa = a, wb = b;
    return generate(stream, n, single_sink{r, (wb - wa) * unit, wa});
}

QLM_EXPORT int32_t __vxsiBRngR250(void* stream, int32_t n, void* r) {
    r250_state& st = *state_of<r250_state>(stream);
    uint32_t* w = static_cast<uint32_t*>(r);
    if (n >= ring)
        fill_as_register(st, n, w);
    else if (n > 0)
        fill_in_ring(st, n, w);
    return ok;
}
