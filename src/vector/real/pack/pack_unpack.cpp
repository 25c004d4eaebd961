// Pack and unpack: gathers and scatters between a dense vector and a
// strided, indexed or masked one, for single and double.
//
//   PackI   y[i] = a[i·stride]          UnpackI  y[i·stride] = a[i]
//   PackV   y[i] = a[index[i]]          UnpackV  y[index[i]] = a[i]
//   PackM   y[next++] = a[i] where mask[i] != 0
//   UnpackM y[i] = a[next++] where mask[i] != 0
//
// The last argument is the width flag: 1 takes the count's low word, a
// 32-bit stride (the stride argument's low word) and 32-bit index and mask
// entries; any other value takes the 64-bit count and stride and 64-bit
// entries, of which an index is read through its low word alone (indices
// address a 32-bit space) and a mask entry counts as nonzero if either
// word is.  Element offsets (i times stride, index entries) are formed in
// 64 bits, so a large stride addresses what it says instead of wrapping.  No arithmetic, no mode word, no MXCSR, no status; a count at or
// below zero does nothing and indices are not checked.  y elements that are
// not addressed keep their values.
// Double elements move through the x87 unit as a 64-bit load and store,
// which quiets a signalling NaN; single elements move as integers, keeping
// every bit.  That asymmetry is kept on purpose.
#include <cstdint>
#include <cstring>

#include "frame/kernel_tables.h"

namespace {

inline void copy_element(const double* from, double* to) {
    asm("fldl %1\n\tfstpl %0" : "=m"(*to) : "m"(*from) : "st");
}

inline void copy_element(const float* from, float* to) {
    uint32_t bits;
    std::memcpy(&bits, from, sizeof bits);
    std::memcpy(to, &bits, sizeof bits);
}

// Loops are unrolled four times: a gather or scatter is bound by its loads
// and stores, and the unrolled loop spends fewer instructions on counting.

// The two forms of the width flag: W is the type of count, stride and
// index/mask entries.
template <typename W>
struct form;

template <>
struct form<int32_t> {
    static int64_t count(int64_t n) { return static_cast<int32_t>(n); }
    static int64_t stride(int64_t s) { return static_cast<int32_t>(s); }
    static int64_t index(const void* v, int64_t i) { return static_cast<const int32_t*>(v)[i]; }
    static bool mask(const void* v, int64_t i) { return static_cast<const int32_t*>(v)[i] != 0; }
};

template <>
struct form<int64_t> {
    static int64_t count(int64_t n) { return n; }
    static int64_t stride(int64_t s) { return s; }
    static int64_t index(const void* v, int64_t i) {
        return static_cast<int32_t>(static_cast<const int64_t*>(v)[i]);
    }
    static bool mask(const void* v, int64_t i) { return static_cast<const int64_t*>(v)[i] != 0; }
};

template <typename W, typename T>
void pack_i(int64_t n, const T* a, int64_t stride, T* y) {
    const int64_t count = form<W>::count(n), s = form<W>::stride(stride);
#pragma GCC unroll 4
    for (int64_t i = 0; i < count; ++i) copy_element(a + i * s, y + i);
}

template <typename W, typename T>
void pack_v(int64_t n, const T* a, const void* index, T* y) {
    const int64_t count = form<W>::count(n);
#pragma GCC unroll 4
    for (int64_t i = 0; i < count; ++i) copy_element(a + form<W>::index(index, i), y + i);
}

template <typename W, typename T>
void pack_m(int64_t n, const T* a, const void* mask, T* y) {
    const int64_t count = form<W>::count(n);
    int64_t next = 0;
#pragma GCC unroll 4
    for (int64_t i = 0; i < count; ++i)
        if (form<W>::mask(mask, i)) copy_element(a + i, y + next++);
}

template <typename W, typename T>
void unpack_i(int64_t n, const T* a, T* y, int64_t stride) {
    const int64_t count = form<W>::count(n), s = form<W>::stride(stride);
#pragma GCC unroll 4
    for (int64_t i = 0; i < count; ++i) copy_element(a + i, y + i * s);
}

template <typename W, typename T>
void unpack_v(int64_t n, const T* a, T* y, const void* index) {
    const int64_t count = form<W>::count(n);
#pragma GCC unroll 4
    for (int64_t i = 0; i < count; ++i) copy_element(a + i, y + form<W>::index(index, i));
}

template <typename W, typename T>
void unpack_m(int64_t n, const T* a, T* y, const void* mask) {
    const int64_t count = form<W>::count(n);
    int64_t next = 0;
#pragma GCC unroll 4
    for (int64_t i = 0; i < count; ++i)
        if (form<W>::mask(mask, i)) copy_element(a + next++, y + i);
}

}  // namespace

// Each kernel picks its loop by the width flag.
#define QLM_PACK_KERNEL(t, T, Name, fn, params, args)                          \
    extern "C" void qlmk_##t##Name##_HA params {                              \
        if (width == 1) fn<int32_t> args;                                     \
        else fn<int64_t> args;                                                \
    }

#define QLM_PACK_KERNELS(t, T)                                                                     \
    QLM_PACK_KERNEL(t, T, PackI, pack_i, (int64_t n, const T* a, int64_t inca, T* y, int32_t width), \
                    (n, a, inca, y))                                                               \
    QLM_PACK_KERNEL(t, T, PackV, pack_v, (int64_t n, const T* a, const void* ia, T* y, int32_t width), \
                    (n, a, ia, y))                                                                 \
    QLM_PACK_KERNEL(t, T, PackM, pack_m, (int64_t n, const T* a, const void* ma, T* y, int32_t width), \
                    (n, a, ma, y))                                                                 \
    QLM_PACK_KERNEL(t, T, UnpackI, unpack_i, (int64_t n, const T* a, T* y, int64_t incy, int32_t width), \
                    (n, a, y, incy))                                                               \
    QLM_PACK_KERNEL(t, T, UnpackV, unpack_v, (int64_t n, const T* a, T* y, const void* iy, int32_t width), \
                    (n, a, y, iy))                                                                 \
    QLM_PACK_KERNEL(t, T, UnpackM, unpack_m, (int64_t n, const T* a, T* y, const void* my, int32_t width), \
                    (n, a, y, my))

QLM_PACK_KERNELS(d, double)
QLM_PACK_KERNELS(s, float)
