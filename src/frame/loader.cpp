// The loader of the companion libraries.
//
// Places searched, in order, for a library of the family: the directory of
// an already loaded libqlm_core.so (or, without one, of the executable),
// then the executable's directory, then the directory of libqlm_kernel.so
// itself, each tried once.  The last place lets a process whose executable
// lies elsewhere find the libraries installed beside the kernel.  Directory
// strings are as long as the system's paths; they are filled at the first
// load and kept.
//
// Processor detection: the AVX tier is not tied to any one maker.  Every
// processor that reports OSXSAVE and AVX, and whose system saves the XMM and
// YMM state (XGETBV bits 1 and 2), qualifies; below that the SSE levels
// decide for every maker alike.
//
// All failures end the process with exit code 1 through _exit, so that no
// clean-up of a half-loaded process runs.
#include "frame/loader.h"

#include <cpuid.h>
#include <dlfcn.h>
#include <link.h>
#include <limits.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"

namespace qlm::frame {
namespace {

constexpr const char* kTierFiles[7] = {
    "libqlm_def.so",   "libqlm_def.so", "libqlm_sse2.so", "libqlm_sse3.so",
    "libqlm_ssse3.so", "libqlm_sse42.so", "libqlm_avx.so",
};
constexpr const char* kDefaultFile = "libqlm_def.so";
constexpr const char* kCoreFile = "libqlm_core.so";
constexpr const char* kThreadLayers[3] = {"libqlm_corvane_thread.so", "libqlm_sequential.so",
                                          "libqlm_arbor_thread.so"};
constexpr const char* kFallbackThreadLayer = "libqlm_sequential.so";

std::atomic<void*> tier_handle{nullptr};
std::atomic<void*> core_handle{nullptr};
std::atomic<void*> thread_layer_handle{nullptr};
std::atomic<int> loader_lock{0};
int selected_tier = 0;
std::atomic<int> detected_tier{0};  // 0: detect again

// The places, each with its trailing '/'.
char directories[3][PATH_MAX];
bool directories_filled = false;
char failure_text[PATH_MAX + 512];

[[noreturn]] void fatal(int number, const char* first, const char* second = nullptr) {
    if (second != nullptr)
        emit_message(1, number, 2, first, second);
    else
        emit_message(1, number, 1, first);
    _exit(1);
}

// Keeps the part of `path` up to and including its last '/'.
bool directory_of(const char* path, char* out) {
    const char* slash = std::strrchr(path, '/');
    if (path[0] == '\0' || slash == nullptr) return false;
    const std::size_t length = static_cast<std::size_t>(slash - path) + 1;
    if (length >= PATH_MAX) return false;
    std::memcpy(out, path, length);
    out[length] = '\0';
    return true;
}

bool loaded_core_directory(char* out) {
    void* handle = dlopen(kCoreFile, RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) return false;
    link_map* map = nullptr;
    const bool found = dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map != nullptr &&
                       directory_of(map->l_name, out);
    dlclose(handle);  // drops only the reference taken just now
    return found;
}

void fill_directories() {
    if (directories_filled) return;
    char executable[PATH_MAX];
    const ssize_t got = readlink("/proc/self/exe", executable, sizeof executable - 1);
    if (got <= 0) fatal(msg_cannot_load, "in QLM Loader");
    executable[got] = '\0';
    if (!directory_of(executable, directories[1])) fatal(msg_cannot_load, "in QLM Loader");
    if (!loaded_core_directory(directories[0])) std::strcpy(directories[0], directories[1]);
    Dl_info self;
    if (dladdr(reinterpret_cast<void*>(&load_tier), &self) == 0 || self.dli_fname == nullptr ||
        !directory_of(self.dli_fname, directories[2]))
        std::strcpy(directories[2], directories[1]);
    directories_filled = true;
}

void capture_failure(const char* file) {
    const int number = errno;
    const char* reason = dlerror();
    if (reason == nullptr) reason = "unknown reason";
    int length = std::snprintf(failure_text, sizeof failure_text, "*** %s *** failed with error %d: %s",
                               file, number, reason);
    if (length > static_cast<int>(sizeof failure_text) - 1) length = sizeof failure_text - 1;
    while (length > 0 && (failure_text[length - 1] == '\n' || failure_text[length - 1] == '\r'))
        failure_text[--length] = '\0';
}

// Loads `file` from the places in order, skipping a place equal to one
// tried before.
void* load_from_places(const char* file) {
    fill_directories();
    for (int i = 0; i < 3; ++i) {
        bool tried = false;
        for (int j = 0; j < i; ++j) tried = tried || std::strcmp(directories[i], directories[j]) == 0;
        if (tried) continue;
        char path[3 * PATH_MAX + 64];
        std::snprintf(path, sizeof path, "%s%s", directories[i], file);
        errno = 0;
        if (void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL)) return handle;
        capture_failure(file);
    }
    return nullptr;
}

bool has_identification() {
    unsigned long before, after;
    // Toggle the ID bit of the flags and see whether it sticks.  The stack
    // pointer steps over the red zone first, where the compiler may keep data.
    asm volatile(
        "subq $128, %%rsp\n\t"
        "pushfq\n\t"
        "popq %0\n\t"
        "movq %0, %1\n\t"
        "xorq $0x200000, %0\n\t"
        "pushq %0\n\t"
        "popfq\n\t"
        "pushfq\n\t"
        "popq %0\n\t"
        "pushq %1\n\t"
        "popfq\n\t"
        "addq $128, %%rsp"
        : "=&r"(before), "=&r"(after)
        :
        : "cc");
    return ((before ^ after) & 0x200000) != 0;
}

int detect() {
    if (!has_identification()) return 0;
    unsigned eax, ebx, ecx, edx;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0) return 0;
    constexpr unsigned osxsave = 1u << 27, avx = 1u << 28;
    if ((ecx & osxsave) && (ecx & avx)) {
        unsigned lo, hi;
        asm volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
        if ((lo & 0x6) == 0x6) return 6;
    }
    if (ecx & (1u << 20)) return 5;
    if (ecx & (1u << 9)) return 4;
    if (ecx & (1u << 0)) return 3;
    if (edx & (1u << 26)) return 2;
    return 0;
}

