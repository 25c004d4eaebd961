// MCG59: x(n+1) = a x(n) mod 2^59, a = 13^13 = 302875106592253.
//
// The product mod 2^59 is the low 59 bits of the 64-bit product.  Bulk
// output: 4 elements from the plain recurrence, then passes of 4 independent
// lanes multiplied by a^4 (from the stored a), the tail one at a time.
// Floating output splits x into its low 32 and high 27 bits so both halves
// convert exactly: lo s + (hi 2^32) s + a with s = (b - a) 2^-59.
#include "random/streams/output_sinks.h"
#include "random/streams/stream.h"

namespace qlm::random {
namespace {

constexpr uint64_t mask59 = (uint64_t{1} << 59) - 1;
constexpr uint64_t multiplier = 302875106592253u;
constexpr double unit = 1.0 / 576460752303423488.0;  // 2^-59

struct mcg59_state {
    uint64_t x;
    uint64_t a;
};

struct mcg59_double_sink {
    double* r;
    double scale, a;
    void store(int32_t i, uint64_t x) const {
        // (hi 2^32) s equals hi (2^32 s) exactly: scaling by 2^32 is exact.
        r[i] = exact_double(x & 0xFFFFFFFFu) * scale + exact_double(x >> 32) * (scale * 4294967296.0) + a;
    }
};

struct mcg59_single_sink {
    float* r;
    double scale, a;
    void store(int32_t i, uint64_t x) const {
        r[i] = static_cast<float>(exact_double(x & 0xFFFFFFFFu) * scale +
                                  exact_double(x >> 32) * (scale * 4294967296.0) + a);
    }
};

struct mcg59_word_sink {
    uint64_t* r;
    void store(int32_t i, uint64_t x) const { r[i] = x; }
};

template <typename Sink>
int32_t generate(void* stream, int32_t n, const Sink& out) {
    mcg59_state& s = *state_of<mcg59_state>(stream);
    uint64_t x = s.x;
    const uint64_t a = s.a;
    int32_t i = 0;
    if (n >= 8) {
        uint64_t lane[4];
        for (; i < 4; ++i) {
            lane[i] = x;
            out.store(i, x);
            x = (x * a) & mask59;
        }
        const uint64_t a2 = (a * a) & mask59;
        const uint64_t a4 = (a2 * a2) & mask59;
        const int32_t end = n & ~3;
        for (; i < end; i += 4) {
            for (int k = 0; k < 4; ++k) {
                lane[k] = (lane[k] * a4) & mask59;
                out.store(i + k, lane[k]);
            }
        }
        x = (lane[3] * a) & mask59;
    }
    for (; i < n; ++i) {
        out.store(i, x);
        x = (x * a) & mask59;
    }
    s.x = x;
    return ok;
}

}  // namespace
}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsBRngMCG59InitStream(int32_t method, void* stream, int32_t n, const uint32_t* params) {
    mcg59_state& s = *state_of<mcg59_state>(stream);
    switch (method) {
        case init_seed: {
            uint64_t x = 1;
            if (n == 1) x = params[0];
            if (n >= 2) x = params[0] | (uint64_t{params[1] & 0x7FFFFFFu} << 32);
            s.x = x == 0 ? 1 : x;
            s.a = multiplier;
            return ok;
        }
        case init_leapfrog: {
            const uint32_t k = params[0];
            s.x = (s.x * __vxsiPowMod2P59(s.a, k)) & mask59;
            s.a = __vxsiPowMod2P59(s.a, static_cast<uint64_t>(static_cast<int64_t>(n))) & mask59;
            return ok;
        }
        case init_skip_ahead:
            s.x = (s.x * __vxsiPowMod2P59(s.a, read_u64(params))) & mask59;
            return ok;
        default:
            return bad_init_method;
    }
}

QLM_EXPORT int32_t __vxsdBRngMCG59(void* stream, int32_t n, double* r, double a, double b) {
    return generate(stream, n, mcg59_double_sink{r, (b - a) * unit, a});
}

QLM_EXPORT int32_t __vxssBRngMCG59(void* stream, int32_t n, float* r, float a, float b) {
    const double wa = a, wb = b;
    return generate(stream, n, mcg59_single_sink{r, (wb - wa) * unit, wa});
}

QLM_EXPORT int32_t __vxsiBRngMCG59(void* stream, int32_t n, void* r) {
    return generate(stream, n, mcg59_word_sink{static_cast<uint64_t*>(r)});
}
