// A stand-in tier library for the loader's tests.  FAKE_TIER_TYPE is the
// type number it reports; without it the library has no dll_cpu_version.
#include "runtime_export.h"

#ifdef FAKE_TIER_TYPE
QLM_RUNTIME_EXPORT int dll_cpu_version() { return FAKE_TIER_TYPE; }
#endif

QLM_RUNTIME_EXPORT int qlm_fake_tier_marker() { return 1; }