// The selection, run under the loader's lock.  With `prefer_detected` 0
// the baseline tier is taken unless the user asks otherwise.
int select_and_load(int prefer_detected) {
    char value[33] = {};
    const char* env = std::getenv("QLM_DEBUG_CPU_TYPE");
    if (env != nullptr) std::strncpy(value, env, 32);
    const int user = env != nullptr ? parse_debug_cpu_type(value) : -1;
    const int detected = detect_processor_tier();
    const int tier = user >= 0 ? user : (prefer_detected ? detected : 0);

    fill_directories();
    void* handle = nullptr;
    const char* file = kTierFiles[tier];
    if (tier > 0) handle = load_from_places(file);
    if (handle == nullptr && user <= 0) {
        handle = load_from_places(kDefaultFile);
        if (handle != nullptr) file = kDefaultFile;
    }
    if (handle == nullptr) {
        emit_message(1, msg_newline, 0);
        if (tier > 0 && user < 0) fatal(msg_cannot_load_either, kTierFiles[tier], kDefaultFile);
        fatal(msg_cannot_load, tier > 0 ? kTierFiles[tier] : kDefaultFile);
    }
    using version_fn = int (*)();
    auto version = reinterpret_cast<version_fn>(dlsym(handle, "dll_cpu_version"));
    if (version == nullptr) fatal(msg_cannot_bind, "dll_cpu_version");
    const int type = version();
    if (type > tier) {
        emit_message(1, msg_newline, 0);
        emit_message(1, msg_library_not_convenient, 3, file, type, tier);
    }
    tier_handle.store(handle);
    return type;
}

}  // namespace

int parse_debug_cpu_type(const char* value) {
    if (std::strncmp(value, "AVX", 3) == 0) return 6;
    if (std::strncmp(value, "NHM", 3) == 0) return 5;
    const int n = std::atoi(value);
    if (n == 0) return std::strcmp(value, "0") == 0 ? 0 : -1;
    if (n < 1 || n > 6) return -1;
    return n == 1 ? 0 : n;
}

int detect_processor_tier() {
    int tier = detected_tier.load();
    if (tier == 0) {
        tier = detect();
        detected_tier.store(tier);
    }
    return tier;
}

const char* tier_file_name(int tier) { return tier >= 0 && tier <= 6 ? kTierFiles[tier] : nullptr; }

const char* last_load_failure() { return failure_text; }

int load_tier() {
    if (tier_handle.load() != nullptr) return selected_tier;
    int expected = 0;
    while (!loader_lock.compare_exchange_weak(expected, 1)) expected = 0;
    if (tier_handle.load() == nullptr) selected_tier = select_and_load(1);
    loader_lock.store(0);
    return selected_tier;
}

void* load_core() {
    if (void* handle = core_handle.load()) return handle;
    void* handle = dlopen(kCoreFile, RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) handle = load_from_places(kCoreFile);
    if (handle == nullptr) fatal(msg_cannot_load, kCoreFile);
    core_handle.store(handle);
    return handle;
}

void* load_thread_layer() {
    if (void* handle = thread_layer_handle.load()) return handle;
    void* handle = nullptr;
    for (const char* name : kThreadLayers)
        if (handle == nullptr) handle = dlopen(name, RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) handle = load_from_places(kFallbackThreadLayer);
    if (handle == nullptr) fatal(msg_cannot_load, "<qlm-thread-layer>");
    thread_layer_handle.store(handle);
    return handle;
}

void* bind_operation(library from, const char* name) {
    void* handle = nullptr;
    switch (from) {
        case library::tier:
            load_tier();
            handle = tier_handle.load();
            break;
        case library::core: handle = load_core(); break;
        case library::thread_layer: handle = load_thread_layer(); break;
    }
    void* address = dlsym(handle, name);
    if (address == nullptr) fatal(msg_cannot_bind, name);
    return address;
}

}  // namespace qlm::frame
