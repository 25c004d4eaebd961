// Stream images: a stream written to a file or a block of memory and read
// back, in this process or another, to go on with exactly the sequence it
// would have produced.
//
// An image is a 20-byte header (version, "RNG", header size, state size,
// chunk count, generator number; little-endian), the generator state as it
// stands from byte 16 of the stream, then each chunk in list order as key,
// 16-byte table id, size and data.  The writer always writes version 1; the
// reader also takes version 0, the older layout whose chunks carry no id.
//
// Status rules kept on purpose:
// - a save looks only at the last write of each chunk, each chunk starting
//   over from success, so the final status is that of the last data write;
// - a load stores the status of every chunk read over the previous one
//   without testing it: only the last read's outcome, a failed allocation
//   or a refused chunk end the load with an error.
// The memory forms keep their positions in two process-wide cursors, one
// for writing and one for reading, reset at the start of each save or load
// and advanced by each piece; two saves (or two loads) at once in different
// threads corrupt each other's image.
//
// A loaded chunk whose id the shared table already holds takes a reference
// to the table's data; the block read for it is then released here rather
// than leaked.  The reserved header bytes are written as zeros.
#include <cpuid.h>

#include <cstdio>

#include "frame/bridge.h"
#include "random/streams/stream.h"

using namespace qlm::random;

namespace {

constexpr uint32_t image_magic = 0x474E52;  // "RNG", little-endian
constexpr uint8_t image_version = 1;
constexpr uint16_t image_header_bytes = 20;
constexpr int32_t hardware_source_brng = 0xE00000;

struct image_header {
    uint8_t version;
    uint8_t reserved0[3];
    uint8_t magic[3];
    uint8_t reserved1;
    uint16_t header_size;
    uint16_t state_size;
    uint16_t chunk_count;
    uint16_t reserved2;
    int32_t brng;
};
static_assert(sizeof(image_header) == image_header_bytes);

uint32_t magic_of(const image_header& h) { return h.magic[0] | (h.magic[1] << 8) | (h.magic[2] << 16); }

// The state bytes an image carries: what the 16-bit field can say.
uint16_t image_state_size(int32_t state_bytes) { return static_cast<uint16_t>(state_bytes - state_offset); }

bool processor_has_rdrand() {
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
    return (c & bit_RDRND) != 0;
}

// The process-wide cursors of the memory forms.
std::size_t write_cursor = 0;
std::size_t read_cursor = 0;

// A file name as the caller gave it: a length of 0 or more means the name is
// not terminated and is copied with a terminating zero; a negative length
// means it is a terminated string used as it stands.
class file_name {
public:
    file_name(const char* name, int32_t length) : text_(name) {
        if (length < 0) return;
        copy_ = static_cast<char*>(qlm_serv_allocate(static_cast<std::size_t>(length) + 1, stream_alignment));
        if (copy_ == nullptr) return;
        std::memcpy(copy_, name, static_cast<std::size_t>(length));
        copy_[length] = '\0';
        text_ = copy_;
    }
    ~file_name() {
        if (copy_) qlm_serv_deallocate(copy_);
    }
    file_name(const file_name&) = delete;
    file_name& operator=(const file_name&) = delete;
    bool failed(int32_t length) const { return length >= 0 && copy_ == nullptr; }
    const char* c_str() const { return text_; }

private:
    const char* text_;
    char* copy_ = nullptr;
};

// Where an image goes: a file (writes can be short) or memory (they cannot).
struct file_sink {
    std::FILE* f;
    bool put(const void* p, std::size_t bytes) { return std::fwrite(p, 1, bytes, f) == bytes; }
};
struct memory_sink {
    unsigned char* base;
    bool put(const void* p, std::size_t bytes) {
        std::memcpy(base + write_cursor, p, bytes);
        write_cursor += bytes;
        return true;
    }
};
struct file_source {
    std::FILE* f;
    bool get(void* p, std::size_t bytes) { return std::fread(p, 1, bytes, f) == bytes; }
};
struct memory_source {
    const unsigned char* base;
    bool get(void* p, std::size_t bytes) {
        std::memcpy(p, base + read_cursor, bytes);
        read_cursor += bytes;
        return true;
    }
};

image_header header_for(const void* stream, const brng_record& r) {
    image_header h{};
    h.version = image_version;
    h.magic[0] = 'R';
    h.magic[1] = 'N';
    h.magic[2] = 'G';
    h.header_size = image_header_bytes;
    h.state_size = image_state_size(r.state_bytes);
    h.chunk_count = static_cast<uint16_t>(__vxsGetNumChunks(stream));
    h.brng = header_of(stream)->brng;
    return h;
}

// Header and state, then the chunks.
template <class Sink>
int32_t write_image(const void* stream, Sink& sink) {
    brng_record r;
    const int32_t props = __vxsGetBrngProperties(header_of(stream)->brng, &r);
    if (props != ok) return props;
    const image_header h = header_for(stream, r);
    if (!sink.put(&h, sizeof h)) return VXS_ERROR_FILE_WRITE_FAILED;
    if (!sink.put(static_cast<const unsigned char*>(stream) + state_offset, h.state_size))
        return VXS_ERROR_FILE_WRITE_FAILED;
    int32_t status = ok;
    for (const chunk* c = header_of(stream)->chunks; c; c = c->next) {
        sink.put(&c->key, 4);
        sink.put(c->id, 16);
        sink.put(&c->size, 4);
        status = sink.put(c->data, c->size) ? ok : VXS_ERROR_FILE_WRITE_FAILED;
    }
    return status;
}

// The header checks in their order; `file` selects the file form's statuses.
int32_t check_header(const image_header& h, bool file, brng_record** registry, int32_t* row, int32_t* sub) {
    const int32_t refused = file ? VXS_ERROR_BAD_IMAGE : VXS_ERROR_BAD_MEMORY_IMAGE;
    if (magic_of(h) != image_magic) return refused;
    if (h.version > image_version) return file ? VXS_ERROR_UNSUPPORTED_IMAGE_VERSION : refused;
    // An image is outside data: a negative number, which the registry test
    // does not refuse by itself, is refused here.
    if (h.brng < 0) return refused;
    *registry = resolve_brng(h.brng, row, sub);
    if (__vxsIsBrngValid(*registry, *row, *sub) != ok) return refused;
    if (h.state_size != image_state_size((*registry)[*row].state_bytes)) return refused;
    if (h.header_size < image_header_bytes) return refused;
    return ok;
}

// Everything after the header: a new stream in the caller's pointer, its
// state and its chunks.
template <class Source>
int32_t read_body(void** stream, bool* allocated, const image_header& h, brng_record* registry, int32_t row,
                  int32_t sub, Source& source) {
    int32_t status = __vxsAllocateStream(stream, registry, h.brng, row, sub);
    *allocated = status == ok;
    if (status != ok) return status;
    if (!source.get(static_cast<unsigned char*>(*stream) + state_offset, h.state_size))
        status = VXS_ERROR_FILE_READ_FAILED;
    if (status == ok && h.brng == hardware_source_brng && !processor_has_rdrand())
        status = VXS_ERROR_NO_HARDWARE_SOURCE;
    if (status != ok) return status;
    for (int32_t i = 0; i < h.chunk_count; ++i) {
        uint32_t key = 0, id[4] = {0, 0, 0, 0}, size = 0;
        status = source.get(&key, 4) ? ok : VXS_ERROR_FILE_READ_FAILED;
        if (h.version == 1) status = source.get(id, 16) ? ok : VXS_ERROR_FILE_READ_FAILED;
        status = source.get(&size, 4) ? ok : VXS_ERROR_FILE_READ_FAILED;
        void* data = qlm_serv_allocate(size, stream_alignment);
        if (data == nullptr && size != 0) return out_of_memory;
        status = source.get(data, size) ? ok : VXS_ERROR_FILE_READ_FAILED;
        vxs_ro_table_entry* entry = nullptr;
        const bool already_shared = (id[0] | id[1] | id[2] | id[3]) != 0 &&
                                    __vxsFindGlobRODataTableEntry(&entry, id) == ok && entry != nullptr;
        const int32_t added = __vxsAddChunk(*stream, key, id, data, size);
        if (added != ok) {
            if (data) qlm_serv_deallocate(data);
            return added;
        }
        if (already_shared && data) qlm_serv_deallocate(data);
    }
    return status;
}

// A failed load leaves no stream behind: the deletion clears the caller's
// pointer, or the pointer was never set.
int32_t finish_load(void** stream, bool allocated, int32_t status) {
    if (status < 0 && allocated) __vxsDeleteStream(stream);
    return status;
}

}  // namespace

