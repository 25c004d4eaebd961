// The companion libraries for tests linked with the kernel's static
// archive.  Such a test program lies in <build>/bin, where the loader finds
// no companion; once libqlm_core.so from <build>/lib is loaded, the loader
// looks beside it.  Tests linked with libqlm_kernel.so need none of this:
// the loader also looks beside the kernel.
#pragma once

#include <cstdint>

namespace qlm::test {

// Loads <build>/lib/libqlm_core.so, the build directory taken from
// QLM_BUILD_DIR.  Returns false if it could not.
bool preload_runtime();

// Blocks of the core library's allocator not yet given back, or -1 while
// the allocator's library is not loaded.
int64_t live_blocks();

}  // namespace qlm::test
