// The MT2203 family: 6024 twisters with N = 69, M = 34, a 27-bit upper mask
// and period 2^2203 - 1, each with its own matrix and tempering words from
// the generated table in mt2203_table.cpp.  The member is the stream's
// sub-generator; seeding is the array seeding of MT19937 on the short ring.
#include "frame/export.h"
#include "random/streams/twister.h"
#include "random/streams/twister_streams.h"

namespace qlm::random {
extern const uint32_t mt2203_params[6024][3];
}

namespace {

using namespace qlm::random::twister;
using mt2203_shape = shape<69, 34, 0xFFFFFFE0u, 0x0000001Fu, 12>;

void next_words(void* stream, int n, uint32_t* r) {
    auto* s = state_of<mt2203_state>(stream);
    generate<mt2203_shape>(s->mt, s->index, n, r, tempering{s->a, s->b, s->c});
}

}  // namespace

QLM_EXPORT int32_t __vxsBRngMT2203InitStream(int32_t method, void* stream, int32_t n,
                                             const uint32_t* params) {
    if (method != 0) return refuse_method(method);
    auto* s = state_of<mt2203_state>(stream);
    seed_by_array<69>(s->mt, n, params);
    s->index = 69;
    // The stream's number was validated at creation: its low 20 bits are
    // the member.
    const uint32_t member = static_cast<uint32_t>(generator_number_of(stream)) & 0xFFFFFu;
    s->a = qlm::random::mt2203_params[member][0];
    s->b = qlm::random::mt2203_params[member][1];
    s->c = qlm::random::mt2203_params[member][2];
    return 0;
}

QLM_EXPORT int32_t __vxsiBRngMT2203(void* stream, int32_t n, void* r) {
    next_words(stream, n, static_cast<uint32_t*>(r));
    return 0;
}

QLM_EXPORT int32_t __vxsdBRngMT2203(void* stream, int32_t n, double* r, double a, double b) {
    uniform_from_words(n, r, a, b, [stream](int k, uint32_t* w) { next_words(stream, k, w); });
    return 0;
}

QLM_EXPORT int32_t __vxssBRngMT2203(void* stream, int32_t n, float* r, float a, float b) {
    uniform_from_words(n, r, a, b, [stream](int k, uint32_t* w) { next_words(stream, k, w); });
    return 0;
}
