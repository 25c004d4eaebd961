// The optional message module, libqlm_msg.so, which may carry translated
// texts of the catalogue.
//
// It is looked for once per process, at the first nonzero message, under
// the relative path "<locale id>/libqlm_msg.so".  The locale id is a number
// given to the thread's message locale (LC_MESSAGES): 1033 for "C", "POSIX"
// and English, and the usual numbers for a few other languages; any locale
// not in the table counts as 1033.  The module exports
//   int qlm_msg_format(unsigned id, unsigned language, char** text)
// which, for id = number | 0x80000000 and language 0x409, stores a text of
// at most 512 characters allocated with malloc and returns its length, or
// returns 0 when it has no text for the number.  Without the module, or
// without an answer, the catalogue's own text is used.
#include <dlfcn.h>
#include <langinfo.h>
#include <locale.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace qlm::frame {
namespace {

constexpr unsigned kTopBit = 0x80000000u;
constexpr unsigned kLanguage = 0x409;
constexpr int kTextLimit = 512;

struct locale_number {
    const char* prefix;
    unsigned long id;
};

constexpr locale_number locale_numbers[] = {
    {"C", 1033}, {"POSIX", 1033}, {"en", 1033}, {"de", 1031}, {"fr", 1036},
    {"es", 3082}, {"it", 1040},   {"ja", 1041}, {"ru", 1049}, {"zh", 2052},
};

unsigned long thread_locale_id() {
    // The thread's own locale if it set one, else the process's.
    const char* name = nl_langinfo(_NL_LOCALE_NAME(LC_MESSAGES));
    if (name == nullptr) return 1033;
    for (const locale_number& l : locale_numbers) {
        const std::size_t n = std::strlen(l.prefix);
        if (std::strncmp(name, l.prefix, n) == 0 && (name[n] == '\0' || name[n] == '_' || name[n] == '.'))
            return l.id;
    }
    return 1033;
}

using format_fn = int (*)(unsigned, unsigned, char**);
format_fn module_format = nullptr;
bool looked_up = false;
char module_text[kTextLimit + 1];

void look_up_module() {
    looked_up = true;
    char path[64];
    std::snprintf(path, sizeof path, "%lu/%s", thread_locale_id(), "libqlm_msg.so");
    void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (handle != nullptr)
        module_format = reinterpret_cast<format_fn>(dlsym(handle, "qlm_msg_format"));
}

}  // namespace

// The module's text for a nonzero message number, with its final CR LF
// cut, or null.
const char* message_module_text(int number) {
    if (!looked_up) look_up_module();
    if (module_format == nullptr) return nullptr;
    char* text = nullptr;
    int length = module_format(static_cast<unsigned>(number) | kTopBit, kLanguage, &text);
    if (length <= 0 || text == nullptr) {
        std::free(text);
        return nullptr;
    }
    if (length > kTextLimit) length = kTextLimit;
    std::memcpy(module_text, text, length);
    std::free(text);
    if (length >= 2 && module_text[length - 2] == '\r' && module_text[length - 1] == '\n') length -= 2;
    module_text[length] = '\0';
    return module_text;
}

}  // namespace qlm::frame
