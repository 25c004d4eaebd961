// Drives the loader and the binding stubs for the tests, one step per
// argument, printing what it saw on standard output:
//   preload-core   load libqlm_core.so from the directory above this program
//   preload=PATH   load the library PATH
//   tier           select and load the tier; prints "tier N FILE"
//   allocate       a block through the tier's allocator
//   core           an operation bound in the core library
//   thread         an operation bound in the threading layer
//   message        message 6, whose text a message module may replace
//   newline        message 0
//   failure        the text kept from the last failed library load
//   module         whether the message module is loaded, and how often it was asked
#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "frame/bridge.h"
#include "frame/loader.h"
#include "frame/messages.h"

namespace {

std::string program_directory() {
    char path[PATH_MAX];
    const ssize_t got = readlink("/proc/self/exe", path, sizeof path - 1);
    if (got <= 0) return ".";
    path[got] = '\0';
    std::string p(path);
    return p.substr(0, p.rfind('/'));
}

void print_loaded_tier(int tier) {
    // Which file the loader took: the tier's own operation tells.
    Dl_info info{};
    void* version = qlm::frame::bind_operation(qlm::frame::library::tier, "dll_cpu_version");
    const char* file = "?";
    if (dladdr(version, &info) != 0 && info.dli_fname != nullptr) {
        file = std::strrchr(info.dli_fname, '/');
        file = file != nullptr ? file + 1 : info.dli_fname;
    }
    std::printf("tier %d %s\n", tier, file);
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string step = argv[i];
        if (step == "preload-core") {
            const std::string path = program_directory() + "/../libqlm_core.so";
            std::printf("preload %s\n", dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL) ? "ok" : "failed");
        } else if (step.rfind("preload=", 0) == 0) {
            const std::string path = step.substr(8);
            std::printf("preload %s\n", dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL) ? "ok" : "failed");
        } else if (step == "tier") {
            print_loaded_tier(qlm::frame::load_tier());
        } else if (step == "allocate") {
            void* block = qlm_serv_allocate(100, 64);
            std::printf("allocate %s\n",
                        block != nullptr && reinterpret_cast<uintptr_t>(block) % 64 == 0 ? "ok" : "failed");
            qlm_serv_deallocate(block);
        } else if (step == "core") {
            double a[1] = {4.0};
            int n = 1, info = -1;
            qlm_lapack_dpotri("L", &n, a, &n, &info, 1);  // inverse from the factor 4: 1/16
            std::printf("core %g %d\n", a[0], info);
        } else if (step == "thread") {
            double a[1] = {9.0};
            int n = 1, info = -1;
            qlm_lapack_dpotrf("L", &n, a, &n, &info, 1);
            std::printf("thread %g %d\n", a[0], info);
        } else if (step == "failure") {
            std::printf("failure %s\n", qlm::frame::last_load_failure());
        } else if (step == "message") {
            qlm::frame::emit_message(1, qlm::frame::msg_bad_parameter, 2, 4, "probe");
        } else if (step == "newline") {
            qlm::frame::emit_message(1, qlm::frame::msg_newline, 0);
        } else if (step == "module") {
            void* module = dlopen("1033/libqlm_msg.so", RTLD_NOW | RTLD_NOLOAD);
            int questions = -1;
            if (module != nullptr) {
                auto count = reinterpret_cast<int (*)()>(dlsym(module, "qlm_msg_questions"));
                if (count != nullptr) questions = count();
            }
            std::printf("module %s %d\n", module != nullptr ? "loaded" : "absent", questions);
        } else {
            std::printf("unknown step %s\n", step.c_str());
            return 2;
        }
        std::fflush(stdout);
    }
    return 0;
}
