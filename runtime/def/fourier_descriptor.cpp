// Fourier descriptors of the core library, computed by FFTW3.
//
// One template serves single and double precision; FFTW's two APIs differ
// only in their prefix and are reached through `fftw_api<Real>`.  A commit
// turns the descriptor's parameters into guru plans (any rank from 1 to 7,
// any number of transforms with their distances, any strides), planned with
// FFTW_ESTIMATE | FFTW_UNALIGNED so that one plan runs on whatever buffers a
// compute call brings.  Scales are applied after the transform, over the
// output elements only.
//
// Geometry: the forward domain's array ("x side") is described by the input
// strides (12) and input distance (14), the transform's array ("X side") by
// the output strides (13) and output distance (15), in both directions, so
// that a forward and a backward transform with the same settings undo each
// other.  Strides count elements of the array's own type: reals for real
// and split arrays, complex elements for interleaved complex arrays.
//
// Real domain: the X side holds n/2 + 1 complex values along the last
// dimension (conjugate-even storage 39, or real storage 40 with the CCE
// format, or the CCS format at rank 1, all of which lay out alike).  The
// PACK and PERM formats, backward-scrambled ordering and transposed output
// are not offered: their commit answers 6.
#include <fftw3.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "frame/fourier_descriptor.h"
#include "runtime_export.h"

