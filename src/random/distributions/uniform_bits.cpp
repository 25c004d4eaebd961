// Raw bits: the generator's own elements, and 32-bit or 64-bit words with
// every bit usable.
//
// Only some generators guarantee full words; a per-row dispatch table of the
// second-generation registry says how each serves a request, and the other
// rows answer not_bit_generator without drawing.  The table has no bounds
// test: rows past the built-in ones are not for these operations.
//
// A generator of 128-bit elements serves 32-bit and 64-bit words through a
// carry chunk on the stream, so that the words of a partly used element are
// delivered by the next request and the sequence of words does not depend
// on how it is cut into requests.
#include "frame/bridge.h"
#include "random/distributions/uniform.h"
#include "random/streams/stream.h"

namespace qlm::random {
namespace {

using bits32_fn = int32_t (*)(int32_t method, void* stream, int32_t n, uint32_t* r);
using bits64_fn = int32_t (*)(int32_t method, void* stream, int32_t n, uint64_t* r);

int32_t refuse32(int32_t, void*, int32_t, uint32_t*) { return not_bit_generator; }
int32_t refuse64(int32_t, void*, int32_t, uint64_t*) { return not_bit_generator; }

// 32-bit generators with all bits usable.
int32_t direct32(int32_t method, void* stream, int32_t n, uint32_t* r) {
    return _vxsiRngUniformBits(method, stream, n, r);
}
int32_t direct64(int32_t method, void* stream, int32_t n, uint64_t* r) {
    return _vxsiRngUniformBits(method, stream, 2 * n, r);
}

// MCG59: the top 32 of the 59 bits of each element, low word first when two
// of them make a 64-bit word.
int32_t mcg59_words(int32_t method, void* stream, int32_t n, uint32_t* r) {
    uint64_t block[mcg59_bits_block];
    for (int32_t done = 0; done < n; done += mcg59_bits_block) {
        const int32_t len = n - done < mcg59_bits_block ? n - done : mcg59_bits_block;
        const int32_t status = _vxsiRngUniformBits(method, stream, len, block);
        if (status < 0) return status;
        for (int32_t i = 0; i < len; ++i) r[done + i] = static_cast<uint32_t>(block[i] >> 27);
    }
    return ok;
}
int32_t mcg59_words64(int32_t method, void* stream, int32_t n, uint64_t* r) {
    return mcg59_words(method, stream, 2 * n, reinterpret_cast<uint32_t*>(r));
}

int32_t sfmt_words(int32_t, void* stream, int32_t n, uint32_t* r) {
    return carried_bits32(record_of(stream), stream, n, r);
}
int32_t sfmt_words64(int32_t, void* stream, int32_t n, uint64_t* r) {
    return carried_bits64(record_of(stream), stream, n, r);
}

struct dispatch_tables {
    bits32_fn bits32[registry_rows];
    bits64_fn bits64[registry_rows];
};

constexpr dispatch_tables make_tables() {
    dispatch_tables t{};
    for (int row = 0; row < registry_rows; ++row) {
        t.bits32[row] = refuse32;
        t.bits64[row] = refuse64;
    }
    t.bits32[3] = mcg59_words, t.bits64[3] = mcg59_words64;   // MCG59
    t.bits32[7] = direct32, t.bits64[7] = direct64;           // MT19937
    t.bits32[8] = direct32, t.bits64[8] = direct64;           // MT2203
    t.bits32[12] = sfmt_words, t.bits64[12] = sfmt_words64;   // SFMT19937
    t.bits32[13] = direct32, t.bits64[13] = direct64;         // TRNG
    return t;
}

constexpr dispatch_tables dispatch = make_tables();

// The carry chunk of a stream, made on first use with an empty count.
uint32_t* carry_chunk(void* stream, uint32_t key) {
    if (void* found = __vxsSearchChunk(stream, key)) return static_cast<uint32_t*>(found);
    auto* block = static_cast<uint32_t*>(qlm_serv_allocate(16, 32));
    if (block == nullptr) return nullptr;
    std::memset(block, 0, 16);
    if (__vxsAddChunk(stream, key, nullptr, block, 16) != ok) {
        qlm_serv_deallocate(block);
        return nullptr;
    }
    return block;
}

}  // namespace

// Chunk 11: up to three unused words, then their count in word 3.
int32_t carried_bits32(const vxs_brng_record& record, void* stream, int32_t n, uint32_t* r) {
    uint32_t* carry = carry_chunk(stream, chunk_bits32_carry);
    if (carry == nullptr) return out_of_memory;
    const int32_t c = static_cast<int32_t>(carry[3]);
    if (n <= c) {
        std::memcpy(r, carry, sizeof(uint32_t) * n);
        std::memmove(carry, carry + n, sizeof(uint32_t) * (c - n));
        carry[3] = static_cast<uint32_t>(c - n);
        return ok;
    }
    std::memcpy(r, carry, sizeof(uint32_t) * c);
    carry[3] = 0;
    const int32_t whole = (n - c) / 4, missing = (n - c) % 4;
    if (whole > 0) {
        const int32_t status = record.gen_integer(stream, whole, r + c);
        if (status < 0) return status;
    }
    if (missing > 0) {
        alignas(16) uint32_t element[4];
        const int32_t status = record.gen_integer(stream, 1, element);
        if (status < 0) return status;
        std::memcpy(r + c + 4 * whole, element, sizeof(uint32_t) * missing);
        std::memcpy(carry, element + missing, sizeof(uint32_t) * (4 - missing));
        carry[3] = static_cast<uint32_t>(4 - missing);
    }
    return ok;
}

// Chunk 12: at most one unused 64-bit word, then its count in word 2.
int32_t carried_bits64(const vxs_brng_record& record, void* stream, int32_t n, uint64_t* r) {
    uint32_t* carry = carry_chunk(stream, chunk_bits64_carry);
    if (carry == nullptr) return out_of_memory;
    int32_t done = 0;
    if (carry[2] != 0 && n > 0) {
        std::memcpy(r, carry, 8);
        carry[2] = 0;
        done = 1;
    }
    const int32_t whole = (n - done) / 2;
    if (whole > 0) {
        const int32_t status = record.gen_integer(stream, whole, r + done);
        if (status < 0) return status;
    }
    if ((n - done) % 2 != 0) {
        alignas(16) uint64_t element[2];
        const int32_t status = record.gen_integer(stream, 1, element);
        if (status < 0) return status;
        r[n - 1] = element[0];
        std::memcpy(carry, &element[1], 8);
        carry[2] = 1;
    }
    return ok;
}

}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t _vxsiRngUniformBits(int32_t, void* stream, int32_t n, void* r) {
    return record_of(stream).gen_integer(stream, n, r);
}

QLM_EXPORT int32_t _vxsiRngUniformBits32(int32_t method, void* stream, int32_t n, uint32_t* r) {
    int32_t row, sub;
    resolve_brng(header_of(stream)->brng, &row, &sub);
    return dispatch.bits32[row](method, stream, n, r);
}

QLM_EXPORT int32_t _vxsiRngUniformBits64(int32_t method, void* stream, int32_t n, uint64_t* r) {
    int32_t row, sub;
    resolve_brng(header_of(stream)->brng, &row, &sub);
    return dispatch.bits64[row](method, stream, n, r);
}
