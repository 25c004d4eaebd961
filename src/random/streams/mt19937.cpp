// MT19937: N = 624, M = 397, period 2^19937 - 1, the published matrix and
// tempering words.  Seeded by the published array seeding; cannot jump, so
// leapfrog and skip-ahead are refused.
#include "frame/export.h"
#include "random/streams/twister.h"
#include "random/streams/twister_streams.h"

namespace {

using namespace qlm::random::twister;
using mt19937_shape = shape<624, 397, 0x80000000u, 0x7FFFFFFFu, 11>;
constexpr tempering kTempering = {0x9908B0DFu, 0x9D2C5680u, 0xEFC60000u};

void next_words(void* stream, int n, uint32_t* r) {
    auto* s = state_of<mt19937_state>(stream);
    generate<mt19937_shape>(s->mt, s->index, n, r, kTempering);
}

}  // namespace

QLM_EXPORT int32_t __vxsBRngMT19937InitStream(int32_t method, void* stream, int32_t n,
                                              const uint32_t* params) {
    if (method != 0) return refuse_method(method);
    auto* s = state_of<mt19937_state>(stream);
    seed_by_array<624>(s->mt, n, params);
    s->index = 624;
    return 0;
}

QLM_EXPORT int32_t __vxsiBRngMT19937(void* stream, int32_t n, void* r) {
    next_words(stream, n, static_cast<uint32_t*>(r));
    return 0;
}

QLM_EXPORT int32_t __vxsdBRngMT19937(void* stream, int32_t n, double* r, double a, double b) {
    uniform_from_words(n, r, a, b, [stream](int k, uint32_t* w) { next_words(stream, k, w); });
    return 0;
}

QLM_EXPORT int32_t __vxssBRngMT19937(void* stream, int32_t n, float* r, float a, float b) {
    uniform_from_words(n, r, a, b, [stream](int k, uint32_t* w) { next_words(stream, k, w); });
    return 0;
}
