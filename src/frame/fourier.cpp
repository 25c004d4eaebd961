// The Fourier front end over the core library's descriptors.
#include "frame/fourier.h"

#include <cstring>
#include <initializer_list>

#include "frame/bridge.h"

namespace qlm::frame {
namespace {

using namespace qlm::dft;

constexpr int kMaxRank = 7;

bool valid(const fourier_descriptor* d) { return d != nullptr && d->tag == qlm_dft_tag; }

using md_creator = int32_t (*)(qlm_dft_descriptor**, int32_t, const int64_t*);
using one_creator = int32_t (*)(qlm_dft_descriptor**, int64_t);

int32_t finish_creation(int32_t status, fourier_descriptor** out) {
    if (status == ok && *out != nullptr) qlm_dft_bless_node_omp(*out);
    return status;
}

int32_t create_md(fourier_descriptor** out, int32_t domain, int32_t rank, const int64_t* lengths,
                  md_creator complex_creator, md_creator real_creator) {
    if (out == nullptr) return inconsistent_configuration;
    *out = nullptr;
    if (domain != complex_domain && domain != real_domain) return invalid_configuration;
    if (rank < 1 || rank > kMaxRank) return invalid_configuration;
    if (lengths == nullptr) return inconsistent_configuration;
    int64_t reversed[kMaxRank];
    for (int i = 0; i < rank; ++i) reversed[i] = lengths[rank - 1 - i];
    const md_creator create = domain == complex_domain ? complex_creator : real_creator;
    return finish_creation(create(out, rank, reversed), out);
}

int32_t create_1d(fourier_descriptor** out, int32_t domain, int64_t length,
                  one_creator complex_creator, one_creator real_creator) {
    if (out == nullptr) return inconsistent_configuration;
    *out = nullptr;
    if (domain != complex_domain && domain != real_domain) return invalid_configuration;
    if (length < 1 || length > INT32_MAX) return invalid_configuration;
    const one_creator create = domain == complex_domain ? complex_creator : real_creator;
    return finish_creation(create(out, length), out);
}

// The check of an integer value against its parameter's table: ok, 6 for
// a value that is known and not offered, 3 for any other.
int32_t check_integer(const fourier_descriptor* d, int32_t parameter, int64_t value) {
    const bool real = d->values[forward_domain] == real_domain;
    auto one_of = [value](std::initializer_list<int64_t> set) {
        for (int64_t v : set)
            if (v == value) return true;
        return false;
    };
    switch (parameter) {
        case 6: case 16: case 24: case 25: return not_implemented;
        case complex_storage:
            if (one_of({complex_complex, real_real})) return ok;
            return one_of({real_packed, complex_real}) ? not_implemented : inconsistent_configuration;
        case real_storage:
            if (value == real_real) return ok;
            return value == complex_real ? not_implemented : inconsistent_configuration;
        case conjugate_even_storage:
            if (one_of({complex_complex, real_packed})) return ok;
            return one_of({complex_real, real_real}) ? not_implemented : inconsistent_configuration;
        case placement: return one_of({in_place, not_in_place}) ? ok : inconsistent_configuration;
        case ordering: return one_of({ordered, backward_scrambled}) ? ok : inconsistent_configuration;
        case transpose:
            if (value == transpose_none || (value == transpose_all && !real)) return ok;
            return one_of({transpose_all, transpose_some}) ? not_implemented
                                                           : inconsistent_configuration;
        case packed_format:
            return value >= ccs_format && value <= cce_format ? ok : inconsistent_configuration;
        case thread_limit: return ok;
        default: return inconsistent_configuration;
    }
}

void store_integer(fourier_descriptor* d, int32_t parameter, int64_t value) {
    for (fourier_descriptor* p = d; p != nullptr; p = p->next) {
        p->committed = 0;
        p->values[parameter] = value;
    }
}

// Common checks of every set: the tag first, then the parameter's number.
int32_t check_parameter(const fourier_descriptor* d, int32_t parameter) {
    if (!valid(d)) return bad_descriptor;
    if (parameter < 0 || parameter > 26) return inconsistent_configuration;
    if (parameter == forward_domain || parameter == commit_status) return inconsistent_configuration;
    return ok;
}

template <int Direction>
int32_t compute(fourier_descriptor* d, void* buffer, void* second, void* third, void* fourth) {
    if (d == nullptr) return bad_descriptor;
    const qlm_dft_compute_fn method = Direction == 0 ? d->forward : d->backward;
    if (method == nullptr) return invalid_configuration;
    const int32_t count = d->buffer_count;
    void* more[3] = {second, third, fourth};
    const int passed = count <= 1 ? 0 : (count >= 4 ? 3 : count - 1);
    for (int i = passed; i < 3; ++i) more[i] = nullptr;
    return method(d, buffer, more[0], more[1], more[2]);
}

}  // namespace

int32_t fourier_create_md_s(fourier_descriptor** out, int32_t domain, int32_t rank,
                            const int64_t* lengths) {
    return create_md(out, domain, rank, lengths, qlm_dft_dfqi_create_scmd, qlm_dft_dfqi_create_srmd);
}
int32_t fourier_create_md_d(fourier_descriptor** out, int32_t domain, int32_t rank,
                            const int64_t* lengths) {
    return create_md(out, domain, rank, lengths, qlm_dft_dfqi_create_dcmd, qlm_dft_dfqi_create_drmd);
}
int32_t fourier_create_1d_s(fourier_descriptor** out, int32_t domain, int32_t /*rank*/,
                            int64_t length) {
    return create_1d(out, domain, length, qlm_dft_dfqi_create_sc1d, qlm_dft_dfqi_create_sr1d);
}
int32_t fourier_create_1d_d(fourier_descriptor** out, int32_t domain, int32_t /*rank*/,
                            int64_t length) {
    return create_1d(out, domain, length, qlm_dft_dfqi_create_dc1d, qlm_dft_dfqi_create_dr1d);
}

int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, int64_t value) {
    if (const int32_t s = check_parameter(d, parameter); s != ok) return s;
    switch (parameter) {
        case forward_scale:
        case backward_scale: return fourier_set_value(d, parameter, static_cast<double>(value));
        case input_strides:
        case output_strides:
        case description: return inconsistent_configuration;
        case number_of_transforms:
        case input_distance:
        case output_distance:
            return d->set_integer != nullptr ? d->set_integer(d, parameter, value) : internal_error;
        default: break;
    }
    if (const int32_t s = check_integer(d, parameter, value); s != ok) return s;
    store_integer(d, parameter, value);
    if (parameter == conjugate_even_storage && value == complex_complex)
        store_integer(d, packed_format, cce_format);
    return ok;
}

