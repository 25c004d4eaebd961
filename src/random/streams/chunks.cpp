// Chunks (keyed data blocks hung on a stream) and the process-wide shared
// read-only table behind chunks that carry a table id.
//
// The table is 128 entries packed at the front, a count and one spin word.
// The lock is taken by compare-and-exchange of 0 to 1, spinning without
// backing off, and released by a plain store; it is not reentrant, so the
// helpers below that run under it never call each other's locked forms.
#include <atomic>

#include <x86intrin.h>

#include "frame/bridge.h"
#include "random/streams/stream.h"

namespace qlm::random {
namespace {

constexpr int32_t table_capacity = 128;
// Chunks may create entries only below this count, so that one entry is
// always left for __vxsCreateGlobRODataTableEntry.
constexpr int32_t chunk_entry_limit = 127;

vxs_ro_table_entry shared_entries[table_capacity];
std::atomic<int32_t> shared_count{0};
std::atomic<uint32_t> shared_lock{0};

struct table_lock {
    table_lock() {
        uint32_t expected = 0;
        while (!shared_lock.compare_exchange_weak(expected, 1, std::memory_order_acquire)) expected = 0;
    }
    ~table_lock() { shared_lock.store(0, std::memory_order_release); }
};

bool id_is_zero(const uint32_t* id) { return id == nullptr || (id[0] | id[1] | id[2] | id[3]) == 0; }

// Under the lock.
vxs_ro_table_entry* find_locked(const uint32_t* id) {
    if (id_is_zero(id)) return nullptr;
    const int32_t count = shared_count.load(std::memory_order_relaxed);
    for (int32_t i = 0; i < count; ++i)
        if (std::memcmp(shared_entries[i].id, id, 16) == 0) return &shared_entries[i];
    return nullptr;
}

// Under the lock: drops one reference; the last one releases the data and
// moves the last entry into the hole.
void unreference_locked(vxs_ro_table_entry* e) {
    if (--e->references != 0) return;
    if (e->data) qlm_serv_deallocate(e->data);
    const int32_t last = shared_count.load(std::memory_order_relaxed) - 1;
    if (e != &shared_entries[last]) *e = shared_entries[last];
    shared_count.store(last, std::memory_order_relaxed);
}

bool table_holds(const uint32_t* id) {
    table_lock lock;
    return find_locked(id) != nullptr;
}

void add_reference(chunk* c) {
    table_lock lock;
    if (vxs_ro_table_entry* e = find_locked(c->id)) {
        ++e->references;
        c->data = e->data;
    }
}

// Enters a fresh id with one reference, or makes the chunk private when the
// table has no room for chunks.
void enter_or_privatise(chunk* c) {
    if (shared_count.load(std::memory_order_relaxed) < chunk_entry_limit) {
        table_lock lock;
        const int32_t count = shared_count.load(std::memory_order_relaxed);
        if (count < table_capacity) {
            vxs_ro_table_entry& e = shared_entries[count];
            std::memcpy(e.id, c->id, 16);
            e.references = 1;
            e.data = c->data;
            shared_count.store(count + 1, std::memory_order_relaxed);
            return;
        }
    }
    std::memset(c->id, 0, 16);
}

chunk* new_node() {
    return static_cast<chunk*>(qlm_serv_allocate(sizeof(chunk), stream_alignment));
}

void release_list(chunk* c) {
    while (c) {
        chunk* next = c->next;
        bool shared = false;
        if (!id_is_zero(c->id)) {
            table_lock lock;
            if (vxs_ro_table_entry* e = find_locked(c->id)) {
                unreference_locked(e);
                shared = true;
            }
        }
        if (!shared && c->data) qlm_serv_deallocate(c->data);
        qlm_serv_deallocate(c);
        c = next;
    }
}

}  // namespace

int32_t copy_chunks(void* destination, const void* source) {
    stream_header* dst = header_of(destination);
    for (const chunk* s = header_of(source)->chunks; s; s = s->next) {
        const bool shared = !id_is_zero(s->id) && table_holds(s->id);
        void* data = nullptr;
        if (!shared) {
            data = qlm_serv_allocate(s->size, stream_alignment);
            if (data == nullptr && s->size != 0) goto fail;
            if (s->size) std::memcpy(data, s->data, s->size);
        }
        {
            chunk* c = new_node();
            if (c == nullptr) {
                if (data) qlm_serv_deallocate(data);
                goto fail;
            }
            c->key = s->key;
            c->size = s->size;
            c->data = data;
            std::memcpy(c->id, s->id, 16);
            c->next = dst->chunks;
            dst->chunks = c;
            if (shared)
                add_reference(c);
            else if (!id_is_zero(c->id))
                enter_or_privatise(c);
        }
    }
    return ok;
fail:
    release_list(dst->chunks);
    dst->chunks = nullptr;
    return out_of_memory;
}

void delete_chunks(void* stream) {
    release_list(header_of(stream)->chunks);
    header_of(stream)->chunks = nullptr;
}

}  // namespace qlm::random

