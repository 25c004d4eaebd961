#include "support/runtime_libraries.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string>

namespace qlm::test {

bool preload_runtime() {
    const char* build = std::getenv("QLM_BUILD_DIR");
    if (build == nullptr) return false;
    const std::string path = std::string(build) + "/lib/libqlm_core.so";
    return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL) != nullptr;
}

int64_t live_blocks() {
    void* def = dlopen("libqlm_def.so", RTLD_NOW | RTLD_NOLOAD);
    if (def == nullptr) return -1;
    auto count = reinterpret_cast<int64_t (*)()>(dlsym(def, "qlm_serv_live_blocks"));
    dlclose(def);
    return count != nullptr ? count() : -1;
}

}  // namespace qlm::test
