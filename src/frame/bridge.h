// Operations the tier reaches in its companion libraries, bound by name at
// first use.  Each name here is a stub internal to libqlm_kernel.so that
// binds its cell on the first call and then forwards; a name that cannot be
// bound ends the process with message 3 and exit code 1.
#pragma once

#include <cstddef>

extern "C" {

// Memory.  A block freed by qlm_serv_deallocate must come from
// qlm_serv_allocate, and likewise for the qlm_malloc pair.
void* qlm_serv_allocate(std::size_t bytes, int alignment);
void qlm_serv_deallocate(void* block);
void* qlm_serv_qlm_malloc(std::size_t bytes, int alignment);
void qlm_serv_qlm_free(void* block);

}  // extern "C"