int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, int32_t value) {
    return fourier_set_value(d, parameter, static_cast<int64_t>(value));
}

int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, double value) {
    if (const int32_t s = check_parameter(d, parameter); s != ok) return s;
    if (parameter != forward_scale && parameter != backward_scale) return inconsistent_configuration;
    return d->set_real != nullptr ? d->set_real(d, parameter, value) : internal_error;
}

int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, const int64_t* words) {
    if (const int32_t s = check_parameter(d, parameter); s != ok) return s;
    if (parameter != input_strides && parameter != output_strides) return inconsistent_configuration;
    if (words == nullptr) return inconsistent_configuration;
    if (d->set_array == nullptr) return internal_error;
    const int rank = d->rank;
    if (rank < 1 || rank > kMaxRank) return internal_error;
    int64_t reversed[kMaxRank + 1];
    reversed[0] = words[0];
    for (int i = 0; i < rank; ++i) reversed[1 + i] = words[rank - i];
    return d->set_array(d, parameter, reversed);
}

int32_t fourier_set_value(fourier_descriptor* d, int32_t parameter, const char* text) {
    if (const int32_t s = check_parameter(d, parameter); s != ok) return s;
    if (parameter != description || text == nullptr) return inconsistent_configuration;
    if (d->set_string == nullptr) return internal_error;
    return d->set_string(d, parameter, text, static_cast<int32_t>(std::strlen(text)));
}

int32_t fourier_commit(fourier_descriptor* d) {
    if (d == nullptr || d->commit == nullptr) return valid(d) ? internal_error : bad_descriptor;
    if (!valid(d)) return bad_descriptor;
    return d->commit(d);
}

int32_t fourier_compute_forward(fourier_descriptor* d, void* buffer, void* second, void* third,
                                void* fourth) {
    return compute<0>(d, buffer, second, third, fourth);
}

int32_t fourier_compute_backward(fourier_descriptor* d, void* buffer, void* second, void* third,
                                 void* fourth) {
    return compute<1>(d, buffer, second, third, fourth);
}

int32_t fourier_free(fourier_descriptor** d) {
    if (d == nullptr) return bad_descriptor;
    fourier_descriptor* descriptor = *d;
    if (!valid(descriptor)) return bad_descriptor;
    int32_t status = ok;
    if (descriptor->free != nullptr) status = descriptor->free(descriptor);
    *d = nullptr;
    return status;
}

int32_t fourier_error_class(int32_t status, int32_t error_class) {
    return status == error_class ? 1 : 0;
}

}  // namespace qlm::frame
