// Gaussian and lognormal variates.
//
// Three methods turn unit uniforms into normal variates; none codes any
// transcendental work itself.  Each draws a block of uniforms, rearranges it
// into contiguous operands and hands whole vectors to the vector kernels
// through their tables: the EP slot in double, the LA slot in single.
//
//   0  Box-Muller, one output per pair:  sqrt(-2 ln u1) sin(2 pi u2)
//   1  Box-Muller, both outputs per pair; a half-used pair waits on the
//      stream (chunk 2 in double, 1 in single) for the next call, so the
//      sequence of unit variates does not depend on how calls are cut
//   2  inverse distribution function: sqrt(2) erfinv(u), u on [-1, 1)
//
// A call runs with the error field of the mode set to callback alone and
// the family's callback installed, which gives the ends of the uniforms'
// range finite images (ln 0 as ln of the least denormal, erfinv at its
// poles); every kernel call runs with denormal results kept.  The caller's
// mode word and callback are put back exactly on every path.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frame/bridge.h"
#include "frame/export.h"
#include "frame/thread_block.h"
#include "qlm/qlm_vxm.h"
#include "qlm/qlm_vxs.h"

namespace {

constexpr int32_t kOutOfMemory = -4;
constexpr uint32_t kChunkDoublePair = 2;
constexpr uint32_t kChunkSinglePair = 1;
constexpr int kBlock = 1024;

// Per precision: the element type, the kernel table slot, its constants and
// the stream operations it draws with.
template <typename Real>
struct precision;

template <>
struct precision<double> {
    static constexpr int slot = 2;  // EP
    static constexpr double two_pi = 6.283185307179586;
    static constexpr double sqrt2 = 1.4142135623730951;
    static constexpr uint32_t pair_chunk = kChunkDoublePair;
    static constexpr uint32_t pair_bytes = 16;
    static constexpr uint32_t pair_alignment = 32;
    static constexpr double ln_zero = -744.4400719213812;
    static constexpr double pole_negative = -0.7670519064056041;
    static constexpr double pole_positive = 5.8635847487551676;
    static int32_t uniform(void* stream, int n, double* r, double a, double b) {
        return _vxsdRngUniform(0, stream, n, r, a, b);
    }
    static void ln(int n, const double* a, double* y) { qlm_vxm_kernel_dLn_ttab[slot](n, a, y); }
    static void sqrt(int n, const double* a, double* y) { qlm_vxm_kernel_dSqrt_ttab[slot](n, a, y); }
    static void sin(int n, const double* a, double* y) { qlm_vxm_kernel_dSin_ttab[slot](n, a, y); }
    static void cos(int n, const double* a, double* y) { qlm_vxm_kernel_dCos_ttab[slot](n, a, y); }
    static void sincos(int n, const double* a, double* s, double* c) {
        qlm_vxm_kernel_dSinCos_ttab[slot](n, a, s, c);
    }
    static void erfinv(int n, const double* a, double* y) { qlm_vxm_kernel_dErfInv_ttab[slot](n, a, y); }
    static void exp(int n, const double* a, double* y) { qlm_vxm_kernel_dExp_ttab[slot](n, a, y); }
};

template <>
struct precision<float> {
    static constexpr int slot = 0;  // LA
    static constexpr float two_pi = 6.2831855f;
    static constexpr float sqrt2 = 1.4142135f;
    static constexpr uint32_t pair_chunk = kChunkSinglePair;
    static constexpr uint32_t pair_bytes = 8;
    static constexpr uint32_t pair_alignment = 32;
    static constexpr float ln_zero = -103.27893f;
    static constexpr float pole_negative = -1.0837466f;
    static constexpr float pole_positive = 3.832507f;
    static int32_t uniform(void* stream, int n, float* r, float a, float b) {
        return _vxssRngUniform(0, stream, n, r, a, b);
    }
    static void ln(int n, const float* a, float* y) { qlm_vxm_kernel_sLn_ttab[slot](n, a, y); }
    static void sqrt(int n, const float* a, float* y) { qlm_vxm_kernel_sSqrt_ttab[slot](n, a, y); }
    static void sin(int n, const float* a, float* y) { qlm_vxm_kernel_sSin_ttab[slot](n, a, y); }
    static void cos(int n, const float* a, float* y) { qlm_vxm_kernel_sCos_ttab[slot](n, a, y); }
    static void sincos(int n, const float* a, float* s, float* c) {
        qlm_vxm_kernel_sSinCos_ttab[slot](n, a, s, c);
    }
    static void erfinv(int n, const float* a, float* y) { qlm_vxm_kernel_sErfInv_ttab[slot](n, a, y); }
    static void exp(int n, const float* a, float* y) { qlm_vxm_kernel_sExp_ttab[slot](n, a, y); }
};

// Runs one kernel call with denormal results kept, then puts the word back.
template <typename Call>
void keeping_denormals(Call call) {
    const uint32_t saved = qlm_vxm_kernel_SetMode(VXM_KEEP_DENORMALS);
    call();
    qlm::frame::get_thread_block()->mode = saved;
}

// The family's callback: a singular or domain result at an end of the
// uniforms' range gets its finite image in both result slots.
template <typename Real>
int32_t replace_ends(qlm_vxm_error_record* record) {
    using P = precision<Real>;
    if (record->status != VXM_STATUS_SING && record->status != VXM_STATUS_ERRDOM) return 0;
    double value;
    if (record->status == VXM_STATUS_SING && record->arg1 == 0.0) value = P::ln_zero;
    else if (record->arg1 < 0.0) value = P::pole_negative;
    else if (record->arg1 > 0.0) value = P::pole_positive;
    else return 0;
    record->res1 = record->res2 = value;
    return 0;
}

// rho = sqrt(-2 ln u) into rho.  The log is not taken in place: the error
// path reads the argument back from the input vector after the kernel has
// stored its default result, and the callback must see the uniform itself
// to tell a zero from the poles.
template <typename Real>
void radius(int n, const Real* u, Real* rho) {
    using P = precision<Real>;
    keeping_denormals([&] { P::ln(n, u, rho); });
    for (int i = 0; i < n; ++i) rho[i] = Real(0) - (rho[i] + rho[i]);
    keeping_denormals([&] { P::sqrt(n, rho, rho); });
}

template <typename Real>
void deinterleave(int pairs, const Real* uniforms, Real* u1, Real* u2) {
    for (int i = 0; i < pairs; ++i) {
        u1[i] = uniforms[2 * i];
        u2[i] = uniforms[2 * i + 1] * precision<Real>::two_pi;
    }
}

template <typename Real>
int32_t box_muller_one(void* stream, int n, Real* r, Real a, Real sigma) {
    using P = precision<Real>;
    alignas(16) Real uniforms[2 * kBlock], u1[kBlock], u2[kBlock], rho[kBlock];
    for (int done = 0; done < n;) {
        const int k = std::min(kBlock, n - done);
        if (const int32_t status = P::uniform(stream, 2 * k, uniforms, Real(0), Real(1)); status < 0)
            return status;
        deinterleave(k, uniforms, u1, u2);
        keeping_denormals([&] { P::sin(k, u2, u2); });
        radius(k, u1, rho);
        for (int i = 0; i < k; ++i) r[done + i] = rho[i] * sigma * u2[i] + a;
        done += k;
    }
    return 0;
}

template <typename Real>
int32_t box_muller_two(void* stream, int n, Real* r, Real a, Real sigma) {
    using P = precision<Real>;
    if (n < 1) return 0;
    auto* pending = static_cast<Real*>(__vxsSearchChunk(stream, P::pair_chunk));
    if (pending == nullptr) {
        pending = static_cast<Real*>(qlm_serv_allocate(P::pair_bytes, P::pair_alignment));
        if (pending == nullptr) return kOutOfMemory;
        pending[0] = pending[1] = Real(-1);
        if (__vxsAddChunk(stream, P::pair_chunk, nullptr, pending, P::pair_bytes) != 0) {
            qlm_serv_deallocate(pending);
            return kOutOfMemory;
        }
    }
    alignas(16) Real uniforms[2 * kBlock], u1[kBlock], u2[kBlock], s[kBlock], c[kBlock], rho[kBlock];
    int m = n, at = 0;
    if (pending[0] != Real(-1)) {
        u1[0] = pending[0];
        u2[0] = pending[1] * P::two_pi;
        keeping_denormals([&] { P::cos(1, u2, u2); });
        radius(1, u1, rho);
        r[at++] = rho[0] * u2[0];
        --m;
    }
    while (m >= 2) {
        const int pairs = std::min(kBlock / 2, m / 2);
        if (const int32_t status = P::uniform(stream, 2 * pairs, uniforms, Real(0), Real(1)); status < 0)
            return status;
        deinterleave(pairs, uniforms, u1, u2);
        keeping_denormals([&] { P::sincos(pairs, u2, s, c); });
        radius(pairs, u1, rho);
        for (int i = 0; i < pairs; ++i) {
            r[at + 2 * i] = rho[i] * s[i];
            r[at + 2 * i + 1] = rho[i] * c[i];
        }
        at += 2 * pairs;
        m -= 2 * pairs;
    }
    if (m == 1) {
        if (const int32_t status = P::uniform(stream, 2, uniforms, Real(0), Real(1)); status < 0)
            return status;
        pending[0] = uniforms[0];
        pending[1] = uniforms[1];
        deinterleave(1, uniforms, u1, u2);
        keeping_denormals([&] { P::sin(1, u2, u2); });
        radius(1, u1, rho);
        r[at] = rho[0] * u2[0];
    } else {
        pending[0] = pending[1] = Real(-1);
    }
    for (int i = 0; i < n; ++i) r[i] = r[i] * sigma + a;
    return 0;
}

template <typename Real>
int32_t inverse_function(void* stream, int n, Real* r, Real a, Real sigma) {
    using P = precision<Real>;
    if (n < 1) return 0;
    if (const int32_t status = P::uniform(stream, n, r, Real(-1), Real(1)); status < 0) return status;
    keeping_denormals([&] { P::erfinv(n, r, r); });
    const Real scale = sigma * P::sqrt2;
    for (int i = 0; i < n; ++i) r[i] = r[i] * scale + a;
    return 0;
}

// The method word indexes the table directly; only 0, 1 and 2 are methods.
template <typename Real>
int32_t gaussian(int32_t method, void* stream, int32_t n, Real* r, Real a, Real sigma) {
    using method_fn = int32_t (*)(void*, int, Real*, Real, Real);
    static constexpr method_fn methods[3] = {box_muller_one<Real>, box_muller_two<Real>,
                                             inverse_function<Real>};
    qlm::frame::thread_block* block = qlm::frame::get_thread_block();
    const uint32_t saved_mode = qlm_vxm_kernel_SetMode(VXM_ERRMODE_CALLBACK);
    const qlm_vxm_error_callback saved_callback = qlm_vxm_kernel_SetErrorCallBack(replace_ends<Real>);
    const int32_t status = methods[method](stream, n, r, a, sigma);
    // SetMode merges fields and cannot empty one, so the words go back as
    // they were.
    block->callback = saved_callback;
    block->mode = saved_mode;
    return status;
}

template <typename Real>
int32_t lognormal(void* stream, int32_t n, Real* r, Real a, Real sigma, Real b, Real beta) {
    if (const int32_t status = gaussian<Real>(1, stream, n, r, a, sigma); status != 0) return status;
    if (n < 1) return 0;
    keeping_denormals([&] { precision<Real>::exp(n, r, r); });
    // b is the first operand of the maximum, as in the processor's max.
    for (int i = 0; i < n; ++i) {
        const Real x = r[i] * beta + b;
        r[i] = b > x ? b : x;
    }
    return 0;
}

}  // namespace

QLM_EXPORT int32_t _vxsdRngGaussian(int32_t method, void* stream, int32_t n, double* r, double a,
                                    double sigma) {
    return gaussian<double>(method, stream, n, r, a, sigma);
}

QLM_EXPORT int32_t _vxssRngGaussian(int32_t method, void* stream, int32_t n, float* r, float a,
                                    float sigma) {
    return gaussian<float>(method, stream, n, r, a, sigma);
}

// The method word has no effect: the lognormal always takes method 1.
QLM_EXPORT int32_t _vxsdRngLognormal(int32_t /*method*/, void* stream, int32_t n, double* r,
                                     double a, double sigma, double b, double beta) {
    return lognormal<double>(stream, n, r, a, sigma, b, beta);
}

QLM_EXPORT int32_t _vxssRngLognormal(int32_t /*method*/, void* stream, int32_t n, float* r, float a,
                                     float sigma, float b, float beta) {
    return lognormal<float>(stream, n, r, a, sigma, b, beta);
}
