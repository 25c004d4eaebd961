// Operations the tier reaches in its companion libraries, bound by name at
// first use.  Each name here is a stub internal to libqlm_kernel.so that
// binds its cell on the first call and then forwards; a name that cannot be
// bound ends the process with message 3 and exit code 1.
//
// Memory: a block freed by qlm_serv_deallocate must come from
// qlm_serv_allocate, and likewise for the qlm_malloc pair.  The alignment
// is in bytes.  BLAS and LAPACK operations take every argument by address,
// and after them the length of each character argument (pass 1).
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/fourier_descriptor.h"

extern "C" {

using flen = std::size_t;

#define QLM_BOUND(library, result, name, parameters, arguments) result name parameters;
#include "frame/bridge_operations.def"
#undef QLM_BOUND

}  // extern "C"
