// The four entries of the error path and the reporter behind them.
#include "frame/error_path.h"

#include <cerrno>
#include <cstring>

#include "frame/messages.h"
#include "frame/thread_block.h"

namespace qlm::frame {
namespace {

constexpr uint32_t kCallbackBits = 0xF000;
constexpr uint32_t kReportBits = 0x0F00;

int status_errno(int32_t status) {
    switch (status) {
        case 0: return 0;
        case VXM_STATUS_BADSIZE: return 22;
        case VXM_STATUS_BADMEM: return 13;
        case VXM_STATUS_ERRDOM: return 33;
        case VXM_STATUS_SING:
        case VXM_STATUS_OVERFLOW:
        case VXM_STATUS_UNDERFLOW: return 34;
        default: return 14;
    }
}

// The caller's errno is the C runtime's own here: one runtime serves the
// whole process, so no search for another is needed.
void status_to_errno(int32_t status) { errno = status_errno(status); }

// NaN never compares equal, so a NaN second operand always counts.
bool same_or_zero(double second, double first) { return second == first || second == 0.0; }

void status_to_stream(const qlm_vxm_error_record& r) {
    const char* name = r.name;
    switch (r.status) {
        case VXM_STATUS_BADSIZE: emit_message(1, msg_status_badsize, 2, name, r.index); return;
        case VXM_STATUS_BADMEM: emit_message(1, msg_status_badmem, 1, name); return;
        case 0: return;
        case VXM_STATUS_ERRDOM:
        case VXM_STATUS_SING:
        case VXM_STATUS_OVERFLOW:
        case VXM_STATUS_UNDERFLOW:
            emit_message(1, msg_status_errdom + r.status - 1, 1, name);
            break;
        default: emit_message(1, msg_status_unknown, 1, name); break;
    }
    // The record does not say how many operands the function has; the
    // values tell, so equal arguments print as one.  Kept on purpose.
    const bool one_arg = same_or_zero(r.arg2, r.arg1);
    const bool one_res = same_or_zero(r.res2, r.res1);
    const int i = r.index;
    if (one_arg && one_res) {
        emit_message(1, 742, 2, i, r.arg1);
        emit_message(1, 743, 2, i, r.res1);
    } else if (one_arg) {
        emit_message(1, 744, 2, i, r.arg1);
        emit_message(1, 745, 2, i, r.res1);
        emit_message(1, 746, 2, i, r.res2);
    } else if (one_res) {
        emit_message(1, 747, 2, i, r.arg1);
        emit_message(1, 748, 2, i, r.arg2);
        emit_message(1, 749, 2, i, r.res1);
    } else {
        emit_message(1, 750, 2, i, r.arg1);
        emit_message(1, 751, 2, i, r.arg2);
        emit_message(1, 752, 2, i, r.res1);
        emit_message(1, 753, 2, i, r.res2);
    }
}

// Raises the status's exception by x87 arithmetic stored as a double, so
// that an unmasked exception fires here.
void status_to_exception(int32_t status) {
    // long double arithmetic runs on the x87 unit; the volatile operands keep
    // the compiler from folding it, and the narrowing store raises overflow
    // and underflow as a double would.
    static volatile long double zero = 0.0L;
    static volatile long double one = 1.0L;
    static volatile long double big = 0x1.fffffffffffffp+1023L;     // 0x7FEFFFFFFFFFFFFF
    static volatile long double tiny = 0x1.0000000000001p-1022L;    // one unit above the least normal
    volatile double scratch;
    switch (status) {
        case VXM_STATUS_ERRDOM: scratch = static_cast<double>(zero / zero); break;
        case VXM_STATUS_SING: scratch = static_cast<double>(one / zero); break;
        case VXM_STATUS_OVERFLOW: scratch = static_cast<double>(big * big); break;
        case VXM_STATUS_UNDERFLOW: scratch = static_cast<double>(tiny * tiny); break;
        default: break;
    }
    (void)scratch;
}

// The entry common to the four element types.  Reader and writer move one
// element between the vectors and the record's real and imaginary fields.
template <typename Elem, int Shift, typename Read, typename Write>
void raise_status_common(int32_t status, int32_t index, const Elem* a1, const Elem* a2, Elem* r1,
                         Elem* r2, const char* name, Read read, Write write) {
    thread_block* block = get_thread_block();
    block->status = status;
    // The block's own word unless it is still unset, which only the full
    // read settles (it consults the environment).
    const uint32_t mode = block->mode != 0 ? block->mode : qlm_vxm_kernel_GetMode();
    if ((mode & VXM_ERRMODE_MASK) == VXM_ERRMODE_IGNORE) return;

    qlm_vxm_error_record record;
    record.status = status;
    record.index = index;
    if (block->input_base != nullptr) {
        const intptr_t bytes = reinterpret_cast<intptr_t>(a1) -
                               reinterpret_cast<intptr_t>(block->input_base);
        record.index += static_cast<int32_t>(bytes >> Shift);
    }
    // Only the callback and the message read the name: without either,
    // the copy is skipped, which keeps a run of reported elements cheap.
    const bool calls_back = (mode & kCallbackBits) != 0 && block->callback != nullptr;
    if (calls_back || (mode & VXM_ERRMODE_STDERR) != 0)
        record.name_length = format_function_name(record.name, "", name, "");
    const bool has_operands = status != VXM_STATUS_BADSIZE && status != VXM_STATUS_BADMEM;
    if (has_operands) {
        read(a1[index], record.arg1, record.arg1_imag);
        read(a2[index], record.arg2, record.arg2_imag);
        read(r1[index], record.res1, record.res1_imag);
        read(r2[index], record.res2, record.res2_imag);
    }
    if (calls_back && block->callback(&record) != 0) return;
    // The report reads the mode anew, as the callback may have changed it;
    // without a callback the word read above still stands.
    if ((mode & kReportBits) != 0) {
        if (calls_back) report_status(record);
        else report_status(record, mode);
    }
    if (has_operands) {
        write(r2[index], record.res2, record.res2_imag);
        write(r1[index], record.res1, record.res1_imag);
    }
}

template <typename Real>
void read_real(const Real& e, double& re, double& /*im*/) { re = e; }
template <typename Real>
void write_real(Real& e, double re, double /*im*/) { e = static_cast<Real>(re); }
template <typename Complex>
void read_complex(const Complex& e, double& re, double& im) { re = e.real; im = e.imag; }
template <typename Complex>
void write_complex(Complex& e, double re, double im) {
    e.real = static_cast<decltype(e.real)>(re);
    e.imag = static_cast<decltype(e.imag)>(im);
}

}  // namespace

int format_function_name(char* out, const char* prefix, const char* name, const char* suffix) {
    int length = 0;
    for (int i = 0; i < 8 && prefix[i] != '\0'; ++i) out[length++] = prefix[i];
    for (int i = 0; i < 64 && name[i] != '\0'; ++i) out[length++] = name[i];
    for (int i = 0; i < 8 && suffix[i] != '\0'; ++i) out[length++] = suffix[i];
    out[length] = '\0';
    return length;
}

void report_status(const qlm_vxm_error_record& record) { report_status(record, qlm_vxm_kernel_GetMode()); }

void report_status(const qlm_vxm_error_record& record, uint32_t mode) {
    if (mode & VXM_ERRMODE_ERRNO) status_to_errno(record.status);
    if (mode & VXM_ERRMODE_STDERR) status_to_stream(record);
    if (mode & VXM_ERRMODE_EXCEPT) status_to_exception(record.status);
}

void raise_status_s(int32_t status, int32_t index, const float* a1, const float* a2, float* r1,
                    float* r2, const char* name) {
    raise_status_common<float, 2>(status, index, a1, a2, r1, r2, name, read_real<float>,
                                  write_real<float>);
}

void raise_status_d(int32_t status, int32_t index, const double* a1, const double* a2, double* r1,
                    double* r2, const char* name) {
    raise_status_common<double, 3>(status, index, a1, a2, r1, r2, name, read_real<double>,
                                   write_real<double>);
}

void raise_status_c(int32_t status, int32_t index, const qlm_complex8* a1, const qlm_complex8* a2,
                    qlm_complex8* r1, qlm_complex8* r2, const char* name) {
    raise_status_common<qlm_complex8, 3>(status, index, a1, a2, r1, r2, name,
                                         read_complex<qlm_complex8>, write_complex<qlm_complex8>);
}

void raise_status_z(int32_t status, int32_t index, const qlm_complex16* a1,
                    const qlm_complex16* a2, qlm_complex16* r1, qlm_complex16* r2,
                    const char* name) {
    raise_status_common<qlm_complex16, 4>(status, index, a1, a2, r1, r2, name,
                                          read_complex<qlm_complex16>,
                                          write_complex<qlm_complex16>);
}

}  // namespace qlm::frame
