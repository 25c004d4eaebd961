// Chunks on streams and the process-wide shared table behind shared chunks,
// with data blocks from the bound allocator the library releases them to.
// Each test leaves the shared table as it found it.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame/bridge.h"
#include "qlm/qlm_vxs.h"

namespace {

struct stream_guard {
    void* s = nullptr;
    stream_guard() { EXPECT_EQ(__vxsNewStreamEx(&s, VXS_BRNG_MCG31M1, 0, nullptr), 0); }
    ~stream_guard() {
        if (s) __vxsDeleteStream(&s);
    }
};

void* block_with(uint32_t value) {
    auto* p = static_cast<uint32_t*>(qlm_serv_allocate(16, 64));
    p[0] = value;
    return p;
}

int32_t references(const uint32_t* id) {
    vxs_ro_table_entry* e = nullptr;
    if (__vxsFindGlobRODataTableEntry(&e, id) != 0) return 0;
    return static_cast<int32_t>(e->references);
}

TEST(Chunks, PrivateChunksAddSearchCopyDelete) {
    stream_guard a;
    EXPECT_EQ(__vxsSearchChunk(a.s, 3), nullptr);
    void* d1 = block_with(1);
    void* d2 = block_with(2);
    ASSERT_EQ(__vxsAddChunk(a.s, 3, nullptr, d1, 16), 0);
    ASSERT_EQ(__vxsAddChunk(a.s, 5, nullptr, d2, 16), 0);
    EXPECT_EQ(__vxsGetNumChunks(a.s), 2);
    EXPECT_EQ(__vxsSearchChunk(a.s, 3), d1);
    EXPECT_EQ(__vxsSearchChunk(a.s, 5), d2);

    // A copy owns copies of the data, listed in reverse order.
    void* b = nullptr;
    ASSERT_EQ(__vxsCopyStream(&b, a.s), 0);
    EXPECT_EQ(__vxsGetNumChunks(b), 2);
    auto* c1 = static_cast<uint32_t*>(__vxsSearchChunk(b, 3));
    ASSERT_NE(c1, nullptr);
    EXPECT_NE(static_cast<void*>(c1), d1);
    EXPECT_EQ(c1[0], 1u);
    // The head of the copy's list is the source's last chunk, key 3.
    const auto* head = *reinterpret_cast<uint32_t* const*>(static_cast<char*>(b) + 8);
    EXPECT_EQ(head[0], 3u);
    __vxsDeleteStream(&b);

    EXPECT_EQ(__vxsDeleteChunks(a.s), 0);
    EXPECT_EQ(__vxsGetNumChunks(a.s), 0);
    EXPECT_EQ(__vxsSearchChunk(a.s, 3), nullptr);
}

// Copying a stream with a shared chunk adds a reference and no data; the data
// lives until the last stream referring to it is deleted.
TEST(Chunks, SharedChunkIsReferencedNotCopied) {
    uint32_t id[4];
    ASSERT_EQ(__vxsGenerateNewGlobalRODataTableEntryId(id, -7), 0);
    EXPECT_EQ(id[2], 0xFFFFFFF9u);
    EXPECT_EQ(id[3], 0xFFFFFFFFu);
    void* a = nullptr;
    ASSERT_EQ(__vxsNewStreamEx(&a, VXS_BRNG_MCG31M1, 0, nullptr), 0);
    void* data = block_with(99);
    ASSERT_EQ(__vxsAddChunk(a, 9, id, data, 16), 0);
    EXPECT_EQ(references(id), 1);

    void* b = nullptr;
    ASSERT_EQ(__vxsCopyStream(&b, a), 0);
    EXPECT_EQ(references(id), 2);
    EXPECT_EQ(__vxsSearchChunk(b, 9), data);

    // A further chunk with the same id takes the table's data; the caller's
    // block stays the caller's.
    void* other = block_with(5);
    ASSERT_EQ(__vxsAddChunk(b, 9, id, other, 16), 0);
    EXPECT_EQ(references(id), 3);
    qlm_serv_deallocate(other);

    __vxsDeleteStream(&a);
    EXPECT_EQ(references(id), 2);
    EXPECT_EQ(static_cast<uint32_t*>(__vxsSearchChunk(b, 9))[0], 99u);
    __vxsDeleteStream(&b);
    vxs_ro_table_entry* e;
    EXPECT_EQ(__vxsFindGlobRODataTableEntry(&e, id), VXS_ERROR_TABLE_ENTRY_NOT_FOUND);
}

// Chunks may fill the table up to 127 entries, only the create operation
// takes the 128th, and the next create is refused.
TEST(Chunks, SharedTableLimits) {
    vxs_ro_table_entry* e = nullptr;
    const uint32_t zero[4] = {0, 0, 0, 0};
    EXPECT_EQ(__vxsFindGlobRODataTableEntry(&e, zero), VXS_ERROR_TABLE_ENTRY_NOT_FOUND);
    EXPECT_EQ(__vxsFindGlobRODataTableEntry(&e, nullptr), VXS_ERROR_TABLE_ENTRY_NOT_FOUND);

    stream_guard s;
    std::vector<std::array<uint32_t, 4>> ids(129);
    for (int i = 0; i < 129; ++i) ids[i] = {static_cast<uint32_t>(i + 1), 0xABCD, 0, 0};
    for (int i = 0; i < 127; ++i) ASSERT_EQ(__vxsAddChunk(s.s, 1, ids[i].data(), block_with(i), 16), 0);
    for (int i = 0; i < 127; ++i) ASSERT_EQ(references(ids[i].data()), 1) << i;

    // The 128th through a chunk stays private, with its id cleared.
    void* priv = block_with(128);
    ASSERT_EQ(__vxsAddChunk(s.s, 2, ids[127].data(), priv, 16), 0);
    EXPECT_EQ(references(ids[127].data()), 0);
    const auto* head = *reinterpret_cast<uint32_t* const*>(static_cast<char*>(s.s) + 8);
    EXPECT_EQ(std::memcmp(head + 6, zero, 16), 0);

    void* data = block_with(0);
    ASSERT_EQ(__vxsCreateGlobRODataTableEntry(&e, ids[127].data(), data), 0);
    EXPECT_EQ(e->references, 1u);
    EXPECT_EQ(e->data, data);
    vxs_ro_table_entry* e2 = nullptr;
    EXPECT_EQ(__vxsCreateGlobRODataTableEntry(&e2, ids[128].data(), nullptr), VXS_ERROR_TABLE_FULL);
    EXPECT_EQ(e2, nullptr);

    // Unregistering the last reference releases and compacts.
    EXPECT_EQ(__vxsUnregisterGlobRODataReference(ids[127].data()), 0);
    EXPECT_EQ(references(ids[127].data()), 0);
    EXPECT_EQ(__vxsCreateGlobRODataTableEntry(&e2, ids[128].data(), nullptr), 0);
    EXPECT_EQ(__vxsUnregisterGlobRODataReference(ids[128].data()), 0);
    // Deleting the stream drops all 127 chunk entries.
    __vxsDeleteStream(&s.s);
    for (int i = 0; i < 127; ++i) ASSERT_EQ(references(ids[i].data()), 0) << i;
}

TEST(Chunks, RegisterReferencePointsChunkAtEntry) {
    uint32_t id[4];
    ASSERT_EQ(__vxsGenerateNewGlobalRODataTableEntryId(id, 12), 0);
    vxs_ro_table_entry* e;
    void* data = block_with(3);
    ASSERT_EQ(__vxsCreateGlobRODataTableEntry(&e, id, data), 0);
    struct {
        uint32_t key, size;
        void* data;
        void* next;
        uint32_t id[4];
    } node = {1, 16, nullptr, nullptr, {}};
    EXPECT_EQ(__vxsRegisterGlobRODataReference(&node, id), 0);
    EXPECT_EQ(node.data, data);
    EXPECT_EQ(references(id), 2);
    const uint32_t absent[4] = {1, 2, 3, 4};
    node.data = nullptr;
    EXPECT_EQ(__vxsRegisterGlobRODataReference(&node, absent), 0);
    EXPECT_EQ(node.data, nullptr);
    __vxsUnregisterGlobRODataReference(id);
    __vxsUnregisterGlobRODataReference(id);
    EXPECT_EQ(__vxsFindGlobRODataTableEntry(&e, id), VXS_ERROR_TABLE_ENTRY_NOT_FOUND);
}

TEST(Chunks, CopyStreamStateReplacesChunks) {
    stream_guard a, b;
    ASSERT_EQ(__vxsAddChunk(a.s, 1, nullptr, block_with(10), 16), 0);
    ASSERT_EQ(__vxsAddChunk(b.s, 2, nullptr, block_with(20), 16), 0);
    ASSERT_EQ(__vxsAddChunk(b.s, 3, nullptr, block_with(30), 16), 0);
    ASSERT_EQ(__vxsCopyStreamState(b.s, a.s), 0);
    EXPECT_EQ(__vxsGetNumChunks(b.s), 1);
    EXPECT_EQ(static_cast<uint32_t*>(__vxsSearchChunk(b.s, 1))[0], 10u);
    EXPECT_EQ(__vxsSearchChunk(b.s, 2), nullptr);
}

int32_t no_init(int32_t, void*, int32_t, const uint32_t*) { return 0; }
int32_t no_single(void*, int32_t, float*, float, float) { return 0; }
int32_t no_double(void*, int32_t, double*, double, double) { return 0; }
int32_t no_integer(void*, int32_t, void*) { return 0; }

// The moving state of some generators (WH: 4 words of 16 bytes in 32 state
// bytes) is longer than the state; the copy stops at the end of the
// source's state.  A source whose record claims 50 words of 16 bytes in 8
// state bytes, copied onto a larger stream, changes those 8 bytes only.
TEST(Chunks, CopyStreamStateStopsAtTheEndOfTheState) {
    const vxs_brng_record record = {24, 50, 1, 16, 32, no_init, no_single, no_double, no_integer};
    const int32_t brng = __vxsRegisterBrng(&record);
    ASSERT_GE(brng, 0xF00000);
    void *source = nullptr, *destination = nullptr;
    ASSERT_EQ(__vxsNewStreamEx(&source, brng, 0, nullptr), 0);
    ASSERT_EQ(__vxsNewStreamEx(&destination, VXS_BRNG_R250, 0, nullptr), 0);
    std::memset(static_cast<char*>(source) + 16, 0xAB, 8);
    std::memset(static_cast<char*>(destination) + 16, 0x11, 1008);
    ASSERT_EQ(__vxsCopyStreamState(destination, source), 0);
    const auto* d = static_cast<const unsigned char*>(destination);
    for (int i = 16; i < 24; ++i) EXPECT_EQ(d[i], 0xAB) << i;
    for (int i = 24; i < 1024; ++i) ASSERT_EQ(d[i], 0x11) << i;
    __vxsDeleteStream(&source);
    __vxsDeleteStream(&destination);
}

}  // namespace
