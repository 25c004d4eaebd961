// Every exponential and logarithm kernel table, by name, for the tests
// that hold for all of them.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "qlm/qlm_vxm.h"

namespace qlm::test {

struct double_table {
    std::string name;
    void (*const* slots)(int32_t, const double*, double*);
};
struct single_table {
    std::string name;
    void (*const* slots)(int32_t, const float*, float*);
};

inline std::vector<double_table> exp_log_double_tables() {
    return {{"dExp", qlm_vxm_kernel_dExp_ttab},     {"dExpm1", qlm_vxm_kernel_dExpm1_ttab},
            {"dSinh", qlm_vxm_kernel_dSinh_ttab},   {"dCosh", qlm_vxm_kernel_dCosh_ttab},
            {"dTanh", qlm_vxm_kernel_dTanh_ttab},   {"dLn", qlm_vxm_kernel_dLn_ttab},
            {"dLog10", qlm_vxm_kernel_dLog10_ttab}, {"dLog1p", qlm_vxm_kernel_dLog1p_ttab}};
}
inline std::vector<single_table> exp_log_single_tables() {
    return {{"sExp", qlm_vxm_kernel_sExp_ttab},     {"sExpm1", qlm_vxm_kernel_sExpm1_ttab},
            {"sSinh", qlm_vxm_kernel_sSinh_ttab},   {"sCosh", qlm_vxm_kernel_sCosh_ttab},
            {"sTanh", qlm_vxm_kernel_sTanh_ttab},   {"sLn", qlm_vxm_kernel_sLn_ttab},
            {"sLog10", qlm_vxm_kernel_sLog10_ttab}, {"sLog1p", qlm_vxm_kernel_sLog1p_ttab}};
}

// Runs one element through a slot and returns the result, with the status
// it left in `status`.
template <typename T>
T one(void (*kernel)(int32_t, const T*, T*), std::type_identity_t<T> x, int32_t& status) {
    qlm_vxm_kernel_ClearErrStatus();
    T y = T(-12345);
    kernel(1, &x, &y);
    status = qlm_vxm_kernel_GetErrStatus();
    return y;
}

}  // namespace qlm::test
