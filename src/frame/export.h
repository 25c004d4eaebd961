// Visibility of the library's exports.  Everything is built hidden; only
// names marked QLM_EXPORT leave libqlm_kernel.so.
#pragma once

#define QLM_EXPORT extern "C" __attribute__((visibility("default")))
