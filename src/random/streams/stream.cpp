// Creating, copying, repositioning and destroying streams.
#include "frame/bridge.h"
#include "random/streams/stream.h"

namespace qlm::random {
int32_t copy_chunks(void* destination, const void* source);
void delete_chunks(void* stream);
}  // namespace qlm::random

using namespace qlm::random;

namespace {

void write_header(void* stream, int32_t brng) {
    stream_header* h = header_of(stream);
    h->brng = brng;
    h->constructed = 1;
    h->chunks = nullptr;
}

}  // namespace

QLM_EXPORT int32_t __vxsAllocateStream(void** stream, const vxs_brng_record* registry, int32_t brng, int32_t row,
                                       int32_t sub) {
    const int32_t status = __vxsIsBrngValid(registry, row, sub);
    if (status != ok) return status;
    void* block = qlm_serv_allocate(static_cast<std::size_t>(registry[row].state_bytes), stream_alignment);
    *stream = block;
    if (block == nullptr) return out_of_memory;
    write_header(block, brng);
    return ok;
}

QLM_EXPORT int32_t __vxsNewStreamEx(void** stream, int32_t brng, int32_t n, const uint32_t* params) {
    // The abstract streams have constructors of their own.
    if (brng == VXS_BRNG_IABSTRACT || brng == VXS_BRNG_DABSTRACT || brng == VXS_BRNG_SABSTRACT)
        return bad_generator_number;
    int32_t row, sub;
    brng_record* registry = resolve_brng(brng, &row, &sub);
    const int32_t status = __vxsAllocateStream(stream, registry, brng, row, sub);
    if (status != ok) return status;
    // A failing seed leaves the stream allocated; the caller deletes it.
    return registry[row].init_stream(init_seed, *stream, n, params);
}

QLM_EXPORT int32_t __vxsCopyStream(void** stream, const void* source) {
    const brng_record& r = record_of(source);
    void* block = qlm_serv_allocate(static_cast<std::size_t>(r.state_bytes), stream_alignment);
    *stream = block;
    if (block == nullptr) return out_of_memory;
    std::memcpy(block, source, static_cast<std::size_t>(r.state_bytes));
    header_of(block)->chunks = nullptr;
    return copy_chunks(block, source);
}

// The moving state is seed_words words of word_bytes.  For WH (4 x 16) and
// SFMT19937 (625 x 16) that product is larger than the state itself, so the
// copy is capped at the end of the state: the bytes past it are not the
// stream's.
QLM_EXPORT int32_t __vxsCopyStreamState(void* destination, const void* source) {
    if (destination == source) return ok;
    const brng_record& r = record_of(source);
    std::size_t bytes = static_cast<std::size_t>(r.word_bytes) * static_cast<std::size_t>(r.seed_words);
    const std::size_t state = static_cast<std::size_t>(r.state_bytes) - state_offset;
    if (bytes > state) bytes = state;
    std::memcpy(static_cast<unsigned char*>(destination) + state_offset,
                static_cast<const unsigned char*>(source) + state_offset, bytes);
    delete_chunks(destination);
    return copy_chunks(destination, source);
}

QLM_EXPORT int32_t __vxsDeleteStream(void** stream) {
    delete_chunks(*stream);
    qlm_serv_deallocate(*stream);
    *stream = nullptr;
    return ok;
}

QLM_EXPORT int32_t __vxsLeapfrogStream(void* stream, int32_t k, int32_t nstreams) {
    // Widened with its sign, every negative count is at or above 0xFFFFFFFF.
    const uint64_t wide = static_cast<uint64_t>(static_cast<int64_t>(nstreams));
    if (wide >= 0xFFFFFFFFu) return bad_leapfrog_count;
    uint32_t start = static_cast<uint32_t>(k);
    return record_of(stream).init_stream(init_leapfrog, stream, nstreams, &start);
}

QLM_EXPORT int32_t __vxsSkipAheadStream(void* stream, int64_t nskip) {
    const uint64_t u = static_cast<uint64_t>(nskip);
    const uint32_t words[2] = {static_cast<uint32_t>(u), static_cast<uint32_t>(u >> 32)};
    return record_of(stream).init_stream(init_skip_ahead, stream, 2, words);
}

QLM_EXPORT int32_t __vxsGetStreamStateBrng(const void* stream) { return header_of(stream)->brng; }