namespace {

using namespace qlm::dft;

template <typename Real>
struct fftw_api;

// FFTW's single and double APIs differ only in their prefix.
#define QLM_FFTW_API(Real, X)                                                                 \
    template <>                                                                               \
    struct fftw_api<Real> {                                                                   \
        using plan = X##plan;                                                                 \
        using complex = X##complex;                                                           \
        static plan dft(int r, const X##iodim* d, int hr, const X##iodim* h, complex* in,      \
                        complex* out, int sign, unsigned f) {                                 \
            return X##plan_guru_dft(r, d, hr, h, in, out, sign, f);                           \
        }                                                                                     \
        static plan split(int r, const X##iodim* d, int hr, const X##iodim* h, Real* ri,       \
                          Real* ii, Real* ro, Real* io, unsigned f) {                         \
            return X##plan_guru_split_dft(r, d, hr, h, ri, ii, ro, io, f);                    \
        }                                                                                     \
        static plan r2c(int r, const X##iodim* d, int hr, const X##iodim* h, Real* in,         \
                        complex* out, unsigned f) {                                           \
            return X##plan_guru_dft_r2c(r, d, hr, h, in, out, f);                             \
        }                                                                                     \
        static plan c2r(int r, const X##iodim* d, int hr, const X##iodim* h, complex* in,      \
                        Real* out, unsigned f) {                                              \
            return X##plan_guru_dft_c2r(r, d, hr, h, in, out, f);                             \
        }                                                                                     \
        static void run_dft(plan p, complex* in, complex* out) { X##execute_dft(p, in, out); } \
        static void run_split(plan p, Real* ri, Real* ii, Real* ro, Real* io) {               \
            X##execute_split_dft(p, ri, ii, ro, io);                                          \
        }                                                                                     \
        static void run_r2c(plan p, Real* in, complex* out) { X##execute_dft_r2c(p, in, out); } \
        static void run_c2r(plan p, complex* in, Real* out) { X##execute_dft_c2r(p, in, out); } \
        static void destroy(plan p) { X##destroy_plan(p); }                                   \
    };
QLM_FFTW_API(double, fftw_)
QLM_FFTW_API(float, fftwf_)
#undef QLM_FFTW_API

constexpr int kMaxRank = 7;
// FFTW's planner is not reentrant: plans are made and destroyed under this
// lock, while executing them needs none.
std::mutex planner_lock;
constexpr unsigned kPlanFlags = FFTW_ESTIMATE | FFTW_UNALIGNED;

// Where the elements of one side of the transform lie, in elements of the
// side's own type.
struct layout {
    int64_t shape[kMaxRank];
    int64_t strides[kMaxRank];
    int64_t offset;
    int64_t distance;

    // One past the highest element touched; strides are non-negative.
    int64_t extent(int rank, int64_t count) const {
        int64_t last = offset + (count - 1) * distance;
        for (int i = 0; i < rank; ++i) last += (shape[i] - 1) * strides[i];
        return last + 1;
    }

    template <typename F>
    void for_each(int rank, int64_t count, F f) const {
        int64_t index[kMaxRank] = {};
        for (int64_t t = 0; t < count; ++t) {
            for (;;) {
                int64_t at = offset + t * distance;
                for (int i = 0; i < rank; ++i) at += index[i] * strides[i];
                f(at);
                int i = rank - 1;
                while (i >= 0 && ++index[i] == shape[i]) index[i--] = 0;
                if (i < 0) break;
            }
        }
    }
};

void row_major(layout& l, int rank) {
    int64_t step = 1;
    for (int i = rank - 1; i >= 0; --i) {
        l.strides[i] = step;
        step *= l.shape[i];
    }
}

template <typename Real>
struct transform {
    using api = fftw_api<Real>;
    using complex = typename api::complex;

    int rank = 0;
    bool real = false;
    int64_t lengths[kMaxRank] = {};
    double scale[2] = {1.0, 1.0};  // forward, backward
    int64_t given_strides[2][kMaxRank + 1] = {};  // input, output: offset then strides
    bool strides_given[2] = {false, false};
    char description[256] = {};

    // Built by commit.
    typename api::plan plans[2] = {nullptr, nullptr};  // forward, backward
    layout sides[2] = {};  // x side, X side
    int64_t count = 1;
    bool in_place = true;
    bool split = false;
    Real* scratch = nullptr;  // copy of the input of an out-of-place real backward transform
    int64_t scratch_reals = 0;

    void release_plans() {
        std::lock_guard<std::mutex> lock(planner_lock);
        for (auto& p : plans) {
            if (p != nullptr) api::destroy(p);
            p = nullptr;
        }
        std::free(scratch);
        scratch = nullptr;
        scratch_reals = 0;
    }
};

template <typename Real>
transform<Real>* state_of(qlm_dft_descriptor* d) {
    return static_cast<transform<Real>*>(d->core);
}

template <typename Real>
int32_t set_real(qlm_dft_descriptor* d, int32_t parameter, double value) {
    if (parameter != forward_scale && parameter != backward_scale) return inconsistent_configuration;
    state_of<Real>(d)->scale[parameter == forward_scale ? 0 : 1] = value;
    d->committed = 0;
    return ok;
}

int32_t set_integer(qlm_dft_descriptor* d, int32_t parameter, int64_t value) {
    if (parameter == number_of_transforms && value < 1) return invalid_configuration;
    if ((parameter == input_distance || parameter == output_distance) && value < 0)
        return invalid_configuration;
    if (parameter != number_of_transforms && parameter != input_distance &&
        parameter != output_distance)
        return inconsistent_configuration;
    for (qlm_dft_descriptor* p = d; p != nullptr; p = p->next) {
        p->values[parameter] = value;
        p->committed = 0;
    }
    return ok;
}

template <typename Real>
int32_t set_array(qlm_dft_descriptor* d, int32_t parameter, const int64_t* words) {
    if (parameter != input_strides && parameter != output_strides) return inconsistent_configuration;
    if (words == nullptr) return inconsistent_configuration;
    transform<Real>* t = state_of<Real>(d);
    const int side = parameter == input_strides ? 0 : 1;
    std::memcpy(t->given_strides[side], words, sizeof(int64_t) * (t->rank + 1));
    t->strides_given[side] = true;
    d->committed = 0;
    return ok;
}

template <typename Real>
int32_t set_string(qlm_dft_descriptor* d, int32_t parameter, const char* text, int32_t length) {
    if (parameter != description || text == nullptr || length < 0) return inconsistent_configuration;
    transform<Real>* t = state_of<Real>(d);
    const int32_t kept = length < 255 ? length : 255;
    std::memcpy(t->description, text, kept);
    t->description[kept] = '\0';
    return ok;
}

// The layouts of the two sides from the defaults and the given strides.
template <typename Real>
int32_t build_layouts(qlm_dft_descriptor* d, transform<Real>& t) {
    const int r = t.rank;
    layout& x = t.sides[0];
    layout& big_x = t.sides[1];
    for (int i = 0; i < r; ++i) x.shape[i] = big_x.shape[i] = t.lengths[i];
    if (t.real) big_x.shape[r - 1] = t.lengths[r - 1] / 2 + 1;
    x.offset = big_x.offset = 0;
    row_major(big_x, r);
    if (t.real && t.in_place) {
        // The real array is padded to whole complex elements along the last dimension.
        layout padded = big_x;
        padded.shape[r - 1] *= 2;
        row_major(padded, r);
        for (int i = 0; i < r; ++i) x.strides[i] = padded.strides[i];
    } else {
        row_major(x, r);
    }
    for (int side = 0; side < 2; ++side) {
        layout& l = t.sides[side];
        if (t.strides_given[side]) {
            l.offset = t.given_strides[side][0];
            for (int i = 0; i < r; ++i) l.strides[i] = t.given_strides[side][i + 1];
        }
        if (l.offset < 0) return inconsistent_configuration;
        for (int i = 0; i < r; ++i)
            if (l.strides[i] <= 0) return inconsistent_configuration;
        // Default distance: the whole array of one transform.
        int64_t whole = 0;
        for (int i = 0; i < r; ++i) whole += (l.shape[i] - 1) * l.strides[i];
        if (t.real && t.in_place && side == 0) whole += l.strides[r - 1];  // padding
        const int64_t given = d->values[side == 0 ? input_distance : output_distance];
        l.distance = given > 0 ? given : whole + 1;
    }
    return ok;
}

template <typename Real>
int32_t commit(qlm_dft_descriptor* d) {
    using api = fftw_api<Real>;
    using complex = typename api::complex;
    transform<Real>& t = *state_of<Real>(d);
    const int64_t* v = d->values;

    if (v[ordering] != ordered || v[transpose] != transpose_none) return not_implemented;
    if (t.real) {
        const bool cce = v[conjugate_even_storage] == complex_complex ||
                         v[packed_format] == cce_format ||
                         (v[packed_format] == ccs_format && t.rank == 1);
        if (!cce) return not_implemented;
    }
    t.release_plans();
    t.in_place = v[placement] == in_place;
    t.split = !t.real && v[complex_storage] == real_real;
    t.count = v[number_of_transforms] > 0 ? v[number_of_transforms] : 1;
    if (const int32_t s = build_layouts(d, t); s != ok) return s;

    fftw_iodim dims[2][kMaxRank];  // forward: x -> X, backward: X -> x
    for (int i = 0; i < t.rank; ++i) {
        dims[0][i] = {static_cast<int>(t.lengths[i]), static_cast<int>(t.sides[0].strides[i]),
                      static_cast<int>(t.sides[1].strides[i])};
        dims[1][i] = {dims[0][i].n, dims[0][i].os, dims[0][i].is};
    }
    fftw_iodim many[2] = {
        {static_cast<int>(t.count), static_cast<int>(t.sides[0].distance),
         static_cast<int>(t.sides[1].distance)},
        {static_cast<int>(t.count), static_cast<int>(t.sides[1].distance),
         static_cast<int>(t.sides[0].distance)}};

    // Planning arrays: FFTW_ESTIMATE never touches them, but their identity
    // tells in place from out of place.
    const int64_t x_reals = t.sides[0].extent(t.rank, t.count) * (t.real ? 1 : 2);
    const int64_t big_reals = t.sides[1].extent(t.rank, t.count) * 2;
    Real* a = static_cast<Real*>(std::malloc(sizeof(Real) * (x_reals + big_reals)));
    if (a == nullptr) return memory_error;
    Real* b = t.in_place ? a : a + x_reals;
    std::unique_lock<std::mutex> planning(planner_lock);
    auto* ac = reinterpret_cast<complex*>(a);
    auto* bc = reinterpret_cast<complex*>(b);
    if (t.split) {
        // A split transform has no sign: the backward one is the forward one
        // with real and imaginary parts exchanged.
        const int64_t ex = x_reals / 2, e_big = big_reals / 2;
        Real* ri = a;
        Real* ii = a + ex;
        Real* ro = t.in_place ? ri : a + 2 * ex;
        Real* io = t.in_place ? ii : a + 2 * ex + e_big;
        t.plans[0] = api::split(t.rank, dims[0], 1, &many[0], ri, ii, ro, io, kPlanFlags);
        t.plans[1] = api::split(t.rank, dims[1], 1, &many[1], io, ro, ii, ri, kPlanFlags);
    } else if (t.real) {
        t.plans[0] = api::r2c(t.rank, dims[0], 1, &many[0], a, bc, kPlanFlags);
        if (!t.in_place) {
            // c2r overwrites its input: the out-of-place backward transform
            // runs on a copy so that the caller's spectrum survives.
            t.scratch_reals = big_reals;
            t.scratch = static_cast<Real*>(std::malloc(sizeof(Real) * big_reals));
            if (t.scratch == nullptr) {
                std::free(a);
                planning.unlock();
                t.release_plans();
                return memory_error;
            }
        }
        t.plans[1] = api::c2r(t.rank, dims[1], 1, &many[1], bc, a, kPlanFlags);
    } else {
        t.plans[0] = api::dft(t.rank, dims[0], 1, &many[0], ac, bc, FFTW_FORWARD, kPlanFlags);
        t.plans[1] = api::dft(t.rank, dims[1], 1, &many[1], bc, ac, FFTW_BACKWARD, kPlanFlags);
    }
    planning.unlock();
    std::free(a);
    if (t.plans[0] == nullptr || t.plans[1] == nullptr) {
        t.release_plans();
        return not_implemented;
    }
    d->buffer_count = (t.in_place ? 1 : 2) * (t.split ? 2 : 1);
    d->committed = 1;
    return ok;
}

// Multiplies the output elements by the direction's scale.  `first` and
// `second` are the buffers' starts: the layout carries the offset.
template <typename Real>
void apply_scale(const transform<Real>& t, const layout& l, double scale, void* first,
                 void* second, bool complex_elements) {
    if (scale == 1.0) return;
    const Real s = static_cast<Real>(scale);
    Real* a = static_cast<Real*>(first);
    Real* b = static_cast<Real*>(second);
    l.for_each(t.rank, t.count, [&](int64_t at) {
        if (complex_elements) {
            a[2 * at] *= s;
            a[2 * at + 1] *= s;
        } else {
            a[at] *= s;
            if (b != nullptr) b[at] *= s;
        }
    });
}

template <typename Real, int Direction>
int32_t compute(qlm_dft_descriptor* d, void* b0, void* b1, void* b2, void* b3) {
    using api = fftw_api<Real>;
    using complex = typename api::complex;
    transform<Real>& t = *state_of<Real>(d);
    if (!d->committed) return inconsistent_configuration;
    void* buffers[4] = {b0, b1, b2, b3};
    for (int i = 0; i < d->buffer_count; ++i)
        if (buffers[i] == nullptr) return inconsistent_configuration;

    const layout& from = t.sides[Direction];
    const layout& to = t.sides[1 - Direction];
    const double scale = t.scale[Direction];
    auto reals = [](void* p, int64_t offset) { return static_cast<Real*>(p) + offset; };
    auto complexes = [](void* p, int64_t offset) { return static_cast<complex*>(p) + offset; };

    if (t.split) {
        void* out_re = t.in_place ? b0 : b2;
        void* out_im = t.in_place ? b1 : b3;
        Real* ri = reals(b0, from.offset);
        Real* ii = reals(b1, from.offset);
        Real* ro = reals(out_re, to.offset);
        Real* io = reals(out_im, to.offset);
        if (Direction == 0)
            api::run_split(t.plans[0], ri, ii, ro, io);
        else
            api::run_split(t.plans[1], ii, ri, io, ro);
        apply_scale(t, to, scale, out_re, out_im, false);
        return ok;
    }
    void* out = t.in_place ? b0 : b1;
    if (t.real && Direction == 0) {
        api::run_r2c(t.plans[0], reals(b0, from.offset), complexes(out, to.offset));
        apply_scale(t, to, scale, out, nullptr, true);
    } else if (t.real) {
        void* in = b0;
        if (!t.in_place) {
            std::memcpy(t.scratch, b0, sizeof(Real) * t.scratch_reals);
            in = t.scratch;
        }
        api::run_c2r(t.plans[1], complexes(in, from.offset), reals(out, to.offset));
        apply_scale(t, to, scale, out, nullptr, false);
    } else {
        api::run_dft(t.plans[Direction], complexes(b0, from.offset), complexes(out, to.offset));
        apply_scale(t, to, scale, out, nullptr, true);
    }
    return ok;
}

template <typename Real>
int32_t release(qlm_dft_descriptor* d) {
    transform<Real>* t = state_of<Real>(d);
    t->release_plans();
    delete t;
    d->tag = 0;
    delete d;
    return ok;
}

template <typename Real>
int32_t create(qlm_dft_descriptor** out, bool real, int32_t rank, const int64_t* lengths) {
    if (out == nullptr) return inconsistent_configuration;
    *out = nullptr;
    if (rank < 1 || rank > kMaxRank) return invalid_configuration;
    if (lengths == nullptr) return inconsistent_configuration;
    for (int i = 0; i < rank; ++i)
        if (lengths[i] < 1 || lengths[i] > INT32_MAX) return invalid_configuration;

    auto* t = new (std::nothrow) transform<Real>;
    auto* d = new (std::nothrow) qlm_dft_descriptor{};
    if (t == nullptr || d == nullptr) {
        delete t;
        delete d;
        return memory_error;
    }
    t->rank = rank;
    t->real = real;
    std::memcpy(t->lengths, lengths, sizeof(int64_t) * rank);
    d->tag = qlm_dft_tag;
    d->buffer_count = 1;
    d->rank = rank;
    d->commit = commit<Real>;
    d->forward = compute<Real, 0>;
    d->backward = compute<Real, 1>;
    d->free = release<Real>;
    d->set_string = set_string<Real>;
    d->set_array = set_array<Real>;
    d->set_real = set_real<Real>;
    d->set_integer = set_integer;
    d->values[forward_domain] = real ? real_domain : complex_domain;
    d->values[number_of_transforms] = 1;
    d->values[complex_storage] = complex_complex;
    d->values[real_storage] = real_real;
    d->values[conjugate_even_storage] = complex_complex;
    d->values[placement] = in_place;
    d->values[ordering] = ordered;
    d->values[transpose] = transpose_none;
    d->values[packed_format] = cce_format;
    d->core = t;
    *out = d;
    return ok;
}

}  // namespace

QLM_RUNTIME_EXPORT int32_t qlm_dft_dfqi_create_scmd(qlm_dft_descriptor** out, int32_t rank,
                                                   const int64_t* lengths) {
    return create<float>(out, false, rank, lengths);
}
QLM_RUNTIME_EXPORT int32_t qlm_dft_dfqi_create_srmd(qlm_dft_descriptor** out, int32_t rank,
                                                   const int64_t* lengths) {
    return create<float>(out, true, rank, lengths);
}
QLM_RUNTIME_EXPORT int32_t qlm_dft_dfqi_create_dcmd(qlm_dft_descriptor** out, int32_t rank,
                                                   const int64_t* lengths) {
    return create<double>(out, false, rank, lengths);
}
QLM_RUNTIME_EXPORT int32_t qlm_dft_dfqi_create_drmd(qlm_dft_descriptor** out, int32_t rank,
                                                   const int64_t* lengths) {
    return create<double>(out, true, rank, lengths);
}
QLM_RUNTIME_EXPORT int32_t qlm_dft_dfqi_create_sc1d(qlm_dft_descriptor** out, int64_t length) {
    return create<float>(out, false, 1, &length);
}
QLM_RUNTIME_EXPORT int32_t qlm_dft_dfqi_create_sr1d(qlm_dft_descriptor** out, int64_t length) {
    return create<float>(out, true, 1, &length);
}
QLM_RUNTIME_EXPORT int32_t qlm_dft_dfqi_create_dc1d(qlm_dft_descriptor** out, int64_t length) {
    return create<double>(out, false, 1, &length);
}
QLM_RUNTIME_EXPORT int32_t qlm_dft_dfqi_create_dr1d(qlm_dft_descriptor** out, int64_t length) {
    return create<double>(out, true, 1, &length);
}