using namespace qlm::random;

QLM_EXPORT int32_t __vxsAddChunk(void* stream, uint32_t key, const uint32_t* table_id, void* data, uint32_t size) {
    chunk* c = new_node();
    if (c == nullptr) return out_of_memory;
    c->key = key;
    c->size = size;
    c->data = data;
    if (table_id)
        std::memcpy(c->id, table_id, 16);
    else
        std::memset(c->id, 0, 16);
    if (!id_is_zero(c->id)) {
        // Three separate lock holds: look-up, reference, insertion.  When the
        // id is already shared the caller's block is no longer referenced from
        // here and stays the caller's to release.
        if (table_holds(c->id))
            add_reference(c);
        else
            enter_or_privatise(c);
    }
    c->next = header_of(stream)->chunks;
    header_of(stream)->chunks = c;
    return ok;
}

QLM_EXPORT void* __vxsSearchChunk(const void* stream, uint32_t key) {
    for (const chunk* c = header_of(stream)->chunks; c; c = c->next)
        if (c->key == key) return c->data;
    return nullptr;
}

QLM_EXPORT int32_t __vxsGetNumChunks(const void* stream) {
    int32_t n = 0;
    for (const chunk* c = header_of(stream)->chunks; c; c = c->next) ++n;
    return n;
}

QLM_EXPORT int32_t __vxsDeleteChunks(void* stream) {
    delete_chunks(stream);
    return ok;
}

QLM_EXPORT int32_t __vxsCopyChunks(void* destination, const void* source) {
    return copy_chunks(destination, source);
}

QLM_EXPORT int32_t __vxsFindGlobRODataTableEntry(vxs_ro_table_entry** entry, const uint32_t* table_id) {
    table_lock lock;
    vxs_ro_table_entry* e = find_locked(table_id);
    if (e == nullptr) return table_entry_not_found;
    *entry = e;
    return ok;
}

QLM_EXPORT int32_t __vxsCreateGlobRODataTableEntry(vxs_ro_table_entry** entry, const uint32_t* table_id,
                                                   void* data) {
    table_lock lock;
    const int32_t count = shared_count.load(std::memory_order_relaxed);
    if (count >= table_capacity) return table_full;
    vxs_ro_table_entry& e = shared_entries[count];
    std::memcpy(e.id, table_id, 16);
    e.references = 1;
    e.data = data;
    shared_count.store(count + 1, std::memory_order_relaxed);
    *entry = &e;
    return ok;
}

QLM_EXPORT int32_t __vxsRegisterGlobRODataReference(void* chunk_node, const uint32_t* table_id) {
    table_lock lock;
    if (vxs_ro_table_entry* e = find_locked(table_id)) {
        ++e->references;
        static_cast<chunk*>(chunk_node)->data = e->data;
    }
    return ok;
}

QLM_EXPORT int32_t __vxsUnregisterGlobRODataReference(const uint32_t* table_id) {
    table_lock lock;
    if (vxs_ro_table_entry* e = find_locked(table_id)) unreference_locked(e);
    return ok;
}

// The id is the time-stamp counter in words 0 and 1 and the caller's value,
// sign-extended, in words 2 and 3; the counter is read again until the id is
// new.  x86-64 always has the counter.
QLM_EXPORT int32_t __vxsGenerateNewGlobalRODataTableEntryId(uint32_t* table_id, int32_t value) {
    const int64_t extended = value;
    table_lock lock;
    for (;;) {
        const uint64_t tsc = __rdtsc();
        table_id[0] = static_cast<uint32_t>(tsc);
        table_id[1] = static_cast<uint32_t>(tsc >> 32);
        table_id[2] = static_cast<uint32_t>(extended);
        table_id[3] = static_cast<uint32_t>(static_cast<uint64_t>(extended) >> 32);
        if (id_is_zero(table_id) || find_locked(table_id) == nullptr) return ok;
    }
}