QLM_EXPORT int32_t __vxsGetStreamSize(const void* stream) {
    int32_t size = record_of(stream).state_bytes + 4;
    for (const chunk* c = header_of(stream)->chunks; c; c = c->next) size += static_cast<int32_t>(c->size) + 24;
    return size;
}

QLM_EXPORT int32_t __vxsSaveStreamF(const void* stream, const char* name, int32_t length) {
    file_name file(name, length);
    if (file.failed(length)) return out_of_memory;
    std::FILE* f = std::fopen(file.c_str(), "wb");
    if (f == nullptr) return VXS_ERROR_FILE_OPEN_FAILED;
    file_sink sink{f};
    int32_t status = write_image(stream, sink);
    if (std::fclose(f) != 0) status = VXS_ERROR_FILE_CLOSE_FAILED;
    return status;
}

QLM_EXPORT int32_t __vxsSaveStreamM(const void* stream, void* memory) {
    write_cursor = 0;
    memory_sink sink{static_cast<unsigned char*>(memory)};
    write_image(stream, sink);
    return ok;
}

QLM_EXPORT int32_t __vxsLoadStreamF(void** stream, const char* name, int32_t length) {
    file_name file(name, length);
    if (file.failed(length)) return out_of_memory;
    std::FILE* f = std::fopen(file.c_str(), "rb");
    if (f == nullptr) return VXS_ERROR_FILE_OPEN_FAILED;
    file_source source{f};
    image_header h;
    bool allocated = false;
    int32_t status = source.get(&h, sizeof h) ? ok : VXS_ERROR_FILE_READ_FAILED;
    brng_record* registry = nullptr;
    int32_t row = 0, sub = 0;
    if (status == ok) status = check_header(h, true, &registry, &row, &sub);
    if (status == ok) status = read_body(stream, &allocated, h, registry, row, sub, source);
    if (std::fclose(f) != 0) status = VXS_ERROR_FILE_CLOSE_FAILED;
    return finish_load(stream, allocated, status);
}

QLM_EXPORT int32_t __vxsLoadStreamM(void** stream, const void* memory) {
    read_cursor = 0;
    memory_source source{static_cast<const unsigned char*>(memory)};
    image_header h;
    source.get(&h, sizeof h);
    brng_record* registry = nullptr;
    int32_t row = 0, sub = 0;
    bool allocated = false;
    int32_t status = check_header(h, false, &registry, &row, &sub);
    if (status == ok) status = read_body(stream, &allocated, h, registry, row, sub, source);
    return finish_load(stream, allocated, status);
}
